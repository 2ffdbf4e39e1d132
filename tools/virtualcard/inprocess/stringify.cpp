// SPDX-License-Identifier: Apache-2.0
//
// The texts of PC/SC result codes.

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <winscard.h>

namespace {

struct STextRow {
    LONG lCode;
    const char* szText;
};

constexpr STextRow TEXTS[] = {
    {SCARD_S_SUCCESS, "Command successful."},
    {SCARD_F_INTERNAL_ERROR, "Internal error."},
    {SCARD_E_CANCELLED, "Command cancelled."},
    {SCARD_E_INVALID_HANDLE, "Invalid handle."},
    {SCARD_E_INVALID_PARAMETER, "Invalid parameter given."},
    {SCARD_E_NO_MEMORY, "Not enough memory."},
    {SCARD_E_INSUFFICIENT_BUFFER, "Insufficient buffer."},
    {SCARD_E_UNKNOWN_READER, "Unknown reader specified."},
    {SCARD_E_TIMEOUT, "Command timeout."},
    {SCARD_E_SHARING_VIOLATION, "Sharing violation."},
    {SCARD_E_NO_SMARTCARD, "No smart card inserted."},
    {SCARD_E_PROTO_MISMATCH, "Card protocol mismatch."},
    {SCARD_E_NOT_READY, "Subsystem not ready."},
    {SCARD_E_INVALID_VALUE, "Invalid value given."},
    {SCARD_F_COMM_ERROR, "RPC transport error."},
    {SCARD_F_UNKNOWN_ERROR, "Unknown error."},
    {SCARD_E_NOT_TRANSACTED, "Transaction failed."},
    {SCARD_E_READER_UNAVAILABLE, "Reader is unavailable."},
    {SCARD_E_NO_SERVICE, "Service not available."},
    {SCARD_E_SERVICE_STOPPED, "Service was stopped."},
    {SCARD_E_UNSUPPORTED_FEATURE, "Feature not supported."},
    {SCARD_E_NO_READERS_AVAILABLE, "Cannot find a smart card reader."},
    {SCARD_W_UNRESPONSIVE_CARD, "Card is unresponsive."},
    {SCARD_W_UNPOWERED_CARD, "Card is unpowered."},
    {SCARD_W_RESET_CARD, "Card was reset."},
    {SCARD_W_REMOVED_CARD, "Card was removed."},
};

} // namespace

/// The text stays valid until the calling thread asks for another one.
extern "C" const char* pcsc_stringify_error(const LONG lCode)
{
    const auto* row = std::ranges::find(TEXTS, lCode, &STextRow::lCode);
    if (row != std::end(TEXTS)) {
        return row->szText;
    }
    thread_local std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "Unknown error: 0x%08lX",
                  static_cast<unsigned long>(lCode));
    return text.data();
}
