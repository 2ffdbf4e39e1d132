// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: PINs, keys, security environments and the cryptographic commands, byte by byte.

#include "cardlib/scardcardosm4.h"
#include "cardlib/sm_sig_enc.h"
#include "tests/support/session_test.h"

#include <functional>

namespace {
class M4Security : public CSessionTest<CSCardCardOSM4> {
protected:
    void SetUp() override
    {
        CSessionTest::SetUp();
        Card().m_bCurrentDFPhisicallySelected = 1;
    }
    /// What both paths say of a verification, as "1 9A".
    std::string Verified()
    {
        const DFEF_Path& df = Card().m_Current_DF_path;
        const DFEF_Path& ef = Card().m_Current_EF_path;
        if (df.m_isPinVerified != ef.m_isPinVerified || df.m_PinId != ef.m_PinId) {
            return "the paths differ";
        }
        const CK_BYTE ab[] = {df.m_isPinVerified, df.m_PinId};
        return ToHex(ab, 2);
    }
    const CK_BYTE m_abOld[8] = {'1', '2', '3', '4', '5', 0xFF, 0xFF, 0xFF};
    const CK_BYTE m_abNew[8] = {'6', '7', '8', '9', '0', 0xFF, 0xFF, 0xFF};
};

TEST_F(M4Security, CommandsHaveExactlyTheseBytesAndPassTheStatusWordUp)
{
    CK_BYTE challenge[8] = {};
    CK_BYTE random[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    CK_ULONG ulChallenge = 0x105;
    const struct {
        const char* szCommand;
        std::function<long()> call;
    } rows[] = {
        {"00 20 00 81 08 31 32 33 34 35 FF FF FF", [&] { return Card().Verify(1, m_abOld, 8); }},
        {"00 20 00 81 00", [&] { return Card().Verify(1, nullptr, 0); }},
        {"00 20 00 9A 03 00 00 00", [&] { return Card().Verify(0x9A, nullptr, 3); }},
        {"00 24 04 03 10 31 32 33 34 35 FF FF FF 36 37 38 39 30 FF FF FF",
         [&] { return Card().ChangeReferenceData(3, 2, m_abNew, 8, m_abOld, 8); }},
        {"00 24 05 03 08 36 37 38 39 30 FF FF FF",
         [&] { return Card().ChangeReferenceData(3, 2, m_abNew, 8, nullptr, 8); }},
        {"00 24 FD 83 02 36 37",
         [&] { return Card().ChangeReferenceData(0x83, 0xFF, m_abNew, 2, m_abOld, 0); }},
        {"00 22 B6 01 03 83 01 82 00 00 00",
         [&] { return Card().ManageSecurityEnvironment(2, 0xB601, 7); }},
        {"00 22 B8 41 03 84 01 82 00 00 00",
         [&] { return Card().ManageSecurityEnvironment(0x82, 0xB841, 7); }},
        {"00 22 F1 B6 03 84 01 07",
         [&] { return Card().LoadSecurityEnvironment(1, 0xB6, 7, 2, 0); }},
        {"00 22 F1 B6 03 83 01 07",
         [&] { return Card().LoadSecurityEnvironment(1, 0xB6, 7, 2, 1); }},
        {"00 84 00 00 05", [&] { return Card().GetChallenge(challenge, &ulChallenge); }},
        {"80 86 00 00 08 01 02 03 04 05 06 07 08", [&] { return Card().GiveRandom(random, 8); }},
        {"80 86 00 00 09 01 02 03 04 05 06 07 08", [&] { return Card().GiveRandom(random, 9); }},
        {"80 86 00 00 03 01 02 03 00 00 00 00 00", [&] { return Card().GiveRandom(random, 3); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szCommand);
        card.Step(row.szCommand, row.szCommand, 0x63C2);
        EXPECT_EQ(0x63C2, row.call());
        card.Step(row.szCommand, row.szCommand, SAnswer::Fail(SCARD_E_READER_UNAVAILABLE));
        EXPECT_EQ(SCARD_E_READER_UNAVAILABLE, row.call());
        card.Step(row.szCommand, row.szCommand, "90");
        EXPECT_EQ(0x6F00, row.call()); // never success by accident
    }
    EXPECT_EQ("00 00", Verified());
}

TEST_F(M4Security, AcceptedSecretsAreRecordedInBothPaths)
{
    Card().m_Current_EF_path.Append(0x1003);
    card.Wildcard("verify", 0x9000);
    EXPECT_EQ(0, Card().Verify(0x10, m_abOld, 8));
    EXPECT_EQ("01 90", Verified());
    card.Wildcard("refused: the record stays", 0x63C1);
    EXPECT_EQ(0x63C1, Card().Verify(0x1A, m_abOld, 8));
    EXPECT_EQ("01 90", Verified());
    card.Wildcard("new alone: no longer verified", 0x9000);
    EXPECT_EQ(0, Card().ChangeReferenceData(0x1A, 0, m_abNew, 8, nullptr, 0));
    EXPECT_EQ("00 9A", Verified());
    card.Wildcard("old and new", 0x9000);
    EXPECT_EQ(0, Card().ChangeReferenceData(0x1B, 0, m_abNew, 8, m_abOld, 8));
    EXPECT_EQ("01 9B", Verified());
}

TEST_F(M4Security, VerifyAndChangeStopsAtTheOldValue)
{
    card.Step("verify", "00 20 00 9A 05 31 32 33 34 35", 0x9000);
    card.Step("the new value alone", "00 24 01 1A 05 36 37 38 39 30", 0x9000);
    EXPECT_EQ(0, Card().VerifyAndChange(0x1A, m_abOld, 5, m_abNew, 5, 8));
    card.Step("verify", "00 20 00 9A 05 31 32 33 34 35", 0x6983);
    EXPECT_EQ(0x6983, Card().VerifyAndChange(0x1A, m_abOld, 5, m_abNew, 5, 8));
}

TEST_F(M4Security, WhatOnlyTheVariantHasIsRefused)
{
    CK_BYTE ab[256] = {};
    CK_ULONG cb = sizeof ab;
    EXPECT_EQ(-1, Card().ExtendBSO(0x20, 1, 0));
    EXPECT_EQ(-1, Card().ComputeSignature2048(ab, 20, ab, &cb));
    EXPECT_EQ(-1, Card().EncDec2048(0x8086, ab, 256, ab, &cb));
    EXPECT_EQ(-1, Card().CreateRsa2048Key(nullptr, ab, ab, ab, ab, ab, ab));
    EXPECT_EQ(0u, card.Count("Transmit"));
}

TEST_F(M4Security, EnvironmentIsRestoredThenSet)
{
    const struct {
        int iMode;
        SAnswer restored;
        bool bSet;
        long lResult;
    } rows[] = {
        {0, 0x9000, false, 0},
        {0, 0x6A88, false, 0}, // the refusal is not passed on
        {1, 0x6A88, false, 0},
        {1, 0x9000, true, 0x6A80},
        {0, SAnswer::Fail(SCARD_E_READER_UNAVAILABLE), false, SCARD_E_READER_UNAVAILABLE},
    };
    for (const auto& row : rows) {
        card.Step("RESTORE", "00 22 F3 05 00", row.restored);
        if (row.bSet) {
            card.Step("SET", "00 22 F1 B8 03 84 01 07", 0x6A80);
        }
        EXPECT_EQ(row.lResult, Card().LoadSecurityEnvironment(5, 0xB8, 7, row.iMode, 0));
    }
}

TEST_F(M4Security, KeyOfAnyFormAnswersTheChallengeWithItsMac)
{
    const auto key = FromHex("01 23 45 67 89 AB CD EF  FE DC BA 98 76 54 32 10 "
                             "89 AB CD EF 01 23 45 67");
    const struct {
        CK_ULONG ulKeyLen;
        std::vector<int> blocks; // of the key, as Triple-DES takes them
        CK_ULONG ulAsked;
        CK_BYTE bLe;
    } rows[] = {{8, {0, 0, 0}, 4, 8}, {16, {0, 1, 0}, 8, 8}, {24, {0, 1, 2}, 16, 16}};
    for (const auto& row : rows) {
        Bytes whole;
        for (const int i : row.blocks) {
            whole.insert(whole.end(), key.begin() + 8 * i, key.begin() + 8 * i + 8);
        }
        Bytes challenge(row.bLe, 0x5C);
        CK_BYTE mac[8];
        MAC3_AnsiPadded(whole.data(), challenge.data(), row.bLe, mac);
        challenge.insert(challenge.end(), {0x90, 0x00});
        card.Step("GET CHALLENGE", row.bLe == 8 ? "00 84 00 00 08" : "00 84 00 00 10", challenge);
        card.Step("EXTERNAL AUTHENTICATE", ("00 82 00 9C 08" + ToHex(mac, 8)).c_str(), 0x9000);
        EXPECT_EQ(0, Card().CRVerifyDes(0x1C, key.data(), row.ulKeyLen, row.ulAsked));
        EXPECT_EQ("01 9C", Verified());
    }
    card.Step("no challenge", "00 84 00 00 08", 0x6D00);
    EXPECT_EQ(0x6D00, Card().CRVerifyDes(0x1C, key.data(), 24, 8));
    card.Step("short challenge: a MAC over it would cost a try", "00 84 00 00 08",
              "01 02 03 04 05 06 07 90 00");
    EXPECT_EQ(-1, Card().CRVerifyDes(0x1C, key.data(), 24, 8));
    card.Step("challenge", "00 84 00 00 08", "01 02 03 04 05 06 07 08 90 00");
    card.Wildcard("refused", 0x6983);
    EXPECT_EQ(0x6983, Card().CRVerifyDes(0x1C, key.data(), 24, 8));
}

TEST_F(M4Security, ChallengeMustHaveEightBytes)
{
    const struct {
        std::size_t cb;
        CK_ULONG ulWanted;
        long lResult;
        const char* szTaken;
    } rows[] = {{8, 8, 0, "5C 5C 5C 5C 5C 5C 5C 5C"},
                {8, 3, 0, "5C 5C 5C 00 00 00 00 00"},
                {16, 8, -1, "00 00 00 00 00 00 00 00"},
                {7, 8, -1, "00 00 00 00 00 00 00 00"},
                {0, 8, -1, "00 00 00 00 00 00 00 00"}};
    for (const auto& row : rows) {
        Bytes answer(row.cb, 0x5C);
        answer.insert(answer.end(), {0x90, 0x00});
        CK_BYTE ab[8] = {};
        CK_ULONG ulWanted = row.ulWanted;
        card.Wildcard("GET CHALLENGE", answer);
        EXPECT_EQ(row.lResult, Card().GetChallenge(ab, &ulWanted));
        EXPECT_EQ(row.szTaken, ToHex(ab, 8));
        EXPECT_EQ(row.ulWanted, ulWanted);
    }
}

TEST_F(M4Security, AnswersGoOutOnlyWhereTheyFit)
{
    CK_BYTE in[] = {0xA1, 0xA2};
    CK_BYTE out[4] = {};
    const struct {
        const char* szCommand;
        std::function<long(CK_BYTE*, CK_ULONG*)> call;
    } rows[] = {
        {"00 88 00 34 02 A1 A2",
         [&](CK_BYTE* pb, CK_ULONG* pcb) {
             return Card().InternalAuthenticate(0x1234, in, 2, pb, pcb);
         }},
        {"00 2A 80 86 03 00 A1 A2 80", // padding indicator in front, Le behind
         [&](CK_BYTE* pb, CK_ULONG* pcb) { return Card().EncDec(0x8086, in, 2, pb, pcb); }},
        {"00 2A 86 80 02 A1 A2",
         [&](CK_BYTE* pb, CK_ULONG* pcb) { return Card().EncDec(0x8680, in, 2, pb, pcb); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szCommand);
        CK_ULONG cb = 0;
        card.Step("size query", row.szCommand, "B1 B2 B3 B4 90 00");
        EXPECT_EQ(0, row.call(nullptr, &cb));
        EXPECT_EQ(4u, cb);
        cb = 3;
        card.Step("too small", row.szCommand, "B1 B2 B3 B4 90 00");
        EXPECT_EQ(eM4Error_invalid_args, row.call(out, &cb));
        EXPECT_EQ(4u, cb);
        card.Step("fits", row.szCommand, "B1 B2 B3 90 00");
        EXPECT_EQ(0, row.call(out, &cb));
        EXPECT_EQ("B1 B2 B3", ToHex(out, cb));
        card.Step("refused", row.szCommand, 0x6982);
        EXPECT_EQ(0x6982, row.call(out, &cb));
        EXPECT_EQ(3u, cb);
    }
}

TEST_F(M4Security, SignatureHas128BytesOrIsRefused)
{
    CK_BYTE in[] = {0xA1};
    CK_BYTE out[200];
    for (const std::size_t cb : {128u, 127u, 129u, 0u}) {
        Bytes answer(cb, 0xB1);
        answer.insert(answer.end(), {0x90, 0x00});
        CK_ULONG cbOut = sizeof out;
        card.Step("sign", "00 2A 9E 9A 01 A1", answer);
        EXPECT_EQ(cb == 128 ? 0 : eM4Error_invalid_args,
                  Card().ComputeSignature(in, 1, out, &cbOut));
        EXPECT_EQ(cb == 128 ? 128u : sizeof out, cbOut);
    }
}

TEST_F(M4Security, KeyPairIsGeneratedBetweenTheLifeCycleSwitches)
{
    CK_BYTE exponent[] = {0x01, 0x00, 0x01};
    const struct {
        WORD wBits;
        CK_BYTE* pbExponent;
        const char* szCommand;
    } rows[] = {{0, nullptr, "00 46 00 00 06 20 07 50 15 00 08"},
                {1024, nullptr, "00 46 00 00 08 20 07 50 15 00 08 04 00"},
                {1024, exponent, "00 46 00 00 0D 20 07 50 15 00 08 04 00 04 00 01 00 01"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szCommand);
        card.Step("life cycle", "00 CA 01 83 00", "10 90 00");
        Ok("80 10 00 00 00");
        card.Step("generate", row.szCommand, SAnswer::Fail(SCARD_E_READER_UNAVAILABLE));
        card.Step("life cycle", "00 CA 01 83 00", "20 90 00");
        Ok("80 10 00 00 00");
        EXPECT_EQ(SCARD_E_READER_UNAVAILABLE,
                  Card().GenerateKeyPair(0x23, 7, 0x5015, row.wBits, row.pbExponent, 3));
    }
}

TEST_F(M4Security, EveryCommandGoesToItsDFFirstAndIgnoresHowThatWent)
{
    CK_BYTE ab[8] = {1};
    CK_ULONG cb = 8;
    const std::function<long()> calls[] = {
        [&] { return Card().Verify(1, ab, 8); },
        [&] { return Card().ChangeReferenceData(1, 0, ab, 8, nullptr, 0); },
        [&] { return Card().CRVerifyDes(1, ab, 8, 8); },
        [&] { return Card().ManageSecurityEnvironment(1, 0xB601, 0); },
        [&] { return Card().LoadSecurityEnvironment(1, 0xB6, 1, 2, 0); },
        [&] { return Card().InternalAuthenticate(0, ab, 8, ab, &cb); },
        [&] { return Card().EncDec(0x8086, ab, 8, ab, &cb); },
    };
    for (const auto& call : calls) {
        Card().m_bCurrentDFPhisicallySelected = 0;
        card.Step("the DF", "00 A4 08 0C 02 3F 00", 0x6985);
        card.Wildcard("itself", 0x6982);
        EXPECT_EQ(0x6982, call());
    }
}
} // namespace
