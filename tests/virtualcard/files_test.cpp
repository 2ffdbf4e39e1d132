// SPDX-License-Identifier: Apache-2.0
//
// Selection, transparent and record files, listings, and what any other bytes get.
#include "card_fixture.h"

#include <random>

namespace vcard {
namespace {

constexpr const char* SELECT_SERIAL = "00 A4 08 0C 04 10 00 10 03";

TEST_F(CardTest, EachFormOfSelectFindsTheFile)
{
    const struct {
        const char *szStart, *szSelect, *szAnswer;
    } forms[] = {
        {SELECT_DS, "00 A4 00 0C 02 3F 00 FF", "9000"},
        {SELECT_DS, "00 A4 08 0C 02 3F 00", "9000"},
        {SELECT_DS, "00 A4 08 0C 04 3F 00 10 00", "9000"},
        {SELECT_MF, "00 A4 09 0C 02 14 00 FF", "9000"},
        {SELECT_MF, "00 A4 09 0C 04 10 00 10 03", "9000"},
        {SELECT_DS, "00 A4 09 0C 02 14 00 FF", "9000"}, // itself, once more
        {SELECT_MF, "00 A4 00 0C 02 14 00", "9000"},
        {SELECT_DS, "00 A4 00 0C 02 11 00", "9000"}, // a sibling
        {SELECT_MF, "00 A4 01 0C 02 14 00", "9000"},
        {SELECT_DS, "00 A4 02 0C 02 81 1F", "9000"},
        {SELECT_DS, "00 A4 03 0C", "9000"},
        {SELECT_MF, "00 A4 03 0C", "6A82"},
        {SELECT_MF, "00 A4 02 0C 02 14 00", "6A82"}, // a DF is no EF
        {SELECT_DS, "00 A4 09 0C 02 11 00 FF", "6A82"},
        {SELECT_MF, "00 A4 08 0C 04 10 03 10 00", "6A82"},
        {SELECT_MF, "00 A4 08 0C 03 10 00 10", "6700"},
        {SELECT_MF, "00 A4 04 0C 02 14 00", "6A82"},
        {SELECT_MF, "00 A4 08 01 02 14 00", "6A86"},
        {SELECT_MF, "00 A4 77 0C 02 14 00", "6A86"},
    };
    for (const auto& form : forms) {
        Send(form.szStart);
        EXPECT_EQ(form.szAnswer, Send(form.szSelect)) << form.szSelect;
    }
}

TEST_F(CardTest, FciDescribesDfsAndRecordFiles)
{
    EXPECT_EQ("6F248002000081020000820638000400000083021400850300040086090000000000000000009000",
              Send("00 A4 08 00 02 14 00"));
    Send(SELECT_CNS);
    EXPECT_EQ("6F248002004081020040820602000008000383021102850300000086090000000000000000009000",
              Send("00 A4 09 00 02 11 02 FF"));
    EXPECT_EQ("6C26", Send("00 A4 09 00 02 11 02 05"));
}

TEST_F(CardTest, BinaryAccessStaysWithinTheFile)
{
    Send(SELECT_SERIAL);                             // 64 bytes, never written
    EXPECT_EQ("6A82", Send("00 A4 08 0C 02 77 77")); // leaves the selection as it was
    EXPECT_EQ("6982", Send("00 D6 00 00 01 00"));
    EXPECT_EQ("6B00", Send("00 B0 00 40 01"));
    EXPECT_EQ("6B00", Send("00 B0 80 00 01"));
    EXPECT_EQ("00006282", Send("00 B0 00 3E 08"));
    EXPECT_EQ("00009000", Send("00 B0 00 3E 00"));
    EXPECT_EQ("6700", Send("00 B0 00 00"));

    Send("00 A4 08 0C 04 14 00 81 1F"); // 256 bytes, open
    EXPECT_EQ("9000", Send("00 D6 00 FE 02 AA BB"));
    EXPECT_EQ("6700", Send("00 D6 00 FE 03 AA BB CC"));
    EXPECT_EQ("6B00", Send("00 D6 01 00 01 AA"));
    EXPECT_EQ("AABB9000", Send("00 B0 00 FE 02"));
    Send(SELECT_DS);
    EXPECT_EQ("6986", Send("00 B0 00 00 01"));
}

TEST_F(CardTest, AFileOfTheHolderWantsThePin)
{
    Send("00 A4 08 0C 04 11 00 11 05");
    EXPECT_EQ("6982", Send("00 B0 00 00 03"));
    EXPECT_EQ("9000", Send("00 20 00 90 08", CNS_PIN));
    EXPECT_EQ("666F729000", Send("00 B0 00 00 03"));
    m_card->Reset();
    Send("00 A4 08 0C 04 11 00 11 05");
    EXPECT_EQ("6982", Send("00 B0 00 00 03"));
}

TEST_F(CardTest, RecordsAreReadByNumberAndByTag)
{
    Send("00 A4 08 0C 04 11 00 11 03");
    EXPECT_EQ("C20244459000", Send("00 B2 02 04 00"));
    EXPECT_EQ("C29000", Send("00 B2 02 04 01"));
    EXPECT_EQ("C301469000", Send("00 B2 C3 02 FF"));
    EXPECT_EQ("6A83", Send("00 B2 C9 02 FF"));
    EXPECT_EQ("6A83", Send("00 B2 04 04 00"));
    EXPECT_EQ("6A83", Send("00 B2 00 04 00"));
    EXPECT_EQ("6A86", Send("00 B2 01 07 00"));
    EXPECT_EQ("6981", Send("00 B0 00 00 01"));
}

TEST_F(CardTest, RecordsKeepTheFormOfTheirFile)
{
    Send("00 A4 08 0C 04 11 00 11 02"); // eight records of eight bytes, three in use
    EXPECT_EQ("6700", Send("00 DC 01 04 02 AA BB"));
    EXPECT_EQ("9000", Send("00 DC 01 04 08 41 42 43 44 45 46 47 48"));
    EXPECT_EQ("41424344454647489000", Send("00 B2 01 04 08"));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ("9000", Send("00 E2 00 00 08 01 02 03 04 05 06 07 08"));
    EXPECT_EQ("6A84", Send("00 E2 00 00 08 01 02 03 04 05 06 07 08"));

    Send("00 A4 08 0C 04 11 00 11 03");
    EXPECT_EQ("6A80", Send("00 E2 00 00 04 C5 03 01 02"));
    EXPECT_EQ("9000", Send("00 E2 00 00 04 C5 02 01 02"));
    EXPECT_EQ("C50201029000", Send("00 B2 C5 02 00"));
}

TEST_F(CardTest, ACyclicFileGivesUpItsOldestRecord)
{
    Send("00 A4 08 0C 04 11 00 11 04"); // four records of four bytes, two in use
    for (const char* szRecord : {"31 31 31 31", "32 32 32 32", "33 33 33 33"})
        EXPECT_EQ("9000", Send("00 E2 00 00 04", szRecord));
    EXPECT_EQ("333333339000", Send("00 B2 01 04 04"));
    EXPECT_EQ("4E4557319000", Send("00 B2 04 04 04")); // NEW1; OLD2 is gone
    EXPECT_EQ("6A83", Send("00 B2 05 04 04"));
}

TEST_F(CardTest, ListFilesGoesOnWhereAPageEnds)
{
    Send(SELECT_MF);
    EXPECT_EQ("6F0782010186022F02"
              "9000",
              Send("80 16 01 00 00"));
    for (int i = 0; i < 20; ++i) {
        char szCreate[128];
        std::snprintf(szCreate, sizeof szCreate,
                      "00 E0 00 00 1F 6F 1D 81 02 00 01 82 03 01 00 00 83 02 70 %02X 85 03 00 00 "
                      "00 86 09 00 00 00 00 00 00 00 00 00",
                      i);
        ASSERT_EQ("9000", Send(szCreate));
    }
    const std::string strFirst = Send("80 16 02 00 00");
    ASSERT_GT(strFirst.size(), 30U);
    EXPECT_EQ("8A01109000", strFirst.substr(strFirst.size() - 10));
    const std::string strSecond = Send("80 16 02 10 00");
    EXPECT_EQ("6F07820101860270139000", strSecond.substr(strSecond.size() - 22));
    EXPECT_EQ("6A83", Send("80 16 02 FE 00"));
}

TEST_F(CardTest, UnknownAndMalformedCommandsGetTheirStatusWord)
{
    const struct {
        const char *szCommand, *szAnswer;
    } cases[] = {
        {"", "6700"},
        {"00 A4", "6700"},
        {"00 A4 00 0C 05 3F 00", "6700"},       // shorter than its Lc
        {"00 A4 00 0C 02 3F 00 00 01", "6700"}, // longer, and not zeros
        {"00 A4 00 0C 02 3F 00 00 00", "6700"},
        {"00 A4 00 0C 00 00 02 3F 00", "6700"}, // extended length
        {"00 55 00 00", "6D00"},
        {"80 A4 00 0C 02 3F 00", "6E00"},
        {"FF CA 00 00 00", "6E00"},
        {"80 24 20 01 02 31 32", "6E00"}, // another family's command
        {"00 22 B6 01 03 83 01 82 00 00 00", "9000"},
    };
    for (const auto& item : cases)
        EXPECT_EQ(item.szAnswer, Send(item.szCommand)) << item.szCommand;
}

TEST_F(CardTest, AnyBytesGetAnAnswerOfAtLeastAStatusWord)
{
    std::mt19937 random(20260101);
    std::uniform_int_distribution<int> length(0, 300), byte(0, 255), valid(0, 27);
    const char* heads[] = {"00A4", "00B0", "00D6", "00B2", "00DC", "00E2", "0020",
                           "0024", "002C", "0084", "0082", "0088", "00CA", "00DA",
                           "00E0", "00E4", "0044", "0004", "0022", "002A", "0046",
                           "8086", "8016", "8010", "9024", "B0DE", "B0DF", "0CDA"};
    for (int i = 0; i < 20000; ++i) {
        Bytes command = FromHex(heads[valid(random)]);
        if (command[1] == 0x46)
            continue; // key generation is slow
        const auto cb = static_cast<std::size_t>(length(random) % (i % 2 != 0 ? 300 : 24));
        for (std::size_t j = 0; j < cb; ++j)
            command.push_back(static_cast<std::uint8_t>(byte(random)));
        if (i % 3 == 0 && command.size() > 5)
            command[4] = static_cast<std::uint8_t>(command.size() - 5);
        const Bytes answer = m_card->Transmit(command);
        ASSERT_GE(answer.size(), 2U);
        ASSERT_LE(answer.size(), 258U);
    }
}

} // namespace
} // namespace vcard
