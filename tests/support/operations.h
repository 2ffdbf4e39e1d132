// SPDX-License-Identifier: Apache-2.0
//
// The exported operations with their parameter lists wrapped, and the four secrets they are about.

#ifndef TESTS_SUPPORT_OPERATIONS_H
#define TESTS_SUPPORT_OPERATIONS_H

#include "pindesk/PinDesk.h"

#include <array>
#include <cstring>
#include <ostream>

namespace result = pindesk::result;

enum ESecret : std::size_t { CNS_PIN, CNS_PUK, DS_PIN, DS_PUK };

/// The PUK of a PIN.
constexpr ESecret PukOf(ESecret pin)
{
    return static_cast<ESecret>(pin + 1);
}

/// One secret of a fresh virtual card, and what the operations say of it.
struct SSecret {
    const char* szName; ///< in the card's counters
    const char* szValue;
    int iTries;
    long lWrong, lBlocked, lRefusedChange, lLength, lNewLength;
};

inline constexpr SSecret CARD_SECRETS[] = {
    {"cns-pin", "12345678", 3, result::VERIFY_CNS_PIN, result::BLOCKED_CNS_PIN,
     result::CHANGE_CNS_PIN, result::CNS_PIN_LENGTH, result::NEW_CNS_PIN_LENGTH},
    {"cns-puk", "87654321", 5, result::VERIFY_CNS_PUK, result::BLOCKED_CNS_PUK,
     result::CHANGE_CNS_PUK, result::CNS_PUK_LENGTH, result::NEW_CNS_PUK_LENGTH},
    {"ds-pin", "13572468", 3, result::VERIFY_DS_PIN, result::BLOCKED_DS_PIN, result::CHANGE_DS_PIN,
     result::DS_PIN_LENGTH, result::NEW_DS_PIN_LENGTH},
    {"ds-puk", "24681357", 5, result::VERIFY_DS_PUK, result::BLOCKED_DS_PUK, result::CHANGE_DS_PUK,
     result::DS_PUK_LENGTH, result::NEW_DS_PUK_LENGTH},
};

/// A PIN or PUK as the operations take it. It is not copied: who calls keeps the bytes.
struct SPin {
    SPin(const char* sz = nullptr) : SPin(sz, sz == nullptr ? 0 : static_cast<long>(strlen(sz))) {}
    SPin(const char* pbOf, long cbOf)
        : pb(reinterpret_cast<unsigned char*>(const_cast<char*>(pbOf))), cb(cbOf)
    {
    }
    static SPin At(unsigned char* pb, long cb) { return {reinterpret_cast<char*>(pb), cb}; }

    unsigned char* pb;
    long cb;
};

/// A value for each secret, by ESecret; those not given stay away.
using Pins = std::array<SPin, 4>;
Pins Only(ESecret secret, const SPin& pin);

/// How an operation is called: by default on any card in the first slot, plain.
struct SCall {
    BOOL bProtect = 0; ///< of lock and deactivate: whether the administration key is used
    const char* szSerial = nullptr;
    unsigned char* pKey = nullptr; ///< 24 bytes; null for the library's own
    long lSlot = 1;
};

/// \name The operations
///@{
long Verify(const Pins& pins, const SCall& call = {});
long Change(const Pins& from, const Pins& to, const SCall& call = {});
long Unblock(const Pins& puks, const Pins& pins, const SCall& call = {});
long Deactivate(const SCall& call = {});
long Lock(const SCall& call = {});
long Reactivate(const SPin& puk, const SPin& newPin, const SCall& call = {});
long ReadSerial(const SCall& call = {});
///@}

/// \name With one secret
///@{
inline long Verify(ESecret secret, const SPin& pin, const SCall& call = {})
{
    return Verify(Only(secret, pin), call);
}
inline long Change(ESecret secret, const SPin& from, const SPin& to, const SCall& call = {})
{
    return Change(Only(secret, from), Only(secret, to), call);
}
inline long Unblock(ESecret pin, const SPin& puk, const SPin& newPin, const SCall& call = {})
{
    return Unblock(Only(PukOf(pin), puk), Only(pin, newPin), call);
}
///@}

/// An operation as a row of a test: on all secrets it can take, with a fresh card's values; new
/// ones are "97531".
struct SOperation {
    const char* szName;
    long (*run)(const SCall& call);
};

inline void PrintTo(const SOperation& operation, std::ostream* pOut) // by googletest
{
    *pOut << operation.szName;
}

inline constexpr const char* NEW_VALUE = "97531";
inline const Pins FRESH = {CARD_SECRETS[0].szValue, CARD_SECRETS[1].szValue,
                           CARD_SECRETS[2].szValue, CARD_SECRETS[3].szValue};
inline const Pins ALL_NEW = {NEW_VALUE, NEW_VALUE, NEW_VALUE, NEW_VALUE};

inline constexpr SOperation
    GET_SERIAL = {"GetSerial", [](const SCall&call) { return ReadSerial(call); }},
    VERIFY = {"Verify", [](const SCall&call) { return Verify(FRESH, call); }},
    CHANGE = {"Change", [](const SCall&call) { return Change(FRESH, ALL_NEW, call); }},
    UNBLOCK = {"Unblock", [](const SCall&call) { return Unblock(FRESH, ALL_NEW, call); }},
    DEACTIVATE = {"Deactivate", [](const SCall&call) { return Deactivate(call); }},
    LOCK = {"Lock", [](const SCall&call) { return Lock(call); }},
    REACTIVATE = {"Reactivate",
                  [](const SCall&call) { return Reactivate(FRESH[DS_PUK], NEW_VALUE, call); }};

/// Those that check the serial number first.
inline constexpr SOperation OPERATIONS[] = {VERIFY, CHANGE, UNBLOCK, DEACTIVATE, LOCK, REACTIVATE};

#endif
