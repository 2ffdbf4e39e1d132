// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: records, and what a file tells about itself.

#include "cardlib/scardcardosm4.h"
#include "tests/support/session_test.h"

namespace {
class M4Files : public CSessionTest<CSCardCardOSM4> {
protected:
    void SetUp() override
    {
        CSessionTest::SetUp();
        Card().m_bCurrentDFPhisicallySelected = Card().m_bCurrentEFPhisicallySelected = 1;
    }
};

TEST_F(M4Files, RecordIsCutOrShrunkToWhatCameBack)
{
    const struct {
        CK_BYTE cbRoom;
        const char* szAnswer;
        CK_BYTE cbRead;
        const char* szRead;
    } rows[] = {{4, "A1 A2 A3 A4 90 00", 4, "A1 A2 A3 A4"},
                {4, "A1 A2 90 00", 2, "A1 A2"},
                {2, "A1 A2 A3 A4 90 00", 2, "A1 A2"},
                {4, "90 00", 0, ""}};
    for (const auto& row : rows) {
        CK_BYTE ab[4] = {};
        CK_BYTE cb = row.cbRoom;
        card.Step("read", row.cbRoom == 4 ? "00 B2 03 04 04" : "00 B2 03 04 02", row.szAnswer);
        EXPECT_EQ(0, Card().ReadRecordAbsolute(3, ab, &cb));
        EXPECT_EQ(row.cbRead, cb);
        EXPECT_EQ(row.szRead, ToHex(ab, cb));
    }
}

TEST_F(M4Files, RecordFoundByTagLosesItsHeaderWhenStripped)
{
    CK_BYTE ab[255] = {};
    CK_BYTE cb = 4;
    card.Step("by tag", "00 B2 5A 02 04", "5A 02 A1 A2 90 00");
    EXPECT_EQ(0, Card().ReadRecordTLV(0x5A, ab, &cb));
    EXPECT_EQ("5A 02 A1 A2", ToHex(ab, cb));

    card.Step("two bytes more", "00 B2 5A 02 06", "5A 02 A1 A2 90 00");
    EXPECT_EQ(0, Card().ReadRecordTLVStrip(0x5A, ab, &cb));
    EXPECT_EQ("A1 A2", ToHex(ab, cb));

    cb = 254; // with the header it would not fit a byte
    card.Step("as asked", "00 B2 5A 02 FE", "5A 01 A1 90 00");
    EXPECT_EQ(0, Card().ReadRecordTLVStrip(0x5A, ab, &cb));
    EXPECT_EQ(1, cb);

    cb = 4;
    card.Step("shorter than a header", "00 B2 5A 02 06", "5A 90 00");
    EXPECT_EQ(0, Card().ReadRecordTLVStrip(0x5A, ab, &cb));
    EXPECT_EQ(0, cb);
    cb = 4;
    card.Step("refused", "00 B2 5A 02 06", 0x6A83);
    EXPECT_EQ(0x6A83, Card().ReadRecordTLVStrip(0x5A, ab, &cb));
    EXPECT_EQ(4, cb);
}

TEST_F(M4Files, RecordsAreWrittenUpToAShortCommand)
{
    Bytes data(251, 0xEE);
    const std::string longest = ToHex(data);
    Ok(("00 DC 07 02 FB" + longest).c_str());
    EXPECT_EQ(0, Card().UpdateRecord(2, 7, data.data(), 251));
    card.Step("append", ("00 E2 00 00 FB" + longest).c_str(), 0x6A84);
    EXPECT_EQ(0x6A84, Card().AppendRecord(data.data(), 251));
}

/// The fields of a descriptor that GetFileInfo can fill.
std::string InfoText(const _M4_FileInfo_SM& info)
{
    char szText[100];
    std::snprintf(szText, sizeof szText, "size %X type %X record %X fid %X body %X ac ", info.size,
                  unsigned{info.type}, info.recordSize, info.fid, info.DF_Body_size);
    return szText + ToHex(&info.AC_READ, 9);
}

TEST_F(M4Files, FileInfoTakesWhatTheFciStatesAndLeavesTheRest)
{
    constexpr char UNTOUCHED[] = "size 0 type 1 record 0 fid 5015 body 0 ac "
                                 "FF FF FF FF FF FF FF FF FF";
    const struct {
        const char* szWhat;
        const char* szAnswer;
        const char* szInfo;
    } rows[] = {
        {"DF",
         "6F 1B 81 02 01 23 82 06 38 00 04 56 00 00 83 02 50 15 "
         "86 09 01 02 03 04 05 06 07 08 09",
         "size 123 type 38 record 0 fid 5015 body 456 ac 01 02 03 04 05 06 07 08 09"},
        {"record file, few conditions", "6F 0C 82 06 02 00 00 20 00 00 86 02 01 02",
         "size 0 type 2 record 20 fid 5015 body 0 ac 01 02 FF FF FF FF FF FF FF"},
        {"type of five bytes", "6F 07 82 05 02 00 00 20 00",
         "size 0 type 2 record 0 fid 5015 body 0 ac FF FF FF FF FF FF FF FF FF"},
        {"objects too short", "6F 09 81 01 01 82 00 83 01 50 86 00", UNTOUCHED},
        {"length beyond the answer", "6F 7F 81 02 01 23", UNTOUCHED},
        {"no FCI", "81 02 01 23", UNTOUCHED},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szWhat);
        _M4_FileInfo_SM info;
        info.fid = 0x5015;
        Card().InvalidateCache();
        Card().m_bCurrentDFPhisicallySelected = Card().m_bCurrentEFPhisicallySelected = 1;
        card.Step("with FCI", "00 A4 09 00 02 50 15 FF",
                  (std::string(row.szAnswer) + "90 00").c_str());
        card.Step("the session follows", "00 A4 09 0C 02 50 15 FF", 0x6985); // and does not mind
        EXPECT_EQ(0, Card().GetFileInfo(info));
        EXPECT_EQ(row.szInfo, InfoText(info));
        EXPECT_EQ(0, Card().m_bCurrentEFPhisicallySelected); // where the card is, nobody has noted
        EXPECT_EQ(!info.isDF(), Card().m_bCurrentDFPhisicallySelected);
    }
}

TEST_F(M4Files, FileRememberedAsMissingIsTheCurrentOneAfterItsFileInfo)
{
    card.Step("not there yet", "00 A4 09 0C 02 11 02 FF", 0x6A82);
    EXPECT_EQ(0x6A82, Card().SelectEx(0x1102, nullptr, eFidEF));
    card.Step("another", "00 A4 09 0C 02 11 01 FF", 0x9000);
    EXPECT_EQ(0, Card().SelectEx(0x1101, nullptr, eFidEF));
    card.Step("there now", "00 A4 09 00 02 11 02 FF", "6F 03 82 01 01 90 00");
    card.Step("the session follows", "00 A4 09 0C 02 11 02 FF", 0x9000);
    _M4_FileInfo_SM info;
    info.fid = 0x1102;
    EXPECT_EQ(0, Card().GetFileInfo(info));
    EXPECT_EQ("1102", EF());
    card.Step("write", "00 D6 00 00 01 A1", 0x9000);
    EXPECT_EQ(0, Card().UpdateBinary(FromHex("A1").data(), 1, 0));
}

TEST_F(M4Files, FileInfoRecordsTheSelectionAndGoesToTheDFFirst)
{
    _M4_FileInfo_SM info;
    info.fid = 0x3F00;
    Card().m_bCurrentDFPhisicallySelected = 0;
    card.Step("cannot go there", "00 A4 08 0C 02 3F 00", 0x6985);
    EXPECT_EQ(0x6985, Card().GetFileInfo(info));
    Ok("00 A4 08 0C 02 3F 00");
    card.Step("the MF", "00 A4 00 00 02 3F 00 FF", "6F 03 82 01 38 90 00");
    EXPECT_EQ(0, Card().GetFileInfo(info)); // the selection is known: no further command
    EXPECT_EQ("3F00 DF", DF());
    EXPECT_EQ(0, Card().m_bCurrentDFPhisicallySelected);

    Ok("00 A4 08 0C 02 3F 00");
    card.Step("refused", "00 A4 00 00 02 3F 00 FF", 0x6A82);
    EXPECT_EQ(0x6A82, Card().GetFileInfo(info));
}
} // namespace
