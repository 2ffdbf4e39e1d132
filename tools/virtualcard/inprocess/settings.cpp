// SPDX-License-Identifier: Apache-2.0
//
// Environment variables become settings.

#include "inprocess/settings.h"

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace vcard {
namespace {

const std::string PREFIX = "PINDESK_VCARD_";
constexpr const char* DEFAULT_READER = "PinDesk Virtual Reader 00 00";

std::optional<std::string> Variable(const std::string& strName)
{
    const char* szValue = std::getenv((PREFIX + strName).c_str());
    return szValue == nullptr ? std::nullopt : std::optional<std::string>(szValue);
}

[[noreturn]] void Refuse(const std::string& strName, const std::string& strExpected)
{
    throw std::invalid_argument(PREFIX + strName + ": expected " + strExpected + ", not \"" +
                                Variable(strName).value_or("") + "\"");
}

/// True for the first of the two values, false for the second.
bool Either(const std::string& strName, const std::string& strYes, const std::string& strNo,
            bool bDefault)
{
    const auto value = Variable(strName);
    if (!value) {
        return bDefault;
    }
    if (*value != strYes && *value != strNo) {
        Refuse(strName, strYes + " or " + strNo);
    }
    return *value == strYes;
}

std::chrono::milliseconds Latency()
{
    const std::string strValue = Variable("LATENCY").value_or("0");
    const char* const end = strValue.data() + strValue.size();
    unsigned uiValue = 0;
    if (const auto read = std::from_chars(strValue.data(), end, uiValue);
        read.ec != std::errc() || read.ptr != end) {
        Refuse("LATENCY", "milliseconds");
    }
    return std::chrono::milliseconds(uiValue);
}

CFaultPlan Faults()
{
    CFaultPlan plan;
    std::istringstream rules(Variable("FAULT").value_or(""));
    for (std::string strRule; std::getline(rules, strRule, ',');) {
        plan.Add(strRule);
    }
    return plan;
}

/// The log's stream, which lives as long as the process.
std::ostream* Log()
{
    const auto value = Variable("LOG");
    if (!value) {
        return nullptr;
    }
    if (*value == "-") {
        return &std::cerr;
    }
    static std::ofstream file(*value, std::ios::app);
    if (!file) {
        Refuse("LOG", "a file that can be written");
    }
    return &file;
}

} // namespace

SSettings SettingsFromEnvironment()
{
    SSettings settings;
    settings.strReader = Variable("READER").value_or(DEFAULT_READER);
    SPluggedCardOptions& session = settings.session;
    session.card.strProfile = Variable("PROFILE").value_or(session.card.strProfile);
    session.card.strSerial = Variable("SERIAL").value_or("");
    session.card.bT1 = Either("PROTOCOL", "t1", "t0", session.card.bT1);
    session.card.bRequireSm = Either("REQUIRE_SM", "1", "0", session.card.bRequireSm);
    session.card.bUnpadded = Either("UNPADDED", "1", "0", session.card.bUnpadded);
    session.statePath = Variable("STATE").value_or("");
    session.countersPath = Variable("COUNTERS").value_or("");
    session.latency = Latency();
    session.faults = Faults();
    session.log = Log();
    return settings;
}

} // namespace vcard
