// SPDX-License-Identifier: Apache-2.0
//
// The order of the virtual operations is part of the binary interface: under the Itanium C++ ABI a
// pointer to a virtual member holds its offset in the table, plus one.

#include "cardlib/scardzentaris34.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {
template <class Member> std::size_t Slot(Member member)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof member == sizeof words);
    std::memcpy(words, &member, sizeof words);
    EXPECT_EQ(1, words[0] & 1); // virtual
    return static_cast<std::size_t>(words[0] - 1) / sizeof(void*);
}

template <class... Members> void ExpectInOrder(std::size_t slot, Members... members)
{
    for (const std::size_t found : {Slot(members)...}) {
        EXPECT_EQ(slot++, found);
    }
}

using Zt = CSCardZentaris34;

TEST(VtableOrder, IsThatOfTheBaseThenOfTheFamilyAndTheVariantsOwnIsLast)
{
    ExpectInOrder(
        2, // behind the complete and the deleting destructor
        &CSCard::SetSCContext, &CSCard::SelectEx, &CSCard::PathSelect, &CSCard::PathSelectWORD,
        &CSCard::ForceSelectCurrentEF, &CSCard::ReadBinary, &CSCard::ReadBinaryFromCacheOnly,
        &CSCard::UpdateBinary, &CSCard::Transmit, &CSCard::GetATR, &CSCard::GetFileCacheSystem,
        &CSCard::InvalidateCache, &CSCard::GetModelName, &CSCard::AddRef, &CSCard::Release,
        &CSCard::Attach, &CSCard::Detach, &Zt::SelectEx2, &Zt::PathSelect2, &Zt::PathSelectWORD2,
        &Zt::Verify, &Zt::CRVerifyDes, &Zt::VerifyAndChange, &Zt::ChangeReferenceData,
        &Zt::LoadSecurityEnvironment, &Zt::ManageSecurityEnvironment, &Zt::EncDec,
        &Zt::ComputeSignature, &Zt::InternalAuthenticate, &Zt::GetVer, &Zt::Create, &Zt::ReCreate,
        &Zt::Destroy, &Zt::ListFiles, &Zt::CreateFile, &Zt::DeleteFile, &Zt::GetFreeMemory,
        &Zt::CreateBSO, &Zt::AdminBSO, &Zt::GenerateKeyPair, &Zt::ReadRecordTLV,
        &Zt::ReadRecordTLVStrip, &Zt::ReadRecordAbsolute, &Zt::ReadRecord, &Zt::UpdateRecord,
        &Zt::AppendRecord, &Zt::PutDataFCI, &CSCardCardOSM4::Transmit, &Zt::Transmit2,
        &Zt::Transmit_SMx4, &Zt::Transmit_SMxC, &Zt::ActivateFile, &Zt::SetSMxCMode,
        &Zt::GetChallenge, &Zt::GiveRandom, &Zt::ExtendBSO, &Zt::ComputeSignature2048,
        &Zt::EncDec2048, &Zt::CreateRsa2048Key, &Zt::GetFileInfo, &Zt::SwitchToAdminLifeCycle,
        &Zt::RevertFromAdminLifeCycle, &Zt::ChangeKeyData);
}
} // namespace
