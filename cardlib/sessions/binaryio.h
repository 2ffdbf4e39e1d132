// SPDX-License-Identifier: Apache-2.0
//
// Transparent files in pieces of 64 bytes: the loops that all card families share. The sender is
// the family's own: long(CCommandApdu&, CResponseApdu&).

#ifndef CARDLIB_SESSIONS_BINARYIO_H
#define CARDLIB_SESSIONS_BINARYIO_H

#include "cardlib/sessions/apdu.h"
#include "cardlib/support/secret.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

constexpr std::size_t BINARY_PIECE = 64;
constexpr std::size_t BINARY_LAST_SLACK = 192; ///< announced beyond the last piece of a read
constexpr CK_ULONG BINARY_END = 0x10000; ///< offsets have 16 bits; a larger one would wrap around

inline CCommandApdu BinaryCommand(std::uint8_t bIns, CK_ULONG ulOffset)
{
    return {cla::ISO, bIns, static_cast<std::uint16_t>(ulOffset)};
}

/// Reads l bytes from the current EF; pbOut is written only on success. The last piece may come
/// short, its rest is then 0; more data than asked for is ignored.
/// \return 0, the sender's failure, 0x6282 when the card delivers nothing although more is wanted,
///         0x6B00 (nothing sent) when the range ends past 64 KiB, 0x6A84 when memory is short.
template <typename TSend>
long ReadBinaryInPieces(TSend send, std::size_t offset, std::size_t l, CK_BYTE* pbOut)
{
    if (offset + l > BINARY_END) {
        return sw::WRONG_OFFSET;
    }
    const CWipedArray work = CWipedArray::Zeroed(l + 1); // deciphered data comes this way too
    if (!work) {
        return sw::NOT_ENOUGH_MEMORY;
    }
    std::size_t done = 0;
    for (bool bLast = false; !bLast;) {
        const std::size_t wanted = std::min(l - done, BINARY_PIECE);
        bLast = l - done <= BINARY_PIECE;
        CResponseApdu response(bLast ? wanted + BINARY_LAST_SLACK : CResponseApdu::MAX);
        CCommandApdu command = BinaryCommand(ins::READ_BINARY, offset + done);
        const long lResult = send(command.Le(static_cast<std::uint8_t>(wanted)), response);
        if (lResult != 0) {
            return lResult;
        }
        const std::size_t got = std::min(response.DataLength(), wanted);
        if (got == 0 && wanted != 0) {
            return sw::END_OF_FILE;
        }
        std::memcpy(work.data() + done, response.data(), got);
        done += got;
    }
    std::copy_n(work.data(), l, pbOut); // l may be 0, and pbOut null then
    return 0;
}

/// Whether offsets can say where each piece of a write goes: from 8000 on, UPDATE BINARY would take
/// them for the short identifier of another file.
inline bool IsWritable(CK_ULONG cb, CK_ULONG ulOffset)
{
    constexpr CK_ULONG SHORT_IDENTIFIER = 0x8000;
    return cb <= BINARY_END && ulOffset < SHORT_IDENTIFIER &&
           ulOffset + (cb - 1) / BINARY_PIECE * BINARY_PIECE < SHORT_IDENTIFIER;
}

/// Writes cb bytes of a writable range into the current EF: whole pieces, then the rest.
/// \return 0, or the sender's failure.
template <typename TSend>
long UpdateBinaryInPieces(TSend send, const CK_BYTE* pb, CK_ULONG cb, CK_ULONG ulOffset)
{
    for (CK_ULONG ulDone = 0; ulDone < cb;) {
        const CK_ULONG ulPiece = std::min<CK_ULONG>(cb - ulDone, BINARY_PIECE);
        CResponseApdu response;
        CCommandApdu command = BinaryCommand(ins::UPDATE_BINARY, ulOffset + ulDone);
        const long lResult = send(command.Data(pb + ulDone, ulPiece), response);
        if (lResult != 0) {
            return lResult;
        }
        ulDone += ulPiece;
    }
    return 0;
}

#endif
