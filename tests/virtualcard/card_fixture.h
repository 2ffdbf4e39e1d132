// SPDX-License-Identifier: Apache-2.0
//
// A virtual card at the end of a hexadecimal line.
#pragma once

#include "model/bytes.h"
#include "model/card.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>

namespace vcard {

constexpr const char* SELECT_MF = "00 A4 00 0C 02 3F 00";
constexpr const char* SELECT_DS = "00 A4 08 0C 02 14 00";
constexpr const char* SELECT_CNS = "00 A4 08 0C 02 11 00";

// The secrets a fresh card of profile "cns" comes with, as they travel.
constexpr const char* CNS_PIN = "31 32 33 34 35 36 37 38";
constexpr const char* CNS_PUK = "38 37 36 35 34 33 32 31";
constexpr const char* DS_PIN = "31 33 35 37 32 34 36 38";
constexpr const char* DS_PUK = "32 34 36 38 31 33 35 37";
constexpr const char* ISSUER_KEY = "4A1F73C8259DE0B6 61D3085EF72A94CB 4A1F73C8259DE0B6";

class CardTest : public testing::Test {
protected:
    void Insert(const SCardOptions& options) { m_card.emplace(options); }
    void Insert(const std::string& strProfile)
    {
        SCardOptions options;
        options.strProfile = strProfile;
        Insert(options);
    }

    /// Sends a command given in hexadecimal; the answer without blanks.
    std::string Send(const std::string& strHex) { return ToHex(m_card->Transmit(FromHex(strHex))); }
    std::string Send(const std::string& strHead, const std::string& strData)
    {
        return Send(strHead + " " + strData);
    }
    int TriesLeft(const char* szName) { return m_card->Counters().at(szName).at("tries_left"); }
    int Presented(const char* szName) { return m_card->Counters().at(szName).at("presented"); }

    std::optional<CCard> m_card{SCardOptions{}};
};

} // namespace vcard
