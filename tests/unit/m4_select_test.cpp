// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: selection through the cache, where the card is believed to stand, and the commands
// that bring it there.

#include "cardlib/scardcardosm4.h"
#include "tests/support/session_test.h"

#include <functional>

namespace {
class M4Select : public CSessionTest<CSCardCardOSM4> {
protected:
    /// A fresh session on the MF: both selections are sent.
    void SelectMF()
    {
        Ok("00 A4 08 0C 02 3F 00");
        Ok("00 A4 00 0C 02 3F 00 FF");
        ASSERT_EQ(0, Card().SelectEx(0x3F00, nullptr, eFidDF));
    }
    /// The two flags as "DF EF".
    std::string Physical()
    {
        return std::string(Card().m_bCurrentDFPhisicallySelected ? "DF" : "--") +
               (Card().m_bCurrentEFPhisicallySelected ? " EF" : " --");
    }
};

TEST_F(M4Select, KnownFilesNeedNoCommandUntilTheCardMustStandThere)
{
    SelectMF();
    Ok("00 A4 09 0C 02 10 00 FF");
    EXPECT_EQ(0, Card().SelectEx(0x1000, nullptr, eFidDF));
    Ok("00 A4 09 0C 02 10 03 FF");
    EXPECT_EQ(0, Card().SelectEx(0x1003, nullptr, eFidEF));
    EXPECT_EQ("3F00 1000 DF", DF());
    EXPECT_EQ("3F00 1000 1003", EF());
    EXPECT_EQ("DF EF", Physical());

    EXPECT_EQ(0, Card().SelectEx(0x3F00, nullptr, eFidDF));
    EXPECT_EQ("-- --", Physical());
    EXPECT_EQ(0, Card().SelectEx(0x1000, nullptr, eFidDF));
    EXPECT_EQ(0, Card().SelectEx(0x1003, nullptr, eFidEF));
    EXPECT_EQ("3F00 1000 1003", EF());
    EXPECT_EQ("-- --", Physical());

    // the cache knows no such file: the card is brought to the DF, and then asked
    Ok("00 A4 08 0C 02 10 00");
    Ok("00 A4 09 0C 02 10 04 FF");
    EXPECT_EQ(0, Card().SelectEx(0x1004, nullptr, eFidEF));
    EXPECT_EQ("1000 1004", EF()); // a path selection has dropped the MF from the paths
    EXPECT_EQ("DF EF", Physical());
}

TEST_F(M4Select, FailureToReachTheDFIsTheResult)
{
    SelectMF();
    EXPECT_EQ(0, Card().SelectEx(0x3F00, nullptr, eFidDF)); // from the cache
    card.Step("the MF again", "00 A4 08 0C 02 3F 00", 0x6985);
    EXPECT_EQ(0x6985, Card().SelectEx(0x1100, nullptr, eFidDF));
}

TEST_F(M4Select, MissingFileIsRememberedUntilItIsReallySelected)
{
    SelectMF();
    card.Step("missing", "00 A4 09 0C 02 10 00 FF", 0x6A82);
    EXPECT_EQ(eM4Error_file_not_found, Card().SelectEx(0x1000, nullptr, eFidDF));
    EXPECT_EQ(eM4Error_file_not_found, Card().SelectEx(0x1000, nullptr, eFidDF));
    WORD path[] = {0x3F00, 0x1000};
    EXPECT_EQ(eM4Error_file_not_found, Card().PathSelectWORD(path, 2, 1));
    EXPECT_EQ("3F00 DF", DF());

    Ok("00 A4 09 0C 02 10 00 FF");
    EXPECT_EQ(0, Card().SelectEx2(0x1000, nullptr, eFidDF, 1));
    EXPECT_EQ(0, Card().PathSelectWORD(path, 2, 1));
}

TEST_F(M4Select, OtherRefusalsAndMissingPathsAreNotRemembered)
{
    SelectMF();
    WORD path[] = {0x1100, 0x1102};
    for (int i = 0; i < 2; ++i) {
        card.Step("refused", "00 A4 09 0C 02 11 00 FF", 0x6982);
        EXPECT_EQ(0x6982, Card().SelectEx(0x1100, nullptr, eFidDF));
        card.Step("missing", "00 A4 08 0C 04 11 00 11 02", 0x6A82);
        EXPECT_EQ(0x6A82, Card().PathSelectWORD(path, 2, 1));
    }
    EXPECT_EQ("3F00 DF", DF());
    EXPECT_EQ("DF --", Physical());
}

TEST_F(M4Select, SizeQueryAsksTheCardAndTakesTag81)
{
    SelectMF();
    const struct {
        const char* szAnswer;
        long lResult;
        DWORD dwSize;
    } rows[] = {
        {"6F 04 81 02 01 23 90 00", 0, 0x123},
        {"6F 07 82 01 01 81 02 01 23 90 00", 0, 0x123},
        {"6F 05 81 03 01 23 45 90 00", 0, 77},
        {"6F 04 80 02 01 23 90 00", 0, 77},
        {"6F 00 90 00", 0, 77},
        {"81 02 01 23 90 00", eM4Error_no_FCI_reported, 77},
        {"90 00", eM4Error_no_FCI_reported, 77},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szAnswer);
        DWORD dwSize = 77;
        card.Step("with FCI", "00 A4 09 00 02 50 15 FF", row.szAnswer);
        EXPECT_EQ(row.lResult, Card().SelectEx(0x5015, &dwSize, eFidEF));
        EXPECT_EQ(row.dwSize, dwSize);
        EXPECT_EQ("3F00 5015", EF()); // also without FCI: selected
    }
}

TEST_F(M4Select, PathsAreSentFromTheMFWithoutIt)
{
    const struct {
        std::vector<WORD> path;
        CK_BBOOL isDF;
        const char* szCommand;
        const char* szDF;
        const char* szEF;
        const char* szPhysical;
    } rows[] = {
        {{}, 1, "00 A4 08 0C 02 3F 00", "3F00 DF", "3F00 DF", "DF --"},
        {{0x3F00}, 1, "00 A4 08 0C 02 3F 00", "3F00 DF", "3F00 DF", "DF --"},
        {{0x3F00, 0x5015}, 1, "00 A4 08 0C 02 50 15", "5015 DF", "5015 DF", "DF --"},
        {{0x1100, 0x1102}, 0, "00 A4 08 0C 04 11 00 11 02", "1100 DF", "1100 1102", "DF EF"},
        {{0x3F00, 0x2F02}, 0, "00 A4 08 0C 02 2F 02", " DF", "2F02", "DF EF"},
    };
    for (auto row : rows) {
        SCOPED_TRACE(row.szCommand);
        Ok(row.szCommand);
        EXPECT_EQ(0, Card().PathSelectWORD2(row.path.data(), row.path.size(), row.isDF, 1));
        EXPECT_EQ(row.szDF, DF());
        EXPECT_EQ(row.szEF, EF());
        EXPECT_EQ(row.szPhysical, Physical());
        EXPECT_EQ(0, Card().PathSelectWORD(row.path.data(), row.path.size(), row.isDF));
        EXPECT_EQ(row.szEF, EF());
        EXPECT_EQ("-- --", Physical());
    }
}

TEST_F(M4Select, PathsBeyondAShortCommandAreRefused)
{
    std::vector<WORD> path(300, 0x1111);
    const Bytes longest(250, 0x11);
    Ok(("00 A4 08 0C FA" + ToHex(longest)).c_str());
    EXPECT_EQ(0, Card().PathSelectWORD(path.data(), 125, 1));
    EXPECT_EQ(eM4Error_invalid_args, Card().PathSelectWORD(path.data(), 126, 1));
    EXPECT_EQ(eM4Error_invalid_args, Card().PathSelectWORD(path.data(), 300, 1));
}

TEST_F(M4Select, ForcedSelectionAsksTheCardForADFInBothCases)
{
    WORD path[] = {0x1100, 0x1102};
    for (int i = 0; i < 2; ++i) {
        Ok("00 A4 08 0C 04 11 00 11 02");
    }
    EXPECT_EQ(0, Card().PathSelectWORD(path, 2, 0));
    EXPECT_EQ(0, Card().ForceSelectCurrentEF());
    EXPECT_EQ("1100 1102 DF", DF());
    Ok("00 A4 08 0C 04 11 00 11 02");
    EXPECT_EQ(0, Card().ForceSelectCurrentEF());
}

TEST_F(M4Select, FileCommandsBringTheCardInLineAndIgnoreHowThatWent)
{
    WORD path[] = {0x1100, 0x1102};
    CK_BYTE ab[4] = {};
    CK_BYTE cb = 4;
    const struct {
        const char* szCommand;
        std::function<long()> call;
    } rows[] = {{"00 B0 00 00 04", [&] { return Card().ReadBinary(0, 4, ab); }},
                {"00 D6 00 00 04 00 00 00 00", [&] { return Card().UpdateBinary(ab, 4, 0); }},
                {"00 B2 01 04 04", [&] { return Card().ReadRecord(4, 1, ab, &cb); }},
                {"00 DC 01 04 04 00 00 00 00", [&] { return Card().UpdateRecord(4, 1, ab, 4); }},
                {"00 E2 00 00 04 00 00 00 00", [&] { return Card().AppendRecord(ab, 4); }}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szCommand);
        card.Step("somewhere", "00 A4 08 0C 04 11 00 11 02", 0x9000);
        Card().PathSelectWORD2(path, 2, 0, 1);

        Card().m_bCurrentEFPhisicallySelected = 0;
        card.Step("the EF alone", "00 A4 09 0C 02 11 02 FF", 0x6985);
        card.Step("itself", row.szCommand, 0x6981);
        EXPECT_EQ(0x6981, row.call());

        Card().m_bCurrentDFPhisicallySelected = 0;
        card.Step("the whole path", "00 A4 08 0C 04 11 00 11 02", 0x6985);
        card.Step("itself", row.szCommand, 0x6981);
        EXPECT_EQ(0x6981, row.call());
    }
}
} // namespace
