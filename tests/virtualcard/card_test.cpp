// SPDX-License-Identifier: Apache-2.0
//
// The card where the library never takes it: bytes that are no command, a damaged or repeated
// protected one, a state file that was edited, conditions that only an issuer meets.

#include "tests/support/envelopes.h"
#include "tools/virtualcard/model/card.h"
#include "tools/virtualcard/model/command_table.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <numeric>
#include <optional>
#include <random>
#include <set>

namespace {

const std::string SELECT_MF = "00 A4 00 0C 02 3F 00";
const std::string SELECT_DS = "00 A4 08 0C 02 14 00";
const std::string VERIFY_DS_PIN = "00 20 00 9A 08 31 33 35 37 32 34 36 38";
const std::string VERIFY_DS_PUK = "00 20 00 9B 08 32 34 36 38 31 33 35 37";
const std::string VERIFY_CNS_PIN = "00 20 00 90 08 31 32 33 34 35 36 37 38";
const Bytes ISSUER_KEY = FromHex("4A1F73C8259DE0B6 61D3085EF72A94CB 4A1F73C8259DE0B6");

class Card : public testing::Test {
protected:
    Card() { Send(SELECT_DS); }

    void Insert(const vcard::SCardOptions& options) { m_card.emplace(options); }
    Bytes Send(const Bytes& command) { return m_card->Transmit(command); }
    std::string Send(const std::string& command) { return ToHex(Send(FromHex(command))); }

    Bytes Challenge()
    {
        const Bytes answer = Send(FromHex("00 84 00 00 08"));
        return {answer.begin(), answer.end() - 2};
    }
    /// A command in its envelope, both randoms exchanged.
    Bytes Protected(const std::string& plain, const Bytes& key = ISSUER_KEY)
    {
        const SEnvelope envelope{.sig = key, .enc = key, .challenge = Challenge()};
        Send("80 86 00 00 08 01 02 03 04 05 06 07 08");
        return envelope.ProtectCommand(FromHex(plain));
    }
    int Counter(const char* szSecret, const char* szWhich)
    {
        return m_card->Counters().at(szSecret).at(szWhich);
    }

    std::optional<vcard::CCard> m_card{vcard::SCardOptions{}};
};

TEST_F(Card, AnswersAnyBytesWithAStatusWordAtLeast)
{
    std::mt19937 random(20260101);
    const auto below = [&](std::size_t n) { return random() % n; };
    const auto rows = vcard::Commands();
    for (std::size_t i = 0; i < 20000; ++i) {
        if (i == 10000) {
            Insert({.strProfile = "setec-t0"});
        }
        const auto& row = rows[below(rows.size())];
        if (row.szName == std::string("GENERATE KEY PAIR")) {
            continue; // slow
        }
        Bytes command = {i % 7 == 0 ? std::uint8_t{0x0C} : row.bCla, row.bIns};
        for (std::size_t cb = below(i % 2 != 0 ? 300 : 24); cb > 0; --cb) {
            command.push_back(static_cast<std::uint8_t>(below(256)));
        }
        if (i % 3 == 0 && command.size() > 5) {
            command[4] = static_cast<std::uint8_t>(command.size() - 5);
        }
        const Bytes answer = Send(command);
        ASSERT_LE(2U, answer.size()) << ToHex(command);
        ASSERT_GE(258U, answer.size()) << ToHex(command);
    }
    Insert({});
    const char* const lines[][2] = {
        {"", "67 00"},
        {"00 A4", "67 00"},
        {"00 A4 00 0C 05 3F 00", "67 00"},       // shorter than its Lc
        {"00 A4 00 0C 02 3F 00 00 01", "67 00"}, // longer, and not zeros
        {"00 A4 00 0C 00 00 02 3F 00", "67 00"}, // extended length
        {"00 55 00 00", "6D 00"},
        {"80 A4 00 0C 02 3F 00", "6E 00"},
        {"00 C0 00 00 00", "6D 00"},                   // nothing waits with T=1
        {"00 22 B6 01 03 83 01 82 00 00 00", "90 00"}, // zeros behind this one are usual
    };
    for (const auto& [szCommand, szAnswer] : lines) {
        EXPECT_EQ(szAnswer, Send(std::string(szCommand))) << szCommand;
    }
}

TEST_F(Card, RefusesADamagedOrRepeatedProtectedCommandAtNoTry)
{
    for (std::size_t i = 0; i < Protected(VERIFY_DS_PIN).size() - 1; ++i) {
        Bytes damaged = Protected(VERIFY_DS_PIN);
        damaged[i] ^= 0x10;
        EXPECT_NE("90 00", ToHex(Send(damaged))) << "byte " << i;
    }
    EXPECT_EQ("69 88", ToHex(Send(Protected(VERIFY_DS_PIN, Bytes(24, 0x11)))));
    EXPECT_EQ(0, Counter("ds-pin", "presented"));

    const Bytes command = Protected(VERIFY_DS_PIN);
    EXPECT_EQ("90 00", ToHex(Send(command)));
    EXPECT_EQ("69 87", ToHex(Send(command))); // its randoms are used up
    Protected(VERIFY_DS_PIN);
    EXPECT_EQ("69 88", ToHex(Send(command))); // and others don't fit
    EXPECT_EQ(1, Counter("ds-pin", "presented"));
    Send(SELECT_MF);
    EXPECT_EQ("68 82", ToHex(Send(Protected(VERIFY_CNS_PIN)))); // no key for it here
}

TEST_F(Card, ForgetsWhatWasProvedInADfThatIsLeft)
{
    EXPECT_EQ("90 00", Send(VERIFY_DS_PIN));
    EXPECT_EQ("90 00", Send(VERIFY_CNS_PIN));
    Send(SELECT_MF);
    Send(SELECT_DS);
    EXPECT_EQ("63 C3", Send("00 20 00 9A 00"));
    EXPECT_EQ("90 00", Send("00 20 00 90 00")); // that of the MF, where we still are
    m_card->Reset();
    EXPECT_EQ("63 C3", Send("00 20 00 10 00"));
}

TEST_F(Card, WantsANewValueProvedUnlessItsProfileTakesItAsProved)
{
    for (const char* szProfile : {"cns", "cns-verified"}) {
        Insert({.strProfile = szProfile});
        EXPECT_EQ("90 00", Send(VERIFY_CNS_PIN));
        EXPECT_EQ("90 00", Send("00 24 01 90 08 31 31 31 31 31 31 31 31"));
        EXPECT_EQ(szProfile == std::string("cns") ? "63 C3" : "90 00", Send("00 20 00 90 00"));
    }
}

TEST_F(Card, LetsTheIssuerDoWhatAConditionForbidsOthers)
{
    const std::string administer = "00 DA 01 6E 10 83 02 00 1A 86 0A 00 1A 1B FF 1B FF FF FF FF FF";
    const std::string deactivate = "00 04 00 00 02 00 1A";
    EXPECT_EQ("69 82", Send(administer));
    EXPECT_EQ("90 00", Send(VERIFY_DS_PUK));
    EXPECT_EQ("90 00", Send(administer));
    EXPECT_EQ("69 82", Send(deactivate)); // no longer free for all
    const std::string proof =
        "00 82 00 9C 08" + ToHex(libcrypto::RetailMac(ISSUER_KEY, Challenge()));
    EXPECT_EQ("90 00", Send(proof));
    EXPECT_EQ("69 85", Send(proof)); // a challenge is good for one
    EXPECT_EQ("90 00", Send(deactivate));
    EXPECT_EQ("69 84", Send("00 20 00 9A 00"));
}

TEST_F(Card, KeepsItsStateAndRefusesNonsense)
{
    Send("00 20 00 9A 08 39 39 39 39 39 39 39 39");
    Send("80 10 00 00 00");
    const auto good = nlohmann::json::parse(m_card->State().dump());
    Insert({.bRequireSm = true});
    m_card->LoadState(good);
    EXPECT_EQ(2, Counter("ds-pin", "tries_left"));
    Send(SELECT_DS);
    EXPECT_EQ("69 87", Send(VERIFY_DS_PIN)); // the option holds for a loaded state too

    const nlohmann::json before = m_card->State();
    const char* const edits[][2] = {
        {"/format", "2"},
        {"/profile", "\"gdo\""},
        {"/life_cycle", "48"},
        {"/mf", "[]"},
        {"/mf/fid", "70000"},
        {"/mf/fid", "4096"},
        {"/mf/type", "9"},
        {"/mf/access", "\"00\""},
        {"/mf/active", "1"},
        {"/mf/objects/0/value", "\"zz\""},
        {"/mf/objects/0/value", "\"313233343536373839\""},
        {"/mf/objects/0/tries_left", "4"},
        {"/mf/objects/0/tries_left", "-1"},
        {"/mf/objects/0/sm", "\"FF\""},
        {"/mf/children/1/fid", "4096"}, // a second 1000
        {"/mf/children/0/children/0/size", "3"},
        {"/mf/children/0/children/0/type", "6"},
    };
    for (const auto& [szWhere, szValue] : edits) {
        nlohmann::json bad = good;
        bad[nlohmann::json::json_pointer(szWhere)] = nlohmann::json::parse(szValue);
        EXPECT_THROW(m_card->LoadState(bad), std::invalid_argument) << szWhere;
        EXPECT_EQ(before, m_card->State()) << szWhere;
    }
    EXPECT_THROW(m_card->LoadState(nullptr), std::invalid_argument);
}

TEST_F(Card, HasAnAnswerToResetOfItsProfileOrTheOneGiven)
{
    std::set<Bytes> atrs;
    for (const std::string& profile : vcard::ProfileNames()) {
        Insert({.strProfile = profile, .bT1 = atrs.size() % 2 == 0});
        const Bytes atr = m_card->Atr();
        EXPECT_TRUE(atrs.insert(atr).second) << profile;
        Insert({.abAtr = atr}); // which its check takes for whole
        EXPECT_EQ(atr, m_card->Atr());
    }
    for (const char* szBad :
         {"3B", "3B 00 00", "3A 00", "3B 81 01 41 42", "3B 80 80 01", "3B F0"}) {
        EXPECT_THROW(Insert({.abAtr = FromHex(szBad)}), std::invalid_argument) << szBad;
    }
}

} // namespace
