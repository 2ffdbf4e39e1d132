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

using Zt = CSCardZentaris34;

TEST(VtableOrder, BaseOperationsComeFirstAfterTheDestructors)
{
    std::size_t slot = 2; // complete and deleting destructor
    EXPECT_EQ(slot++, Slot(&CSCard::SetSCContext));
    EXPECT_EQ(slot++, Slot(&CSCard::SelectEx));
    EXPECT_EQ(slot++, Slot(&CSCard::PathSelect));
    EXPECT_EQ(slot++, Slot(&CSCard::PathSelectWORD));
    EXPECT_EQ(slot++, Slot(&CSCard::ForceSelectCurrentEF));
    EXPECT_EQ(slot++, Slot(&CSCard::ReadBinary));
    EXPECT_EQ(slot++, Slot(&CSCard::ReadBinaryFromCacheOnly));
    EXPECT_EQ(slot++, Slot(&CSCard::UpdateBinary));
    EXPECT_EQ(slot++, Slot(&CSCard::Transmit));
    EXPECT_EQ(slot++, Slot(&CSCard::GetATR));
    EXPECT_EQ(slot++, Slot(&CSCard::GetFileCacheSystem));
    EXPECT_EQ(slot++, Slot(&CSCard::InvalidateCache));
    EXPECT_EQ(slot++, Slot(&CSCard::GetModelName));
    EXPECT_EQ(slot++, Slot(&CSCard::AddRef));
    EXPECT_EQ(slot++, Slot(&CSCard::Release));
    EXPECT_EQ(slot++, Slot(&CSCard::Attach));
    EXPECT_EQ(slot++, Slot(&CSCard::Detach));
    EXPECT_EQ(slot, Slot(&CSCardCardOSM4::SelectEx2));
}

TEST(VtableOrder, FamilyOperationsFollowAndTheVariantsOwnIsLast)
{
    std::size_t slot = Slot(&Zt::Detach) + 1;
    EXPECT_EQ(slot++, Slot(&Zt::SelectEx2));
    EXPECT_EQ(slot++, Slot(&Zt::PathSelect2));
    EXPECT_EQ(slot++, Slot(&Zt::PathSelectWORD2));
    EXPECT_EQ(slot++, Slot(&Zt::Verify));
    EXPECT_EQ(slot++, Slot(&Zt::CRVerifyDes));
    EXPECT_EQ(slot++, Slot(&Zt::VerifyAndChange));
    EXPECT_EQ(slot++, Slot(&Zt::ChangeReferenceData));
    EXPECT_EQ(slot++, Slot(&Zt::LoadSecurityEnvironment));
    EXPECT_EQ(slot++, Slot(&Zt::ManageSecurityEnvironment));
    EXPECT_EQ(slot++, Slot(&Zt::EncDec));
    EXPECT_EQ(slot++, Slot(&Zt::ComputeSignature));
    EXPECT_EQ(slot++, Slot(&Zt::InternalAuthenticate));
    EXPECT_EQ(slot++, Slot(&Zt::GetVer));
    EXPECT_EQ(slot++, Slot(&Zt::Create));
    EXPECT_EQ(slot++, Slot(&Zt::ReCreate));
    EXPECT_EQ(slot++, Slot(&Zt::Destroy));
    EXPECT_EQ(slot++, Slot(&Zt::ListFiles));
    EXPECT_EQ(slot++, Slot(&Zt::CreateFile));
    EXPECT_EQ(slot++, Slot(&Zt::DeleteFile));
    EXPECT_EQ(slot++, Slot(&Zt::GetFreeMemory));
    EXPECT_EQ(slot++, Slot(&Zt::CreateBSO));
    EXPECT_EQ(slot++, Slot(&Zt::AdminBSO));
    EXPECT_EQ(slot++, Slot(&Zt::GenerateKeyPair));
    EXPECT_EQ(slot++, Slot(&Zt::ReadRecordTLV));
    EXPECT_EQ(slot++, Slot(&Zt::ReadRecordTLVStrip));
    EXPECT_EQ(slot++, Slot(&Zt::ReadRecordAbsolute));
    EXPECT_EQ(slot++, Slot(&Zt::ReadRecord));
    EXPECT_EQ(slot++, Slot(&Zt::UpdateRecord));
    EXPECT_EQ(slot++, Slot(&Zt::AppendRecord));
    EXPECT_EQ(slot++, Slot(&Zt::PutDataFCI));
    EXPECT_EQ(slot++, Slot(&CSCardCardOSM4::Transmit)); // beside the base's, which it hides
    EXPECT_EQ(slot++, Slot(&Zt::Transmit2));
    EXPECT_EQ(slot++, Slot(&Zt::Transmit_SMx4));
    EXPECT_EQ(slot++, Slot(&Zt::Transmit_SMxC));
    EXPECT_EQ(slot++, Slot(&Zt::ActivateFile));
    EXPECT_EQ(slot++, Slot(&Zt::SetSMxCMode));
    EXPECT_EQ(slot++, Slot(&Zt::GetChallenge));
    EXPECT_EQ(slot++, Slot(&Zt::GiveRandom));
    EXPECT_EQ(slot++, Slot(&Zt::ExtendBSO));
    EXPECT_EQ(slot++, Slot(&Zt::ComputeSignature2048));
    EXPECT_EQ(slot++, Slot(&Zt::EncDec2048));
    EXPECT_EQ(slot++, Slot(&Zt::CreateRsa2048Key));
    EXPECT_EQ(slot++, Slot(&Zt::GetFileInfo));
    EXPECT_EQ(slot++, Slot(&Zt::SwitchToAdminLifeCycle));
    EXPECT_EQ(slot++, Slot(&Zt::RevertFromAdminLifeCycle));
    EXPECT_EQ(slot, Slot(&Zt::ChangeKeyData));
}
} // namespace
