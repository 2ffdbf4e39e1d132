// SPDX-License-Identifier: Apache-2.0
//
// The virtual card as its users see it: the program and its files behind a real pcscd, and PC/SC's
// own behaviour, for which the same tests run over the real service and over the in-process one.

#include "tests/support/vcard.h"
#include "tests/system/pcsc.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {

TEST(VirtualCard, KeepsItsStateInAFileAndItsSecretsOutOfTheLog)
{
    const CScratchDirectory files;
    const Words options = {"--state", files / "state"};
    {
        CVirtualCard card(options);
        CPcsc pcsc;
        ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
        EXPECT_EQ("63 C2", pcsc.Send(WRONG_CNS_PIN));
        EXPECT_EQ("6E 00", pcsc.Send(FromHex("80 DA 01 6E 02 31 31"))); // not the class for it
        EXPECT_EQ(std::string::npos, card.Log().find("31 31"));
        EXPECT_NE(std::string::npos,
                  card.Log().find("1 > 00 20 00 10 08 ** ** ** ** ** ** ** **  VERIFY"));
        EXPECT_EQ(EXIT_SUCCESS, card.Remove());
    }
    const auto permissions = std::filesystem::status(files / "state").permissions();
    EXPECT_EQ(std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
              permissions);

    const CVirtualCard card(options);
    EXPECT_EQ(2, card.TriesLeft("cns-pin"));
    EXPECT_EQ(1, card.Presented("cns-pin"));
}

TEST(VirtualCard, RefusesWhatItCannotBe)
{
    const CScratchDirectory files;
    std::ofstream(files / "broken") << "{\"profile\":";
    std::ofstream(files / "foreign") << "{\"a\": 1}";
    std::ofstream(files / "silent") << "atr 3B 00\n< 90 00\n"; // an answer to nothing
    const Words refused[] = {
        {"--profile", "unheard-of"},
        {"--serial", "short"},
        {"--protocol", "t2"},
        {"--atr", "3B 01"},
        {"--fault", "0:empty"},
        {"--fault", "1:sw=123"},
        {"--fault", "1+:empty,7:empty"},
        {"--fault", "1:pcsc=80100016"},
        {"--fault", "1:killed"},
        {"--replay", files / "silent"},
        {"--replay", files / "foreign"},
        {"--state", files / "broken"},
        {"--state", files / "foreign"},
        {"--state", files / "missing/state"},
        {"--port", "1"},
    };
    for (const Words& options : refused) {
        Words command = {PINDESK_VCARD_PROGRAM};
        command.insert(command.end(), options.begin(), options.end());
        EXPECT_NE(EXIT_SUCCESS, RunProgram(command).status) << options[0] << ' ' << options[1];
    }
    EXPECT_EQ("{\"profile\":", files.Read("broken")); // what can't be read is not overwritten
}

TEST(VirtualCard, PlaysFaultsAtTheChosenExchange)
{
    struct SRow {
        const char* szFault;
        LONG lResult;
        std::size_t cbAnswer;
        int iPresented;
    };
    const SRow rows[] = {
        {"2:empty", SCARD_S_SUCCESS, 0, 1},   {"2:empty-before", SCARD_S_SUCCESS, 0, 0},
        {"2:removed", SCARD_S_SUCCESS, 0, 0}, {"2:removed-after", SCARD_S_SUCCESS, 0, 1},
        {"2:bytes=1", SCARD_S_SUCCESS, 1, 1}, {"2:bytes=300", SCARD_E_INSUFFICIENT_BUFFER, 300, 1},
        {"2:sw=6F00", SCARD_S_SUCCESS, 2, 0}, {"2+:sw-after=6F00", SCARD_S_SUCCESS, 2, 1},
    };
    for (const SRow& row : rows) {
        SCOPED_TRACE(row.szFault);
        const CVirtualCard card({"--fault", row.szFault});
        CPcsc pcsc;
        Bytes answer;
        ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
        ASSERT_EQ("90 00", pcsc.Send(SELECT_MF));
        EXPECT_EQ(row.lResult, pcsc.Transmit(WRONG_CNS_PIN, answer));
        EXPECT_EQ(row.cbAnswer, answer.size());
        EXPECT_EQ(row.iPresented, card.Presented("cns-pin"));
    }
}

/// A card in the first reader, whichever service there is: inside the process it is always there.
class PcscBehaviour : public testing::Test {
protected:
    void SetUp() override
    {
        if (std::getenv("PINDESK_VPCD_PORT") != nullptr) {
            m_card = std::make_unique<CVirtualCard>();
        }
    }

private:
    std::unique_ptr<CVirtualCard> m_card;
};

TEST_F(PcscBehaviour, KeepsTransactionsAndExclusiveUseApart)
{
    CPcsc one;
    CPcsc two;
    ASSERT_EQ(SCARD_S_SUCCESS, one.Connect());
    ASSERT_EQ(SCARD_S_SUCCESS, two.Connect());
    EXPECT_EQ(SCARD_E_NOT_TRANSACTED, SCardEndTransaction(one.Card(), SCARD_LEAVE_CARD));
    ASSERT_EQ(SCARD_S_SUCCESS, SCardBeginTransaction(one.Card()));
    EXPECT_EQ(SCARD_E_SHARING_VIOLATION, SCardEndTransaction(two.Card(), SCARD_LEAVE_CARD));

    std::atomic<bool> bEnded = false;
    std::thread waiting([&] {
        EXPECT_EQ("90 00", two.Send(SELECT_MF));
        EXPECT_TRUE(bEnded); // it had to wait for the end of the transaction
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    bEnded = true;
    EXPECT_EQ(SCARD_S_SUCCESS, SCardEndTransaction(one.Card(), SCARD_LEAVE_CARD));
    waiting.join();

    CPcsc three;
    EXPECT_EQ(SCARD_E_SHARING_VIOLATION, three.Connect(nullptr, SCARD_SHARE_EXCLUSIVE));
}

TEST_F(PcscBehaviour, TellsOthersThatTheCardWasReset)
{
    CPcsc one;
    CPcsc two;
    Bytes answer;
    DWORD dwProtocol = 0;
    ASSERT_EQ(SCARD_S_SUCCESS, one.Connect());
    ASSERT_EQ(SCARD_S_SUCCESS, two.Connect());
    EXPECT_EQ(SCARD_S_SUCCESS, SCardDisconnect(one.Card(), SCARD_RESET_CARD));
    EXPECT_EQ(SCARD_W_RESET_CARD, SCardBeginTransaction(two.Card()));
    EXPECT_EQ(SCARD_W_RESET_CARD, two.Transmit(SELECT_MF, answer));
    EXPECT_EQ(SCARD_S_SUCCESS,
              SCardReconnect(two.Card(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                             SCARD_LEAVE_CARD, &dwProtocol));
    EXPECT_EQ("90 00", two.Send(SELECT_MF));
}

TEST_F(PcscBehaviour, ReportsTheLengthOfAnAnswerThatDoesNotFit)
{
    CPcsc pcsc;
    Bytes answer;
    ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
    EXPECT_EQ(SCARD_E_INSUFFICIENT_BUFFER, pcsc.Transmit(FromHex("00 84 00 00 08"), answer, 4));
    EXPECT_EQ(10U, answer.size());
    EXPECT_EQ("90 00", pcsc.Send(SELECT_MF));
}

} // namespace
