// SPDX-License-Identifier: Apache-2.0
//
// Environment variables become settings.

#include "inprocess/settings.h"

#include "plugged/options.h"

#include <cctype>
#include <cstdlib>

namespace vcard {
namespace {

const std::string PREFIX = "PINDESK_VCARD";
constexpr const char* FIRST_READER = "PinDesk Virtual Reader 00 00";
constexpr int MOST_READERS = 9;

std::string PrefixOf(int iReader)
{
    return PREFIX + (iReader == 1 ? "" : std::to_string(iReader)) + "_";
}

std::string VariableOf(const std::string& strPrefix, const char* szOption)
{
    std::string strName = strPrefix;
    for (const char* pch = szOption; *pch != '\0'; ++pch) {
        strName += *pch == '-' ? '_' : static_cast<char>(std::toupper(*pch));
    }
    return strName;
}

SPluggedCardOptions CardOptions(const std::string& strPrefix)
{
    SPluggedCardOptions options;
    for (const SOption& option : Options()) {
        const std::string strVariable = VariableOf(strPrefix, option.szName);
        if (const char* szValue = std::getenv(strVariable.c_str()); szValue != nullptr) {
            SetOption(options, option, strVariable, szValue);
        }
    }
    return options;
}

} // namespace

std::vector<SReaderSettings> SettingsFromEnvironment()
{
    std::vector<SReaderSettings> readers;
    for (int i = 1; i <= MOST_READERS; ++i) {
        const std::string strPrefix = PrefixOf(i);
        const char* szReader = std::getenv((strPrefix + "READER").c_str());
        const bool bUnnamed = szReader == nullptr && i == 1;
        if (!bUnnamed && (szReader == nullptr || *szReader == '\0')) {
            continue;
        }
        SPluggedCardOptions options = CardOptions(strPrefix);
        const std::string strRecorded = options.replay ? options.replay->Reader() : "";
        const std::string strOwn = strRecorded.empty() ? FIRST_READER : strRecorded;
        readers.push_back({bUnnamed ? strOwn : szReader, std::move(options)});
    }
    return readers;
}

} // namespace vcard
