// SPDX-License-Identifier: Apache-2.0
//
// Results on standard output, everything else on standard error; with --json one object on standard
// output whatever happens.

#include "report.h"

#include "interrupts.h"
#include "language.h"
#include "verbs.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace tool {

namespace {

constexpr int SCHEMA = 1;

using Json = nlohmann::ordered_json;

template <typename T> Json OrNull(const std::optional<T>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json ToJson(const Row& row);

struct ValueToJson {
    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(const std::vector<Row>& rows) const
    {
        Json array = Json::array();
        for (const Row& row : rows) {
            array.push_back(ToJson(row));
        }
        return array;
    }
    template <typename T> Json operator()(const T& value) const { return value; }
};

Json ToJson(const Row& row)
{
    Json object = Json::object();
    for (const auto& [name, value] : row) {
        object[name] = std::visit(ValueToJson{}, value);
    }
    return object;
}

void PrintObject(const Json& object)
{
    // Reader names and serial numbers are bytes that a device chose.
    std::cout << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

void PrintJson(const Options& options, const Outcome& outcome)
{
    Json object = {
        {"schema", SCHEMA},
        {"command", options.verb == nullptr ? Json() : options.verb->name},
        {"result", pindesk_outcome_name(outcome.status)},
        {"exit_status", static_cast<int>(outcome.status)},
        {"code", OrNull(outcome.code)},
        {"status_word", nullptr},
        {"tries_left", OrNull(outcome.triesLeft)},
        {"message", outcome.message},
        {"advice", outcome.advice},
    };
    if (outcome.statusWord) {
        object["status_word"] = StatusWordText(*outcome.statusWord);
    }
    object.update(ToJson(outcome.fields));
    PrintObject(object);
}

std::string Parenthesis(const Outcome& outcome)
{
    std::string text;
    if (outcome.code) {
        text = Say("result code {code}", {{"code", std::to_string(*outcome.code)}});
    }
    if (outcome.statusWord) {
        text += (text.empty() ? "" : ", ") +
                Say("status word {word}", {{"word", StatusWordText(*outcome.statusWord)}});
    }
    return text.empty() ? "" : " (" + text + ")";
}

void PrintFailure(const Outcome& outcome)
{
    std::cerr << "pindesk: " << outcome.message;
    if (!outcome.advice.empty()) {
        std::cerr << '\n' << outcome.advice;
    }
    std::cerr << Parenthesis(outcome) << '\n' << outcome.output;
}

void PrintSuccess(const Options& options, const Outcome& outcome)
{
    std::cout << outcome.output;
    // an interrupted run ends by its signal: without words nobody would know what it has done
    if (!outcome.message.empty() && (!options.isQuiet || IsInterrupted())) {
        std::cout << outcome.message << '\n'
                  << outcome.advice << (outcome.advice.empty() ? "" : "\n");
    }
}

void Print(const Options& options, const Outcome& outcome)
{
    if (outcome.isReported) {
        return;
    }
    if (options.isJson) {
        PrintJson(options, outcome);
    } else if (outcome.status == PINDESK_DONE) {
        PrintSuccess(options, outcome);
    } else {
        PrintFailure(outcome);
    }
}

} // namespace

int Report(const Options& options, const Outcome& outcome)
{
    Print(options, outcome);
    if (std::cout.flush()) {
        return outcome.status;
    }
    // What was done is done, whether or not anybody reads of it: it is said where it can be.
    std::cerr << "pindesk: " << Say("Standard output cannot be written.") << '\n'
              << outcome.message << '\n';
    return outcome.status == PINDESK_DONE ? PINDESK_INTERNAL_ERROR : outcome.status;
}

bool ReportEvent(const Options& options, const std::string& line, const Row& fields)
{
    if (options.isJson) {
        Json object = {{"schema", SCHEMA}, {"command", options.verb->name}};
        object.update(ToJson(fields));
        PrintObject(object);
    } else {
        std::cout << line << '\n';
    }
    return static_cast<bool>(std::cout.flush());
}

void Note(const Options& options, const std::string& text)
{
    const bool isHeard = !options.isJson || isatty(STDERR_FILENO) != 0;
    if (!options.isQuiet && isHeard) {
        std::cerr << text << '\n';
    }
}

} // namespace tool
