// SPDX-License-Identifier: Apache-2.0
//
// What the card classes refuse before anything is sent: arguments that miss something, and
// everything when no card is connected. A row a rule; a session of the variant has all of the
// base's and the family's functions.

#include "cardlib/cscardsetec43.h"
#include "cardlib/scardzentaris34.h"
#include "tests/support/session_test.h"

#include <functional>

namespace {
struct SRefusal {
    long lResult;
    const char* szCall;
    std::function<long()> call;
};
#define CALL(EXPRESSION) #EXPRESSION, [&] { return static_cast<long>(EXPRESSION); }

class Guards : public CSessionTest<CSCardZentaris34> {
protected:
    void SetUp() override
    {
        CSessionTest::SetUp();
        Card().m_bCurrentDFPhisicallySelected = 1;
        setec.emplace(m_hContext, const_cast<char*>(SCRIPTED_READER));
        ASSERT_TRUE(setec->Create());
    }
    void Expect(std::initializer_list<SRefusal> refusals)
    {
        for (const auto& [lResult, szCall, call] : refusals) {
            EXPECT_EQ(lResult, call()) << szCall;
        }
        EXPECT_EQ(0u, card.Count("Transmit"));
    }
    void TearDown() override
    {
        setec.reset();
        CSessionTest::TearDown();
    }

    static constexpr long ARGS = eM4Error_invalid_args;
    std::optional<CSCardSetec43> setec;
    Bytes data = Bytes(256);
    CK_BYTE* const pb = data.data();
    CK_ULONG cb = 100;
    CK_BYTE bNone = 0, bFour = 4;
    DWORD dw = 4;
    WORD w = 0;
    _DirFileInfo* pFiles = nullptr;
    _M4_FileInfo_common file;
    _M4_BSO_info object;
};

TEST_F(Guards, ArgumentsThatMissSomething)
{
    Expect({
        {ARGS, CALL(Card().SelectEx(0x1000, nullptr, 3))},
        {ARGS, CALL(Card().UpdateBinary(nullptr, 1, 0))},
        {ARGS, CALL(Card().UpdateBinary(pb, 0, 0))},
        {7, CALL(Card().CSCard::UpdateBinary(nullptr, 1, 0))},
        {7, CALL(Card().CSCard::UpdateBinary(pb, 0, 0))},
        {-1, CALL(Card().ReadRecord(4, 1, nullptr, &bFour))},
        {-1, CALL(Card().ReadRecord(4, 1, pb, nullptr))},
        {-1, CALL(Card().ReadRecord(4, 1, pb, &bNone))},
        {ARGS, CALL(Card().ReadRecordTLVStrip(1, pb, nullptr))},
        {-1, CALL(Card().UpdateRecord(4, 1, nullptr, 4))},
        {-1, CALL(Card().UpdateRecord(4, 1, pb, 0))},
        {-1, CALL(Card().AppendRecord(nullptr, 4))},
        {-1, CALL(Card().AppendRecord(pb, 0))},
        {ARGS, CALL(Card().AppendRecord(pb, 252))},
        {ARGS, CALL(Card().ListFiles(&w, 1, nullptr, &cb, eListDFs))},
        {ARGS, CALL(Card().ListFiles(&w, 1, &pFiles, nullptr, eListDFs))},
        {-1, CALL(Card().ChangeReferenceData(0, 0, pb, 8, pb, 8))},
        {-1, CALL(Card().ChangeReferenceData(1, 0, nullptr, 8, pb, 8))},
        {-1, CALL(Card().ChangeReferenceData(1, 0, pb, 0, pb, 8))},
        {-1, CALL(Card().ChangeKeyData(0, 0x20, pb, 8))},
        {-1, CALL(Card().ChangeKeyData(5, 0x20, nullptr, 8))},
        {-1, CALL(Card().ChangeKeyData(5, 0x20, pb, 0))},
        {ARGS, CALL(Card().ChangeKeyData(5, 0x20, pb, 252))},
        {-1, CALL(Card().CRVerifyDes(1, nullptr, 24, 8))},
        {-1, CALL(Card().CRVerifyDes(1, pb, 0, 8))},
        {ARGS, CALL(Card().CRVerifyDes(1, pb, 7, 8))},
        {ARGS, CALL(Card().CRVerifyDes(1, pb, 23, 8))},
        {ARGS, CALL(Card().CRVerifyDes(1, pb, 255, 8))},
        {0, CALL(Card().LoadSecurityEnvironment(1, 2, 3, 3, 0))},
        {0, CALL(Card().LoadSecurityEnvironment(1, 2, 3, -1, 0))},
        {ARGS, CALL(Card().ComputeSignature(pb, 20, pb, nullptr))},
        {ARGS, CALL(Card().EncDec2048(0x8086, pb, 255, pb, &(cb = 256)))},
        {ARGS, CALL(Card().EncDec2048(0x8680, pb, 256, pb, &(cb = 256)))},
        {ARGS, CALL(Card().EncDec2048(0x8086, nullptr, 256, pb, &(cb = 256)))},
        {ARGS, CALL(Card().ComputeSignature2048(pb, 20, pb, nullptr))},
        {ARGS, CALL(Card().CreateRsa2048Key(&object, pb, pb, pb, pb, nullptr, pb))},
        {ARGS, CALL(Card().CreateRsa2048Key(&object, pb, pb, pb, pb, pb, nullptr))},
        {-1, CALL(setec->PutHash(pb, 17))},
        {-1, CALL(setec->PutHash(nullptr, 20))},
        {-1, CALL(setec->Verify(1, nullptr, 5))},
        {-1, CALL(setec->VerifyAndChange(1, pb, 5, nullptr, 5))},
        {-1, CALL(setec->ComputeSignature(pb, nullptr))},
        {-1, CALL(setec->EncDec(0x8086, nullptr, 5, pb, &cb))},
        {-1, CALL(setec->EncDec(0x8086, pb, 5, pb, nullptr))},
        {-1, CALL(setec->ExportRSAPublicKey(1, nullptr))},
    });
}

TEST_F(Guards, NullArguments)
{
    Expect({
        {-1, CALL(Card().CSCard::Transmit(nullptr, 4, pb, &cb))},
        {-1, CALL(Card().CSCard::Transmit(pb, 4, nullptr, &cb))},
        {-1, CALL(Card().CSCard::Transmit(pb, 4, pb, nullptr))},
        {-1, CALL(Card().CSCard::ReadBinary(0, 1, nullptr))},
        {-1, CALL(Card().CSCard::ReadBinaryFromCacheOnly(DFEF_Path(), 0, 1, nullptr))},
        {-1, CALL(Card().CSCard::GetATR(pb, nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit(nullptr, 5, pb, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit2(pb, 5, nullptr, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit2(pb, 5, pb, nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit_SMx4(nullptr, pb, 5, pb, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit_SMx4(pb, nullptr, 5, pb, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit_SMxC(nullptr, pb, pb, 5, pb, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit_SMxC(pb, nullptr, pb, 5, pb, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit_SMxC(pb, pb, nullptr, 5, pb, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit_SMxC(pb, pb, pb, 5, nullptr, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::Transmit_SMxC(pb, pb, pb, 5, pb, nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::ReadBinary(0, 1, nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::GetChallenge(nullptr, &cb))},
        {-1, CALL(Card().CSCardCardOSM4::GetChallenge(pb, nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::EncDec(0x8086, pb, 1, pb, nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::InternalAuthenticate(0, pb, 1, pb, nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::CreateFile(nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::PutDataFCI(nullptr))},
        {-1, CALL(Card().CSCardCardOSM4::CreateBSO(nullptr, 0))},
        {-1, CALL(Card().CSCardCardOSM4::AdminBSO(nullptr, 0))},
        {-1, CALL(Card().CreateFile(nullptr))},
        {-1, CALL(Card().PutDataFCI(nullptr))},
        {-1, CALL(Card().CreateBSO(nullptr, 0))},
        {-1, CALL(Card().AdminBSO(nullptr, 0))},
        {-1, CALL(Card().ReadRecordTLV(1, nullptr, &bFour))},
        {-1, CALL(Card().ReadRecordTLV(1, pb, nullptr))},
        {-1, CALL(Card().EncDec2048(0x8086, pb, 256, pb, nullptr))},
        {-1, CALL(Card().CreateRsa2048Key(nullptr, pb, pb, pb, pb, pb, pb))},
    });
    EXPECT_FALSE(CSCardCardOSM4::CCMS_Read(pb, 1, nullptr, &cb));
    EXPECT_STREQ("", CSCard(m_hContext, nullptr).m_readerName);
}

TEST_F(Guards, BuffersThatAreTooSmallOrOnlyAskForTheSize)
{
    const struct {
        CK_ULONG cbNeeded, cbAfterTooSmall;
        long lTooSmall;
        std::function<long(CK_BYTE*)> call;
    } rows[] = {
        {128, 128, ARGS, [&](CK_BYTE* p) { return Card().ComputeSignature(pb, 20, p, &cb); }},
        {256, 256, ARGS, [&](CK_BYTE* p) { return Card().ComputeSignature2048(pb, 20, p, &cb); }},
        {256, 255, ARGS, [&](CK_BYTE* p) { return Card().EncDec2048(0x8086, pb, 256, p, &cb); }},
        {128, 127, 336, [&](CK_BYTE* p) { return setec->ComputeSignature(p, &cb); }},
    };
    for (const auto& row : rows) {
        cb = row.cbNeeded - 1;
        EXPECT_EQ(row.lTooSmall, row.call(pb));
        EXPECT_EQ(row.cbAfterTooSmall, cb);
        cb = 0;
        EXPECT_EQ(0, row.call(nullptr));
        EXPECT_EQ(row.cbNeeded, cb);
    }
    EXPECT_EQ(ARGS, Card().ComputeSignature2048(pb, 246, pb, &cb)); // beyond the longest hash
    EXPECT_EQ(0u, card.Count("Transmit"));
}

TEST_F(Guards, EverythingWithoutAValidCard)
{
    card.RemoveCard();
    Expect({
        {-1, CALL(Card().CSCard::Transmit(pb, 4, pb, &dw))},
        {-1, CALL(Card().CSCard::SelectEx(0x1100, nullptr, eFidDF))},
        {-1, CALL(Card().CSCard::PathSelect(nullptr, 0, 1))},
        {-1, CALL(Card().CSCard::ReadBinary(0, 4, pb))},
        {-1, CALL(Card().CSCard::UpdateBinary(nullptr, 0, 0))},
        {-1, CALL(Card().Verify(1, pb, 8))},
        {-1, CALL(Card().ChangeReferenceData(1, 0, pb, 8, nullptr, 0))},
        {-1, CALL(Card().CRVerifyDes(1, pb, 8, 8))},
        {-1, CALL(Card().ManageSecurityEnvironment(1, 0xB601, 0))},
        {-1, CALL(Card().LoadSecurityEnvironment(1, 0xB6, 1, 2, 0))},
        {-1, CALL(Card().InternalAuthenticate(0, pb, 8, pb, &cb))},
        {-1, CALL(Card().EncDec(0x8086, pb, 8, pb, &cb))},
        {-1, CALL(Card().ChangeKeyData(1, 0x20, pb, 8))},
        {-1, CALL(Card().ActivateFile(0x5015, 1, 1))},
        {-1, CALL(Card().ExtendBSO(0x20, 1, 0))},
        {-1, CALL(Card().GenerateKeyPair(0x20, 1, 0x5015, 2048, nullptr, 0))},
        {-1, CALL(Card().CreateFile(&file))},
        {-1, CALL(Card().PutDataFCI(&file))},
        {-1, CALL(Card().CreateBSO(&object, 0))},
        {-1, CALL(Card().AdminBSO(&object, 0))},
        {-1, CALL(Card().ComputeSignature2048(pb, 20, pb, &(cb = 256)))},
        {-1, CALL(Card().EncDec2048(0x8086, pb, 256, pb, &cb))},
        {-1, CALL(Card().CreateRsa2048Key(&object, pb, pb, pb, pb, pb, pb))},
        {-1, CALL(setec->GetResponse(0, nullptr))},
    });
}
} // namespace
