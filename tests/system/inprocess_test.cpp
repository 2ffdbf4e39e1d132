// SPDX-License-Identifier: Apache-2.0
//
// What only the in-process card can play: what befalls the service, two readers, a recorded dialogue.

#include "tests/support/scratch.h"
#include "tests/system/inprocess.h"
#include "tests/system/pcsc.h"

#include <gtest/gtest.h>

namespace {

const Bytes READ_SERIAL[] = {FromHex("00 A4 08 0C 04 10 00 10 03"), FromHex("00 B0 00 00 10")};

TEST(InProcessCard, PlaysWhatBefallsCardAndService)
{
    constexpr LONG GONE = SCARD_W_REMOVED_CARD;
    struct SRow {
        const char* szEvent;
        LONG lFirst, lNext, lAgain; // that exchange, the next one, and a new connection
        const char* szSerial;       // of the card that is there then
    };
    const SRow rows[] = {
        {"removed", SCARD_S_SUCCESS, GONE, SCARD_S_SUCCESS, "6200000000000001"},
        {"pulled", SCARD_S_SUCCESS, GONE, SCARD_E_NO_SMARTCARD, nullptr},
        {"swapped", SCARD_S_SUCCESS, GONE, SCARD_S_SUCCESS, "6200000000000999"},
        {"reset", SCARD_W_RESET_CARD, SCARD_W_RESET_CARD, SCARD_S_SUCCESS, "6200000000000001"},
        {"killed", SCARD_F_COMM_ERROR, SCARD_E_NO_SERVICE, SCARD_E_NO_SERVICE, nullptr},
        {"restarted", SCARD_F_COMM_ERROR, SCARD_E_NO_SERVICE, SCARD_S_SUCCESS, "6200000000000001"},
    };
    for (const SRow& row : rows) {
        for (const bool bAfter : {false, true}) {
            SCOPED_TRACE(row.szEvent + std::to_string(bAfter));
            Insert({{"_ABSENCE", "0"},
                    {"_FAULT", "1:" + std::string(row.szEvent) + (bAfter ? "-after" : "")}});
            CPcsc pcsc;
            Bytes answer;
            ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect());
            EXPECT_EQ(row.lFirst, pcsc.Transmit(WRONG_CNS_PIN, answer));
            EXPECT_EQ(0U, answer.size());
            EXPECT_EQ(row.lNext, pcsc.Transmit(SELECT_MF, answer));
            EXPECT_EQ(bAfter ? 1 : 0, Presented("cns-pin"));
            CPcsc again;
            EXPECT_EQ(row.lAgain, again.Connect());
            if (row.szSerial != nullptr) {
                again.Transmit(READ_SERIAL[0], answer);
                again.Transmit(READ_SERIAL[1], answer);
                EXPECT_EQ(row.szSerial, std::string(answer.begin(), answer.end() - 2));
            }
        }
    }
    EXPECT_EQ(-1, vcard_play("dropped"));
    EXPECT_EQ(0, vcard_play("pulled")); // between two calls
    EXPECT_EQ(SCARD_E_NO_SMARTCARD, CPcsc().Connect());
}

TEST(InProcessCard, IsOneOfSeveralWithReadersOfTheirOwn)
{
    Insert({{"2_READER", "Second"}, {"3_READER", "Third"}, {"3_ARRIVAL", "60000"}});
    CPcsc first;
    CPcsc second;
    CPcsc third;
    const char READERS[] = "PinDesk Virtual Reader 00 00\0Second\0Third\0";
    EXPECT_EQ(std::string(READERS, sizeof READERS), first.Readers());
    ASSERT_EQ(SCARD_S_SUCCESS, first.Connect());
    ASSERT_EQ(SCARD_S_SUCCESS, second.Connect("Second", SCARD_SHARE_EXCLUSIVE));
    EXPECT_EQ(SCARD_E_NO_SMARTCARD, third.Connect("Third"));
    EXPECT_EQ(SCARD_S_SUCCESS, SCardBeginTransaction(first.Card()));
    EXPECT_EQ("63 C2", second.Send(WRONG_CNS_PIN)); // it needn't wait
    EXPECT_EQ(0, Presented("cns-pin"));
    EXPECT_EQ(1, Presented("cns-pin", "Second"));
}

TEST(InProcessCard, AnswersAsADialogueThatWasRecorded)
{
    const std::string LINES[] = {
        "reader Someone's #1 reader 00 00",
        "atr 3BFB1800008131FE450031C1434E532E50443180CD",
        "> 00 20 00 10 08 ** ** ** ** ** ** ** **  # 31 ms",
        "< 63 C2",
        "> 00 A4 00 0C 02 3F 00",
        "< 90 00",
        "> 00 20 00 10 08 ** ** ** ** ** ** ** **",
        "! 80100016",
        "> 00 B0 00 00 04",
        "< 41 ** 90 00",
    };
    const CScratchDirectory files;
    std::ofstream(files / "bundle") << nlohmann::json{{"dialogue", LINES}};
    std::ofstream text(files / "text");
    for (const std::string& line : LINES) {
        text << line << '\n';
    }
    text.close();
    for (const char* szFile : {"bundle", "text"}) {
        SCOPED_TRACE(szFile);
        Insert({{"_REPLAY", files / szFile}});
        CPcsc pcsc;
        ASSERT_EQ(SCARD_S_SUCCESS, pcsc.Connect("Someone's #1 reader 00 00"));
        EXPECT_EQ("90 00", pcsc.Send(SELECT_MF)); // out of order
        Bytes answer;
        EXPECT_EQ(SCARD_E_NOT_TRANSACTED, pcsc.Transmit(WRONG_CNS_PIN, answer));
        EXPECT_EQ("63 C2", pcsc.Send(WRONG_CNS_PIN)); // from the beginning again
        EXPECT_EQ("41 30 90 00", pcsc.Send(FromHex("00 B0 00 00 04")));
        EXPECT_EQ("6F 00", pcsc.Send(FromHex("00 B0 00 00 05")));
    }
}

} // namespace
