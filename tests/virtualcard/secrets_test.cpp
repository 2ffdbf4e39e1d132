// SPDX-License-Identifier: Apache-2.0
//
// PINs and PUKs: tries, references, changing, unblocking, deactivation, padding.
#include "host_side.h"

namespace vcard {
namespace {

constexpr const char* WRONG = "39 39 39 39 39 39 39 39";
constexpr const char* NEW_PIN = "34 37 31 31 38 FF FF FF";

class Secrets : public HostTest {
protected:
    Secrets() { Send(SELECT_DS); }
};

TEST_F(Secrets, AWrongValueCostsATryAndARightOneRestoresThem)
{
    EXPECT_EQ("63C2", Send("00 20 00 9A 08", WRONG));
    EXPECT_EQ("63C1", Send("00 20 00 9A 08", WRONG));
    EXPECT_EQ("63C1", Send("00 20 00 9A 00"));
    EXPECT_EQ("9000", Send("00 20 00 9A 08", DS_PIN));
    EXPECT_EQ("9000", Send("00 20 00 9A")); // already verified
    EXPECT_EQ(3, TriesLeft("ds-pin"));
    EXPECT_EQ(3, Presented("ds-pin"));
}

TEST_F(Secrets, ReferencesAreSearchedFromTheSideTheyName)
{
    EXPECT_EQ("9000", Send("00 20 00 90 08", CNS_PIN)); // up to the MF
    EXPECT_EQ("9000", Send("00 20 00 10 08", CNS_PIN)); // from the MF
    EXPECT_EQ("9000", Send("00 20 00 1B 08", DS_PUK));
    EXPECT_EQ("6A88", Send("00 20 00 95 08", DS_PIN));
    EXPECT_EQ("6A88", Send("00 20 00 9C 08", DS_PIN)); // a key is not presented
    Send(SELECT_MF);
    EXPECT_EQ("6A88", Send("00 20 00 9A 08", DS_PIN));
}

TEST_F(Secrets, WhatWasProvedInADfIsLostWhenItIsLeft)
{
    Send("00 20 00 9A 08", DS_PIN);
    Send("00 20 00 90 08", CNS_PIN);
    Send(SELECT_MF);
    Send(SELECT_DS);
    EXPECT_EQ("63C3", Send("00 20 00 9A 00"));
    EXPECT_EQ("9000", Send("00 20 00 90 00"));
}

TEST_F(Secrets, AChangeWantsTheOldValueBeforeOrWithin)
{
    EXPECT_EQ("6982", Send("00 24 01 9A 08", NEW_PIN));
    EXPECT_EQ("63C2", Send("00 24 00 9A 10", std::string(WRONG) + NEW_PIN));
    EXPECT_EQ("9000", Send("00 24 00 9A 10", std::string(DS_PIN) + NEW_PIN));
    EXPECT_EQ("63C2", Send("00 20 00 9A 08", DS_PIN));
    EXPECT_EQ("9000", Send("00 20 00 9A 08", NEW_PIN));
    EXPECT_EQ("9000", Send("00 24 01 9A 08", DS_PIN));
    EXPECT_EQ("63C3", Send("00 20 00 9A 00")); // the new value is still to be proved
    EXPECT_EQ(2, m_card->Counters().at("ds-pin").at("new_values"));

    EXPECT_EQ("9000", Send("00 20 00 90 08", CNS_PIN));
    EXPECT_EQ("9000", Send("00 24 01 10 08", NEW_PIN));
    EXPECT_EQ("9000", Send("00 20 00 90 08", NEW_PIN));
}

TEST_F(Secrets, AnUnusableNewValueLeavesTheOldOne)
{
    Send("00 20 00 9A 08", DS_PIN);
    EXPECT_EQ("6700", Send("00 24 01 9A 05 31 32 33 34 35"));
    EXPECT_EQ("6A80", Send("00 24 01 9A 08 31 32 33 34 FF FF FF FF"));
    EXPECT_EQ("6700", Send("00 24 00 9A 08", DS_PIN));
    EXPECT_EQ("9000", Send("00 20 00 9A 08", DS_PIN));
}

TEST_F(Secrets, ThePukUnblocksAndSetsANewPin)
{
    for (int i = 0; i < 3; ++i)
        Send("00 20 00 9A 08", WRONG);
    EXPECT_EQ("63C4", Send("00 2C 00 9A 10", std::string(WRONG) + NEW_PIN));
    EXPECT_EQ("6700", Send("00 2C 00 9A 0E 32 34 36 38 31 33", NEW_PIN));
    EXPECT_EQ("6A80", Send("00 2C 00 9A 10", std::string(DS_PUK) + "31 FF FF FF FF FF FF FF"));
    EXPECT_EQ("6983", Send("00 20 00 9A 00"));
    EXPECT_EQ("9000", Send("00 2C 00 9A 10", std::string(DS_PUK) + NEW_PIN));
    EXPECT_EQ("9000", Send("00 20 00 9A 08", NEW_PIN));
    EXPECT_EQ(3, TriesLeft("ds-pin"));
    EXPECT_EQ(5, TriesLeft("ds-puk"));

    EXPECT_EQ("9000", Send("00 2C 00 10 10", std::string(CNS_PUK) + NEW_PIN));
    EXPECT_EQ("6A88", Send("00 2C 00 11 10", std::string(CNS_PUK) + NEW_PIN)); // a PUK has no PUK
}

TEST_F(Secrets, TheAdministrationKeyIsProvedOverTheWholeChallenge)
{
    EXPECT_EQ("9000", Authenticate(ISSUER_KEY));
    EXPECT_EQ("9000", Authenticate(ISSUER_KEY, 0x9C, 0x80));
    EXPECT_EQ("6985", Send("00 82 00 9C 08 00 00 00 00 00 00 00 00")); // the challenge is used up
    EXPECT_EQ(5, TriesLeft("ds-kauth"));

    const std::string strWrong(48, '5');
    for (const char* szAnswer : {"63C4", "63C3", "63C2", "63C1", "63C0", "6983"})
        EXPECT_EQ(szAnswer, Authenticate(strWrong));
    EXPECT_EQ("6983", Authenticate(ISSUER_KEY));
    EXPECT_EQ(9, Presented("ds-kauth"));
}

TEST_F(Secrets, AKeyGetsANewValueOnlyFromWhoProvedTheOldOne)
{
    const std::string strNewKey = "00112233445566778899AABBCCDDEEFF0011223344556677";
    EXPECT_EQ("6982", Send("00 24 01 9C 18", strNewKey));
    Authenticate(ISSUER_KEY);
    EXPECT_EQ("6700", Send("00 24 01 9C 07 00 11 22 33 44 55 66"));
    EXPECT_EQ("9000", Send("00 24 01 9C 18", strNewKey));
    EXPECT_EQ("63C4", Authenticate(ISSUER_KEY));
    EXPECT_EQ("9000", Authenticate(strNewKey));
}

TEST_F(Secrets, TheSetecCardChangesAPinInOneCommand)
{
    Insert("setec");
    EXPECT_EQ("63C2", Send("00 20 00 01 08", WRONG));
    EXPECT_EQ("9000", Send("80 24 20 01 10", std::string(CNS_PIN) + NEW_PIN));
    EXPECT_EQ("9000", Send("00 20 00 01 08", NEW_PIN));
}

} // namespace
} // namespace vcard
