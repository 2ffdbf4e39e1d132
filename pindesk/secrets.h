// SPDX-License-Identifier: Apache-2.0
//
// The four secrets of a card as rows of one table, and their values as callers give them and the
// card takes them. Internal.

#ifndef PINDESK_SECRETS_H
#define PINDESK_SECRETS_H

#include "cardlib/support/secret.h"
#include "cardlib/support/settings.h"
#include "pindesk/answers.h"

namespace pindesk {

/// What is particular to one secret.
struct SSecret {
    ESetting eReference;
    std::uint8_t bLocality; ///< p2::LOCAL_REFERENCE for the signature application's own
    bool bSignature;        ///< belongs to the signature application: may be protected
    long lLength;           ///< result codes of a wrong length
    long lNewLength;
    SStep verify;
    SStep change; ///< to the new value, after the old one was right

    /// The reference that VERIFY and CHANGE REFERENCE DATA carry.
    std::uint8_t Reference() const;
};

/// CNS PIN, CNS PUK, DS PIN, DS PUK: the order in which the operations treat them.
extern const SSecret SECRETS[4];
enum ESecret { CNS_PIN, CNS_PUK, DS_PIN, DS_PUK };

/// A caller's PIN or PUK, in the caller's memory.
struct SValue {
    const unsigned char* pb;
    long cb;

    bool Given() const { return pb != nullptr && cb != 0; }
    /// Whether the length is one that the operations accept; 0 means that nothing is given.
    bool LengthAllowed() const { return cb == 0 || (cb >= 5 && cb <= 8); }
};

/// A PIN or PUK as the card takes it: right-padded with FF to 8 bytes.
class CPaddedPin : public CPinBlock {
public:
    /// Takes a value of at most 8 bytes; none or a negative length gives eight FF.
    explicit CPaddedPin(const SValue& value);
};

} // namespace pindesk

#endif
