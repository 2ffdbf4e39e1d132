// SPDX-License-Identifier: Apache-2.0
//
// The serial number, the frame that all operations share with it, its check in front of the others,
// and the length limits.

#include "tests/support/operation_test.h"

#include <functional>

namespace {
using Serial = COperationTest;

TEST_F(Serial, IdentityFileIsReadInExactlyTheseCallsAndClosedInThisOrder)
{
    ReadSerial();
    char szSerial[18] = "?????????????????";
    EXPECT_EQ(0, CNS_GetSerial(1, szSerial));
    EXPECT_STREQ(m_szSerial, szSerial);
    EXPECT_EQ((Lines{"EstablishContext", "ListReaders", "Connect Scripted Reader 00 00",
                     "BeginTransaction", "Transmit 00 A4 08 0C 02 3F 00",
                     "Transmit 00 A4 00 0C 02 3F 00 FF", "Transmit 00 A4 09 0C 02 10 00 FF",
                     "Transmit 00 A4 09 0C 02 10 03 FF", "Transmit 00 B0 00 00 10", "Disconnect",
                     "Disconnect -> 80100003", // the session's end, which has no card any more
                     "FreeMemory", "ReleaseContext",
                     "EndTransaction -> 80100003"}), // after all the rest, on a handle that is gone
              card.LogWithout("Status"));
}

TEST_F(Serial, OlderCardsHaveItInBcd)
{
    SelectMF();
    Step("00 A4 09 0C 02 10 00 FF", 0x6A82);
    Step("00 A4 09 0C 02 2F 02 FF");
    Step("00 B0 00 12 08", "12 3A 00 99 FF 56 78 90 90 00");
    char szSerial[17];
    EXPECT_EQ(0, CNS_GetSerial(1, szSerial));
    EXPECT_STREQ("123A0099FF567890", szSerial);
}

TEST_F(Serial, CardWithNeitherFileGivesItsStatusWord)
{
    SelectMF();
    Step("00 A4 09 0C 02 10 00 FF", 0x6985);
    Step("00 A4 09 0C 02 2F 02 FF", 0x6A82);
    char szSerial[18] = "?????????????????";
    EXPECT_EQ(0x6A82, CNS_GetSerial(1, szSerial));
    EXPECT_STREQ("????????????????", szSerial); // terminated all the same
}

TEST_F(Serial, FailuresAfterTheConnectionHaveTheirOwnCodes)
{
    using Steps = std::vector<const char*>;
    const Steps identity = {"00 A4 08 0C 02 3F 00", "00 A4 00 0C 02 3F 00 FF",
                            "00 A4 09 0C 02 10 00 FF", "00 A4 09 0C 02 10 03 FF", "00 B0 00 00 10"};
    const struct {
        std::size_t iFailing;
        long lResult;
    } rows[] = {{0, -4}, {1, -4}, {3, -4}, {4, -66}};
    char szSerial[17];
    for (const auto& row : rows) {
        for (std::size_t i = 0; i <= row.iFailing; ++i)
            Step(identity[i], i == row.iFailing ? 0x6985 : 0x9000);
        EXPECT_EQ(row.lResult, CNS_GetSerial(1, szSerial));
    }
    SelectMF();
    Step(identity[2], 0x6A82);
    Step("00 A4 09 0C 02 2F 02 FF");
    Step("00 B0 00 12 08", 0x6B00);
    EXPECT_EQ(-66, CNS_GetSerial(1, szSerial));
}

TEST_F(Serial, SettingsNameTheFilesByTheirLow16Bits)
{
    const CSetting df("SETTING_CNS_DF0", 0x12345);
    const CSetting ef("SETTING_CNS_DF0_EF_ID_Carta", 0x11004);
    SelectMF();
    Step("00 A4 09 0C 02 23 45 FF");
    Step("00 A4 09 0C 02 10 04 FF", 0x6A82);
    char szSerial[17];
    EXPECT_EQ(-4, CNS_GetSerial(1, szSerial));
}

using Operation = std::function<long(long slot, char* szExpectedSerial)>;

const Operation kWithSerialCheck[] = {
    [](long slot, char* szSerial) {
        const SPin pin("12345");
        return CNS_DS_VerifyPinPuk(slot, szSerial, pin.pb, pin.cb, nullptr, 0, nullptr, 0, nullptr,
                                   0, nullptr, 0);
    },
    [](long slot, char* szSerial) {
        const SPin pin("12345");
        return CNS_DS_ChangePinPuk(slot, szSerial, pin.pb, pin.cb, pin.pb, pin.cb, nullptr, 0,
                                   nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                                   nullptr, 0);
    },
    [](long slot, char* szSerial) {
        return CNS_DS_UnblockPin(slot, szSerial, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
                                 nullptr, 0);
    },
    [](long slot, char* szSerial) { return DS_DeactivatePin(slot, szSerial, nullptr, 0); },
    [](long slot, char* szSerial) { return DS_LockPin(slot, szSerial, nullptr, 0); },
    [](long slot, char* szSerial) {
        return DS_ReactivatePin(slot, szSerial, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0);
    },
};
const Operation kGetSerial = [](long slot, char*) {
    char szFound[17];
    return CNS_GetSerial(slot, szFound);
};

class Frame : public COperationTest, public ::testing::WithParamInterface<Operation> {};
class SerialCheck : public Frame {};
INSTANTIATE_TEST_SUITE_P(GetSerial, Frame, ::testing::Values(kGetSerial));
INSTANTIATE_TEST_SUITE_P(Operation, Frame, ::testing::ValuesIn(kWithSerialCheck));
INSTANTIATE_TEST_SUITE_P(Operation, SerialCheck, ::testing::ValuesIn(kWithSerialCheck));

TEST_P(Frame, ReportsWhatCouldNotBeOpened)
{
    for (const long slot : {0L, -5L, -0x7FFFFFFFFFFFFFFFL - 1})
        EXPECT_EQ(-2, GetParam()(slot, nullptr));
    EXPECT_TRUE(card.Log().empty());
    for (const long slot : {2L, 0x7FFFFFFFL})
        EXPECT_EQ(-2, GetParam()(slot, nullptr));
    const struct {
        const char* szFunction;
        LONG lCode;
        long lResult;
    } rows[] = {{"SCardEstablishContext", SCARD_E_NO_SERVICE, -1},
                {"SCardListReaders", SCARD_E_NO_READERS_AVAILABLE, -2},
                {"SCardConnect", SCARD_E_SHARING_VIOLATION, -3},
                {"SCardBeginTransaction", SCARD_W_RESET_CARD, -4}};
    for (const auto& row : rows) {
        card.FailCall(row.szFunction, row.lCode);
        EXPECT_EQ(row.lResult, GetParam()(1, nullptr)) << row.szFunction;
    }
    EXPECT_EQ(0u, card.Count("Transmit")); // without a transaction no command goes to the card
}

TEST_P(SerialCheck, EndsBeforeTheOperationOnAnotherCard)
{
    for (const std::size_t iDifferent : {0u, 15u}) {
        std::string expected = m_szSerial;
        expected[iDifferent] = '?';
        ReadSerial();
        EXPECT_EQ(-65, GetParam()(1, expected.data()));
        EXPECT_EQ("ReleaseContext -> 80100003", card.Log().back()); // of 0: none was opened
    }
    EXPECT_EQ(2u, card.Count("Connect"));
}

TEST_P(SerialCheck, ReadsTheExpectedNumberOnlyUpToTheFirstDifference)
{
    const auto expected = std::make_unique<char>('?'); // one byte: a sanitizer sees more
    ReadSerial();
    EXPECT_EQ(-65, GetParam()(1, expected.get()));
}

TEST_P(SerialCheck, ReportsWhyTheNumberCouldNotBeRead)
{
    SelectMF();
    Step("00 A4 09 0C 02 10 00 FF", 0x6A82);
    Step("00 A4 09 0C 02 2F 02 FF", 0x6A82);
    EXPECT_EQ(0x6A82, GetParam()(1, m_szSerial));
    EXPECT_EQ("ReleaseContext -> 80100003", card.Log().back());
    card.FailCall("SCardConnect", SCARD_E_NO_SMARTCARD);
    EXPECT_EQ(-3, GetParam()(1, m_szSerial));
}

TEST_P(SerialCheck, ComparesSixteenCharactersAndGoesOn)
{
    char szLonger[] = "ABCDEFGH12345678, and more";
    ReadSerial();
    card.FailCall("SCardConnect", SCARD_E_NO_SMARTCARD, 2); // the operation's own
    EXPECT_EQ(-3, GetParam()(1, szLonger));
}

TEST_F(Serial, BufferMustBeGivenBeforeAnythingElse)
{
    EXPECT_EQ(-64, CNS_GetSerial(0, nullptr));
    EXPECT_TRUE(card.Log().empty());
}

class PinLimit : public COperationTest {
protected:
    std::vector<int> Limits(long slot, char* szSerial, long lResult)
    {
        std::vector<int> n(8, -1);
        EXPECT_EQ(lResult, CNS_DS_GetPinLimit(slot, szSerial, &n[0], &n[1], &n[2], &n[3], &n[4],
                                              &n[5], &n[6], &n[7]));
        return n;
    }
    const std::vector<int> m_untouched = std::vector<int>(8, -1);
};

TEST_F(PinLimit, IsStricterThanTheOperationsAndNeedsNoCard)
{
    EXPECT_EQ((std::vector<int>{6, 8, 8, 8, 6, 8, 8, 8}), Limits(1, nullptr, 0));
    EXPECT_EQ(0, CNS_DS_GetPinLimit(9, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr));
    EXPECT_TRUE(card.Log().empty());
}

TEST_F(PinLimit, StoresNothingWhenItFails)
{
    EXPECT_EQ(m_untouched, Limits(0, nullptr, -2));
    ReadSerial();
    char szOther[] = "ABCDEFGH12345679";
    EXPECT_EQ(m_untouched, Limits(1, szOther, -65));
    EXPECT_EQ("EndTransaction -> 80100003", card.Log().back()); // no context of its own to release
    card.FailCall("SCardEstablishContext", SCARD_E_NO_SERVICE);
    EXPECT_EQ(m_untouched, Limits(1, m_szSerial, -1));
    ReadSerial();
    EXPECT_EQ((std::vector<int>{6, 8, 8, 8, 6, 8, 8, 8}), Limits(1, m_szSerial, 0));
}
} // namespace
