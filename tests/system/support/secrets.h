// SPDX-License-Identifier: Apache-2.0
//
// The four secrets of the virtual card, and the operations on them one secret at a time.

#ifndef TESTS_SYSTEM_SUPPORT_SECRETS_H
#define TESTS_SYSTEM_SUPPORT_SECRETS_H

#include "pindesk/PinDesk.h"

#include <string>

/// One secret of a fresh virtual card, with the results that the operations have for it.
struct SSecret {
    const char* szName;  ///< in the card's counters
    const char* szValue; ///< of a fresh card
    int iTries;
    long lWrong;
    long lBlocked;
    long lLength;      ///< of the old or only value
    long lNewLength;   ///< of a new value
    const char* szPuk; ///< its PUK's value; null for a PUK
};

inline constexpr SSecret SECRETS[] = {
    {"cns-pin", "12345678", 3, result::VERIFY_CNS_PIN, result::BLOCKED_CNS_PIN,
     result::CNS_PIN_LENGTH, result::NEW_CNS_PIN_LENGTH, "87654321"},
    {"cns-puk", "87654321", 5, result::VERIFY_CNS_PUK, result::BLOCKED_CNS_PUK,
     result::CNS_PUK_LENGTH, result::NEW_CNS_PUK_LENGTH, nullptr},
    {"ds-pin", "13572468", 3, result::VERIFY_DS_PIN, result::BLOCKED_DS_PIN, result::DS_PIN_LENGTH,
     result::NEW_DS_PIN_LENGTH, "24681357"},
    {"ds-puk", "24681357", 5, result::VERIFY_DS_PUK, result::BLOCKED_DS_PUK, result::DS_PUK_LENGTH,
     result::NEW_DS_PUK_LENGTH, nullptr},
};
inline constexpr const SSecret& CNS_PIN = SECRETS[0];
inline constexpr const SSecret& DS_PIN = SECRETS[2];

/// How an operation is called: on which card, and with or without secure messaging.
struct SCall {
    bool bSecureMessaging = false;
    const char* szSerial = nullptr; ///< null for any card
};

/// CNS_DS_VerifyPinPuk on slot 1 with this secret alone.
long Verify(const SSecret& secret, std::string strValue, const SCall& call = {});

/// CNS_DS_ChangePinPuk on slot 1 with this secret alone.
long Change(const SSecret& secret, std::string strOld, std::string strNew, const SCall& call = {});

/// CNS_DS_UnblockPin on slot 1 for this PIN alone.
long Unblock(const SSecret& pin, std::string strPuk, std::string strNew, const SCall& call = {});

#endif
