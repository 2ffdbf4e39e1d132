// SPDX-License-Identifier: Apache-2.0
//
// Locking the signature PIN and bringing it back.

#include "cardlib/support/careful.h"
#include "cardlib/traces.h"
#include "pindesk/constants.h"
#include "pindesk/present.h"
#include "pindesk/steps.h"

namespace pindesk {

namespace {

constexpr CK_BYTE NEVER = 0xFF;
constexpr CK_BYTE NOT_READ = 0x80; // no condition of a card: there is no object 0 in a DF

/// DEACTIVATE or ACTIVATE of the signature PIN object, by its reference without the local bit.
class CSignaturePinCommand : public CCommandApdu {
public:
    explicit CSignaturePinCommand(std::uint8_t bIns) : CCommandApdu(cla::ISO, bIns, 0x00, 0x00)
    {
        Data({0x00, Reference(ESetting::DsPin)});
    }
};

using FTighten = void (*)(_M4_FileInfo_common& info);

/// What no rule below leaves open.
void ForbidAdministration(_M4_FileInfo_common& info)
{
    for (CK_BYTE* pb :
         {&info.AC_LCYCLE, &info.AC_DEACTIVATE, &info.AC_ACTIVATE, &info.AC_ADMIN, &info.AC_rfu9}) {
        *pb = NEVER;
    }
}

void TightenMf(_M4_FileInfo_common& info)
{
    ForbidAdministration(info);
    info.AC_UPDATE = info.AC_APPEND = NEVER;
    if (info.AC_CREATE == 0) { // open to everybody until now
        info.AC_CREATE = Reference(ESetting::CnsPin);
    }
}

void TightenSignatureDf(_M4_FileInfo_common& info)
{
    ForbidAdministration(info);
    info.AC_UPDATE = info.AC_APPEND = info.AC_DELETE = NEVER;
    info.AC_CREATE = Reference(ESetting::CnsPin);
}

void TightenFastFileSystem(_M4_FileInfo_common& info)
{
    ForbidAdministration(info);
    info.AC_DELETE = NEVER;
}

/// Whether all nine conditions came from the card.
bool IsComplete(const _M4_FileInfo_common& info)
{
    const CK_BYTE conditions[] = {info.AC_LCYCLE,     info.AC_UPDATE,   info.AC_APPEND,
                                  info.AC_DEACTIVATE, info.AC_ACTIVATE, info.AC_DELETE,
                                  info.AC_ADMIN,      info.AC_CREATE,   info.AC_rfu9};
    return std::find(std::begin(conditions), std::end(conditions), NOT_READ) ==
           std::end(conditions);
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
    found.SetDefaultAC(NOT_READ);
    found.fid = fid;
    if (card.GetFileInfo(found) != 0 || !IsComplete(found)) {
        return;
    }
    const _M4_FileInfo_common& common = found; // the secure-messaging conditions are not written
    _M4_FileInfo_common info(common);
    tighten(info);
    card.PutDataFCI(&info);
}

/// A step of the reactivation, and what is traced when the card refuses it.
struct STracedStep {
    SStep step;
    const char* szSecureMessaging; ///< the trace begins with this for a secure-messaging error,
    const char* szOther;           ///< with this for any other
};

constexpr STracedStep REACTIVATION = {.step = {.lRefused = result::REACTIVATION_REFUSED,
                                               .lBlocked = result::REACTIVATION_REFUSED,
                                               .bSmHasCode = true},
                                      .szSecureMessaging = "SecureMessaging",
                                      .szOther = "Reactivating PIN"};
// The missing letter belongs to the texts that hosts look for in the log.
constexpr STracedStep NEW_PIN = {.step = {.lRefused = result::NEW_DS_PIN_REFUSED,
                                          .lBlocked = result::NEW_DS_PIN_REFUSED,
                                          .bSmHasCode = true},
                                 .szSecureMessaging = "ScureMessaging",
                                 .szOther = "Setting New PIN"};

/// The result of a step, traced if it is a refusal; a blocked PUK is not.
/// \param lTraced  shown as the status word.
SOutcome Traced(const STracedStep& traced, long lAnswer, long lTraced)
{
    const SOutcome outcome = OutcomeOf(traced.step, lAnswer);
    if (outcome.lResult == result::SECURE_MESSAGING || outcome.lResult == traced.step.lRefused) {
        CK_TraceStdErr("%s error: SW=0x%04X\n",
                       outcome.lResult == result::SECURE_MESSAGING ? traced.szSecureMessaging
                                                                   : traced.szOther,
                       static_cast<unsigned int>(lTraced));
    }
    return outcome;
}

SOutcome PresentPuk(CSCardZentaris34& card, const SValue& puk, CK_BYTE& cbEffective)
{
    const STracedStep verify{.step = SECRETS[DS_PUK].verify,
                             .szSecureMessaging = "SecureMessaging",
                             .szOther = "Verify"};
    // Without the local bit, as when unblocking.
    const long lAnswer = Present(card, Reference(ESetting::DsPuk), puk, cbEffective);
    return Traced(verify, lAnswer, lAnswer);
}

SOutcome Send(CSCardZentaris34& card, const CCommandApdu& command, const STracedStep& step)
{
    // 0 instead of the status word, on purpose: logs of these two steps have always shown it.
    return Traced(step, SendOwnCommand(card, command), 0);
}

/// The signature PIN object as a reactivated card has it.
void Describe(_M4_BSO_info& info)
{
    const std::uint8_t bPin = Reference(ESetting::DsPin);
    const std::uint8_t bPuk = Reference(ESetting::DsPuk);
    info.Reset();
    info.SetDefaultConditions(NEVER);
    info.Dek = NEVER;
    if (bPin != 0 && bPin < p2::LOCAL_REFERENCE) {
        info.ObjectDataLen = sizeof DEFAULT_DS_PIN - 1;
        std::memcpy(info.pObjectData, DEFAULT_DS_PIN, info.ObjectDataLen);
        info.ObjectId = bPin;
        info.Options = 0x02;
        info.Flags = 0x03;
        info.ErrCnt = 0x43;
        info.UseCount = 0xFF;
        info.Ara_Counter = 0xFF;
        info.MinLen = 6;
    }
    info.AC_USE = 0x00;
    info.AC_CHANGE = bPin;
    info.AC_UNBLOCK = bPuk;
    info.AC_rfu4 = NEVER;
    info.AC_rfu5 = bPuk;
    info.AlgoId = 0x87;
}

} // namespace

SOutcome Deactivate(CSCardZentaris34& card, const unsigned char* pAdminKey)
{
    constexpr CK_ULONG CHALLENGE_LENGTH = 0x80;
    constexpr SStep AUTHENTICATION{.lRefused = result::ADMIN_KEY_REFUSED,
                                   .lBlocked = result::ADMIN_KEY_REFUSED,
                                   .bSmHasCode = false};
    constexpr SStep DEACTIVATION{.lRefused = result::DEACTIVATION_REFUSED,
                                 .lBlocked = result::DEACTIVATION_REFUSED,
                                 .bSmHasCode = false};
    if (pAdminKey != nullptr) {
        const SOutcome authenticated =
            OutcomeOf(AUTHENTICATION, card.CRVerifyDes(Reference(ESetting::DsAdminKey), pAdminKey,
                                                       CTdesKey::size(), CHALLENGE_LENGTH));
        if (authenticated.lResult != result::OK) {
            return authenticated;
        }
    }
    return OutcomeOf(DEACTIVATION, SendOwnCommand(card, CSignaturePinCommand(ins::DEACTIVATE)));
}

void TightenAccess(CSCardZentaris34& card)
{
    RewriteAccess(card, M4_MF, TightenMf);
    RewriteAccess(card, FileId(ESetting::DsRoot), TightenSignatureDf);
    RewriteAccess(card, FileId(ESetting::FastFiles), TightenFastFileSystem);
}

void BlockAdminKey(CSCardZentaris34& card)
{
    constexpr CK_ULONG CHALLENGE_LENGTH = 8;
    constexpr int MOST_TRIES = 15; // a retry counter has four bits
    int iSilent = 0;
    for (int i = 0; iSilent < 2; ++i) {
        const long lAnswer = card.CRVerifyDes(Reference(ESetting::DsAdminKey), pWRONG_DES3_KEY,
                                              sizeof pWRONG_DES3_KEY, CHALLENGE_LENGTH);
        const bool bLast = CCareful::Now() && (!IsWrongKey(lAnswer) || i == MOST_TRIES);
        if (lAnswer == sw::AUTH_BLOCKED || bLast || !card.isValid()) {
            return;
        }
        iSilent = lAnswer == 0 || IsRefusal(lAnswer) ? 0 : iSilent + 1;
    }
}

SOutcome Reactivate(CSCardZentaris34& card, const SValue& puk, const SValue& newPin)
{
    CK_BYTE cbPuk = 0;
    SOutcome outcome = PresentPuk(card, puk, cbPuk);
    if (outcome.lResult == result::OK) {
        outcome = Send(card, CSignaturePinCommand(ins::ACTIVATE), REACTIVATION);
    }
    if (outcome.lResult == result::OK && puk.Given() && newPin.Given()) {
        outcome = Send(card, CResetRetryCounter(SECRETS[DS_PIN].Reference(), puk, cbPuk, newPin),
                       NEW_PIN);
    }
    return outcome;
}

void RewriteSignaturePin(CSCardZentaris34& card)
{
    _M4_BSO_info info;
    Describe(info);
    const long lAnswer = card.AdminBSO(&info, 0);
    if (CCareful::Now() ? IsRefusal(lAnswer) : lAnswer != 0) {
        BlockAdminKey(card);
    }
}

} // namespace pindesk
