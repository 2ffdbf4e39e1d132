// SPDX-License-Identifier: Apache-2.0
//
// The functions of desk.h that use a secret.

#include "desk/attempt.h"
#include "desk/door.h"
#include "desk/family.h"
#include "desk/sized.h"
#include "desk/steps.h"

using namespace desk;

namespace {

/// Checks a value and takes it into a request.
SResult Take(pindesk_secret eSecret, bool bNew, pindesk_bytes value, SRequest& request)
{
    const SResult checked = CheckValue(eSecret, bNew, value, request.ulFlags);
    if (checked.Done()) {
        (bNew ? request.newValue : request.value).Take(value);
    }
    return checked;
}

/// Checks a new value beside the one that is presented, and notes its weakness.
SResult TakeNew(pindesk_secret eSecret, pindesk_bytes value, pindesk_bytes presented,
                pindesk_detail ifSame, SRequest& request, pindesk_report& report)
{
    const SResult taken = Take(eSecret, true, value, request);
    if (!taken.Done()) {
        return taken;
    }
    report.weakness = WeaknessOf(value);
    return SameValue(value, presented) ? SResult{PINDESK_REFUSED, ifSame} : DONE;
}

void Concern(SRequest& request, pindesk_secret ePresented, pindesk_secret eTarget)
{
    request.eSecret = ePresented;
    request.eTarget = eTarget;
}

SResult TakePukAndPin(pindesk_secret ePin, pindesk_bytes puk, pindesk_bytes newPin,
                      SRequest& request, pindesk_report& report)
{
    const pindesk_secret ePuk = TitleOf(ePin).ePartner;
    Concern(request, ePuk, ePin);
    const SResult taken = Take(ePuk, false, puk, request);
    return taken.Done() ? TakeNew(ePin, newPin, puk, PINDESK_DETAIL_PIN_IS_PUK, request, report)
                        : taken;
}

/// The secrets of an operation whose values are not there yet.
SResult Aim(pindesk_operation eOperation, pindesk_secret eSecret, SRequest& request)
{
    switch (eOperation) {
    case PINDESK_OP_VERIFY:
    case PINDESK_OP_CHANGE:
        Concern(request, eSecret, eSecret);
        return IsCnsSecret(eSecret) ? DONE : BAD_ARGUMENT;
    case PINDESK_OP_UNBLOCK:
        if (eSecret != PINDESK_CNS_PIN && eSecret != PINDESK_DS_PIN) {
            return BAD_ARGUMENT;
        }
        Concern(request, TitleOf(eSecret).ePartner, eSecret);
        return DONE;
    case PINDESK_OP_LOCK:
        Concern(request, PINDESK_DS_PIN, PINDESK_DS_PIN);
        return DONE;
    case PINDESK_OP_REACTIVATE:
        Concern(request, PINDESK_DS_PUK, PINDESK_DS_PIN);
        return DONE;
    case PINDESK_OP_UNBLOCK_STARCOS:
    case PINDESK_OP_UNBLOCK_M4_1111:
        Concern(request, PINDESK_OTHER_PUK, PINDESK_OTHER_PIN);
        return DONE;
    default:
        return BAD_ARGUMENT;
    }
}

/// Runs the steps of an operation. What is made to call them needs memory too.
template <class TPrepare>
pindesk_outcome Operate(pindesk_desk* pDesk, const pindesk_options* pOptions,
                        pindesk_report* pReport, pindesk_operation eOperation,
                        const TPrepare& prepare, CAttempt::Steps steps)
{
    return Guarded(pReport, [&] {
        return Serve(pDesk, pOptions, pReport, eOperation, prepare,
                     [steps](CCall& call) { CAttempt(call).Run(steps); });
    });
}

} // namespace

pindesk_outcome pindesk_verify(pindesk_desk* desk, pindesk_secret secret, pindesk_bytes value,
                               const pindesk_options* options, pindesk_report* report)
{
    const auto prepare = [&](SRequest& request, pindesk_report&) {
        Concern(request, secret, secret);
        return IsCnsSecret(secret) ? Take(secret, false, value, request) : BAD_ARGUMENT;
    };
    return Operate(desk, options, report, PINDESK_OP_VERIFY, prepare, VerifySteps);
}
pindesk_outcome pindesk_change(pindesk_desk* desk, pindesk_secret secret, pindesk_bytes old_value,
                               pindesk_bytes new_value, const pindesk_options* options,
                               pindesk_report* report)
{
    const auto prepare = [&](SRequest& request, pindesk_report& early) {
        Concern(request, secret, secret);
        const SResult taken =
            IsCnsSecret(secret) ? Take(secret, false, old_value, request) : BAD_ARGUMENT;
        return taken.Done() ? TakeNew(secret, new_value, old_value, PINDESK_DETAIL_NEW_IS_OLD,
                                      request, early)
                            : taken;
    };
    return Operate(desk, options, report, PINDESK_OP_CHANGE, prepare, ChangeSteps);
}

pindesk_outcome pindesk_unblock(pindesk_desk* desk, pindesk_secret pin, pindesk_bytes puk,
                                pindesk_bytes new_pin, const pindesk_options* options,
                                pindesk_report* report)
{
    const auto prepare = [&](SRequest& request, pindesk_report& early) {
        if (pin != PINDESK_CNS_PIN && pin != PINDESK_DS_PIN) {
            return BAD_ARGUMENT;
        }
        return TakePukAndPin(pin, puk, new_pin, request, early);
    };
    return Operate(desk, options, report, PINDESK_OP_UNBLOCK, prepare, UnblockSteps);
}

pindesk_outcome pindesk_lock(pindesk_desk* desk, const pindesk_options* options,
                             pindesk_report* report)
{
    const auto prepare = [&](SRequest& request, pindesk_report&) {
        Concern(request, PINDESK_DS_PIN, PINDESK_DS_PIN);
        return DONE;
    };
    return Operate(desk, options, report, PINDESK_OP_LOCK, prepare, LockSteps);
}

pindesk_outcome pindesk_reactivate(pindesk_desk* desk, pindesk_bytes puk, pindesk_bytes new_pin,
                                   const pindesk_options* options, pindesk_report* report)
{
    const auto prepare = [&](SRequest& request, pindesk_report& early) {
        if (new_pin.size != 0) {
            return TakePukAndPin(PINDESK_DS_PIN, puk, new_pin, request, early);
        }
        Concern(request, PINDESK_DS_PUK, PINDESK_DS_PIN);
        return Take(PINDESK_DS_PUK, false, puk, request);
    };
    return Operate(desk, options, report, PINDESK_OP_REACTIVATE, prepare, ReactivateSteps);
}

pindesk_outcome pindesk_unblock_family(pindesk_desk* desk, pindesk_operation family,
                                       pindesk_bytes puk, pindesk_bytes new_pin,
                                       const pindesk_options* options, pindesk_report* report)
{
    if (!IsFamily(family)) {
        return Refuse(BAD_ARGUMENT, report);
    }
    const auto prepare = [&](SRequest& request, pindesk_report& early) {
        return TakePukAndPin(PINDESK_OTHER_PIN, puk, new_pin, request, early);
    };
    return Operate(desk, options, report, family, prepare, FamilySteps);
}

pindesk_outcome pindesk_check(pindesk_desk* desk, pindesk_operation operation,
                              pindesk_secret secret, const pindesk_options* options,
                              pindesk_report* report)
{
    const auto prepare = [&](SRequest& request, pindesk_report&) {
        return Aim(operation, secret, request);
    };
    return Operate(desk, options, report, operation, prepare, nullptr);
}

pindesk_outcome pindesk_check_value(pindesk_secret secret, int is_new, pindesk_bytes value,
                                    uint32_t flags, pindesk_report* report)
{
    pindesk_report own = EmptyReport();
    own.secret = own.target = secret;
    SResult result = BAD_ARGUMENT;
    if (secret <= PINDESK_OTHER_PUK) {
        result = CheckValue(secret, is_new != 0, value, flags);
    }
    own.outcome = result.eOutcome;
    own.detail = result.eDetail;
    own.notes = (flags & PINDESK_ANY_CHARACTERS) != 0 ? PINDESK_NOTE_ANY_CHARACTERS : 0;
    if (!result.Done()) {
        own.next = is_new != 0 ? PINDESK_NEXT_CHOOSE_VALUE : PINDESK_NEXT_CHECK_VALUE;
    }
    if (result.Done() && is_new != 0) {
        own.weakness = WeaknessOf(value);
    }
    HandOver(own, report);
    return own.outcome;
}
