// SPDX-License-Identifier: Apache-2.0
//
// The secrets of a card, and what the card says about each. No try is spent by asking: the question
// is a VERIFY without a value (ISO/IEC 7816-4). Internal.

#ifndef DESK_STATE_H
#define DESK_STATE_H

#include "desk/session.h"
#include "pindesk/secrets.h"

namespace desk {

/// What the four secrets of a national services card are to the desk.
struct STitle {
    const char* szName;  ///< for programs
    const char* szTitle; ///< for persons, a text of the catalogue
    bool bPuk;
    pindesk_secret ePartner; ///< the PUK of a PIN, the PIN of a PUK
    std::int32_t lMin, lMax; ///< lengths that a person should keep to, in bytes
};
const STitle& TitleOf(pindesk_secret eSecret);

/// Whether a number from a caller is one of the four.
constexpr bool IsCnsSecret(pindesk_secret eSecret)
{
    return eSecret >= PINDESK_CNS_PIN && eSecret <= PINDESK_DS_PUK;
}
inline const pindesk::SSecret& RowOf(pindesk_secret eSecret)
{
    return pindesk::SECRETS[eSecret];
}

inline bool IsSignature(pindesk_secret eSecret)
{
    return IsCnsSecret(eSecret) && RowOf(eSecret).bSignature;
}

/// What the card said about a secret.
struct SState {
    pindesk_state eState = PINDESK_STATE_NOT_TOLD;
    int iTries = -1;
    int iSw = -1; ///< -1: no answer

    bool Answered() const { return iSw >= 0; }
    bool Told() const { return iTries >= 0; }
};

/// What an answer of a session to the question means.
SState Understand(long lAnswer);
/// Asks for a secret. 1 exchange, 2 for the first one of the signature application.
SState Ask(CSession& session, pindesk_secret eSecret);

pindesk_secret_status StatusOf(pindesk_secret eSecret, const SState& state);

} // namespace desk

#endif
