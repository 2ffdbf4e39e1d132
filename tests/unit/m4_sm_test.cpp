// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: the dialogue of secure messaging, against a card that checks and protects for itself.

#include "cardlib/scardcardosm4.h"
#include "cardlib/support/careful.h"
#include "tests/support/secure_card.h"
#include "tests/support/session_test.h"

namespace {
const Bytes SIG = FromHex("0123456789ABCDEF 23456789ABCDEF01 456789ABCDEF0123");
const Bytes ENC = FromHex("89ABCDEF01234567 AB0123456789CDEF CDEF0123456789AB");
constexpr char PLAIN_VERIFY[] = "00 20 00 9A 08 31 32 33 34 35 FF FF FF";

class M4Sm : public CSessionTest<CSCardCardOSM4> {
protected:
    void SetUp() override
    {
        CSessionTest::SetUp();
        Card().SetSMxCMode(1, SIG.data(), ENC.data(), nullptr, 0);
    }
    long Send(const char* szCommand, DWORD cbRoom = 256)
    {
        const auto command = FromHex(szCommand);
        CK_BYTE ab[260] = {};
        DWORD cb = cbRoom;
        const long lResult = Card().Transmit(command.data(), command.size(), ab, &cb);
        m_answer = lResult == 0 ? ToHex(ab, cb) : "";
        return lResult;
    }
    void SetList(std::vector<CK_BYTE> instructions)
    {
        Card().SetSMxCMode(1, nullptr, nullptr, instructions.data(), instructions.size());
    }
    CSecureCard secure{card, SIG, ENC};
    std::string m_answer;
    CK_ULONG m_cb = 0;
};

TEST_F(M4Sm, EveryCommandIsProtectedWithFreshRandoms)
{
    secure.Expect("with data", PLAIN_VERIFY, 0x9000);
    EXPECT_EQ(0, Send(PLAIN_VERIFY));
    EXPECT_EQ("90 00", m_answer);
    secure.Expect("five bytes: the last is Le", "00 B0 00 00 00",
                  [&] { return secure.Protect("A1 A2 A3"); });
    EXPECT_EQ(0, Send("00 B0 00 00 10"));
    EXPECT_EQ("A1 A2 A3 90 00", m_answer);
    secure.Expect("data and Le", "00 88 00 00 02 A1 A2",
                  [&] { return secure.Protect("B1 B2 B3 B4 B5 B6 B7 B8", 0x6100); });
    EXPECT_EQ(0, Send("00 88 00 00 02 A1 A2 80"));
    EXPECT_EQ("B1 B2 B3 B4 B5 B6 B7 B8 61 00", m_answer);
}

TEST_F(M4Sm, ListNamesWhatIsProtectedButNeverTheRandoms)
{
    SetList({0x20, 0x84, 0x86});
    card.Step("plain", "00 B0 00 00 10", 0x6B00);
    EXPECT_EQ(0, Send("00 B0 00 00 10"));
    secure.Expect("protected", PLAIN_VERIFY, 0x63C2);
    EXPECT_EQ(0, Send(PLAIN_VERIFY));
    EXPECT_EQ("63 C2", m_answer);
    EXPECT_TRUE(Card().m_bUseSMxCMode);

    SetList({0xB0}); // replaces the list, keeps the keys
    card.Step("plain", PLAIN_VERIFY, 0x9000);
    EXPECT_EQ(0, Send(PLAIN_VERIFY));
    secure.Expect("protected", "00 B0 00 00 00", 0x6982);
    EXPECT_EQ(0, Send("00 B0 00 00 10"));
}

TEST_F(M4Sm, ListMayBeTheSessionsOwn)
{
    SetList({0x20, 0xB0});
    Card().SetSMxCMode(1, Card().m_Des3Key_SIG, Card().m_Des3Key_ENC, Card().m_pbINSList + 1, 1);
    EXPECT_EQ(0xB0, Card().m_pbINSList[0]);
    EXPECT_EQ(1u, Card().m_ulINSListLen);
}

TEST_F(M4Sm, ObjectThatTheEnvelopeWouldCutIsRefusedBeforeAnything)
{
    _M4_BSO_info info;
    info.ObjectDataLen = 256 - 44;
    Card().m_bCurrentDFPhisicallySelected = 1;
    EXPECT_EQ(eM4Error_invalid_args, Card().CreateBSO(&info, 0));
    EXPECT_EQ(eM4Error_invalid_args, Card().InternalAuthenticate(0, nullptr, 256, nullptr, &m_cb));
    EXPECT_EQ(0u, card.Count("Transmit"));
}

TEST_F(M4Sm, SwitchingOffWipesTheKeysAndSendsPlain)
{
    SetList({0x20});
    Card().SetSMxCMode(0, SIG.data(), ENC.data(), nullptr, 0);
    EXPECT_EQ(Bytes(24), Bytes(Card().m_Des3Key_SIG, Card().m_Des3Key_SIG + 24));
    EXPECT_EQ(Bytes(24), Bytes(Card().m_Des3Key_ENC, Card().m_Des3Key_ENC + 24));
    EXPECT_EQ(nullptr, Card().m_pbINSList);
    card.Step("plain", PLAIN_VERIFY, 0x9000);
    EXPECT_EQ(0, Send(PLAIN_VERIFY));
    Card().SetSMxCMode(1, SIG.data(), ENC.data(), nullptr, 0); // the length of the list is stale
    secure.Expect("all again", "00 B0 00 00 00", 0x6982);
    EXPECT_EQ(0, Send("00 B0 00 00 10"));
}

TEST_F(M4Sm, WithoutRandomsTheCommandIsNotSent)
{
    card.Step("no challenge", "00 84 00 00 08", 0x6D00);
    EXPECT_EQ(0x6D00, Send(PLAIN_VERIFY));
    card.Step("long challenge", "00 84 00 00 08", "01 02 03 04 05 06 07 08 09 90 00");
    EXPECT_EQ(-1, Send(PLAIN_VERIFY));
    card.Step("challenge", "00 84 00 00 08", "01 02 03 04 05 06 07 08 90 00");
    card.Wildcard("random refused", 0x6985);
    EXPECT_EQ(0x6985, Send(PLAIN_VERIFY));
    EXPECT_TRUE(Card().m_bUseSMxCMode);
}

TEST_F(M4Sm, CommandShorterThanItSaysIsRefusedBeforeAnything)
{
    for (const char* szCommand : {"00", "00 20 00 9A", "00 20 00 9A 02 31"}) {
        EXPECT_EQ(-1, Send(szCommand)) << szCommand;
    }
    EXPECT_EQ(0u, card.Count("Transmit"));
}

TEST_F(M4Sm, CommandTooLongForItsEnvelopeIsRefused)
{
    secure.ExpectRandoms();
    const Bytes data(240, 0xA1);
    EXPECT_EQ(-1, Send(("00 D6 00 00 F0" + ToHex(data)).c_str()));
}

TEST_F(M4Sm, AnswersAreOpenedOrHandedOverOrRefused)
{
    const auto spoiled = [&](std::size_t iFromEnd) {
        Bytes answer = secure.Protect("A1 A2 A3");
        answer[answer.size() - iFromEnd] ^= 0x01;
        return SAnswer(answer);
    };
    const struct {
        const char* szWhat;
        std::function<SAnswer()> answer;
        DWORD cbRoom;
        long lResult;
        const char* szAnswer;
    } rows[] = {
        {"bare status word", [] { return SAnswer(0x6982); }, 2, 0, "69 82"},
        {"bare, no room", [] { return SAnswer(0x6982); }, 1, 0, "69"},
        {"half a status word", [] { return SAnswer("AA"); }, 256, 0, "AA"},
        {"protected", [&] { return SAnswer(secure.Protect("A1 A2 A3")); }, 3, 0, "A1 A2 A3 90 00"},
        {"cut to the room, status word beyond it",
         [&] { return SAnswer(secure.Protect("A1 A2 A3")); }, 2, 0, "A1 A2 90 00"},
        {"wrong checksum", [&] { return spoiled(3); }, 256, 0x6C00, ""},
        {"wrong cryptogram", [&] { return spoiled(13); }, 256, 0x6C00, ""},
        {"wrong padding", [&] { return SAnswer(secure.Seal(Bytes(8, 0x11))); }, 256, 0x6C00, ""},
        {"no data in the cryptogram", [] { return SAnswer("87 00 90 00"); }, 256, 0x6C00, ""},
        {"plain object, no checksum", [] { return SAnswer("81 02 A1 A2 90 00"); }, 256, 0,
         "A1 A2 90 00"},
        {"not protected", [] { return SAnswer("99 02 90 00 90 00"); }, 6, 0, "99 02 90 00 90 00"},
        {"a status word that is no object ends the chain of them",
         [] { return SAnswer("81 02 A1 A2 62 83"); }, 256, 0, "81 02 A1 A2 62 83"},
        {"not protected, no room", [] { return SAnswer("99 02 90 00 90 00"); }, 5, 0x6A80, ""},
        {"reader", [] { return SAnswer::Fail(SCARD_E_READER_UNAVAILABLE); }, 256,
         SCARD_E_READER_UNAVAILABLE, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szWhat);
        secure.Expect(row.szWhat, PLAIN_VERIFY, row.answer);
        EXPECT_EQ(row.lResult, Send(PLAIN_VERIFY, row.cbRoom));
        EXPECT_EQ(row.szAnswer, m_answer);
    }
}

TEST_F(M4Sm, OnlyOneAnswerOfTwoBytesIsASuccess)
{
    const CCareful care(true); // an answer without a status word is not asked for again
    for (int i = -1; i <= 0xFFFF; ++i) {
        Bytes answer;
        if (i > 0xFF) {
            answer = {static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)};
        } else if (i >= 0) {
            answer = {static_cast<std::uint8_t>(i)};
        }
        secure.Expect("short", PLAIN_VERIFY, [&] { return SAnswer(answer); });
        const long lResult = Send(PLAIN_VERIFY);
        ASSERT_EQ(i == 0x9000, lResult == 0 && m_answer == "90 00") << ToHex(answer);
    }
}

TEST_F(M4Sm, AnAnswerWithOneWrongByteIsNeverOpened)
{
    const CCareful care(true);
    const Bytes whole = secure.Protect("A1 A2 A3");
    for (std::size_t iByte = 0; iByte + 2 < whole.size(); ++iByte) { // up to the status word
        for (int iWrong = 1; iWrong <= 0xFF; ++iWrong) {
            Bytes answer;
            secure.Expect("wrong byte", PLAIN_VERIFY, [&] {
                answer = secure.Protect("A1 A2 A3");
                answer[iByte] = static_cast<std::uint8_t>(answer[iByte] ^ iWrong);
                return SAnswer(answer);
            });
            const long lResult = Send(PLAIN_VERIFY);
            // refused, or handed over as it came, for the caller to see that it is not protected
            EXPECT_TRUE(lResult != 0 || m_answer == ToHex(answer))
                << "byte " << iByte << ", " << iWrong << ": " << m_answer;
        }
    }
}

TEST_F(M4Sm, SignedAndEncipheredCommandTakesAllBehindTheHeaderForData)
{
    Card().SetSMxCMode(0, nullptr, nullptr, nullptr, 0);
    const Bytes mac = libcrypto::RetailMac(SIG, FromHex("20 00 9A 0B 31 32 00"));
    Bytes clear = FromHex("31 32 00"); // the last byte could have been Le
    clear.insert(clear.end(), mac.begin(), mac.end());
    const Bytes cipher = libcrypto::Encipher(SIG, libcrypto::IsoPadded(clear));
    card.Step("SMx4", ("00 20 00 9A 10" + ToHex(cipher)).c_str(), "87 01 02 63 C1");
    const auto command = FromHex("00 20 00 9A 02 31 32 00");
    CK_BYTE ab[16];
    DWORD cb = sizeof ab;
    EXPECT_EQ(0, Card().Transmit_SMx4(SIG.data(), command.data(), command.size(), ab, &cb));
    EXPECT_EQ("87 01 02 63 C1", ToHex(ab, cb)); // unchanged
    EXPECT_EQ(-1, Card().Transmit_SMx4(SIG.data(), command.data(), 4, ab, &cb));
}
} // namespace
