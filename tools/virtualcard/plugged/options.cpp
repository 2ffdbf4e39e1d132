// SPDX-License-Identifier: Apache-2.0
//
// The table of options.

#include "plugged/options.h"

#include "model/bytes.h"

#include <charconv>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace vcard {
namespace {

constexpr unsigned LONGEST_WAIT = 600'000; // ms

/// True for the first of the two words, false for the second.
bool Either(const std::string& strValue, const std::string& strYes, const std::string& strNo)
{
    if (strValue != strYes && strValue != strNo) {
        throw std::invalid_argument("expected " + strYes + " or " + strNo);
    }
    return strValue == strYes;
}

std::chrono::milliseconds Milliseconds(const std::string& strValue)
{
    const char* const end = strValue.data() + strValue.size();
    unsigned uiValue = 0;
    const auto read = std::from_chars(strValue.data(), end, uiValue);
    if (read.ec != std::errc() || read.ptr != end || uiValue > LONGEST_WAIT) {
        throw std::invalid_argument("expected milliseconds, at most " +
                                    std::to_string(LONGEST_WAIT));
    }
    return std::chrono::milliseconds(uiValue);
}

void AddFaults(CFaultPlan& plan, const std::string& strRules)
{
    std::istringstream rules(strRules);
    for (std::string strRule; std::getline(rules, strRule, ',');) {
        plan.Add(strRule);
    }
}

std::shared_ptr<std::ostream> OpenLog(const std::string& strPath)
{
    if (strPath == "-") {
        return {std::shared_ptr<std::ostream>(), &std::cerr};
    }
    auto file = std::make_shared<std::ofstream>(strPath, std::ios::app);
    if (!*file) {
        throw std::invalid_argument("expected a file that can be written");
    }
    return file;
}

using SOptions = SPluggedCardOptions;

constexpr SOption OPTIONS[] = {
    {"profile", "NAME", "kind of card",
     [](SOptions& o, const std::string& v) { o.card.strProfile = v; }},
    {"serial", "TEXT", "serial number (default: the profile's)",
     [](SOptions& o, const std::string& v) { o.card.strSerial = v; }},
    {"protocol", "t0|t1", "transmission protocol in the answer to reset",
     [](SOptions& o, const std::string& v) { o.card.bT1 = Either(v, "t1", "t0"); }},
    {"atr", "HEX", "answer to reset (default: the profile's)",
     [](SOptions& o, const std::string& v) { o.card.abAtr = FromHex(v); }},
    {"replay", "FILE", "answer as the dialogue recorded in FILE, in place of a card",
     [](SOptions& o, const std::string& v) { o.replay = CRecording::Load(v); }},
    {"state", "FILE", "keep the card's state in FILE, across restarts",
     [](SOptions& o, const std::string& v) { o.statePath = v; }},
    {"counters", "FILE", "keep in FILE (JSON) how often each secret arrived and its tries left",
     [](SOptions& o, const std::string& v) { o.countersPath = v; }},
    {"log", "FILE", "append a readable APDU log to FILE (- for standard error), secrets masked",
     [](SOptions& o, const std::string& v) { o.log = OpenLog(v); }},
    {"latency", "MS", "milliseconds before each APDU",
     [](SOptions& o, const std::string& v) { o.latency = Milliseconds(v); }},
    {"arrival", "MS", "milliseconds for which the reader is empty at first",
     [](SOptions& o, const std::string& v) { o.arrival = Milliseconds(v); }},
    {"absence", "MS", "milliseconds for which a removed card stays away (default: 1000)",
     [](SOptions& o, const std::string& v) { o.absence = Milliseconds(v); }},
    {"require-sm", nullptr, "insist on secure messaging for the signature secrets",
     [](SOptions& o, const std::string& v) { o.card.bRequireSm = Either(v, "1", "0"); }},
    {"unpadded", nullptr, "secrets have no padding",
     [](SOptions& o, const std::string& v) { o.card.bUnpadded = Either(v, "1", "0"); }},
    {"fault", "N:KIND", "play faults, several separated by commas; pindesk-testing(7) lists them",
     [](SOptions& o, const std::string& v) { AddFaults(o.faults, v); }},
};

} // namespace

std::span<const SOption> Options()
{
    return OPTIONS;
}

void SetOption(SPluggedCardOptions& options, const SOption& option, const std::string& strSpelling,
               const std::string& strValue)
{
    try {
        option.pSet(options, strValue);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(strSpelling + ": " + error.what() + ", not \"" + strValue +
                                    "\"");
    }
}

} // namespace vcard
