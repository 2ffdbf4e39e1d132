// SPDX-License-Identifier: Apache-2.0

#include "desk/failure.h"

#include "pindesk/PinDesk.h"

#include <algorithm>
#include <iterator>

namespace desk {

namespace {

struct SPcscRule {
    LONG lCode;
    SResult result;
};

constexpr SPcscRule PCSC_RULES[] = {
    {SCARD_S_SUCCESS, DONE},
    {SCARD_E_NO_SERVICE, NOT_RUNNING},
    {SCARD_E_SERVICE_STOPPED, NOT_RUNNING},
    {SCARD_F_COMM_ERROR, NOT_RUNNING},     // the connection to the service, not to the card
    {SCARD_E_INVALID_HANDLE, NOT_RUNNING}, // a service that was started anew knows no handle
    {SCARD_W_SECURITY_VIOLATION, {PINDESK_NO_SERVICE, PINDESK_DETAIL_NOT_ALLOWED}},
    {SCARD_E_NO_READERS_AVAILABLE, {PINDESK_NO_READER, PINDESK_DETAIL_NONE_CONNECTED}},
    {SCARD_E_UNKNOWN_READER, {PINDESK_NO_READER, PINDESK_DETAIL_READER_GONE}},
    {SCARD_E_READER_UNAVAILABLE, {PINDESK_NO_READER, PINDESK_DETAIL_READER_GONE}},
    {SCARD_E_NO_SMARTCARD, EMPTY},
    {SCARD_W_REMOVED_CARD, {PINDESK_NO_CARD, PINDESK_DETAIL_REMOVED}},
    {SCARD_W_UNRESPONSIVE_CARD, {PINDESK_NO_CARD, PINDESK_DETAIL_MUTE}},
    {SCARD_W_UNPOWERED_CARD, {PINDESK_NO_CARD, PINDESK_DETAIL_MUTE}},
    {SCARD_W_UNSUPPORTED_CARD, {PINDESK_NO_CARD, PINDESK_DETAIL_MUTE}},
    {SCARD_E_PROTO_MISMATCH, {PINDESK_NO_CARD, PINDESK_DETAIL_MUTE}},
    {SCARD_W_RESET_CARD, RESET},
    {SCARD_E_SHARING_VIOLATION, {PINDESK_IN_USE, PINDESK_DETAIL_EXCLUSIVE}},
    {SCARD_E_NO_MEMORY, NO_MEMORY},
};

struct SNextRule {
    pindesk_outcome eOutcome;
    pindesk_detail eDetail; ///< NONE: any
    pindesk_next eNext;
};

constexpr SNextRule NEXT_RULES[] = {
    {PINDESK_USAGE, PINDESK_DETAIL_SEVERAL_READERS, PINDESK_NEXT_CHOOSE_READER},
    {PINDESK_USAGE, PINDESK_DETAIL_SEVERAL_CARDS, PINDESK_NEXT_CHOOSE_READER},
    {PINDESK_NO_READER, PINDESK_DETAIL_NO_SUCH_READER, PINDESK_NEXT_CHOOSE_READER},
    {PINDESK_NO_READER, PINDESK_DETAIL_NONE, PINDESK_NEXT_CONNECT_READER},
    {PINDESK_NO_CARD, PINDESK_DETAIL_EMPTY, PINDESK_NEXT_INSERT_CARD},
    {PINDESK_NO_CARD, PINDESK_DETAIL_REMOVED, PINDESK_NEXT_INSERT_CARD},
    {PINDESK_NO_CARD, PINDESK_DETAIL_NONE, PINDESK_NEXT_REINSERT_CARD},
    {PINDESK_IN_USE, PINDESK_DETAIL_STUCK, PINDESK_NEXT_REINSERT_CARD},
    {PINDESK_IN_USE, PINDESK_DETAIL_NONE, PINDESK_NEXT_CLOSE_PROGRAM},
    {PINDESK_NO_SERVICE, PINDESK_DETAIL_NOT_ALLOWED, PINDESK_NEXT_GET_RIGHTS},
    {PINDESK_NO_SERVICE, PINDESK_DETAIL_NONE, PINDESK_NEXT_START_SERVICE},
    {PINDESK_OTHER_CARD, PINDESK_DETAIL_NONE, PINDESK_NEXT_INSERT_CARD},
    {PINDESK_CARD_REFUSED, PINDESK_DETAIL_NONE, PINDESK_NEXT_IDENTIFY},
};

struct SCodeRule {
    pindesk_outcome eOutcome;
    pindesk_detail eDetail; ///< NONE: any
    long lCode;
};

constexpr SCodeRule CODE_RULES[] = {
    {PINDESK_NO_SERVICE, PINDESK_DETAIL_NONE, pindesk::result::NO_CONTEXT},
    {PINDESK_NO_READER, PINDESK_DETAIL_NONE, pindesk::result::NO_READER},
    {PINDESK_NO_CARD, PINDESK_DETAIL_EMPTY, pindesk::result::NO_CARD},
    {PINDESK_NO_CARD, PINDESK_DETAIL_MUTE, pindesk::result::NO_CARD},
    {PINDESK_IN_USE, PINDESK_DETAIL_EXCLUSIVE, pindesk::result::NO_CARD}, // no connection
    {PINDESK_OTHER_CARD, PINDESK_DETAIL_NONE, pindesk::result::OTHER_CARD},
};

/// The first rule for a result; null where there is none.
template <class Rule, std::size_t N> const Rule* Find(const Rule (&rules)[N], SResult result)
{
    const auto* const pRule =
        std::find_if(std::begin(rules), std::end(rules), [result](const Rule& rule) {
            return rule.eOutcome == result.eOutcome &&
                   (rule.eDetail == PINDESK_DETAIL_NONE || rule.eDetail == result.eDetail);
        });
    return pRule == std::end(rules) ? nullptr : pRule;
}

} // namespace

SResult ResultOfPcsc(LONG lCode)
{
    const auto* const pRule =
        std::find_if(std::begin(PCSC_RULES), std::end(PCSC_RULES),
                     [lCode](const SPcscRule& rule) { return rule.lCode == lCode; });
    return pRule == std::end(PCSC_RULES) ? READER_FAILED : pRule->result;
}

std::int32_t CodeOf(SResult result)
{
    const SCodeRule* const pRule = Find(CODE_RULES, result);
    return pRule == nullptr ? PINDESK_NO_CODE : static_cast<std::int32_t>(pRule->lCode);
}

pindesk_next NextAfter(SResult result)
{
    const SNextRule* const pRule = Find(NEXT_RULES, result);
    return pRule == nullptr ? PINDESK_NEXT_NOTHING : pRule->eNext;
}

} // namespace desk
