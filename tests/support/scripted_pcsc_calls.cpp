// SPDX-License-Identifier: Apache-2.0
//
// The PC/SC functions that the library calls, over the scripted PC/SC. Codes, lengths and the order
// of the tests are those of pcsc-lite. usleep is here too: a pause is noted, not made.

#include "tests/support/scripted_pcsc.h"

#include "tests/support/nomemory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unistd.h>

const SCARD_IO_REQUEST g_rgSCardT0Pci = {SCARD_PROTOCOL_T0, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardT1Pci = {SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};

namespace {

/// One call: planned failure or action, then its line in the log. `detail` is the action's to fill.
template <class Action> LONG Call(const char* szFunction, Action action)
{
    const CMemory memory;
    CScriptedPcsc* pcsc = CScriptedPcsc::s_pActive;
    if (!pcsc) {
        return SCARD_E_NO_SERVICE;
    }
    std::string detail;
    const auto planned = pcsc->PlannedFailure(szFunction);
    const LONG lResult = planned ? *planned : action(*pcsc, detail);
    std::string line = szFunction + std::strlen("SCard");
    if (!detail.empty()) {
        line += " " + detail;
    }
    if (lResult != SCARD_S_SUCCESS) {
        char szCode[24];
        std::snprintf(szCode, sizeof szCode, " -> %08lX", static_cast<unsigned long>(lResult));
        line += szCode;
    }
    pcsc->m_log.push_back(std::move(line));
    return lResult;
}

LONG InvalidHandle(CScriptedPcsc& pcsc, const std::string& misuse)
{
    pcsc.Misuse(misuse);
    return SCARD_E_INVALID_HANDLE;
}

/// A call on a context; one that was never given out, or given back already, is a misuse.
template <class Action> LONG OnContext(const char* szFunction, SCARDCONTEXT hContext, Action action)
{
    return Call(szFunction, [&](CScriptedPcsc& pcsc, std::string& detail) -> LONG {
        if (pcsc.m_contexts.contains(hContext)) {
            return action(pcsc, detail);
        }
        return InvalidHandle(pcsc, std::string(szFunction) + " on a context that is not open");
    });
}

/// A call on a connected card; a handle never given out, or disconnected already, is a misuse.
template <class Action> LONG OnCard(const char* szFunction, SCARDHANDLE hCard, Action action)
{
    return Call(szFunction, [&](CScriptedPcsc& pcsc, std::string& detail) -> LONG {
        const auto found = pcsc.m_cards.find(hCard);
        if (found != pcsc.m_cards.end() && found->second.m_bConnected) {
            return found->second.m_bRemoved ? SCARD_W_REMOVED_CARD
                                            : action(pcsc, found->second, detail);
        }
        // a session without a card asks after handle 0 to learn that it has none
        if (hCard == 0 && std::strcmp(szFunction, "SCardStatus") == 0) {
            return SCARD_E_INVALID_HANDLE;
        }
        return InvalidHandle(pcsc, std::string(szFunction) + " on a card that is not connected");
    });
}

/// An argument that the library gives only one value belongs in the log when it differs.
void Note(std::string& detail, const char* szWhat, DWORD dwValue, DWORD dwUsual)
{
    if (dwValue != dwUsual) {
        detail += (detail.empty() ? "" : " ") + (szWhat + (" " + std::to_string(dwValue)));
    }
}

CScriptedPcsc::SReader* FindReader(CScriptedPcsc& pcsc, const char* szName)
{
    const auto found = std::find_if(pcsc.m_readers.begin(), pcsc.m_readers.end(),
                                    [&](const auto& reader) { return reader.m_name == szName; });
    return found == pcsc.m_readers.end() ? nullptr : &*found;
}

} // namespace

LONG SCardEstablishContext(DWORD dwScope, LPCVOID, LPCVOID, LPSCARDCONTEXT phContext)
{
    return Call("SCardEstablishContext", [&](auto& pcsc, auto& detail) {
        Note(detail, "scope", dwScope, SCARD_SCOPE_USER);
        *phContext = ++pcsc.m_lLastHandle;
        pcsc.m_contexts.insert(*phContext);
        return SCARD_S_SUCCESS;
    });
}

LONG SCardReleaseContext(SCARDCONTEXT hContext)
{
    return Call("SCardReleaseContext", [&](auto& pcsc, auto&) -> LONG {
        if (pcsc.m_contexts.erase(hContext) != 0) {
            return SCARD_S_SUCCESS;
        }
        if (hContext == 0) { // an operation that opened nothing releases 0 on purpose
            return SCARD_E_INVALID_HANDLE;
        }
        return InvalidHandle(pcsc, "SCardReleaseContext on a context that is not open");
    });
}

LONG SCardListReaders(SCARDCONTEXT hContext, LPCSTR, LPSTR mszReaders, LPDWORD pcchReaders)
{
    return OnContext("SCardListReaders", hContext, [&](auto& pcsc, auto&) -> LONG {
        if (!pcchReaders) {
            return SCARD_E_INVALID_PARAMETER;
        }
        std::string list;
        for (const auto& reader : pcsc.m_readers) {
            list.append(reader.m_name).push_back('\0');
        }
        if (list.empty()) {
            return SCARD_E_NO_READERS_AVAILABLE;
        }
        list.push_back('\0');
        const DWORD cchRoom = std::exchange(*pcchReaders, list.size());
        if (!mszReaders) {
            return cchRoom == SCARD_AUTOALLOCATE ? SCARD_E_INVALID_PARAMETER : SCARD_S_SUCCESS;
        }
        if (cchRoom == SCARD_AUTOALLOCATE) {
            auto copy = std::make_unique<char[]>(list.size());
            std::copy(list.begin(), list.end(), copy.get());
            char* pList = copy.get();
            std::memcpy(mszReaders, &pList, sizeof pList);
            pcsc.m_lists.emplace(pList, std::pair(hContext, std::move(copy)));
            return SCARD_S_SUCCESS;
        }
        if (cchRoom < list.size()) {
            return SCARD_E_INSUFFICIENT_BUFFER;
        }
        std::copy(list.begin(), list.end(), mszReaders);
        return SCARD_S_SUCCESS;
    });
}

LONG SCardFreeMemory(SCARDCONTEXT hContext, LPCVOID pvMem)
{
    return OnContext("SCardFreeMemory", hContext, [&](auto& pcsc, auto&) -> LONG {
        const auto found = pcsc.m_lists.find(pvMem);
        if (found == pcsc.m_lists.end() || found->second.first != hContext) {
            return InvalidHandle(pcsc,
                                 "SCardFreeMemory of something this context did not allocate");
        }
        pcsc.m_lists.erase(found);
        return SCARD_S_SUCCESS;
    });
}

LONG SCardConnect(SCARDCONTEXT hContext, LPCSTR szReader, DWORD dwShareMode, DWORD dwProtocols,
                  LPSCARDHANDLE phCard, LPDWORD pdwProtocol)
{
    return OnContext("SCardConnect", hContext, [&](auto& pcsc, auto& detail) -> LONG {
        detail = szReader;
        Note(detail, "share mode", dwShareMode, SCARD_SHARE_SHARED);
        *phCard = 0;
        const auto* const pReader = FindReader(pcsc, szReader);
        if (!pReader) {
            return SCARD_E_UNKNOWN_READER;
        }
        if (pReader->m_atr.empty()) {
            return SCARD_E_NO_SMARTCARD;
        }
        if ((dwProtocols & pcsc.m_dwProtocol) == 0) {
            return SCARD_E_PROTO_MISMATCH;
        }
        *phCard = ++pcsc.m_lLastHandle;
        *pdwProtocol = pcsc.m_dwProtocol;
        pcsc.m_cards[*phCard] = {*pReader, true, false, false};
        return SCARD_S_SUCCESS;
    });
}

LONG SCardReconnect(SCARDHANDLE hCard, DWORD, DWORD, DWORD, LPDWORD pdwProtocol)
{
    return OnCard("SCardReconnect", hCard, [&](auto& pcsc, auto&, auto&) {
        *pdwProtocol = pcsc.m_dwProtocol;
        return SCARD_S_SUCCESS;
    });
}

LONG SCardDisconnect(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return Call("SCardDisconnect", [&](auto& pcsc, auto& detail) -> LONG {
        Note(detail, "disposition", dwDisposition, SCARD_LEAVE_CARD);
        const auto found = pcsc.m_cards.find(hCard);
        if (found != pcsc.m_cards.end() && std::exchange(found->second.m_bConnected, false)) {
            return SCARD_S_SUCCESS;
        }
        if (hCard == 0) {
            return SCARD_E_INVALID_HANDLE;
        }
        return InvalidHandle(pcsc, "SCardDisconnect on a card that is not connected");
    });
}

LONG SCardBeginTransaction(SCARDHANDLE hCard)
{
    return OnCard("SCardBeginTransaction", hCard, [](auto&, auto& handle, auto&) {
        handle.m_bTransaction = true;
        return SCARD_S_SUCCESS;
    });
}

LONG SCardEndTransaction(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return Call("SCardEndTransaction", [&](auto& pcsc, auto& detail) -> LONG {
        Note(detail, "disposition", dwDisposition, SCARD_LEAVE_CARD);
        const auto found = pcsc.m_cards.find(hCard);
        if (found == pcsc.m_cards.end()) {
            return InvalidHandle(pcsc, "SCardEndTransaction on a card that was never connected");
        }
        auto& handle = found->second;
        if (!handle.m_bConnected) { // operations end it after the disconnect on purpose
            return SCARD_E_INVALID_HANDLE;
        }
        if (!std::exchange(handle.m_bTransaction, false)) {
            return InvalidHandle(pcsc, "SCardEndTransaction without a transaction");
        }
        return handle.m_bRemoved ? SCARD_W_REMOVED_CARD : SCARD_S_SUCCESS;
    });
}

LONG SCardStatus(SCARDHANDLE hCard, LPSTR szName, LPDWORD pcchName, LPDWORD pdwState,
                 LPDWORD pdwProtocol, LPBYTE pbAtr, LPDWORD pcbAtr)
{
    return OnCard("SCardStatus", hCard, [&](auto& pcsc, auto& handle, auto&) {
        LONG lResult = SCARD_S_SUCCESS;
        if (pdwState) {
            *pdwState = SCARD_PRESENT | SCARD_POWERED | SCARD_NEGOTIABLE;
        }
        if (pdwProtocol) {
            *pdwProtocol = pcsc.m_dwProtocol;
        }
        const std::string& name = handle.m_reader.m_name;
        const auto atr = FromHex(handle.m_reader.m_atr);
        if (szName && pcchName) {
            std::strncpy(szName, name.c_str(), *pcchName);
            if (*pcchName < name.size() + 1) {
                lResult = SCARD_E_INSUFFICIENT_BUFFER;
            }
        }
        if (pbAtr && pcbAtr) {
            std::copy_n(atr.begin(), std::min<std::size_t>(*pcbAtr, atr.size()), pbAtr);
            if (*pcbAtr < atr.size()) {
                lResult = SCARD_E_INSUFFICIENT_BUFFER;
            }
        }
        if (pcchName) {
            *pcchName = name.size() + 1;
        }
        if (pcbAtr) {
            *pcbAtr = atr.size();
        }
        return lResult;
    });
}

LONG SCardGetStatusChange(SCARDCONTEXT hContext, DWORD dwTimeout, SCARD_READERSTATE* rgReaderStates,
                          DWORD cReaders)
{
    return OnContext("SCardGetStatusChange", hContext, [&](auto& pcsc, auto& detail) -> LONG {
        for (DWORD i = 0; i < cReaders; ++i) {
            SCARD_READERSTATE& state = rgReaderStates[i];
            detail = state.szReader;
            const auto* const pReader = FindReader(pcsc, state.szReader);
            if (!pReader) {
                return SCARD_E_UNKNOWN_READER;
            }
            const auto atr = FromHex(pReader->m_atr);
            state.dwEventState =
                SCARD_STATE_CHANGED | (atr.empty() ? SCARD_STATE_EMPTY : SCARD_STATE_PRESENT);
            state.cbAtr = atr.size(); // longer than the field when the test says so
            std::copy_n(atr.begin(), std::min(atr.size(), sizeof state.rgbAtr), state.rgbAtr);
        }
        Note(detail, "timeout", dwTimeout, 0);
        return SCARD_S_SUCCESS;
    });
}

LONG SCardCancel(SCARDCONTEXT hContext)
{
    return OnContext("SCardCancel", hContext, [](auto&, auto&) -> LONG { return SCARD_S_SUCCESS; });
}

LONG SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST* pioSendPci, LPCBYTE pbSendBuffer,
                   DWORD cbSendLength, SCARD_IO_REQUEST*, LPBYTE pbRecvBuffer,
                   LPDWORD pcbRecvLength)
{
    return OnCard("SCardTransmit", hCard, [&](auto& pcsc, auto&, auto& detail) -> LONG {
        if (pioSendPci->dwProtocol != pcsc.m_dwProtocol) {
            pcsc.Misuse("SCardTransmit with the header of another protocol");
        }
        const SAnswer answer = pcsc.Exchange({pbSendBuffer, pbSendBuffer + cbSendLength}, detail);
        if (!answer.m_data) {
            return answer.m_lCode;
        }
        const DWORD cbRoom = std::exchange(*pcbRecvLength, answer.m_data->size());
        std::memset(pbRecvBuffer, 0xEE, cbRoom); // all that was announced has to be there
        if (answer.m_data->size() > cbRoom) {
            return SCARD_E_INSUFFICIENT_BUFFER;
        }
        std::copy(answer.m_data->begin(), answer.m_data->end(), pbRecvBuffer);
        return answer.m_lCode;
    });
}

int usleep(useconds_t uMicroseconds)
{
    if (CScriptedPcsc::s_pActive) {
        CScriptedPcsc::s_pActive->m_pauses.push_back(uMicroseconds);
    }
    return 0;
}
