// SPDX-License-Identifier: Apache-2.0
//
// The readers: counting, names, connections, answers to reset. Nothing here sends a command.

#include "pindesk/PCSC_Misc.h"

#include "pindesk/readers.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

using namespace pindesk;

namespace {
constexpr long INVALID = -1; // of PCSC_Valid

void WriteHex(const unsigned char* pb, std::size_t cb, char* szText)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    for (std::size_t i = 0; i < cb; ++i) {
        szText[2 * i] = DIGITS[pb[i] >> 4];
        szText[2 * i + 1] = DIGITS[pb[i] & 0x0F];
    }
}
} // namespace

long PCSC_GetReadersCount(long* count)
{
    if (!count) {
        return result::MISSING_ARGUMENT;
    }
    *count = 0;
    CContext context;
    CReaderList readers;
    if (const long lResult = context.Establish(); lResult != result::OK) {
        return lResult;
    }
    if (const long lResult = readers.List(context.Handle()); lResult != result::OK) {
        return lResult;
    }
    *count = readers.Count();
    return result::OK;
}

long PCSC_GetReadersList(LPTSTR szReaders, DWORD* ccReaders)
{
    CContext context;
    if (const long lResult = context.Establish(); lResult != result::OK) {
        return lResult;
    }
    const LONG lListed = SCardListReaders(context.Handle(), nullptr, szReaders, ccReaders);
    return lListed == SCARD_S_SUCCESS ? result::OK : result::NO_READER;
}

long PCSC_GetReaderName(long slotId, LPTSTR szReaderName, long* nMaxChars)
{
    if (!nMaxChars) {
        return result::MISSING_ARGUMENT;
    }
    CReaderAtSlot reader;
    if (const long lResult = reader.Open(slotId); lResult != result::OK) {
        return lResult;
    }
    // no NUL when the name fills the buffer, on purpose: callers size it by the length asked before
    if (szReaderName && *nMaxChars > 0) {
        std::strncpy(szReaderName, reader.Name(), static_cast<std::size_t>(*nMaxChars));
    }
    *nMaxChars = static_cast<long>(std::strlen(reader.Name()));
    return result::OK;
}

long PCSC_Connect(long slot, ScardConnection** Connection)
{
    if (!Connection) {
        return result::MISSING_ARGUMENT;
    }
    CReaderAtSlot reader;
    if (const long lResult = reader.Open(slot); lResult != result::OK) {
        return lResult;
    }
    // the record comes first, so that no card can be connected without a place for its handle
    std::unique_ptr<ScardConnection> connection(new (std::nothrow) ScardConnection{});
    DWORD dwProtocol = 0;
    if (!connection || SCardConnect(reader.Context(), reader.Name(), SCARD_SHARE_SHARED,
                                    SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &connection->hCard,
                                    &dwProtocol) != SCARD_S_SUCCESS) {
        return result::NO_CARD;
    }
    connection->hContext = reader.Detach();
    *Connection = connection.release();
    return result::OK;
}

long PCSC_Valid(ScardConnection* Connection)
{
    if (!Connection) {
        return INVALID;
    }
    char szReader[1024];
    unsigned char abAtr[255];
    DWORD cchReader = sizeof szReader, cbAtr = sizeof abAtr, dwState = 0, dwProtocol = 0;
    const LONG lResult =
        SCardStatus(Connection->hCard, szReader, &cchReader, &dwState, &dwProtocol, abAtr, &cbAtr);
    return lResult == SCARD_S_SUCCESS ? result::OK : INVALID;
}

long PCSC_Disconnect(ScardConnection* Connection)
{
    const std::unique_ptr<ScardConnection> connection(Connection);
    if (!connection) {
        return result::OK;
    }
    SCardDisconnect(connection->hCard, SCARD_LEAVE_CARD);
    SCardReleaseContext(connection->hContext);
    return result::OK;
}

long PCSC_GetATR(long slotId, LPTSTR pbATR, long* nMaxChars)
{
    if (!nMaxChars) {
        return result::MISSING_ARGUMENT;
    }
    CReaderAtSlot reader;
    if (const long lResult = reader.Open(slotId); lResult != result::OK) {
        return lResult;
    }

    SCARD_READERSTATE state{};
    state.szReader = reader.Name();
    if (SCardGetStatusChange(reader.Context(), 0, &state, 1) != SCARD_S_SUCCESS) {
        return result::NO_READER;
    }
    const std::size_t cbAtr = std::min<std::size_t>(state.cbAtr, sizeof state.rgbAtr);
    // the length in bytes on purpose, not that of the text: who has room for less asked wrongly
    if (static_cast<unsigned long>(*nMaxChars) < cbAtr) {
        return result::BUFFER_TOO_SMALL;
    }
    if ((state.dwEventState & SCARD_STATE_PRESENT) == 0) {
        return result::NO_READER;
    }

    const long cchText = static_cast<long>(2 * cbAtr);
    if (pbATR && *nMaxChars >= cchText) {
        WriteHex(state.rgbAtr, cbAtr, pbATR);
    }
    *nMaxChars = cchText;
    return result::OK;
}

long SCardIsValidContextEX(SCARDCONTEXT hContext)
{
    DWORD cchReaders = 0;
    const LONG lResult = SCardListReaders(hContext, nullptr, nullptr, &cchReaders);
    return lResult == SCARD_E_INVALID_HANDLE ? lResult : result::OK;
}
