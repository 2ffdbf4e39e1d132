// SPDX-License-Identifier: Apache-2.0
//
// Recognising a card by its answer to reset and by its files: which selections go out, in which
// order, and what is concluded from the answers.

#include "pindesk/PCSC_Misc.h"
#include "tests/support/selections.h"

namespace {
TEST(AtrCmp, ComparesUnderTheMask)
{
    const struct {
        const char *szAtr1, *szAtr2, *szMask;
        long lResult;
    } rows[] = {{"3B8F80", "3b8f81", "FFFFFE", 0},
                {"3B8F80", "3b8f81", "FFFFFF", -1},
                {"3B8F80", "3B0080", "ff00ff", 0},
                {"3B8F80", "3B8F", "FFFFFF", -1},
                {"3B8F80", "3B8F80", "FFFF", -1},
                {"", "", "", 0},
                {"3B8F80a", "3B8F80", "FFFFFFb", 0}, // an odd digit does not count
                {"zz", "00", "FF", 0},
                {"5z", "05", "FF", 0},
                {nullptr, "3B", "FF", -1},
                {"3B", "3B", nullptr, -1}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.lResult, PCSC_AtrCmp(row.szAtr1, row.szAtr2, row.szMask))
            << (row.szAtr1 ? row.szAtr1 : "null") << " under "
            << (row.szMask ? row.szMask : "null");
    }
}

class FileSystemType : public CScriptedTest {
protected:
    static constexpr long UNTOUCHED = 77;
    long m_lType = UNTOUCHED;

    long Detect() { return PCSC_GetFSType(1, &m_lType); }
};

TEST_F(FileSystemType, IsConcludedFromTheSelectionsInTheirOrder)
{
    const struct {
        const char* szSelections;
        long lResult, lType;
    } rows[] = {
        {"3F00 1100 3F00 1400 3F00 1112!", 0, 2},
        {"3F00 1100 3F00 1400 3F00 1112 EF01!", 0, 2},
        {"3F00 1100 3F00 1400 3F00 1112 EF01", 0, 32},
        {"3F00 1100 3F00 1400! 3F00 1112!", 0x6A82, 1},
        {"3F00 1100 3F00 1400! 3F00 1112 EF01", 0x6A82, 32},
        {"3F00 1100~ 3F00 1400~ 3F00 1112~ EF01~", 0x6284, 32},
        {"3F00~ 1100! 8110~ 3F00 1112!", 0x6284, 3},
        {"3F00 1100! 8110 3F00 1112 EF01", 0, 32},
        {"3F00 1100! 8110! 2FFF! 0000! 1111", 0, 5},
        {"3F00 1100! 8110! 2FFF 0000! 0000 1111!", 0x6A82, 0},
        // once the MF was refused without file control information, all later selections ask for it
        {"3F00! fci 3F00 1100 3F00 1400 3F00 1112 EF01", 0, 32},
        {"3F00! fci 3F00~ 1100! 8110! 2FFF! 0000! 1111!", 0x6A82, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szSelections);
        ExpectSelections(card, row.szSelections);
        EXPECT_EQ(row.lResult, Detect());
        EXPECT_EQ(row.lType, m_lType);
    }
}

TEST_F(FileSystemType, FirstByteOfFile0000DecidesInDf2FFF)
{
    const struct {
        SAnswer read;
        const char* szAfter;
        long lResult, lType;
    } rows[] = {{"01 00 90 00", "", 0, 4},
                {"00 01 90 00", "", 0, 0},
                {0x6982, "0000 1111", 0, 5}, // could not be read: on to the last layout
                {SAnswer::Fail(SCARD_E_NOT_TRANSACTED), "0000! 1111!", 0x6A82, 0}};
    for (const auto& row : rows) {
        ExpectSelections(card, "3F00 1100! 8110! 2FFF 0000");
        card.Step("read two bytes", "00 B0 00 00 02", row.read);
        ExpectSelections(card, row.szAfter);
        EXPECT_EQ(row.lResult, Detect());
        EXPECT_EQ(row.lType, m_lType);
    }
}

TEST_F(FileSystemType, FileIdentifiersComeFromTheSettings)
{
    const struct {
        const char* szName;
        long lValue, lDefault;
    } settings[] = {{"SETTING_CNS_DF1", 0x15001, 0x1100}, // the low 16 bits count
                    {"SETTING_CNS_DS_DF_ROOT", 0x5002, 0x1400},
                    {"SETTING_CNS_DS_DF", 0x5003, 0x8110}};
    for (const auto& setting : settings) {
        PINDESK_ChangeSetting(setting.szName, setting.lValue);
    }
    ExpectSelections(card, "3F00 5001 3F00 5002 3F00 1112!");
    EXPECT_EQ(0, Detect());
    ExpectSelections(card, "3F00 5001! 5003 3F00 1112!");
    EXPECT_EQ(0, Detect());
    for (const auto& setting : settings) {
        PINDESK_ChangeSetting(setting.szName, setting.lDefault);
    }
}

TEST_F(FileSystemType, CardWithoutMfIsNotExamined)
{
    ExpectSelections(card, "3F00! fci 3F00!");
    EXPECT_EQ(-2, Detect());
    EXPECT_EQ(UNTOUCHED, m_lType);
}

TEST_F(FileSystemType, CardPulledMidwayEndsWithTheSessionsOwnResult)
{
    ExpectSelections(card, "3F00 1100 3F00");
    card.Compute("pulled", [this](const auto&) {
        card.RemoveCard();
        return SAnswer::Fail(SCARD_W_REMOVED_CARD);
    });
    EXPECT_EQ(SCARD_W_REMOVED_CARD, Detect());
    EXPECT_EQ(1, m_lType);
}
} // namespace
