// SPDX-License-Identifier: Apache-2.0
//
// The PC/SC functions that the library calls, over the scripted PC/SC. Codes, lengths and the order
// of the tests are those of pcsc-lite. usleep is here too: a pause is noted, not made.

#include "tests/support/scripted_pcsc.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unistd.h>

const SCARD_IO_REQUEST g_rgSCardT0Pci = {SCARD_PROTOCOL_T0, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardT1Pci = {SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};

struct SPcscCalls {
    using SHandle = CScriptedPcsc::SCardHandle;

    /// One call: planned failure or action, then its line in the log. `detail` is the action's to
    /// fill.
    template <class Action> static LONG Call(const char* szFunction, Action action)
    {
        CScriptedPcsc* pcsc = CScriptedPcsc::s_pActive;
        if (!pcsc)
            return SCARD_E_NO_SERVICE;
        std::string detail;
        const auto planned = pcsc->PlannedFailure(szFunction);
        const LONG lResult = planned ? *planned : action(*pcsc, detail);
        std::string line = szFunction + std::strlen("SCard");
        if (!detail.empty())
            line += " " + detail;
        if (lResult != SCARD_S_SUCCESS) {
            char szCode[24];
            std::snprintf(szCode, sizeof szCode, " -> %08lX", static_cast<unsigned long>(lResult));
            line += szCode;
        }
        pcsc->m_log.push_back(std::move(line));
        return lResult;
    }

    /// A call on a context; one that was never given out, or given back already, is a misuse.
    template <class Action>
    static LONG OnContext(const char* szFunction, SCARDCONTEXT hContext, Action action)
    {
        return Call(szFunction, [&](CScriptedPcsc& pcsc, std::string& detail) -> LONG {
            if (pcsc.m_contexts.contains(hContext))
                return action(pcsc, detail);
            pcsc.Misuse(std::string(szFunction) + " on a context that is not open");
            return SCARD_E_INVALID_HANDLE;
        });
    }

    /// A call on a connected card; a handle never given out, or disconnected already, is a misuse.
    template <class Action>
    static LONG OnCard(const char* szFunction, SCARDHANDLE hCard, Action action)
    {
        return Call(szFunction, [&](CScriptedPcsc& pcsc, std::string& detail) -> LONG {
            const auto found = pcsc.m_cards.find(hCard);
            if (found != pcsc.m_cards.end() && found->second.m_bConnected)
                return found->second.m_bRemoved ? SCARD_W_REMOVED_CARD
                                                : action(pcsc, found->second, detail);
            // a session without a card asks after handle 0 to learn that it has none
            if (hCard != 0 || std::strcmp(szFunction, "SCardStatus") != 0)
                pcsc.Misuse(std::string(szFunction) + " on a card that is not connected");
            return SCARD_E_INVALID_HANDLE;
        });
    }

    /// An argument that the library gives only one value belongs in the log when it differs.
    static void Note(std::string& detail, const char* szWhat, DWORD dwValue, DWORD dwUsual)
    {
        if (dwValue != dwUsual)
            detail += (detail.empty() ? "" : " ") + (szWhat + (" " + std::to_string(dwValue)));
    }

    static DWORD Protocol(const CScriptedPcsc& pcsc) { return pcsc.m_dwProtocol; }

    static LONG Establish(CScriptedPcsc& pcsc, LPSCARDCONTEXT phContext)
    {
        *phContext = ++pcsc.m_lLastHandle;
        pcsc.m_contexts.insert(*phContext);
        return SCARD_S_SUCCESS;
    }

    static LONG ReleaseContext(CScriptedPcsc& pcsc, SCARDCONTEXT hContext)
    {
        if (pcsc.m_contexts.erase(hContext) != 0)
            return SCARD_S_SUCCESS;
        if (hContext != 0) // an operation that opened nothing releases 0 on purpose
            pcsc.Misuse("SCardReleaseContext on a context that is not open");
        return SCARD_E_INVALID_HANDLE;
    }

    static LONG ListReaders(CScriptedPcsc& pcsc, SCARDCONTEXT hContext, LPSTR mszReaders,
                            LPDWORD pcchReaders)
    {
        std::string list;
        for (const auto& reader : pcsc.m_readers)
            list.append(reader.m_name).push_back('\0');
        if (list.empty())
            return SCARD_E_NO_READERS_AVAILABLE;
        list.push_back('\0');

        const DWORD cchRoom = *pcchReaders;
        *pcchReaders = list.size();
        if (cchRoom == SCARD_AUTOALLOCATE) {
            if (!mszReaders)
                return SCARD_E_INVALID_PARAMETER;
            auto copy = std::make_unique<char[]>(list.size());
            std::copy(list.begin(), list.end(), copy.get());
            char* pList = copy.get();
            std::memcpy(mszReaders, &pList, sizeof pList);
            pcsc.m_lists.emplace(pList, std::pair(hContext, std::move(copy)));
            return SCARD_S_SUCCESS;
        }
        if (!mszReaders)
            return SCARD_S_SUCCESS;
        if (cchRoom < list.size())
            return SCARD_E_INSUFFICIENT_BUFFER;
        std::copy(list.begin(), list.end(), mszReaders);
        return SCARD_S_SUCCESS;
    }

    static LONG FreeMemory(CScriptedPcsc& pcsc, SCARDCONTEXT hContext, LPCVOID pvMem)
    {
        const auto found = pcsc.m_lists.find(pvMem);
        if (found == pcsc.m_lists.end() || found->second.first != hContext) {
            pcsc.Misuse("SCardFreeMemory of something this context did not allocate");
            return SCARD_E_INVALID_PARAMETER;
        }
        pcsc.m_lists.erase(found);
        return SCARD_S_SUCCESS;
    }

    static LONG Connect(CScriptedPcsc& pcsc, LPCSTR szReader, DWORD dwProtocols,
                        LPSCARDHANDLE phCard, LPDWORD pdwProtocol)
    {
        *phCard = 0;
        const auto reader =
            std::find_if(pcsc.m_readers.begin(), pcsc.m_readers.end(),
                         [&](const auto& candidate) { return candidate.m_name == szReader; });
        if (reader == pcsc.m_readers.end())
            return SCARD_E_UNKNOWN_READER;
        if (reader->m_atr.empty())
            return SCARD_E_NO_SMARTCARD;
        if ((dwProtocols & pcsc.m_dwProtocol) == 0)
            return SCARD_E_PROTO_MISMATCH;
        *phCard = ++pcsc.m_lLastHandle;
        *pdwProtocol = pcsc.m_dwProtocol;
        pcsc.m_cards[*phCard] = {*reader, true, false, false};
        return SCARD_S_SUCCESS;
    }

    static LONG Disconnect(CScriptedPcsc& pcsc, SCARDHANDLE hCard)
    {
        const auto found = pcsc.m_cards.find(hCard);
        if (found != pcsc.m_cards.end() && found->second.m_bConnected) {
            found->second.m_bConnected = false;
            return SCARD_S_SUCCESS;
        }
        if (hCard != 0)
            pcsc.Misuse("SCardDisconnect on a card that is not connected");
        return SCARD_E_INVALID_HANDLE;
    }

    static LONG EndTransaction(CScriptedPcsc& pcsc, SCARDHANDLE hCard)
    {
        const auto found = pcsc.m_cards.find(hCard);
        if (found == pcsc.m_cards.end()) {
            pcsc.Misuse("SCardEndTransaction on a card that was never connected");
            return SCARD_E_INVALID_HANDLE;
        }
        SHandle& handle = found->second;
        if (!handle
                 .m_bConnected) // operations end their transaction after the disconnect on purpose
            return SCARD_E_INVALID_HANDLE;
        if (!std::exchange(handle.m_bTransaction, false)) {
            pcsc.Misuse("SCardEndTransaction without a transaction");
            return SCARD_E_NOT_TRANSACTED;
        }
        return handle.m_bRemoved ? SCARD_W_REMOVED_CARD : SCARD_S_SUCCESS;
    }

    static LONG Status(const CScriptedPcsc::SReader& reader, LPSTR szName, LPDWORD pcchName,
                       LPBYTE pbAtr, LPDWORD pcbAtr)
    {
        LONG lResult = SCARD_S_SUCCESS;
        const auto atr = scripted::FromHex(reader.m_atr);
        if (szName && pcchName) {
            std::strncpy(szName, reader.m_name.c_str(), *pcchName);
            if (*pcchName < reader.m_name.size() + 1)
                lResult = SCARD_E_INSUFFICIENT_BUFFER;
        }
        if (pbAtr && pcbAtr) {
            std::copy_n(atr.begin(), std::min<std::size_t>(*pcbAtr, atr.size()), pbAtr);
            if (*pcbAtr < atr.size())
                lResult = SCARD_E_INSUFFICIENT_BUFFER;
        }
        if (pcchName)
            *pcchName = reader.m_name.size() + 1;
        if (pcbAtr)
            *pcbAtr = atr.size();
        return lResult;
    }

    static LONG StatusChange(CScriptedPcsc& pcsc, SCARD_READERSTATE& state)
    {
        const auto reader =
            std::find_if(pcsc.m_readers.begin(), pcsc.m_readers.end(),
                         [&](const auto& candidate) { return candidate.m_name == state.szReader; });
        if (reader == pcsc.m_readers.end())
            return SCARD_E_UNKNOWN_READER;
        const auto atr = scripted::FromHex(reader->m_atr);
        state.dwEventState =
            SCARD_STATE_CHANGED | (atr.empty() ? SCARD_STATE_EMPTY : SCARD_STATE_PRESENT);
        state.cbAtr = atr.size(); // longer than the field when the test says so
        std::copy_n(atr.begin(), std::min(atr.size(), sizeof state.rgbAtr), state.rgbAtr);
        return SCARD_S_SUCCESS;
    }

    static LONG Transmit(CScriptedPcsc& pcsc, const SCARD_IO_REQUEST* pPci,
                         const scripted::Bytes& command, LPBYTE pbRecv, LPDWORD pcbRecv,
                         std::string& detail)
    {
        if (pPci->dwProtocol != pcsc.m_dwProtocol)
            pcsc.Misuse("SCardTransmit with the header of another protocol");
        const SAnswer answer = pcsc.Exchange(command, detail);
        if (!answer.m_data)
            return answer.m_lCode;
        const DWORD cbRoom = std::exchange(*pcbRecv, answer.m_data->size());
        std::memset(pbRecv, 0xEE, cbRoom); // all that was announced has to be there
        if (answer.m_data->size() > cbRoom)
            return SCARD_E_INSUFFICIENT_BUFFER;
        std::copy(answer.m_data->begin(), answer.m_data->end(), pbRecv);
        return answer.m_lCode;
    }

    static void Pause(unsigned uMicroseconds)
    {
        if (CScriptedPcsc::s_pActive)
            CScriptedPcsc::s_pActive->m_pauses.push_back(uMicroseconds);
    }
};

LONG SCardEstablishContext(DWORD dwScope, LPCVOID, LPCVOID, LPSCARDCONTEXT phContext)
{
    return SPcscCalls::Call("SCardEstablishContext", [&](auto& pcsc, auto& detail) {
        SPcscCalls::Note(detail, "scope", dwScope, SCARD_SCOPE_USER);
        return SPcscCalls::Establish(pcsc, phContext);
    });
}

LONG SCardReleaseContext(SCARDCONTEXT hContext)
{
    return SPcscCalls::Call("SCardReleaseContext", [&](auto& pcsc, auto&) {
        return SPcscCalls::ReleaseContext(pcsc, hContext);
    });
}

LONG SCardListReaders(SCARDCONTEXT hContext, LPCSTR, LPSTR mszReaders, LPDWORD pcchReaders)
{
    return SPcscCalls::OnContext("SCardListReaders", hContext, [&](auto& pcsc, auto&) {
        return SPcscCalls::ListReaders(pcsc, hContext, mszReaders, pcchReaders);
    });
}

LONG SCardFreeMemory(SCARDCONTEXT hContext, LPCVOID pvMem)
{
    return SPcscCalls::OnContext("SCardFreeMemory", hContext, [&](auto& pcsc, auto&) {
        return SPcscCalls::FreeMemory(pcsc, hContext, pvMem);
    });
}

LONG SCardConnect(SCARDCONTEXT hContext, LPCSTR szReader, DWORD dwShareMode, DWORD dwProtocols,
                  LPSCARDHANDLE phCard, LPDWORD pdwProtocol)
{
    return SPcscCalls::OnContext("SCardConnect", hContext, [&](auto& pcsc, auto& detail) {
        detail = szReader;
        SPcscCalls::Note(detail, "share mode", dwShareMode, SCARD_SHARE_SHARED);
        return SPcscCalls::Connect(pcsc, szReader, dwProtocols, phCard, pdwProtocol);
    });
}

LONG SCardReconnect(SCARDHANDLE hCard, DWORD, DWORD, DWORD, LPDWORD pdwProtocol)
{
    return SPcscCalls::OnCard("SCardReconnect", hCard, [&](auto& pcsc, auto&, auto&) {
        *pdwProtocol = SPcscCalls::Protocol(pcsc);
        return SCARD_S_SUCCESS;
    });
}

LONG SCardDisconnect(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return SPcscCalls::Call("SCardDisconnect", [&](auto& pcsc, auto& detail) {
        SPcscCalls::Note(detail, "disposition", dwDisposition, SCARD_LEAVE_CARD);
        return SPcscCalls::Disconnect(pcsc, hCard);
    });
}

LONG SCardBeginTransaction(SCARDHANDLE hCard)
{
    return SPcscCalls::OnCard("SCardBeginTransaction", hCard, [](auto&, auto& handle, auto&) {
        handle.m_bTransaction = true;
        return SCARD_S_SUCCESS;
    });
}

LONG SCardEndTransaction(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return SPcscCalls::Call("SCardEndTransaction", [&](auto& pcsc, auto& detail) {
        SPcscCalls::Note(detail, "disposition", dwDisposition, SCARD_LEAVE_CARD);
        return SPcscCalls::EndTransaction(pcsc, hCard);
    });
}

LONG SCardStatus(SCARDHANDLE hCard, LPSTR szName, LPDWORD pcchName, LPDWORD pdwState,
                 LPDWORD pdwProtocol, LPBYTE pbAtr, LPDWORD pcbAtr)
{
    return SPcscCalls::OnCard("SCardStatus", hCard, [&](auto& pcsc, auto& handle, auto&) {
        if (pdwState)
            *pdwState = SCARD_PRESENT | SCARD_POWERED | SCARD_NEGOTIABLE;
        if (pdwProtocol)
            *pdwProtocol = SPcscCalls::Protocol(pcsc);
        return SPcscCalls::Status(handle.m_reader, szName, pcchName, pbAtr, pcbAtr);
    });
}

LONG SCardGetStatusChange(SCARDCONTEXT hContext, DWORD dwTimeout, SCARD_READERSTATE* rgReaderStates,
                          DWORD cReaders)
{
    return SPcscCalls::OnContext("SCardGetStatusChange", hContext, [&](auto& pcsc, auto& detail) {
        LONG lResult = SCARD_S_SUCCESS;
        for (DWORD i = 0; i < cReaders && lResult == SCARD_S_SUCCESS; ++i) {
            detail = rgReaderStates[i].szReader;
            lResult = SPcscCalls::StatusChange(pcsc, rgReaderStates[i]);
        }
        SPcscCalls::Note(detail, "timeout", dwTimeout, 0);
        return lResult;
    });
}

LONG SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST* pioSendPci, LPCBYTE pbSendBuffer,
                   DWORD cbSendLength, SCARD_IO_REQUEST*, LPBYTE pbRecvBuffer,
                   LPDWORD pcbRecvLength)
{
    return SPcscCalls::OnCard("SCardTransmit", hCard, [&](auto& pcsc, auto&, auto& detail) {
        return SPcscCalls::Transmit(pcsc, pioSendPci, {pbSendBuffer, pbSendBuffer + cbSendLength},
                                    pbRecvBuffer, pcbRecvLength, detail);
    });
}

int usleep(useconds_t uMicroseconds)
{
    SPcscCalls::Pause(uMicroseconds);
    return 0;
}
