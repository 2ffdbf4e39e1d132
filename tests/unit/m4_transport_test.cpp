// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: connecting, the plain transport with its attempts, and the try guard in both
// transports.

#include "cardlib/scardcardosm4.h"
#include "tests/support/operation_test.h"
#include "tests/support/session_test.h"

namespace {
class M4Transport : public CSessionTest<CSCardCardOSM4> {
protected:
    void SetUp() override
    {
        CSessionTest::SetUp();
        Card().m_bCurrentDFPhisicallySelected = 1; // no selection in front of the commands
    }
    /// Sends through the switch of the family, with room for an answer of 20 bytes.
    long Send(const char* szCommand)
    {
        const auto command = scripted::FromHex(szCommand);
        CK_BYTE ab[20] = {};
        DWORD cb = sizeof ab;
        const long lResult = Card().Transmit(command.data(), command.size(), ab, &cb);
        m_answer = scripted::ToHex(ab, cb <= sizeof ab ? cb : 0);
        return lResult;
    }
    void UseT0()
    {
        card.Protocol(SCARD_PROTOCOL_T0);
        Card().m_dwActiveProtocol = SCARD_PROTOCOL_T0;
    }
    std::string m_answer;
};

constexpr char READ[] = "00 B0 00 00 04";

TEST_F(M4Transport, PassingFailuresAndEmptyAnswersAreTriedTenTimesInAll)
{
    const SAnswer passing[] = {SAnswer::Fail(SCARD_E_NOT_READY),
                               SAnswer::Fail(SCARD_F_COMM_ERROR),
                               SAnswer::Fail(SCARD_F_UNKNOWN_ERROR),
                               SAnswer::Fail(SCARD_E_NOT_TRANSACTED),
                               SAnswer(""),
                               SAnswer::Fail(SCARD_E_READER_UNAVAILABLE, "")};
    for (const auto& answer : passing) {
        SCOPED_TRACE(answer.m_lCode);
        const std::size_t cBefore = card.Pauses().size();
        for (int i = 0; i < 10; ++i)
            card.Step("attempt", READ, answer);
        EXPECT_EQ(answer.m_lCode, Send(READ));
        EXPECT_EQ(cBefore + 9, card.Pauses().size());

        card.Step("attempt", READ, answer);
        card.Step("this time", READ, "01 02 03 04 90 00"); // in the whole capacity again
        EXPECT_EQ(0, Send(READ));
        EXPECT_EQ("01 02 03 04 90 00", m_answer);
    }
    EXPECT_EQ(std::vector<unsigned>(60, 50000), card.Pauses());
}

TEST_F(M4Transport, OtherFailuresAreHandedOverAtOnce)
{
    for (const LONG lCode : {SCARD_E_READER_UNAVAILABLE, SCARD_W_RESET_CARD, SCARD_E_NO_SERVICE}) {
        card.Step("attempt", READ, SAnswer::Fail(lCode));
        EXPECT_EQ(lCode, Send(READ));
    }
    card.Step("too long", READ, scripted::Bytes(21));
    EXPECT_EQ(SCARD_E_INSUFFICIENT_BUFFER, Send(READ));
    card.RemoveCard();
    EXPECT_EQ(-1, Send(READ));
}

TEST_F(M4Transport, WaitingDataIsFetchedOnceAndOnlyAfter6100WithT0)
{
    card.Step("T=1", READ, 0x6100);
    EXPECT_EQ(0, Send(READ));
    EXPECT_EQ("61 00", m_answer);

    UseT0();
    card.Step("length known", READ, 0x6110);
    EXPECT_EQ(0, Send(READ));
    EXPECT_EQ("61 10", m_answer);
    card.Step("T=0", READ, 0x6100);
    card.Step("GET RESPONSE of 6 bytes", "A0 C0 00 00 00 14", 0x6100);
    EXPECT_EQ(0, Send(READ));
    EXPECT_EQ("61 00", m_answer);
    card.Step("T=0", READ, 0x6100);
    card.Step("GET RESPONSE, one attempt", "A0 C0 00 00 00 14", SAnswer::Fail(SCARD_E_NOT_READY));
    EXPECT_EQ(SCARD_E_NOT_READY, Send(READ));
}

TEST_F(M4Transport, SessionEndsForgettingPositionAndCacheAndCanBeginAgain)
{
    card.Step("select", "00 A4 08 0C 02 11 00", 0x9000);
    WORD path[] = {0x1100};
    EXPECT_EQ(0, Card().PathSelectWORD(path, 1, 1));
    Card().m_Current_DF_path.m_PinId = 0x81;
    EXPECT_TRUE(Card().Destroy());
    EXPECT_EQ(" DF", DF());
    EXPECT_EQ(" DF", EF());
    EXPECT_EQ(0, Card().m_Current_EF_path.m_PinId);
    EXPECT_FALSE(Card().m_Cache.isSelectCached(DFEF_Path(scripted::FromHex("11 00").data(), 1, 1)));
    EXPECT_FALSE(Card().Destroy());

    EXPECT_TRUE(Card().Create());
    EXPECT_TRUE(Card().ReCreate());
    card.FailCall("SCardReconnect", SCARD_W_UNRESPONSIVE_CARD);
    EXPECT_FALSE(Card().ReCreate());
    EXPECT_TRUE(Card().Destroy());
    card.FailCall("SCardConnect", SCARD_E_SHARING_VIOLATION);
    EXPECT_FALSE(Card().Create());
    EXPECT_STREQ("M4", Card().GetModelName());
}

TEST_F(M4Transport, VersionIsToldByTheTwoBytesInFrontOfTheStatusWord)
{
    const struct {
        SAnswer answer;
        long lVersion;
    } rows[] = {
        {"C8 04 90 00", 1},    {"00 01 90 00", 1}, {"00 00 90 00", 0},
        {"01 00 00 90 00", 0}, {"C8 04 6A 82", 1}, // the status word is not looked at
        {"04 90 00", 0},       {0x6A88, 0},        {SAnswer::Fail(SCARD_E_NO_SMARTCARD), 0}};
    for (const auto& row : rows) {
        card.Step("GET DATA", "00 CA 01 82 02", row.answer);
        EXPECT_EQ(row.lVersion, Card().GetVer());
    }
}

/// With the try guard switched on.
class TryGuard : public M4Transport {
    const CSetting m_guard{"SETTING_TRY_GUARD", 1};
};

constexpr const char* kSecretCommands[] = {
    "00 20 00 90 05 31 32 33 34 35", // VERIFY
    "00 24 01 10 05 31 32 33 34 35", // CHANGE REFERENCE DATA
    "90 24 33 01 02 AA BB",          // its form for key objects
    "00 2C 00 10 02 31 32",          // RESET RETRY COUNTER
    "00 82 00 9C 08 01 02 03 04 05 06 07 08",
    "0C 20 00 9A 03 87 01 01", // protected
};

TEST_F(TryGuard, SendsACommandWithASecretOnce)
{
    for (const char* szCommand : kSecretCommands) {
        SCOPED_TRACE(szCommand);
        card.Step("only attempt", szCommand, SAnswer::Fail(SCARD_E_NOT_TRANSACTED));
        EXPECT_EQ(SCARD_E_NOT_TRANSACTED, Send(szCommand));
        card.Step("only attempt", szCommand, "");
        EXPECT_EQ(0, Send(szCommand));
        EXPECT_EQ("", m_answer);
    }
    EXPECT_TRUE(card.Pauses().empty());
}

TEST_F(TryGuard, LeavesTheOtherCommandsTheirAttempts)
{
    for (const char* szCommand : {"00 84 00 00 08", "00 20 00 90 00", READ}) {
        card.Step("first", szCommand, "");
        card.Step("second", szCommand, 0x9000);
        EXPECT_EQ(0, Send(szCommand));
    }
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", 0);
    card.Step("guard off", kSecretCommands[0], "");
    card.Step("second", kSecretCommands[0], 0x9000);
    EXPECT_EQ(0, Send(kSecretCommands[0]));
}

TEST_F(TryGuard, HoldsForTheBaseTransportAndItsRememberedCommand)
{
    const auto send = [&](const char* szCommand) {
        auto command = scripted::FromHex(szCommand);
        CK_BYTE ab[256];
        DWORD cb = 0;
        return Card().CSCard::Transmit(command.data(), command.size(), ab, &cb);
    };
    for (const SAnswer& answer : {SAnswer(0x6F00), SAnswer::Fail(0x12345679)}) {
        card.Step("only attempt", kSecretCommands[3], answer);
        EXPECT_EQ(answer.m_lCode, send(kSecretCommands[3]));
        card.Step("does not bring the secret back", "00 C0 00 00 02", answer);
        EXPECT_EQ(answer.m_lCode, send("00 C0 00 00 02"));
    }
}

TEST_F(M4Transport, HasNoTryGuardAndAddsNoSettingWithoutOne)
{
    card.Step("first", kSecretCommands[0], "");
    card.Step("second", kSecretCommands[0], 0x9000);
    EXPECT_EQ(0, Send(kSecretCommands[0]));
    EXPECT_EQ(0u, g_settings_dict.count("SETTING_TRY_GUARD"));
}
} // namespace
