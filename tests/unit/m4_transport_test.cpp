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
        const auto command = FromHex(szCommand);
        CK_BYTE ab[20] = {};
        DWORD cb = sizeof ab;
        const long lResult = Card().Transmit(command.data(), command.size(), ab, &cb);
        m_answer = ToHex(ab, cb <= sizeof ab ? cb : 0);
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
        for (int i = 0; i < 10; ++i) {
            card.Step("attempt", READ, answer);
        }
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
    card.Step("too long", READ, Bytes(21));
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
    EXPECT_FALSE(Card().m_Cache.isSelectCached(DFEF_Path(FromHex("11 00").data(), 1, 1)));
    EXPECT_EQ(0, Card().m_bCurrentDFPhisicallySelected);
    EXPECT_FALSE(Card().Destroy());

    EXPECT_TRUE(Card().Create());
    Card().m_bCurrentDFPhisicallySelected = Card().m_bCurrentEFPhisicallySelected = 1;
    EXPECT_TRUE(Card().ReCreate());
    EXPECT_EQ(0, Card().m_bCurrentDFPhisicallySelected | Card().m_bCurrentEFPhisicallySelected);
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

TEST_F(M4Transport, AnotherCardIsKnownByNothingOfTheFirst)
{
    CK_BYTE ab[2] = {};
    WORD path[] = {0x1100, 0x1102};
    card.Step("select", "00 A4 08 0C 04 11 00 11 02", 0x9000);
    card.Step("read", "00 B0 00 00 02", "A1 A2 90 00");
    EXPECT_EQ(0, Card().PathSelectWORD(path, 2, 0));
    EXPECT_EQ(0, Card().ReadBinary(0, 2, ab));
    const DFEF_Path first = Card().m_Current_EF_path;
    Card().Attach(Card().Detach());
    EXPECT_EQ("", EF());
    EXPECT_FALSE(Card().m_Cache.isCached(first, 0, 2));
    EXPECT_EQ(0, Card().m_bCurrentDFPhisicallySelected | Card().m_bCurrentEFPhisicallySelected);
}

/// With the try guard switched on.
class TryGuard : public M4Transport {
    const CSetting m_guard{"SETTING_TRY_GUARD", 1};
};

constexpr const char* SECRET_COMMANDS[] = {
    "00 20 00 90 05 31 32 33 34 35", // VERIFY
    "00 24 01 10 05 31 32 33 34 35", // CHANGE REFERENCE DATA
    "90 24 33 01 02 AA BB",          // its form for key objects
    "00 2C 00 10 02 31 32",          // RESET RETRY COUNTER
    "00 82 00 9C 08 01 02 03 04 05 06 07 08",
    "0C 20 00 9A 03 87 01 01", // protected
    "00 DA 01 6E 03 8F 01 31", // PUT DATA of an object with its value
};

constexpr const char* UNREPEATABLE[] = {
    "80 10 00 00 00",          // PHASE CONTROL
    "00 46 00 00 02 27 05",    // GENERATE KEY PAIR
    "00 E0 00 00 02 6F 00",    // CREATE FILE
    "00 E4 00 00 02 11 02",    // DELETE FILE
    "00 E2 00 00 02 A1 A2",    // APPEND RECORD
    "0C E2 00 00 03 87 01 01", // protected
};

TEST_F(TryGuard, SendsOnceWhatDoesNotBearRepetition)
{
    std::vector<const char*> once(std::begin(SECRET_COMMANDS), std::end(SECRET_COMMANDS));
    once.insert(once.end(), std::begin(UNREPEATABLE), std::end(UNREPEATABLE));
    for (const char* szCommand : once) {
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
    for (const char* szCommand :
         {"00 84 00 00 08", "00 20 00 90 00", "00 DA 01 6F 02 86 00", READ}) {
        card.Step("first", szCommand, "");
        card.Step("second", szCommand, 0x9000);
        EXPECT_EQ(0, Send(szCommand));
    }
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", 0);
    card.Step("guard off", SECRET_COMMANDS[0], "");
    card.Step("second", SECRET_COMMANDS[0], 0x9000);
    EXPECT_EQ(0, Send(SECRET_COMMANDS[0]));
}

TEST_F(TryGuard, HoldsForTheBaseTransportAndItsRememberedCommand)
{
    const auto send = [&](const char* szCommand) {
        auto command = FromHex(szCommand);
        CK_BYTE ab[256];
        DWORD cb = 0;
        return Card().CSCard::Transmit(command.data(), command.size(), ab, &cb);
    };
    for (const SAnswer& answer : {SAnswer(0x6F00), SAnswer::Fail(0x12345679)}) {
        card.Step("only attempt", SECRET_COMMANDS[3], answer);
        EXPECT_EQ(answer.m_lCode, send(SECRET_COMMANDS[3]));
        card.Step("does not bring the secret back", "00 C0 00 00 02", answer);
        EXPECT_EQ(answer.m_lCode, send("00 C0 00 00 02"));
        for (int i = 0; i < 10; ++i) {
            card.Step("for ever", READ, answer);
        }
        EXPECT_EQ(answer.m_lCode, send(READ));
    }
}

TEST_F(TryGuard, LooksWhereTheCardIsAfterALostToggle)
{
    const SAnswer lost = SAnswer::Fail(SCARD_E_NOT_TRANSACTED);
    const struct {
        const char* szFound;
        SAnswer again; ///< to the second toggle, where the card has stayed
        long lResult;
    } rows[] = {{"10 90 00", 0x6985, 0},
                {"20 90 00", 0x9000, 0},
                {"20 90 00", 0x6985, 0x6985},
                {"90 00", 0x9000, SCARD_E_NOT_TRANSACTED}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szFound);
        card.Step("life cycle", "00 CA 01 83 00", "10 90 00");
        card.Step("lost, but done", "80 10 00 00 00", lost);
        card.Step("there", "00 CA 01 83 00", "20 90 00");
        card.Step("delete", "00 E4 00 00 02 11 02", 0x9000);
        card.Step("life cycle", "00 CA 01 83 00", "20 90 00");
        card.Step("lost", "80 10 00 00 00", lost);
        card.Step("where is it", "00 CA 01 83 00", row.szFound);
        if (row.szFound[0] == '2') {
            card.Step("once more", "80 10 00 00 00", row.again);
        }
        EXPECT_EQ(row.lResult, Card().DeleteFile(0x1102, 0));
    }
    card.Step("life cycle", "00 CA 01 83 00", "10 90 00");
    Ok("80 10 00 00 00");
    card.Step("delete", "00 E4 00 00 02 11 02", 0x9000);
    card.Step("nothing known of where it is", "00 CA 01 83 00", 0x9000);
    EXPECT_EQ(-1, Card().DeleteFile(0x1102, 0));
}

TEST_F(TryGuard, TrustsItsPositionAfterARefusalAlone)
{
    const std::pair<SAnswer, int> rows[] = {
        {0x6985, 1}, {0x6283, 0}, {SAnswer::Fail(SCARD_E_READER_UNAVAILABLE), 0}};
    for (const auto& [answer, nTrusted] : rows) {
        Card().m_bCurrentDFPhisicallySelected = 1;
        card.Step("selection", "00 A4 09 0C 02 11 00 FF", answer);
        EXPECT_NE(0, Card().SelectEx2(0x1100, nullptr, eFidDF, 1));
        EXPECT_EQ(nTrusted, Card().m_bCurrentDFPhisicallySelected);
    }
}

TEST_F(M4Transport, HasNoTryGuardAndAddsNoSettingWithoutOne)
{
    card.Step("first", SECRET_COMMANDS[0], "");
    card.Step("second", SECRET_COMMANDS[0], 0x9000);
    EXPECT_EQ(0, Send(SECRET_COMMANDS[0]));
    EXPECT_EQ(0u, g_settings_dict.count("SETTING_TRY_GUARD"));
}
} // namespace
