// SPDX-License-Identifier: Apache-2.0
//
// The serial number, and the length limits.

#include "tests/support/operation_test.h"

namespace {
class Serial : public COperationTest {
protected:
    /// "result: what the buffer holds", which starts as 17 question marks
    static std::string Read()
    {
        char szSerial[18] = "?????????????????";
        const long lResult = CNS_GetSerial(1, szSerial);
        return std::to_string(lResult) + ": " + szSerial;
    }
};

TEST_F(Serial, IdentityFileIsReadInExactlyTheseCallsAndClosedInThisOrder)
{
    ExpectSerial();
    EXPECT_EQ(std::string("0: ") + SERIAL, Read());
    EXPECT_EQ((Lines{"EstablishContext", "ListReaders", "Connect Scripted Reader 00 00",
                     "BeginTransaction", "Transmit 00 A4 08 0C 02 3F 00",
                     "Transmit 00 A4 00 0C 02 3F 00 FF", "Transmit 00 A4 09 0C 02 10 00 FF",
                     "Transmit 00 A4 09 0C 02 10 03 FF", "Transmit 00 B0 00 00 10", "Disconnect",
                     "Disconnect -> 80100003", // the session's end, which has no card any more
                     "FreeMemory", "ReleaseContext",
                     "EndTransaction -> 80100003"}), // after all the rest, on a handle that is gone
              card.LogWithout("Status"));
    EXPECT_EQ(4u, card.Count("Status")); // once for each operation of the session
}

TEST_F(Serial, ComesFromOneOfTwoFilesOrWithACodeOfItsOwn)
{
    const SAnswer bcd = "12 3A 00 99 FF 56 78 90 90 00";
    const char* const read = "00 B0 00 00 10";
    struct SStep {
        const char* szCommand;
        SAnswer answer;
    };
    const struct {
        std::vector<SStep> steps;
        const char* szRead;
    } rows[] = {
        {{{"00 A4 08 0C 02 3F 00", 0x6985}}, "-4: ?????????????????"},
        {{{"00 A4 08 0C 02 3F 00", 0x9000}, {"00 A4 00 0C 02 3F 00 FF", 0x6985}},
         "-4: ?????????????????"},
        {{{"10 00", 0x9000}, {"10 03", 0x6985}}, "-4: ?????????????????"},
        {{{"10 00", 0x9000}, {"10 03", 0x9000}, {read, 0x6985}}, "-66: ?????????????????"},
        {{{"10 00", 0x6985}, {"2F 02", 0x6A82}},
         "27266: ????????????????"}, // 6A82; terminated all the same
        {{{"10 00", 0x6A82}, {"2F 02", 0x9000}, {"00 B0 00 12 08", 0x6B00}},
         "-66: ?????????????????"},
        {{{"10 00", 0x6A82}, {"2F 02", 0x9000}, {"00 B0 00 12 08", bcd}}, "0: 123A0099FF567890"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szRead);
        if (std::strlen(row.steps.front().szCommand) == 5) {
            SelectMF();
        }
        for (const auto& [szCommand, answer] : row.steps) {
            Step(std::strlen(szCommand) == 5 ? std::string("00 A4 09 0C 02 ") + szCommand + " FF"
                                             : szCommand,
                 answer);
        }
        EXPECT_EQ(row.szRead, Read());
    }
}

TEST_F(Serial, SettingsNameTheFilesByTheirLow16Bits)
{
    const CSetting df("SETTING_CNS_DF0", 0x12345);
    const CSetting ef("SETTING_CNS_DF0_EF_ID_Carta", 0x11004);
    SelectMF();
    Step("00 A4 09 0C 02 23 45 FF");
    Step("00 A4 09 0C 02 10 04 FF", 0x6A82);
    EXPECT_EQ(-4, ReadSerial());
    EXPECT_EQ(-64, CNS_GetSerial(0, nullptr)); // the buffer is missed first
}

TEST_F(Serial, LimitsAreStricterThanTheOperationsAndStoredOnlyWithSuccess)
{
    using Limits = std::array<int, 8>;
    static constexpr Limits LIMITS = {6, 8, 8, 8, 6, 8, 8, 8};
    static constexpr Limits UNTOUCHED = {-1, -1, -1, -1, -1, -1, -1, -1};
    const auto limits = [](long slot, const char* szSerial, long lResult) {
        Limits n = UNTOUCHED;
        EXPECT_EQ(lResult, CNS_DS_GetPinLimit(slot, const_cast<char*>(szSerial), &n[0], &n[1],
                                              &n[2], &n[3], &n[4], &n[5], &n[6], &n[7]));
        return n;
    };
    EXPECT_EQ(LIMITS, limits(1, nullptr, 0));
    EXPECT_EQ(0, CNS_DS_GetPinLimit(9, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr));
    EXPECT_EQ(UNTOUCHED, limits(0, nullptr, -2));
    EXPECT_TRUE(card.Log().empty()); // no card is needed so far

    ExpectSerial();
    EXPECT_EQ(UNTOUCHED, limits(1, "ABCDEFGH12345679", -65));
    EXPECT_EQ("EndTransaction -> 80100003", card.Log().back()); // no context of its own to release
    card.FailCall("SCardEstablishContext", SCARD_E_NO_SERVICE);
    EXPECT_EQ(UNTOUCHED, limits(1, SERIAL, -1));
    ExpectSerial();
    EXPECT_EQ(LIMITS, limits(1, SERIAL, 0));
}
} // namespace
