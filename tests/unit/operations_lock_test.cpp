// SPDX-License-Identifier: Apache-2.0
//
// Locking and reactivating the signature PIN: every command, every code, and the error channel.

#include "tests/support/operation_test.h"

#include "pindesk/constants.h"
#include "tests/support/process.h"
#include "tests/support/secure_card.h"

namespace {
const SAnswer READER = SAnswer::Fail(SCARD_E_READER_UNAVAILABLE);

class SignaturePin : public COperationTest {
protected:
    /// A challenge of cb bytes, answered with its MAC under a key of 24 bytes.
    void Authentication(const unsigned char* pKey, std::uint8_t cb, SAnswer answer)
    {
        const Bytes challenge = Random(cb);
        Step("00 84 00 00" + ToHex(&cb, 1), challenge + Bytes{0x90, 0x00});
        Step("00 82 00 9C 08" + ToHex(libcrypto::RetailMac({pKey, pKey + 24}, challenge)),
             std::move(answer));
    }
    /// GetFileInfo of a DF and the descriptor that goes back to it.
    void Rewritten(const std::string& fid, const char* szBefore, const char* szAfter)
    {
        Step("00 A4 08 0C 02 3F 00"); // the MF is known: the card goes there for the next command
        Step(std::string(fid == "3F 00" ? "00 A4 00 00 02" : "00 A4 09 00 02") + fid + "FF",
             ("6F 15 82 01 38 83 02" + fid + "85 01 00 86 09" + szBefore + "90 00").c_str());
        Step("00 A4 08 0C 02" + fid);
        Step(std::string("00 DA 01 6F 0C 86 0A") + szAfter + "FF");
    }
    const std::string m_deactivate = "00 04 00 00 02 00 1A";
    const std::string m_activate = "00 44 00 00 02 00 1A";
};

TEST_F(SignaturePin, IsLockedAndTheWaysBackAreClosed)
{
    for (long (*const run)(const SCall&) : {Deactivate, Lock}) {
        Begin();
        Authentication(m_abKey, 0x80, 0x9000);
        Step(m_deactivate);
        Authentication(pWRONG_DES3_KEY, 8, 0x63C1);
        Authentication(pWRONG_DES3_KEY, 8, SAnswer::Fail(SCARD_E_READER_UNAVAILABLE));
        Authentication(pWRONG_DES3_KEY, 8, 0x6983); // blocked at last
        Rewritten("3F 00", "01 02 03 04 05 06 07 00 09", "FF FF FF FF FF 06 FF 10 FF");
        Step("00 A4 08 0C 02 14 00");
        Rewritten("14 00", "01 02 03 04 05 06 07 08 09", "FF FF FF FF FF FF FF 10 FF");
        Step("00 A4 08 0C 02 2F FF");
        Rewritten("2F FF", "01 02 03 04 05 06 07 08 09", "FF 02 03 FF FF FF FF 08 FF");
        EXPECT_EQ(0, run({.bProtect = 1, .pKey = m_abKey}));
    }
}

TEST_F(SignaturePin, IsLockedAlsoWhenTheDirectoriesCannotBeRewritten)
{
    Begin();
    Step(m_deactivate);
    Step("00 A4 08 0C 02 3F 00");
    Step("00 A4 00 00 02 3F 00 FF", "6F 0E 82 01 38 86 09 01 02 03 04 05 06 07 44 09 90 00");
    Step("00 A4 08 0C 02 3F 00");
    Step("00 DA 01 6F 0C 86 0A FF FF FF FF FF 06 FF 44 FF FF", 0x6982); // kept: not open to all
    Step("00 A4 08 0C 02 14 00", 0x6A82);
    Step("00 A4 08 0C 02 2F FF", 0x6A82);
    EXPECT_EQ(0, Deactivate({.pKey = m_abKey})); // a key alone is not used
}

TEST_F(SignaturePin, LockingReportsTheStepThatFailed)
{
    Begin();
    Authentication(DEFAULT_DES3_KEY, 0x80, 0x63C2); // the library's own
    EXPECT_EQ(-27, Lock({.bProtect = 1}));
    for (const SAnswer& answer : {SAnswer(0x6982), SAnswer(0x6988), SAnswer("90"), READER}) {
        Begin();
        Step(m_deactivate, answer);
        const bool bStatusWord = answer.m_data && answer.m_data->size() == 2;
        EXPECT_EQ(bStatusWord ? -26 : -32, Lock());
    }
}

TEST_F(SignaturePin, ConditionsThatWereNotReadInFullAreNotWritten)
{
    for (const char* szFci :
         {"90 00", "6F 04 82 02 38 00 90 00", "86 09 01 02 03 04 05 06 07 08 09 90 00",
          "6F 0A 86 08 01 02 03 04 05 06 07 08 90 00"}) {
        Begin();
        Step(m_deactivate);
        Step("00 A4 08 0C 02 3F 00");
        Step("00 A4 00 00 02 3F 00 FF", szFci);
        Step("00 A4 08 0C 02 14 00", 0x6A82);
        Step("00 A4 08 0C 02 2F FF", 0x6A82);
        EXPECT_EQ(0, Lock());
    }
}

TEST_F(SignaturePin, BlockingTheKeyEndsWhenTheCardIsSilentTwiceInARow)
{
    const SAnswer shortChallenge("01 02 03 04 05 06 07 90 00");
    for (const SAnswer& silence : {READER, SAnswer(""), SAnswer(0x0000), shortChallenge}) {
        Begin();
        Authentication(m_abKey, 0x80, 0x9000);
        Step(m_deactivate);
        Step("00 84 00 00 08", shortChallenge);
        Authentication(pWRONG_DES3_KEY, 8, 0x63C2);
        card.Otherwise([&](const auto&) { return silence; });
        EXPECT_EQ(0, Lock({.bProtect = 1, .pKey = m_abKey}));
    }
}

TEST_F(SignaturePin, CarefulBlockingTheKeyGoesOnOnlyWhileTheKeyIsWrong)
{
    const CSetting careful("SETTING_TRY_GUARD", 1);
    const struct {
        SAnswer answer;
        int cRounds;
    } rows[] = {{0x6A88, 1}, {READER, 1}, {0x9000, 1}, {0x63C1, 16}, {0x6300, 16}};
    for (const auto& row : rows) {
        SelectMF();
        SelectDS();
        Authentication(m_abKey, 0x80, 0x9000);
        Step(m_deactivate);
        for (int i = 0; i < row.cRounds; ++i) {
            Authentication(pWRONG_DES3_KEY, 8, row.answer);
        }
        card.Otherwise([](const Bytes& command) {
            EXPECT_EQ(0xA4, command[1]);
            return SAnswer(0x6A82);
        });
        EXPECT_EQ(0, Lock({.bProtect = 1, .pKey = m_abKey}));
    }
}

TEST_F(SignaturePin, BlockingTheKeyEndsWithTheCard)
{
    Begin();
    Authentication(m_abKey, 0x80, 0x9000);
    Step(m_deactivate);
    Authentication(pWRONG_DES3_KEY, 8, 0x6300);
    card.Compute("pulled", [&](const auto&) {
        card.RemoveCard();
        return SAnswer::Fail(SCARD_W_REMOVED_CARD);
    });
    EXPECT_EQ(0, Lock({.bProtect = 1, .pKey = m_abKey}));
}

class Reactivation : public SignaturePin {
protected:
    const std::string m_verify = "00 20 00 9B 08" + Padded("87654321");
    const std::string m_reset = "00 2C 00 9A 10" + Padded("87654321") + Padded("12345");
    const std::string m_rewrite = "00 DA 01 6E 10 83 02 00 1A 86 0A 00 1A 1B FF 1B FF FF FF FF FF";
};

TEST_F(Reactivation, SetsANewPinWhenBothAreGivenAndRewritesTheObject)
{
    Begin();
    Step(m_verify);
    Step(m_activate);
    Step(m_reset);
    Step(m_rewrite);
    EXPECT_EQ(0, Reactivate("87654321", "12345"));

    Begin();
    Step(m_verify);
    Step(m_activate);
    Step(m_rewrite);
    EXPECT_EQ(0, Reactivate("87654321", nullptr));
}

TEST_F(Reactivation, WithoutAPukPresentsEightTimesFF)
{
    Begin();
    Step("00 20 00 9B 08" + Padded(""), 0x63C2);
    EXPECT_EQ(-25, Reactivate(nullptr, "12345"));
    Begin(); // and no try of a length that is not there reads beyond the buffer
    Step("00 20 00 9B 08" + Padded(""), 0x6700);
    Step("00 20 00 9B 05" + Padded("", 5), 0x6983);
    EXPECT_EQ(-35, Reactivate({nullptr, 5}, "12345"));
}

TEST_F(Reactivation, CountsANegativeLengthAsNoValue)
{
    Begin();
    Step("00 20 00 9B 08" + Padded(""));
    Step(m_activate);
    Step(m_rewrite);
    EXPECT_EQ(0, Reactivate({"87654321", -1}, "12345"));
}

TEST_F(Reactivation, CarefulNeverTakesAQuestionForTheTriesForThePuk)
{
    const CSetting careful("SETTING_TRY_GUARD", 1);
    SelectMF();
    SelectDS();
    Step("00 20 00 9B 08" + Padded(""), 0x6700);
    EXPECT_EQ(-25, Reactivate(nullptr, "12345"));
}

TEST_F(Reactivation, CarefulBlocksTheKeyOnlyAfterTheCardsOwnRefusal)
{
    const CSetting careful("SETTING_TRY_GUARD", 1);
    for (const SAnswer& answer : {SAnswer(""), READER, SAnswer(0x6F00), SAnswer(0x6982)}) {
        SelectMF();
        SelectDS();
        Step(m_verify);
        Step(m_activate);
        Step(m_rewrite, answer);
        if (answer.m_data == SAnswer(0x6982).m_data) {
            Authentication(pWRONG_DES3_KEY, 8, 0x6A88); // a card without such a key
        }
        EXPECT_EQ(0, Reactivate("87654321", nullptr));
    }
}

TEST_F(Reactivation, BoundsLengthsFromAboveAlone)
{
    EXPECT_EQ(-2, Reactivate({nullptr, 9}, {nullptr, 9}, {.lSlot = 0}));
    EXPECT_EQ(-63, Reactivate({nullptr, 9}, {nullptr, 9}));
    EXPECT_EQ(-62, Reactivate("87654321", "123456789"));
    EXPECT_TRUE(card.Log().empty());
    Begin();
    Step("00 20 00 9B 08" + Padded("4321"), 0x6700);
    Step("00 20 00 9B 04" + Padded("4321", 4));
    Step(m_activate);
    Step("00 2C 00 9A 0C" + Padded("4321", 4) + Padded("1"));
    Step(m_rewrite);
    EXPECT_EQ(0, Reactivate("4321", "1"));
}

TEST_F(Reactivation, RefusedRewriteBlocksTheKeyAndIsNotReported)
{
    Begin();
    Step(m_verify);
    Step(m_activate);
    Step(m_rewrite, 0x6982);
    Authentication(pWRONG_DES3_KEY, 8, 0x6300);
    Authentication(pWRONG_DES3_KEY, 8, 0x6983);
    EXPECT_EQ(0, Reactivate("87654321", nullptr));
}

TEST_F(Reactivation, ReferenceOutsideItsRangeLeavesTheObjectUnnamed)
{
    const CSetting pin("SETTING_CNS_DS_PIN", 0x9A);
    Begin();
    Step(m_verify);
    Step("00 44 00 00 02 00 9A");
    Step("00 DA 01 6E 10 83 02 00 00 86 0A 00 9A 1B FF 1B FF FF FF FF FF");
    EXPECT_EQ(0, Reactivate("87654321", nullptr));
}

TEST_F(Reactivation, ProtectsPukAndNewPinAlone)
{
    const Bytes key(DEFAULT_DES3_KEY, DEFAULT_DES3_KEY + 24);
    CSecureCard secure(card, key, key);
    Begin();
    secure.Expect("verify", m_verify.c_str(), 0x9000);
    Step(m_activate);
    secure.Expect("reset", m_reset.c_str(), 0x9000);
    Step(m_rewrite);
    EXPECT_EQ(0, Reactivate("87654321", "12345", {.bProtect = 1}));
}

/// One failing step, its result and what the error channel says of it.
struct SRefusal {
    int iStep; ///< verify, activate, reset
    SAnswer answer;
    long lResult;
    const char* szTrace;
};
const SRefusal REFUSALS[] = {
    {0, 0x6987, -10, "SecureMessaging error: SW=0x6987\n"},
    {0, 0x6A80, -10, "SecureMessaging error: SW=0x6A80\n"},
    {0, 0x6988, -10, "SecureMessaging error: SW=0x6988\n"},
    {0, 0x6983, -35, ""},
    {0, 0x63C2, -25, "Verify error: SW=0x63C2\n"},
    {1, READER, -32, "Transmit error: 0x80100017\n"},
    {1, 0x6987, -10, "SecureMessaging error: SW=0x0000\n"}, // 0 from here on: on purpose
    {1, 0x6985, -28, "Reactivating PIN error: SW=0x0000\n"},
    {2, READER, -32, "Transmit error: 0x80100017\n"},
    {2, 0x6988, -10, "ScureMessaging error: SW=0x0000\n"}, // spelt so
    {2, 0x6985, -29, "Setting New PIN error: SW=0x0000\n"},
};

TEST_F(Reactivation, ReportsTheStepThatFailed)
{
    for (const auto& refusal : REFUSALS) {
        Begin();
        const std::string* const steps[] = {&m_verify, &m_activate, &m_reset};
        for (int i = 0; i <= refusal.iStep; ++i) {
            Step(*steps[i], i == refusal.iStep ? refusal.answer : SAnswer(0x9000));
        }
        EXPECT_EQ(refusal.lResult, Reactivate("87654321", "12345"));
    }
}

TEST(ReactivationTraces, SayWhatFailedWhenTheLevelAsksForIt)
{
    // the test above again, in a process whose error channel was open from the start
    const auto run = [](const char* szLevel) {
        const SFinished child = RunProgram(
            {"/proc/self/exe", "--gtest_filter=Reactivation.ReportsTheStepThatFailed"}, {szLevel});
        EXPECT_EQ(0, child.status);
        return child.err;
    };
    std::string expected;
    for (const auto& refusal : REFUSALS) {
        expected += refusal.szTrace;
    }
    EXPECT_EQ(expected, run("CK_DEBUG_LEVEL=1"));
    EXPECT_EQ("", run("CK_DEBUG_LEVEL"));
}
} // namespace
