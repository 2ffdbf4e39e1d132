// SPDX-License-Identifier: Apache-2.0
//
// Cards of other families that reset a PIN with its PUK: what is sent to one that is open and held
// in a transaction. Internal.

#ifndef PINDESK_FAMILIES_H
#define PINDESK_FAMILIES_H

#include "pindesk/plaincard.h"
#include "pindesk/secrets.h"

#include <array>
#include <span>

namespace pindesk {

/// A PIN and where it is.
struct SFamilyPin {
    WORD fidDf;
    std::uint8_t bReference;
};

/// What the reset of a family's PINs looks like.
struct SFamily {
    static constexpr std::size_t HALF = 8; ///< PUK, then PIN
    using Filler = std::array<std::uint8_t, 2 * HALF>;

    std::span<const SFamilyPin> pins; ///< in the order of their resets
    std::uint8_t bCla, bIns, bP1;
    bool bFile0000; ///< some cards of the family want it selected, the others refuse without harm
    Filler filler;  ///< what a short PUK or PIN leaves of it stays
};
extern const SFamily STARCOS, M4_1111;

/// Goes to the DF of a PIN. \return OK, or SELECT_FAILED.
long GoToPin(CSelector& files, const SFamily& family, const SFamilyPin& pin);

/// Asks how many tries the PUK of a PIN has left: it has the reference behind the PIN's.
/// \return the answer: 63Cx, 6983, another status word, or what failed the exchange.
long AskForPuk(CSCard& card, const SFamilyPin& pin);

/// The data field of a reset, for all PINs of a card. It is made before the first command goes out,
/// so that no register still holds a value of it when PC/SC is called.
class CResetData {
public:
    CResetData(const SFamily& family, const SValue& puk, const SValue& newPin);
    ~CResetData() { explicit_bzero(m_ab.data(), m_ab.size()); }
    CResetData(const CResetData&) = delete;
    CResetData& operator=(const CResetData&) = delete;

    const std::uint8_t* data() const { return m_ab.data(); }
    std::size_t size() const { return m_ab.size(); }

private:
    /// A long value runs on to the end of the field on purpose, and no further.
    void Put(std::size_t iAt, const SValue& value);

    SFamily::Filler m_ab;
};

/// Presents the PUK and resets the PIN, in its DF.
/// \return 0, a status word, or what failed the exchange.
long ResetPin(CSCard& card, const SFamily& family, const SFamilyPin& pin, const CResetData& data);

} // namespace pindesk

#endif
