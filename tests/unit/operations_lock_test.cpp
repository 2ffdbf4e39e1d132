// SPDX-License-Identifier: Apache-2.0
//
// Locking and reactivating the signature PIN: every command, every code, and the error channel.

#include "tests/support/operation_test.h"

#include "pindesk/constants.h"
#include "tests/support/secure_card.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {
const SAnswer kReader = SAnswer::Fail(SCARD_E_READER_UNAVAILABLE);

class SignaturePin : public COperationTest {
protected:
    /// A challenge of cb bytes, answered with its MAC under a key of 24 bytes.
    void Authentication(const unsigned char* pKey, std::uint8_t cb, SAnswer answer)
    {
        Bytes challenge = libcrypto::Random(cb);
        const Bytes mac = libcrypto::RetailMac({pKey, pKey + 24}, challenge);
        challenge.insert(challenge.end(), {0x90, 0x00});
        Step("00 84 00 00" + scripted::ToHex(&cb, 1), challenge);
        Step("00 82 00 9C 08" + scripted::ToHex(mac.data(), 8), std::move(answer));
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
    void Begin()
    {
        SelectMF();
        SelectDS(0x6985); // not looked at
    }
    unsigned char m_abKey[24] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};
    const std::string m_deactivate = "00 04 00 00 02 00 1A";
    const std::string m_activate = "00 44 00 00 02 00 1A";
};

TEST_F(SignaturePin, IsLockedAndTheWaysBackAreClosed)
{
    using Lock = long(long, char*, unsigned char*, BOOL);
    for (Lock* pLock : {DS_DeactivatePin, DS_LockPin}) {
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
        EXPECT_EQ(0, pLock(1, nullptr, m_abKey, 1));
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
    EXPECT_EQ(0, DS_DeactivatePin(1, nullptr, m_abKey, 0)); // a key alone is not used
}

TEST_F(SignaturePin, LockingReportsTheStepThatFailed)
{
    Begin();
    Authentication(DEFAULT_DES3_KEY, 0x80, 0x63C2); // the library's own
    EXPECT_EQ(-27, DS_LockPin(1, nullptr, nullptr, 1));
    for (const SAnswer& answer : {SAnswer(0x6982), SAnswer(0x6988), SAnswer("90"), kReader}) {
        Begin();
        Step(m_deactivate, answer);
        EXPECT_EQ(answer.m_lCode == 0 ? -26 : -32, DS_LockPin(1, nullptr, nullptr, 0));
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
    EXPECT_EQ(0, DS_LockPin(1, nullptr, m_abKey, 1));
}

class Reactivation : public SignaturePin {
protected:
    static long Call(const SPin& puk, const SPin& newPin, BOOL bProtect = 0)
    {
        return DS_ReactivatePin(1, nullptr, puk.pb, puk.cb, newPin.pb, newPin.cb, nullptr, 1,
                                nullptr, bProtect);
    }
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
    EXPECT_EQ(0, Call("87654321", "12345"));

    Begin();
    Step(m_verify);
    Step(m_activate);
    Step(m_rewrite);
    EXPECT_EQ(0, Call("87654321", nullptr));
}

TEST_F(Reactivation, WithoutAPukPresentsEightTimesFF)
{
    Begin();
    Step("00 20 00 9B 08" + Padded(""), 0x63C2);
    EXPECT_EQ(-25, Call(nullptr, "12345"));
    Begin(); // and no try of a length that is not there reads beyond the buffer
    Step("00 20 00 9B 08" + Padded(""), 0x6700);
    Step("00 20 00 9B 05" + Padded("", 5), 0x6983);
    EXPECT_EQ(-35, Call({nullptr, 5}, "12345"));
}

TEST_F(Reactivation, BoundsLengthsFromAboveAlone)
{
    EXPECT_EQ(-2, DS_ReactivatePin(0, nullptr, nullptr, 9, nullptr, 9, nullptr, 0, nullptr, 0));
    EXPECT_EQ(-63, Call({nullptr, 9}, {nullptr, 9}));
    EXPECT_EQ(-62, Call("87654321", "123456789"));
    EXPECT_TRUE(card.Log().empty());
    Begin();
    Step("00 20 00 9B 08" + Padded("4321"), 0x6700);
    Step("00 20 00 9B 04" + Padded("4321", 4));
    Step(m_activate);
    Step("00 2C 00 9A 0C" + Padded("4321", 4) + Padded("1"));
    Step(m_rewrite);
    EXPECT_EQ(0, Call("4321", "1"));
}

TEST_F(Reactivation, RefusedRewriteBlocksTheKeyAndIsNotReported)
{
    Begin();
    Step(m_verify);
    Step(m_activate);
    Step(m_rewrite, 0x6982);
    Authentication(pWRONG_DES3_KEY, 8, 0x6300);
    Authentication(pWRONG_DES3_KEY, 8, 0x6983);
    EXPECT_EQ(0, Call("87654321", nullptr));
}

TEST_F(Reactivation, ReferenceOutsideItsRangeLeavesTheObjectUnnamed)
{
    const CSetting pin("SETTING_CNS_DS_PIN", 0x9A);
    Begin();
    Step(m_verify);
    Step("00 44 00 00 02 00 9A");
    Step("00 DA 01 6E 10 83 02 00 00 86 0A 00 9A 1B FF 1B FF FF FF FF FF");
    EXPECT_EQ(0, Call("87654321", nullptr));
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
    EXPECT_EQ(0, Call("87654321", "12345", 1));
}

/// One failing step, its result and what the error channel says of it.
struct SRefusal {
    int iStep; ///< verify, activate, reset
    SAnswer answer;
    long lResult;
    const char* szTrace;
};
const SRefusal kRefusals[] = {
    {0, 0x6987, -10, "SecureMessaging error: SW=0x6987\n"},
    {0, 0x6A80, -10, "SecureMessaging error: SW=0x6A80\n"},
    {0, 0x6988, -10, "SecureMessaging error: SW=0x6988\n"},
    {0, 0x6983, -35, ""},
    {0, 0x63C2, -25, "Verify error: SW=0x63C2\n"},
    {1, kReader, -32, "Transmit error: 0x80100017\n"},
    {1, 0x6987, -10, "SecureMessaging error: SW=0x0000\n"}, // 0 from here on: on purpose
    {1, 0x6985, -28, "Reactivating PIN error: SW=0x0000\n"},
    {2, kReader, -32, "Transmit error: 0x80100017\n"},
    {2, 0x6988, -10, "ScureMessaging error: SW=0x0000\n"}, // spelt so
    {2, 0x6985, -29, "Setting New PIN error: SW=0x0000\n"},
};

TEST_F(Reactivation, ReportsTheStepThatFailed)
{
    for (const auto& refusal : kRefusals) {
        Begin();
        const std::string* const steps[] = {&m_verify, &m_activate, &m_reset};
        for (int i = 0; i <= refusal.iStep; ++i)
            Step(*steps[i], i == refusal.iStep ? refusal.answer : SAnswer(0x9000));
        EXPECT_EQ(refusal.lResult, Call("87654321", "12345"));
    }
}

TEST(ReactivationTraces, SayWhatFailedWhenTheLevelAsksForIt)
{
    // the test above again, in a process whose error channel was open from the start
    const auto run = [](const std::string& environment) {
        std::string text;
        char szLine[200];
        FILE* const pPipe =
            popen((environment + " /proc/" + std::to_string(getpid()) +
                   "/exe --gtest_filter=Reactivation.ReportsTheStepThatFailed 2>&1 >/dev/null")
                      .c_str(),
                  "r");
        while (std::fgets(szLine, sizeof szLine, pPipe))
            text += szLine;
        EXPECT_EQ(0, pclose(pPipe));
        return text;
    };
    std::string expected;
    for (const auto& refusal : kRefusals)
        expected += refusal.szTrace;
    EXPECT_EQ(expected, run("CK_DEBUG_LEVEL=1"));
    EXPECT_EQ("", run("unset CK_DEBUG_LEVEL;"));
}
} // namespace
