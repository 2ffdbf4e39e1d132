// SPDX-License-Identifier: Apache-2.0
//
// The virtual card, free of any transport: bytes of a command in, bytes of the answer out.
// It knows nothing of readers, sockets or PC/SC; the plugs beside this directory do.
#ifndef TOOLS_VIRTUALCARD_MODEL_CARD_H
#define TOOLS_VIRTUALCARD_MODEL_CARD_H

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

namespace vcard {

using Bytes = std::vector<std::uint8_t>;

/// What the person who starts the card chooses.
struct SCardOptions {
    std::string strProfile = "cns"; ///< one of ProfileNames()
    std::string strSerial{};        ///< 16 printable characters; empty: the profile's own
    bool bT1 = true;                ///< an ATR that announces T=1, else T=0
    Bytes abAtr{};                  ///< instead of the profile's own; empty: that one
    bool bRequireSm = false;        ///< signature secrets only under secure messaging (6987 else)
    bool bUnpadded = false;         ///< secrets stored without padding: another length gets 6700
};

/// The profiles a card can be made from, in the order in which a help text lists them.
std::vector<std::string> ProfileNames();

/// One card: its files, secrets and keys, and the session of whoever powers it.
/// Not safe for use by two threads at a time.
class CCard {
public:
    /// A fresh card of the chosen profile, powered up.
    /// Throws std::invalid_argument with a clear text on an unknown profile, a bad serial number or
    /// an answer to reset that is none.
    explicit CCard(const SCardOptions& options);
    ~CCard();
    CCard(const CCard&) = delete;
    CCard& operator=(const CCard&) = delete;

    /// The answer to reset (ISO/IEC 7816-3): as chosen, else protocol as chosen and the profile in
    /// the historical bytes.
    Bytes Atr() const;

    /// Power-up or reset: selection, security status and pending randoms are forgotten.
    void Reset();

    /// Carries out one short command APDU (ISO/IEC 7816-4) of any bytes and any length.
    /// \returns the answer: at most 256 bytes of data, then the status word. Never throws.
    Bytes Transmit(std::span<const std::uint8_t> command);

    /// Everything that survives a restart: files, secrets with their values and counters, keys,
    /// life cycle. It holds secrets in clear: keep it as one keeps a test key.
    nlohmann::json State() const;

    /// Takes over what State() of a card of the same profile gave; a reset is part of it.
    /// What the options say about secrets (protection, padding) applies to the loaded ones too.
    /// Throws std::invalid_argument on anything else, the card unchanged.
    void LoadState(const nlohmann::json& state);

    /// How often each secret arrived, and what is left of its tries, by name:
    /// {"cns-pin": {"presented": 2, "new_values": 0, "tries_left": 3}, ...}. Counted is each
    /// value that the card came to judge: right, wrong, of a wrong length, or of a blocked secret.
    nlohmann::json Counters() const;

private:
    struct SImpl;
    std::unique_ptr<SImpl> m_pImpl;
};

} // namespace vcard

#endif
