// SPDX-License-Identifier: Apache-2.0
//
// The TLV bodies of the descriptors, byte by byte.

#include "cardlib/scardcardosm4_descriptors.h"

#include "tests/support/scripted_pcsc.h"

#include <new>
#include <numeric>

namespace {

const std::string FILE_ACCESS = "A0 A1 A2 A3 A4 A5 A6 A7 A8";
const std::string FILE_SM =
    " 8B 18 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17 18";
const std::string BSO_HEAD = "83 02 2C 1A 85 08 01 02 03 04 05 06 07 08 ";
const std::string BSO_ACCESS = "B0 B1 B2 B3 B4 B5 B6 B7";
const std::string BSO_SM = " 8B 10 C0 C1 C2 C3 C4 C5 C6 C7 C8 C9 CA CB CC CD CE CF";

/// Gives the bytes of adjoining members consecutive values: the order in a descriptor's memory is
/// that of the body.
__attribute__((noinline)) void Number(CK_BYTE* pbFirst, std::size_t cb, CK_BYTE bValue)
{
    CK_BYTE* volatile pb = pbFirst; // the compiler would see the end of one member
    std::iota(pb, pb + cb, bValue);
}

void FillCommon(_M4_FileInfo_common& info)
{
    info.size = 0x1234;
    info.type = eLinearTLV;
    info.recordSize = 0x20;
    info.fid = 0x5015;
    info.flags = 0x7F;
    info.DF_Body_size = 0x0102;
    Number(&info.AC_READ, 9, 0xA0);
}

_M4_FileInfo_SM FilledSm()
{
    _M4_FileInfo_SM info;
    FillCommon(info);
    Number(&info.SM_rfu1, 24, 1);
    return info;
}

void FillBso(_M4_BSO_info& info)
{
    info.ObjectClass = 0x2C;
    info.ObjectId = 0x1A;
    CK_BYTE b = 1;
    for (CK_BYTE* p : {&info.Options, &info.Flags, &info.AlgoId, &info.ErrCnt, &info.UseCount,
                       &info.Dek, &info.Ara_Counter, &info.MinLen}) {
        *p = b++;
    }
    Number(&info.AC_USE, 8, 0xB0);
    Number(&info.SM_ENC_USE_IN, 16, 0xC0);
    Number(info.pObjectData, 4, 0xD0);
    info.ObjectDataLen = 4;
}

/// One of the writers: GetTLV, or GetTLV_Admin with or without secure messaging.
enum EForm { WHOLE, ADMIN, ADMIN_SM };

long Write(_M4_TlvStructure& info, EForm form, CK_BYTE* pb, CK_ULONG* pulSize)
{
    return form == WHOLE ? info.GetTLV(pb, pulSize)
                         : info.GetTLV_Admin(pb, pulSize, form == ADMIN_SM);
}

/// Asks for the size, tries one byte less, and writes into a block of the size plus what is to
/// spare.
std::string Body(_M4_TlvStructure& info, EForm form, std::size_t cbSpare = 0)
{
    CK_ULONG ulNeeded = 0;
    EXPECT_EQ(1, Write(info, form, nullptr, &ulNeeded));
    const std::unique_ptr<CK_BYTE[]> block(new CK_BYTE[ulNeeded + cbSpare]);
    CK_ULONG ulSize = ulNeeded - 1;
    EXPECT_EQ(1, Write(info, form, block.get(), &ulSize)) << "one byte too small";
    EXPECT_EQ(ulNeeded, ulSize);
    EXPECT_EQ(0, Write(info, form, block.get(), &ulSize));
    EXPECT_TRUE(cbSpare == 0 || ulSize == ulNeeded + cbSpare);
    return ToHex(block.get(), ulSize);
}

TEST(FileDescriptor, WritesItsBodies)
{
    const std::string head = "81 02 12 34 82 03 05 00 20 83 02 50 15 85 03 7F 01 02 ";
    _M4_FileInfo_common common;
    FillCommon(common);
    EXPECT_EQ(head + "86 09 " + FILE_ACCESS, Body(common, WHOLE));
    EXPECT_EQ("86 09 " + FILE_ACCESS, Body(common, ADMIN));
    EXPECT_EQ("86 09 " + FILE_ACCESS, Body(common, ADMIN_SM)) << "it has no such conditions";

    _M4_FileInfo_SM sm = FilledSm();
    EXPECT_EQ(head + "86 09 " + FILE_ACCESS + FILE_SM, Body(sm, WHOLE));
    EXPECT_EQ("86 09 " + FILE_ACCESS, Body(sm, ADMIN));
    EXPECT_EQ("86 09 " + FILE_ACCESS + FILE_SM, Body(sm, ADMIN_SM));

    const std::string padded = "86 0C " + FILE_ACCESS + " FF FF FF";
    common.SetAdditionalACPaddingFF(3);
    sm.SetAdditionalACPaddingFF(3);
    EXPECT_EQ(padded, Body(common, ADMIN));
    EXPECT_EQ(head + padded, Body(common, WHOLE));
    EXPECT_EQ(padded + FILE_SM, Body(sm, ADMIN_SM));
    EXPECT_EQ(head + padded + FILE_SM, Body(sm, WHOLE));
}

TEST(FileDescriptor, StartsAndResetsWithEverythingForbidden)
{
    const std::string fresh =
        "81 02 00 00 82 03 01 00 00 83 02 00 00 85 03 00 00 00 "
        "86 09 FF FF FF FF FF FF FF FF FF 8B 18"
        " FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF";
    _M4_FileInfo_SM info;
    EXPECT_EQ(fresh, Body(info, WHOLE));
    info = FilledSm();
    info.SetAdditionalACPaddingFF(2);
    info.Reset();
    EXPECT_EQ(fresh, Body(info, WHOLE));
    EXPECT_EQ(sizeof(_M4_FileInfo_common), info.structSize) << "the common descriptor's, as is";
    EXPECT_EQ(sizeof(_M4_FileInfo_SM), info.GetInternalStructSize());
}

TEST(FileDescriptor, ACloneIsOfTheSameClass)
{
    _M4_FileInfo_SM info = FilledSm();
    info.type = eDF;
    const std::unique_ptr<_M4_FileInfo_SM> clone(info.Clone());
    info.SetDefaultAC(0);
    info.SetDefaultSM(0);
    EXPECT_TRUE(clone->isDF());
    EXPECT_EQ("86 09 " + FILE_ACCESS + FILE_SM, Body(*clone, ADMIN_SM));
}

TEST(ObjectDescriptor, WritesItsBodies)
{
    _M4_BSO_info bso;
    FillBso(bso);
    EXPECT_EQ(BSO_HEAD + "86 08 " + BSO_ACCESS + BSO_SM + " 8F 04 D0 D1 D2 D3", Body(bso, WHOLE));
    EXPECT_EQ("83 02 2C 1A 86 08 " + BSO_ACCESS, Body(bso, ADMIN))
        << "32 are asked for, 14 written";
    EXPECT_EQ("83 02 2C 1A 86 08 " + BSO_ACCESS + BSO_SM, Body(bso, ADMIN_SM));
    CK_ULONG ulSize = 20;
    CK_BYTE ab[20];
    EXPECT_EQ(1, bso.GetTLV_Admin(ab, &ulSize, 0));
    EXPECT_EQ(32u, ulSize);
}

TEST(ObjectDescriptor, TheZentarisVariantAddsTwoConditionsAndTheLifeCycleOfAPin)
{
    _M4_BSO_info source;
    FillBso(source);
    _ZT34_BSO_info bso(source, 0xE0, 0xE1);
    const std::string access = "86 0A " + BSO_ACCESS + " E0 E1";
    const std::string value = " 8F 04 D0 D1 D2 D3";
    // Two bytes more than the capacity check counts: the callers' buffers have them to spare.
    for (const CK_BYTE bClass : Bytes{0x2C, 0x20, 0x08}) {
        bso.ObjectClass = bClass;
        EXPECT_EQ("83 02 " + ToHex(&bClass, 1) + BSO_HEAD.substr(8) + access + BSO_SM + value,
                  Body(bso, WHOLE, 2));
    }
    bso.ObjectClass = 0x2C;
    EXPECT_EQ("83 02 2C 1A " + access, Body(bso, ADMIN));
    EXPECT_EQ("83 02 2C 1A " + access + BSO_SM, Body(bso, ADMIN_SM));
    bso.ObjectClass = 0xC7;
    EXPECT_EQ("83 02 C7" + BSO_HEAD.substr(8) + access + BSO_SM + value + " 8A 01 05",
              Body(bso, WHOLE, 2));
}

TEST(ObjectDescriptor, OnlyTheLowByteOfALongLengthIsWritten)
{
    _M4_BSO_info bso;
    bso.ObjectDataLen = 300;
    const std::string body = Body(bso, WHOLE);
    EXPECT_EQ(344u, (body.size() + 1) / 3);
    EXPECT_EQ("8F 2C 00", body.substr(42 * 3ul, 8));
}

TEST(ObjectDescriptor, MoreDataThanItsFieldHoldsIsRefused)
{
    _M4_BSO_info bso;
    _ZT34_BSO_info zentaris;
    for (_M4_BSO_info* pInfo : {&bso, static_cast<_M4_BSO_info*>(&zentaris)}) {
        pInfo->ObjectDataLen = 1025;
        Bytes block(2000, 0xEE);
        CK_ULONG ulSize = block.size();
        EXPECT_EQ(-1, pInfo->GetTLV(block.data(), &ulSize));
        EXPECT_EQ(Bytes(2000, 0xEE), block);
    }
}

TEST(ObjectDescriptor, TheValueIsWipedByResetAndAtTheEnd)
{
    alignas(_M4_BSO_info) unsigned char memory[sizeof(_M4_BSO_info)];
    auto* const pBso = new (memory) _M4_BSO_info;
    CK_BYTE* const pValue = pBso->pObjectData;
    FillBso(*pBso);
    pBso->Reset();
    EXPECT_EQ("00 00 00 00", ToHex(pValue, 4));
    EXPECT_EQ(0, pBso->ObjectDataLen + pBso->ObjectClass + pBso->SM_SIG_USE_OUT);
    FillBso(*pBso);
    const std::size_t nOffset = static_cast<std::size_t>(pValue - memory);
    pBso->~_M4_BSO_info();
    EXPECT_EQ("00 00 00 00", ToHex(memory + nOffset, 4));
}

TEST(Descriptors, NoneParsesAndNoneWritesWithoutASize)
{
    _M4_FileInfo_common common;
    _M4_FileInfo_SM sm;
    _M4_BSO_info bso;
    _ZT34_BSO_info zentaris;
    CK_BYTE ab[400] = {0x81, 0x00};
    for (_M4_TlvStructure* pInfo :
         std::initializer_list<_M4_TlvStructure*>{&common, &sm, &bso, &zentaris}) {
        EXPECT_EQ(-1, pInfo->ParseTLV(ab, 2));
        for (const EForm form : {WHOLE, ADMIN, ADMIN_SM}) {
            EXPECT_EQ(-1, Write(*pInfo, form, ab, nullptr));
        }
    }
}

} // namespace
