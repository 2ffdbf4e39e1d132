// SPDX-License-Identifier: Apache-2.0
//
// The serial number and the limits, read by a C++ host through a real pcscd.

#include "pindesk/PCSC_Misc.h"
#include "pindesk/PinDesk.h"
#include "tests/system/support/virtualcard.h"

#include <array>
#include <gtest/gtest.h>

namespace {

using Commands = std::vector<std::string>;

struct SSerial {
    long lResult;
    std::string strText;
};

SSerial GetSerial(long slot = 1)
{
    std::array<char, 17> text{};
    const long lResult = CNS_GetSerial(slot, text.data());
    return {lResult, text.data()};
}

const Commands READ_IDENTITY_FILE = {
    "00 A4 08 0C 02 3F 00",    // the MF by its path: is this card one of ours?
    "00 A4 00 0C 02 3F 00 FF", // MF
    "00 A4 09 0C 02 10 00 FF", // DF of the identity file
    "00 A4 09 0C 02 10 03 FF", // the identity file
    "00 B0 00 00 10",
};

TEST(Serial, OfACardWithAnIdentityFileTakesTheseCommandsAndNoMore)
{
    const CVirtualCard card({"--serial", "6123456789ABCDEF"});
    const SSerial serial = GetSerial();

    EXPECT_EQ(result::OK, serial.lResult);
    EXPECT_EQ("6123456789ABCDEF", serial.strText);
    EXPECT_EQ(READ_IDENTITY_FILE, card.Commands());
}

TEST(Serial, OfACardWithoutOneComesFromItsGlobalDataFile)
{
    const CVirtualCard card({"--profile", "gdo", "--serial", "1234567890123456"});
    const SSerial serial = GetSerial();

    EXPECT_EQ(result::OK, serial.lResult);
    EXPECT_EQ("1234567890123456", serial.strText);
    EXPECT_EQ("00 B0 00 12 08", card.Commands().back());
}

TEST(Serial, IsReadOverBothProtocols)
{
    for (const std::string protocol : {"t0", "t1"}) {
        const CVirtualCard card({"--protocol", protocol, "--serial", "6000000000000001"});
        EXPECT_EQ("6000000000000001", GetSerial().strText) << protocol;
    }
}

TEST(Serial, NeedsACardAndAReader)
{
    AwaitCard(false);
    EXPECT_EQ(result::NO_CARD, GetSerial(1).lResult);
    EXPECT_EQ(result::NO_READER, GetSerial(3).lResult);
}

TEST(Serial, WaitsForItsTurnWhileAnotherProgramHoldsTheCard)
{
    const CVirtualCard card;
    CChild other({PINDESK_HOLD_CARD_PROGRAM, "700"});
    ASSERT_EQ("holding", other.ReadLine());

    EXPECT_EQ(result::OK, GetSerial().lResult);

    EXPECT_EQ(EXIT_SUCCESS, other.Wait());
    Commands expected = {"00 84 00 00 08"}; // what the other program did comes first
    expected.insert(expected.end(), READ_IDENTITY_FILE.begin(), READ_IDENTITY_FILE.end());
    EXPECT_EQ(expected, card.Commands());
}

TEST(Serial, LeavesNoContextBehind)
{
    const CVirtualCard card;
    constexpr int MORE_THAN_PCSCD_SERVES = 220;
    for (int i = 0; i < MORE_THAN_PCSCD_SERVES; ++i) {
        ASSERT_EQ(result::NO_READER, GetSerial(9).lResult) << i;
    }
    EXPECT_EQ(result::OK, GetSerial().lResult);
}

TEST(Limits, AskTheCardOnlyForItsSerialNumber)
{
    const CVirtualCard card({"--serial", "6000000000000001"});
    std::string strExpected = "6000000000000001";
    std::array<int, 8> limits{};
    const auto read = [&](char* szSerial) {
        limits.fill(-1);
        return CNS_DS_GetPinLimit(1, szSerial, &limits[0], &limits[1], &limits[2], &limits[3],
                                  &limits[4], &limits[5], &limits[6], &limits[7]);
    };
    constexpr std::array<int, 8> LIMITS = {6, 8, 8, 8, 6, 8, 8, 8};
    constexpr std::array<int, 8> UNTOUCHED = {-1, -1, -1, -1, -1, -1, -1, -1};

    EXPECT_EQ(result::OK, read(nullptr));
    EXPECT_EQ(LIMITS, limits);
    EXPECT_EQ(Commands{}, card.Commands());

    EXPECT_EQ(result::OK, read(strExpected.data()));
    EXPECT_EQ(LIMITS, limits);
    EXPECT_EQ(READ_IDENTITY_FILE, card.Commands());

    strExpected.back() = '2';
    EXPECT_EQ(result::OTHER_CARD, read(strExpected.data()));
    EXPECT_EQ(UNTOUCHED, limits);
}

TEST(Readers, WithTheLongestUsualNamesWork)
{
    const std::string strName = PINDESK_LONG_READER_NAME;
    ASSERT_EQ(80U, strName.size());
    std::array<char, 128> name{};
    long cchName = name.size();
    ASSERT_EQ(result::OK, PCSC_GetReaderName(1, name.data(), &cchName));
    ASSERT_EQ(strName, name.data());

    const CVirtualCard card({"--serial", "6000000000000001"});
    EXPECT_EQ("6000000000000001", GetSerial().strText);
    std::array<char, 80> atr{};
    long cchAtr = atr.size();
    EXPECT_EQ(result::OK, PCSC_GetATR(1, atr.data(), &cchAtr));
    EXPECT_EQ("3b", std::string(atr.data(), 2));
}

} // namespace
