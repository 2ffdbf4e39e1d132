// SPDX-License-Identifier: Apache-2.0

#include "desk/state.h"

#include "cardlib/sessions/iso7816.h"
#include "desk/words.h"

namespace desk {

namespace {

constexpr long TRIES_LEFT = 0x63C0, TRIES_MASK = 0xFFF0; // the low nibble counts
constexpr long DEACTIVATED = 0x6984, NO_SUCH_SECRET = 0x6A88;

constexpr STitle TITLES[] = {
    {"cns-pin", Msg("CNS PIN"), false, PINDESK_CNS_PUK, 6, 8},
    {"cns-puk", Msg("CNS PUK"), true, PINDESK_CNS_PIN, 8, 8},
    {"ds-pin", Msg("DS PIN"), false, PINDESK_DS_PUK, 6, 8},
    {"ds-puk", Msg("DS PUK"), true, PINDESK_DS_PIN, 8, 8},
    {"other-pin", Msg("PIN"), false, PINDESK_OTHER_PUK, 1, 8},
    {"other-puk", Msg("PUK"), true, PINDESK_OTHER_PIN, 1, 8},
};

struct SStateRule {
    long lMask, lAnswer;
    pindesk_state eState;
};
constexpr SStateRule STATE_RULES[] = {
    {0xFFFF, 0, PINDESK_STATE_VERIFIED},
    {0xFFFF, TRIES_LEFT, PINDESK_STATE_BLOCKED},
    {0xFFFF, sw::AUTH_BLOCKED, PINDESK_STATE_BLOCKED},
    {0xFFFF, TRIES_LEFT + 1, PINDESK_STATE_LAST_TRY},
    {TRIES_MASK, TRIES_LEFT, PINDESK_STATE_READY},
    {0xFFFF, DEACTIVATED, PINDESK_STATE_DEACTIVATED},
    {0xFFFF, NO_SUCH_SECRET, PINDESK_STATE_ABSENT},
    {0xFFFF, sw::FILE_NOT_FOUND, PINDESK_STATE_ABSENT},
};

/// 6F00 is also what a session makes of an answer without a status word.
bool IsNoAnswer(long lAnswer)
{
    return lAnswer < 0 || lAnswer > 0xFFFF || lAnswer == sw::NO_DIAGNOSIS;
}

int TriesIn(pindesk_state eState, long lAnswer)
{
    switch (eState) {
    case PINDESK_STATE_BLOCKED:
        return 0;
    case PINDESK_STATE_LAST_TRY:
    case PINDESK_STATE_READY:
        return static_cast<int>(lAnswer & ~TRIES_MASK);
    default:
        return -1;
    }
}

} // namespace

const STitle& TitleOf(pindesk_secret eSecret)
{
    return TITLES[eSecret];
}

SState Understand(long lAnswer)
{
    if (IsNoAnswer(lAnswer)) {
        return {};
    }
    const int iSw = lAnswer == 0 ? sw::SUCCESS : static_cast<int>(lAnswer);
    for (const SStateRule& rule : STATE_RULES) {
        if ((lAnswer & rule.lMask) == rule.lAnswer) {
            return {rule.eState, TriesIn(rule.eState, lAnswer), iSw};
        }
    }
    return {PINDESK_STATE_NOT_TOLD, -1, iSw};
}

SState Ask(CSession& session, pindesk_secret eSecret)
{
    const pindesk::SSecret& row = RowOf(eSecret);
    const long lSelected = session.GoTo(row.bSignature);
    if (lSelected != 0) {
        return Understand(lSelected);
    }
    return Understand(session.Card().Verify(row.Reference(), nullptr, 0));
}

pindesk_secret_status StatusOf(pindesk_secret eSecret, const SState& state)
{
    return {sizeof(pindesk_secret_status), eSecret, state.eState, state.iTries, state.iSw};
}

} // namespace desk
