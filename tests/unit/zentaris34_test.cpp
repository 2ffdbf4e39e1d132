// SPDX-License-Identifier: Apache-2.0
//
// Zentaris34: what differs from CardOS M4 in identity, key data, records and object
// administration.

#include "cardlib/scardzentaris34.h"
#include "tests/support/session_test.h"

#include <functional>

namespace {
class Zentaris34 : public CSessionTest<CSCardZentaris34> {
protected:
    void SetUp() override
    {
        CSessionTest::SetUp();
        Card().m_bCurrentDFPhisicallySelected = Card().m_bCurrentEFPhisicallySelected = 1;
    }
};

TEST_F(Zentaris34, AnswersForItselfWithoutTheCard)
{
    WORD wSize = 0;
    EXPECT_STREQ("Mark&Seal 2048", Card().GetModelName());
    EXPECT_EQ(0, Card().GetFreeMemory(eCurrentDFBody, wSize));
    EXPECT_EQ(0xFFFF, wSize);
    EXPECT_EQ(0, Card().SwitchToAdminLifeCycle());
    EXPECT_EQ(0, Card().RevertFromAdminLifeCycle());
    EXPECT_EQ(0u, card.Count("Transmit"));
}

TEST_F(Zentaris34, OwnCommandsHaveExactlyTheseBytes)
{
    CK_BYTE f4[] = {0x01, 0x00, 0x01};
    CK_BYTE three[] = {0x03};
    const Bytes data(16, 0xD1);
    const std::string sixteen = ToHex(data.data(), 16);
    const struct {
        std::string command;
        std::function<long()> call;
    } rows[] = {
        {"B0 DF 87 05 00", [&] { return Card().ExtendBSO(0x87, 5, 7); }},
        {"00 44 01 0C 02 50 15", [&] { return Card().ActivateFile(0x5015, 1, 1); }},
        {"00 04 02 0C 02 50 15", [&] { return Card().ActivateFile(0x5015, 0, 0); }},
        {"90 24 33 01 10" + sixteen,
         [&] { return Card().ChangeKeyData(1, 0xB3, data.data(), 16); }},
        {"00 46 00 00 08 20 05 50 15 00 00 08 00",
         [&] { return Card().GenerateKeyPair(0x23, 5, 0x5015, 2048, three, 1); }},
        {"00 46 00 00 08 20 05 50 15 00 00 00 00",
         [&] { return Card().GenerateKeyPair(0x23, 5, 0x5015, 2048, f4, 3); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        for (const int nSw : {0x9000, 0x6982}) {
            Card().m_bCurrentDFPhisicallySelected = 0;
            card.Step("the DF", "00 A4 08 0C 02 3F 00", 0x9000);
            if (row.command.starts_with("00 46")) {
                card.Step("public key file", "00 A4 09 0C 02 50 15 FF", 0x9000);
            }
            card.Step("itself", row.command.c_str(), nSw);
            EXPECT_EQ(nSw == 0x9000 ? 0 : nSw, row.call());
        }
    }
    card.Step("public key file", "00 A4 09 0C 02 50 15 FF", 0x6A82);
    EXPECT_EQ(0x6A82, Card().GenerateKeyPair(0x23, 5, 0x5015, 2048, f4, 3));
}

TEST_F(Zentaris34, KeyDataWithoutAnOldValueTakesTheCardsOwnCommand)
{
    Bytes value(0x82, 0xE1);
    value[0] = 0x04;
    value[1] = 0x80;
    const CK_BYTE old[] = {0x31};
    const std::string bare = ToHex(value.data() + 2, 0x80);
    const std::string whole = ToHex(value.data(), 0x82);
    const struct {
        CK_BYTE bClass;
        CK_BYTE cbNew;
        bool bOld;
        std::string command;
    } rows[] = {
        {0x20, 0x82, false, "90 24 20 05 80" + bare}, // the header goes
        {0x20, 0x82, true, "00 24 40 05 81 31" + bare},
        {0x10, 0x82, false, "90 24 10 05 82" + whole},
        {0x20, 0x02, false, "90 24 20 05 02 04 80"},
        {0x00, 0x82, false, "00 24 01 05 82" + whole},
        {0xC8, 0x02, false, "00 24 91 05 02 04 80"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        card.Step("change", row.command.c_str(), 0x63C1);
        EXPECT_EQ(0x63C1, Card().ChangeReferenceData(5, row.bClass, value.data(), row.cbNew,
                                                     row.bOld ? old : nullptr, 1));
    }
}

TEST_F(Zentaris34, RecordIsFoundByItsFirstByte)
{
    CK_BYTE ab[8];
    CK_BYTE cb = sizeof ab;
    card.Step("first", "00 B2 01 04 01", "51 90 00");
    card.Step("second", "00 B2 02 04 01", "5A 90 00");
    card.Step("whole", "00 B2 02 04 08", "5A 01 A1 90 00");
    EXPECT_EQ(0, Card().ReadRecordTLV(0x5A, ab, &cb));
    EXPECT_EQ("5A 01 A1", ToHex(ab, cb));

    card.Step("first", "00 B2 01 04 01", "51 90 00");
    card.Step("end", "00 B2 02 04 01", 0x6A83);
    EXPECT_EQ(0x6A83, Card().ReadRecordTLV(0x5A, ab, &cb));
    for (int i = 1; i <= 255; ++i) {
        card.Wildcard("a file without end", "51 90 00");
    }
    EXPECT_EQ(0x6A83, Card().ReadRecordTLV(0x5A, ab, &cb));
}

TEST_F(Zentaris34, FileConditionsGetOneMoreByteForTheCallOnly)
{
    _M4_FileInfo_common info;
    info.type = eDF;
    info.fid = 0x1100;
    info.SetDefaultAC(0x10);
    info.SetAdditionalACPaddingFF(1);
    card.Step("not there", "00 A4 09 0C 02 11 00 FF", 0x6A82);
    card.Step("create",
              "00 E0 00 00 21 6F 1F 81 02 00 00 82 03 38 00 00 83 02 11 00 85 03 00 00 00 "
              "86 0B 10 10 10 10 10 10 10 10 10 FF FF",
              0x9000);
    EXPECT_EQ(0, Card().CreateFile(&info));
    card.Step("put", "00 DA 01 6F 0D 86 0B 10 10 10 10 10 10 10 10 10 FF FF", 0x6982);
    EXPECT_EQ(0x6982, Card().PutDataFCI(&info));
    EXPECT_EQ(1, info.m_bAdditionalACPaddingFF);
}

/// An object with every field told apart, and two bytes of value.
_M4_BSO_info Object(CK_BYTE bClass)
{
    _M4_BSO_info info;
    info.ObjectClass = bClass;
    info.ObjectId = 0x05;
    info.Options = info.Flags = info.AlgoId = info.ErrCnt = 0xFF;
    info.MinLen = 6;
    info.AC_CHANGE = 0x1A;
    info.pObjectData[0] = 0xD1;
    info.pObjectData[1] = 0xD2;
    info.ObjectDataLen = 2;
    return info;
}

const std::string CONDITIONS = " 86 0A 00 1A 00 00 00 00 00 00 FF FF ";
const std::string SM = " 8B 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ";

TEST_F(Zentaris34, ObjectIsAdjustedCreatedAndThenFilled)
{
    const struct {
        CK_BYTE bClass;
        std::string parameters;
        std::string end;
        const char* szLoad;
    } rows[] = {
        {0x20, "85 08 BF DF FF 0F 00 00 00 00", "", "90 24 20 85 02 D1 D2"},
        {0x00, "85 08 FF FF FF BF 00 00 00 06", "8A 01 05", "00 24 01 85 02 D1 D2"},
        {0x10, "85 08 FF FF FF FF 00 00 00 06", "", "90 24 10 85 02 D1 D2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szLoad);
        _M4_BSO_info info = Object(row.bClass);
        const std::string body = "83 02" + ToHex(&row.bClass, 1) + "05" + row.parameters +
                                 CONDITIONS + SM + "8F 02 D1 D2" + row.end;
        const auto cb = static_cast<std::uint8_t>(FromHex(body).size());
        const std::string create = "00 DA 01 6E" + ToHex(&cb, 1) + body;
        card.Step("create", create.c_str(), 0x9000);
        card.Step("load", row.szLoad, 0x6A80);
        EXPECT_EQ(0x6A80, Card().CreateBSO(&info, 0));
        card.Step("create for generation", create.c_str(), 0x9000);
        EXPECT_EQ(0, Card().CreateBSO(&info, 1));
        card.Step("refused: not loaded", create.c_str(), 0x6A84);
        EXPECT_EQ(0x6A84, Card().CreateBSO(&info, 0));
        EXPECT_EQ(0xFF, info.ErrCnt); // the caller's descriptor is as it was
    }
    _M4_BSO_info empty = Object(0x20);
    empty.ObjectDataLen = 0;
    card.Wildcard("create", 0x9000);
    EXPECT_EQ(-1, Card().CreateBSO(&empty, 0)); // created, but without a value
}

TEST_F(Zentaris34, ObjectConditionsAreWrittenAsTheyAre)
{
    _M4_BSO_info info = Object(0x20);
    card.Step("admin", ("00 DA 01 6E 10 83 02 20 05" + CONDITIONS).c_str(), 0x9000);
    EXPECT_EQ(0, Card().AdminBSO(&info, 0));
    card.Step("admin with SM", ("00 DA 01 6E 22 83 02 20 05" + CONDITIONS + SM).c_str(), 0x6982);
    EXPECT_EQ(0x6982, Card().AdminBSO(&info, 1));
}

} // namespace
