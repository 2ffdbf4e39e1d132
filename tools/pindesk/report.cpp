// SPDX-License-Identifier: Apache-2.0
//
// Results on standard output, everything else on standard error; with --json one object on standard
// output whatever happens.

#include "report.h"

#include "verbs.h"

#include <iostream>

namespace tool {

namespace {

constexpr int SCHEMA = 1;

template <typename T> nlohmann::ordered_json OrNull(const std::optional<T>& value)
{
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

void PrintJson(const Options& options, const Outcome& outcome)
{
    nlohmann::ordered_json object = {
        {"schema", SCHEMA},
        {"command", options.verb == nullptr ? nlohmann::ordered_json() : options.verb->name},
        {"result", ResultName(outcome.status)},
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
    object.update(outcome.fields);
    // Reader names and serial numbers are bytes that a device chose.
    std::cout << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

std::string Parenthesis(const Outcome& outcome)
{
    std::string text;
    if (outcome.code) {
        text = "result code " + std::to_string(*outcome.code);
    }
    if (outcome.statusWord) {
        text += (text.empty() ? "status word " : ", status word ") +
                StatusWordText(*outcome.statusWord);
    }
    return text.empty() ? "" : " (" + text + ")";
}

void PrintFailure(const Outcome& outcome)
{
    std::cerr << "pindesk: " << outcome.message;
    if (!outcome.advice.empty()) {
        std::cerr << '\n' << outcome.advice;
    }
    std::cerr << Parenthesis(outcome) << '\n';
}

void PrintSuccess(const Options& options, const Outcome& outcome)
{
    std::cout << outcome.output;
    if (!outcome.message.empty() && !options.isQuiet) {
        std::cout << outcome.message << '\n';
    }
}

} // namespace

int Report(const Options& options, const Outcome& outcome)
{
    if (options.isJson) {
        PrintJson(options, outcome);
    } else if (outcome.status == ExitStatus::Done) {
        PrintSuccess(options, outcome);
    } else {
        PrintFailure(outcome);
    }
    const bool isWritten = static_cast<bool>(std::cout.flush());
    if (isWritten) {
        return static_cast<int>(outcome.status);
    }
    std::cerr << "pindesk: standard output cannot be written.\n";
    return static_cast<int>(outcome.status == ExitStatus::Done ? ExitStatus::InternalError
                                                               : outcome.status);
}

void Note(const Options& options, const std::string& text)
{
    if (!options.isQuiet) {
        std::cerr << text << '\n';
    }
}

} // namespace tool
