// SPDX-License-Identifier: Apache-2.0
//
// A dialogue with a card as a help desk may see it. Internal.

#ifndef DESK_TRANSCRIPT_H
#define DESK_TRANSCRIPT_H

#include "desk/call.h"

#include <span>
#include <vector>

namespace desk {

/// Records exchanges as lines: "> " and a command, then "< " and its answer or "! " and PC/SC's
/// code. What a selection says and is told is shown, of everything else only the header and the
/// status word: neither a value nor what a file holds gets in. The thread of a call writes, its
/// caller reads.
class CTranscript {
public:
    using Bytes = std::span<const std::uint8_t>;

    void Leaves(Bytes command) noexcept;
    void CameBack(long lResult, Bytes answer) noexcept;
    std::vector<std::string> Lines() const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::string, std::string>> m_exchanges;
    std::string m_strCommand;  ///< on its way
    bool m_bSelection = false; ///< the last command, or the one whose answer is fetched now
    Clock::time_point m_left;
};

/// A number with so many digits.
std::string Hex(std::uint32_t ulValue, unsigned cDigits);

/// Bytes as "00 A4 **", with `cbShown` of them at the start and `cbEnd` at the end, the rest masked.
std::string MaskedHex(std::span<const std::uint8_t> bytes, std::size_t cbShown, std::size_t cbEnd);

} // namespace desk

#endif
