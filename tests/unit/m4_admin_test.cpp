// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: the life cycle, files and security objects, directory listings, value blocks.

#include "cardlib/scardcardosm4.h"
#include "tests/support/session_test.h"

#include <functional>

namespace {
class M4Admin : public CSessionTest<CSCardCardOSM4> {
protected:
    void SetUp() override
    {
        CSessionTest::SetUp();
        Card().m_bCurrentDFPhisicallySelected = 1;
    }
    /// The command between the two switches of a card that is operational.
    void Bracketed(const char* szCommand, const SAnswer& answer)
    {
        card.Step("life cycle", "00 CA 01 83 00", "10 90 00");
        Ok("80 10 00 00 00");
        card.Step(szCommand, szCommand, answer);
        card.Step("life cycle", "00 CA 01 83 00", "20 90 00");
        Ok("80 10 00 00 00");
    }
    bool Known(const char* szPath)
    {
        auto path = FromHex(szPath);
        return Card().m_Cache.isSelectCached(DFEF_Path(path.data(), path.size() / 2, 0)) &&
               Card().m_Cache.GetSelect(DFEF_Path(path.data(), path.size() / 2, 0)).m_bExists;
    }
};

TEST_F(M4Admin, LifeCycleIsSwitchedFromOperationalAloneAndBack)
{
    const struct {
        int nBefore; ///< the life cycle to go back to; 0: the switch itself
        SAnswer lifeCycle;
        int nToggle; ///< the answer to the toggle; 0: it does not come
        long lResult;
    } rows[] = {
        {0, "10 90 00", 0x9000, 0},    {0, "10 90 00", 0x6985, 0x6985},
        {0, "20 90 00", 0, 0}, // already administration
        {0, "34 90 00", 0, -1},        {0, 0x6A88, 0, 0x6A88},
        {0x10, "20 90 00", 0x9000, 0}, {0x10, "20 90 00", 0x6985, 0x6985},
        {0x20, "20 90 00", 0, 0}, // was there before the switch
        {0x10, "10 90 00", 0, 0},      {0x10, "34 90 00", 0, 0},
        {0x10, 0x6A88, 0, 0x6A88},
    };
    for (const auto& row : rows) {
        card.Step("read", "00 CA 01 83 00", row.lifeCycle);
        if (row.nToggle != 0) {
            card.Step("toggle", "80 10 00 00 00", row.nToggle);
        }
        if (row.nBefore != 0) {
            Card().m_PreviousLcycle = static_cast<CK_BYTE>(row.nBefore);
        }
        EXPECT_EQ(row.lResult, row.nBefore == 0 ? Card().SwitchToAdminLifeCycle()
                                                : Card().RevertFromAdminLifeCycle());
    }
}

TEST_F(M4Admin, CreatedFileIsTheCurrentOneAndNoLongerMissing)
{
    _M4_FileInfo_common info;
    info.fid = 0x5015;
    info.size = 0x123;
    constexpr char CREATE[] = "00 E0 00 00 1F 6F 1D 81 02 01 23 82 03 01 00 00 83 02 50 15 "
                              "85 03 00 00 00 86 09 FF FF FF FF FF FF FF FF FF";
    card.Step("not there", "00 A4 09 0C 02 50 15 FF", 0x6A82);
    Bracketed(CREATE, 0x6A84);
    EXPECT_EQ(0x6A84, Card().CreateFile(&info));
    EXPECT_FALSE(Known("50 15"));
    card.Step("not there", "00 A4 09 0C 02 50 15 FF", 0x6A82);
    Bracketed(CREATE, 0x9000);
    EXPECT_EQ(0, Card().CreateFile(&info));
    EXPECT_EQ("5015", EF());
    EXPECT_TRUE(Known("50 15"));
    Ok("00 A4 09 0C 02 50 15 FF");
    EXPECT_EQ(eM4Error_file_already_exists, Card().CreateFile(&info));

    info.type = eDF;
    info.fid = 0x1100;
    card.Step("not there", "00 A4 09 0C 02 11 00 FF", 0x6A82);
    card.Step("life cycle", "00 CA 01 83 00", "20 90 00");
    card.Wildcard("create", 0x9000);
    card.Step("life cycle", "00 CA 01 83 00", "20 90 00");
    EXPECT_EQ(0, Card().CreateFile(&info));
    EXPECT_EQ("1100", DF());
    EXPECT_EQ("1100", EF());
}

TEST_F(M4Admin, DeletedFileIsForgotten)
{
    Ok("00 A4 09 0C 02 50 15 FF");
    EXPECT_EQ(0, Card().SelectEx(0x5015, nullptr, eFidEF));
    Bracketed("00 E4 00 00 02 50 15", 0x6982);
    EXPECT_EQ(0x6982, Card().DeleteFile(0x5015, 0));
    EXPECT_TRUE(Known("50 15"));
    Bracketed("00 E4 00 00 02 50 15", 0x9000);
    EXPECT_EQ(0, Card().DeleteFile(0x5015, 0));
    EXPECT_FALSE(Known("50 15"));
    EXPECT_EQ("5015", EF());
}

TEST_F(M4Admin, FilesAreActivatedAfterTheirSelection)
{
    card.Step("select", "00 A4 09 0C 02 50 15 FF", 0x6A82);
    EXPECT_EQ(0x6A82, Card().ActivateFile(0x5015, 1, 0));
    for (const bool bActivate : {true, false}) {
        Ok("00 A4 09 0C 02 50 15 FF");
        card.Step("itself", bActivate ? "00 44 00 00 00" : "00 04 00 00 00", 0x6985);
        EXPECT_EQ(0x6985, Card().ActivateFile(0x5015, bActivate, 0));
    }
}

TEST_F(M4Admin, DescriptorsGoOutInsideTheBracketAlsoWhenTheReaderFails)
{
    _M4_FileInfo_SM file;
    file.type = eDF;
    file.SetDefaultAC(0x10);
    file.SetDefaultSM(0x20);
    const std::string sm = " 8B 18" + ToHex(std::string(24, '\x20').data(), 24);
    _M4_BSO_info object;
    object.ObjectClass = 0x87;
    object.ObjectId = 0x1A;
    object.ObjectDataLen = 1;
    object.pObjectData[0] = 0x31;
    const std::string zeros8 = ToHex(std::string(8, '\0').data(), 8);
    const std::string conditions = " 8B 10" + zeros8 + zeros8;
    const struct {
        std::string command;
        std::function<long()> call;
    } rows[] = {
        {"00 DA 01 6F 25 86 09 10 10 10 10 10 10 10 10 10" + sm,
         [&] { return Card().PutDataFCI(&file); }},
        {"00 DA 01 6E 2D 83 02 87 1A 85 08" + zeros8 + "86 08" + zeros8 + conditions + "8F 01 31",
         [&] { return Card().CreateBSO(&object, 1); }},
        {"00 DA 01 6E 0E 83 02 87 1A 86 08" + zeros8, [&] { return Card().AdminBSO(&object, 0); }},
        {"00 DA 01 6E 20 83 02 87 1A 86 08" + zeros8 + conditions,
         [&] { return Card().AdminBSO(&object, 1); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        Bracketed(row.command.c_str(), 0x9000);
        EXPECT_EQ(0, row.call());
        Bracketed(row.command.c_str(), SAnswer::Fail(SCARD_E_READER_UNAVAILABLE));
        EXPECT_EQ(SCARD_E_READER_UNAVAILABLE, row.call());
    }
    object.ObjectDataLen = 1025;
    EXPECT_EQ(eM4Error_invalid_args, Card().CreateBSO(&object, 0));
}

TEST_F(M4Admin, FreeMemoryIsAskedByItsKind)
{
    WORD wSize = 7;
    card.Step("body", "00 CA 01 85 00", "12 34 90 00");
    EXPECT_EQ(0, Card().GetFreeMemory(eCurrentDFBody, wSize));
    EXPECT_EQ(0x1234, wSize);
    card.Step("block", "00 CA 01 8A 00", 0x6A88);
    EXPECT_EQ(0x6A88, Card().GetFreeMemory(eLargestFreeMemoryBlock, wSize));
    EXPECT_EQ(0x1234, wSize);
}

/// What a listing gave, as "0: 1100/38 5015/01".
std::string Listing(long lResult, _DirFileInfo* pFiles, CK_ULONG ulCount)
{
    const std::unique_ptr<_DirFileInfo[]> owner(pFiles);
    char szEntry[24];
    std::snprintf(szEntry, sizeof szEntry, "%lX:", static_cast<unsigned long>(lResult));
    std::string text = szEntry;
    for (CK_ULONG i = 0; i < ulCount; ++i) {
        std::snprintf(szEntry, sizeof szEntry, " %04X/%02X", pFiles[i].fid, pFiles[i].fileType);
        text += szEntry;
    }
    return text;
}

constexpr char ENTRY_1100[] = "6F 07 82 01 38 86 02 11 00";
constexpr char ENTRY_5015[] = "6F 0A 82 01 01 86 02 50 15 8A 01 05";

TEST_F(M4Admin, ListingFollowsItsPagesAndKeepsWhatItFound)
{
    const std::string both = std::string(ENTRY_1100) + ENTRY_5015 + "90 00";
    const std::string one = std::string(ENTRY_1100) + "90 00";
    const struct {
        const char* szWhat;
        std::vector<SAnswer> pages; // from the second on with next 05
        const char* szListing;
    } rows[] = {
        {"two pages", {both.c_str(), one.c_str()}, "0: 1100/38 5015/01 1100/38"},
        {"refused", {0x6A82}, "6A82:"},
        {"second page refused", {both.c_str(), 0x6985}, "6985: 1100/38 5015/01"},
        {"no template", {"82 01 01 90 00"}, "FFFFFFFFFFFFFFFF:"},
        {"garbage behind",
         {(one.substr(0, one.size() - 5) + "00 90 00").c_str()},
         "FFFFFFFFFFFFFFFF: 1100/38"},
        {"incomplete templates", {"6F 03 82 01 01 6F 04 86 02 11 00 90 00"}, "0:"},
        {"empty", {0x9000}, "0:"},
        {"a page without entries ends it", {"6F 03 8A 01 05 90 00"}, "0:"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szWhat);
        WORD path[] = {0x3F00, 0x1100};
        Ok("00 A4 08 0C 02 11 00");
        for (std::size_t i = 0; i < row.pages.size(); ++i) {
            card.Step("page", i == 0 ? "80 16 02 00 00" : "80 16 02 05 00", row.pages[i]);
        }
        _DirFileInfo* pFiles = nullptr;
        CK_ULONG ulCount = 7;
        const long lResult = Card().ListFiles(path, 2, &pFiles, &ulCount, eListAll);
        EXPECT_EQ(row.szListing, Listing(lResult, pFiles, ulCount));
    }
}

TEST_F(M4Admin, ListingThatNeverEndsIsBounded)
{
    std::string page;
    for (int i = 0; i < 10; ++i) {
        page += ENTRY_5015;
    }
    page += "90 00";
    WORD path[] = {0x1100};
    Ok("00 A4 08 0C 02 11 00");
    for (int i = 0; i < 103; ++i) {
        card.Wildcard("page", page.c_str());
    }
    _DirFileInfo* pFiles = nullptr;
    CK_ULONG ulCount = 0;
    EXPECT_EQ(0, Card().ListFiles(path, 1, &pFiles, &ulCount, eListDFs));
    EXPECT_EQ(1024u, ulCount);
    delete[] pFiles;
}

TEST(M4ValueBlock, IsFilledFromTheRightAndReadBack)
{
    const CK_BYTE data[] = {0xAA, 0xBB, 0xCC};
    CK_BYTE block[11];
    std::fill(std::begin(block), std::end(block), CK_BYTE{0x77});
    CK_ULONG cb = 9;
    EXPECT_FALSE(CSCardCardOSM4::CCMS_Write(data, 3, block, &cb, 8));
    EXPECT_EQ(10u, cb);
    EXPECT_FALSE(CSCardCardOSM4::CCMS_Write(data, 3, nullptr, &cb, 8));
    EXPECT_FALSE(CSCardCardOSM4::CCMS_Write(data, 0, block, &cb, 8));
    EXPECT_TRUE(CSCardCardOSM4::CCMS_Write(data, 3, block, &cb, 8));
    EXPECT_EQ("09 00 00 00 00 00 00 AA BB CC 77", ToHex(block, 11));

    CK_BYTE* pbData = nullptr;
    EXPECT_TRUE(CSCardCardOSM4::CCMS_Read(block, 10, &pbData, &cb));
    EXPECT_EQ("00 00 00 00 00 AA BB CC", ToHex(pbData, cb));
    EXPECT_FALSE(CSCardCardOSM4::CCMS_Read(block, 7, &pbData, &cb));
    EXPECT_EQ(nullptr, pbData);
    EXPECT_FALSE(CSCardCardOSM4::CCMS_Read(block, 0, &pbData, &cb));
}
} // namespace
