// SPDX-License-Identifier: Apache-2.0
//
// Deactivates the signature PIN and closes the ways back.

#include "pindesk/operation.h"
#include "pindesk/secrets.h"
#include "pindesk/settings.h"
#include "pindesk/signaturepin.h"

namespace {

constexpr CK_BYTE kNever = 0xFF;

using FTighten = void (*)(_M4_FileInfo_common& info);

/// What no rule below leaves open.
void ForbidAdministration(_M4_FileInfo_common& info)
{
    for (CK_BYTE* pb :
         {&info.AC_LCYCLE, &info.AC_DEACTIVATE, &info.AC_ACTIVATE, &info.AC_ADMIN, &info.AC_rfu9}) {
        *pb = kNever;
    }
}

void TightenMF(_M4_FileInfo_common& info)
{
    ForbidAdministration(info);
    info.AC_UPDATE = info.AC_APPEND = kNever;
    if (info.AC_CREATE == 0) { // open to everybody until now
        info.AC_CREATE = ReferenceSetting("SETTING_CNS_PIN");
    }
}

void TightenSignatureDF(_M4_FileInfo_common& info)
{
    ForbidAdministration(info);
    info.AC_UPDATE = info.AC_APPEND = info.AC_DELETE = kNever;
    info.AC_CREATE = ReferenceSetting("SETTING_CNS_PIN");
}

void TightenFastFileSystem(_M4_FileInfo_common& info)
{
    ForbidAdministration(info);
    info.AC_DELETE = kNever;
}

/// Rewrites the access conditions of a DF under the MF, or of the MF itself. What fails is left:
/// the PIN is deactivated already.
void RewriteAccess(CSCardZentaris34& card, WORD fid, FTighten tighten)
{
    if (fid != M4_MF && card.PathSelectWORD(&fid, 1, 1) != 0) {
        return;
    }
    card.PathSelectWORD(nullptr, 0, 1);
    _M4_FileInfo_SM found;
    found.fid = fid;
    if (card.GetFileInfo(found) != 0) {
        return;
    }
    const _M4_FileInfo_common& common = found; // the secure-messaging conditions are not written
    _M4_FileInfo_common info(common);
    tighten(info);
    card.PutDataFCI(&info);
}

long Deactivate(CSCardZentaris34& card, const unsigned char* pAdminKey)
{
    constexpr CK_ULONG kChallenge = 0x80;
    if (pAdminKey != nullptr &&
        card.CRVerifyDes(AdminKeyReference(), pAdminKey, CTdesKey::size(), kChallenge) != 0) {
        return result::ADMIN_KEY_REFUSED;
    }
    std::uint16_t wSw = 0;
    const long lSent = SendOwnCommand(card, CSignaturePinCommand(ins::DEACTIVATE), wSw);
    if (lSent != result::OK) {
        return lSent;
    }
    return wSw == sw::SUCCESS ? result::OK : result::DEACTIVATION_REFUSED;
}

} // namespace

long DS_DeactivatePin(long slot, char* serialNumber, unsigned char* pOptional_Admin_Des3Key,
                      BOOL bUseAdminKey)
{
    return RunOperation(slot, serialNumber, EStart::MF_SELECTED, [&](CSCardZentaris34& card) {
        SelectSignatureDF(card);
        const long lResult = Deactivate(
            card, bUseAdminKey ? ChooseKey(pOptional_Admin_Des3Key, bUseAdminKey) : nullptr);
        if (lResult != result::OK) {
            return lResult;
        }
        if (bUseAdminKey) {
            BlockAdminKey(card);
        }
        RewriteAccess(card, M4_MF, TightenMF);
        RewriteAccess(card, FileIdSetting("SETTING_CNS_DS_DF_ROOT"), TightenSignatureDF);
        RewriteAccess(card, FileIdSetting("SETTING_FASTFS_P11_DF"), TightenFastFileSystem);
        return result::OK;
    });
}

long DS_LockPin(long slot, char* serialNumber, unsigned char* pOptional_Admin_Des3Key,
                BOOL bUseAdminKey)
{
    return DS_DeactivatePin(slot, serialNumber, pOptional_Admin_Des3Key, bUseAdminKey);
}
