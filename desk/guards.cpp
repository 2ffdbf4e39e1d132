// SPDX-License-Identifier: Apache-2.0

#include "desk/guards.h"

#include "desk/family.h"
#include "pindesk/constants.h"

#include <algorithm>

namespace desk {

namespace {

bool IsDigit(unsigned char c)
{
    return c >= '0' && c <= '9';
}

/// No control byte, nothing above 7E, no blank at an end: what a pinpad or another program could
/// not repeat.
bool IsPrintable(pindesk_bytes value)
{
    const bool bAscii = std::all_of(value.data, value.data + value.size,
                                    [](unsigned char c) { return c >= ' ' && c <= '~'; });
    return bAscii && value.data[0] != ' ' && value.data[value.size - 1] != ' ';
}

/// Byte by byte: memcmp would leave the values in wide registers, and the first call of a function
/// elsewhere writes those to the stack while it is bound.
bool AreEqual(const unsigned char* pbA, const unsigned char* pbB, std::size_t cb)
{
    for (std::size_t i = 0; i < cb; ++i) {
        if (pbA[i] != pbB[i]) {
            return false;
        }
    }
    return true;
}

/// Whether each byte differs from the one before it by the same step.
bool IsRun(pindesk_bytes value, int iStep)
{
    for (std::size_t i = 1; i < value.size; ++i) {
        if (value.data[i] - value.data[i - 1] != iStep) {
            return false;
        }
    }
    return value.size > 1;
}

/// Whether it is one shorter value again and again.
bool IsRepeated(pindesk_bytes value)
{
    for (std::size_t cb = 2; cb <= value.size / 2; ++cb) {
        if (value.size % cb == 0 && AreEqual(value.data + cb, value.data, value.size - cb)) {
            return true;
        }
    }
    return false;
}

bool IsFactory(pindesk_bytes value)
{
    constexpr std::size_t SIZE = sizeof DEFAULT_DS_PIN - 1;
    unsigned char factory[SIZE];
    std::copy_n(DEFAULT_DS_PIN, SIZE, factory);
    return value.size == SIZE && AreEqual(value.data, factory, SIZE);
}

struct SWeaknessRule {
    bool (*weak)(pindesk_bytes value);
    pindesk_weakness eWeakness;
};
constexpr SWeaknessRule WEAKNESS_RULES[] = {
    {[](pindesk_bytes value) { return IsRun(value, 0); }, PINDESK_WEAKNESS_SAME_DIGIT},
    {[](pindesk_bytes value) { return IsRun(value, 1) || IsRun(value, -1); }, PINDESK_WEAKNESS_RUN},
    {IsFactory, PINDESK_WEAKNESS_FACTORY},
    {IsRepeated, PINDESK_WEAKNESS_REPEATED},
};

/// What the state of a PIN forbids that is to be unblocked, locked or brought back.
SResult CheckTarget(pindesk_operation eOperation, const SState& target)
{
    const bool bDeactivated = target.eState == PINDESK_STATE_DEACTIVATED;
    if (target.eState == PINDESK_STATE_ABSENT) {
        return {PINDESK_CARD_REFUSED, PINDESK_DETAIL_ABSENT};
    }
    if (eOperation == PINDESK_OP_LOCK) {
        return bDeactivated ? SResult{PINDESK_REFUSED, PINDESK_DETAIL_DEACTIVATED_ALREADY} : DONE;
    }
    if (eOperation == PINDESK_OP_REACTIVATE) {
        return bDeactivated || target.eState == PINDESK_STATE_NOT_TOLD
                   ? DONE
                   : SResult{PINDESK_REFUSED, PINDESK_DETAIL_ACTIVE_ALREADY};
    }
    return bDeactivated ? SResult{PINDESK_REFUSED, PINDESK_DETAIL_DEACTIVATED} : DONE;
}

/// What the state of the secret forbids that is to be presented.
SResult CheckPresented(const SRequest& request, const SState& secret)
{
    const bool bLast =
        secret.eState == PINDESK_STATE_LAST_TRY || (IsFamily(request.eOperation) && !secret.Told());
    switch (secret.eState) {
    case PINDESK_STATE_ABSENT:
        return {PINDESK_CARD_REFUSED, PINDESK_DETAIL_ABSENT};
    case PINDESK_STATE_BLOCKED:
        return {PINDESK_BLOCKED, PINDESK_DETAIL_BLOCKED_BEFORE};
    case PINDESK_STATE_DEACTIVATED:
        return {PINDESK_REFUSED, PINDESK_DETAIL_DEACTIVATED};
    default:
        return bLast && !request.Wants(PINDESK_USE_LAST_TRY)
                   ? SResult{PINDESK_REFUSED, PINDESK_DETAIL_LAST_TRY}
                   : DONE;
    }
}

} // namespace

SResult CheckValue(pindesk_secret eSecret, bool bNew, pindesk_bytes value, std::uint32_t ulFlags)
{
    const STitle& title = TitleOf(eSecret);
    if (value.data == nullptr || value.size < static_cast<std::size_t>(title.lMin) ||
        value.size > static_cast<std::size_t>(title.lMax)) {
        return {PINDESK_REFUSED, bNew ? PINDESK_DETAIL_NEW_LENGTH : PINDESK_DETAIL_LENGTH};
    }
    const bool bDigits = std::all_of(value.data, value.data + value.size, IsDigit);
    const bool bAllowed = (ulFlags & PINDESK_ANY_CHARACTERS) != 0 && IsPrintable(value);
    if (!bDigits && !bAllowed) {
        return {PINDESK_REFUSED, bNew ? PINDESK_DETAIL_NEW_CHARACTERS : PINDESK_DETAIL_CHARACTERS};
    }
    return DONE;
}

pindesk_weakness WeaknessOf(pindesk_bytes value)
{
    const auto* const pRule = std::find_if(std::begin(WEAKNESS_RULES), std::end(WEAKNESS_RULES),
                                           [&](auto& rule) { return rule.weak(value); });
    return pRule == std::end(WEAKNESS_RULES) ? PINDESK_WEAKNESS_NONE : pRule->eWeakness;
}

bool SameValue(pindesk_bytes a, pindesk_bytes b)
{
    return a.size == b.size && AreEqual(a.data, b.data, a.size);
}

SResult CheckStates(const SRequest& request, const SStates& states)
{
    const SResult target = CheckTarget(request.eOperation, states.target);
    const bool bPresents = request.eOperation != PINDESK_OP_LOCK;
    return !target.Done() || !bPresents ? target : CheckPresented(request, states.secret);
}

} // namespace desk

using namespace desk;

pindesk_outcome pindesk_limits(pindesk_secret secret, int32_t* min, int32_t* max)
{
    if (secret > PINDESK_OTHER_PUK) {
        return PINDESK_USAGE;
    }
    const STitle& title = TitleOf(secret);
    if (min != nullptr) {
        *min = title.lMin;
    }
    if (max != nullptr) {
        *max = title.lMax;
    }
    return PINDESK_DONE;
}
