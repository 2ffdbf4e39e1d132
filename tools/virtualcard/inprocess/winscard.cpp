// SPDX-License-Identifier: Apache-2.0
//
// The C interface of PC/SC: pointer checks, buffers, and no exception to the caller. Loaded in
// place of libpcsclite it gives the calling process a reader with a virtual card, without any
// daemon.

#include "inprocess/current.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <winscard.h>

using vcard::Bytes;
using vcard::CService;

namespace {

/// Runs a call on the service.
template <typename Call> LONG WithService(Call call)
{
    try {
        const std::shared_ptr<CService> service = vcard::CurrentService();
        return service == nullptr ? SCARD_E_NO_SERVICE : call(*service);
    } catch (const std::exception& error) {
        std::cerr << "virtual card: " << error.what() << '\n';
        return SCARD_F_INTERNAL_ERROR;
    }
}

/// Hands \p cb bytes to a caller in the manner of PC/SC: *pcb says how many there are; a null
/// buffer only asks for that; SCARD_AUTOALLOCATE gets memory for SCardFreeMemory.
LONG HandOver(const void* data, std::size_t cb, void* buffer, LPDWORD pcb)
{
    const DWORD cbCapacity = *pcb;
    *pcb = cb;
    if (buffer == nullptr) {
        return SCARD_S_SUCCESS;
    }
    if (cbCapacity == SCARD_AUTOALLOCATE) {
        void* allocated = std::malloc(cb);
        if (allocated == nullptr) {
            return SCARD_E_NO_MEMORY;
        }
        std::copy_n(static_cast<const char*>(data), cb, static_cast<char*>(allocated));
        std::memcpy(buffer, &allocated, sizeof allocated);
        return SCARD_S_SUCCESS;
    }
    if (cbCapacity < cb) {
        return SCARD_E_INSUFFICIENT_BUFFER;
    }
    std::copy_n(static_cast<const char*>(data), cb, static_cast<char*>(buffer));
    return SCARD_S_SUCCESS;
}

/// The same where the caller may want nothing of it.
LONG HandOverIfWanted(const void* data, std::size_t cb, void* buffer, LPDWORD pcb)
{
    return pcb == nullptr ? SCARD_S_SUCCESS : HandOver(data, cb, buffer, pcb);
}

void StoreIfWanted(LPDWORD target, DWORD dwValue)
{
    if (target != nullptr) {
        *target = dwValue;
    }
}

} // namespace

extern "C" {

const SCARD_IO_REQUEST g_rgSCardT0Pci = {SCARD_PROTOCOL_T0, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardT1Pci = {SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardRawPci = {SCARD_PROTOCOL_RAW, sizeof(SCARD_IO_REQUEST)};

LONG SCardEstablishContext(DWORD dwScope, LPCVOID, LPCVOID, LPSCARDCONTEXT phContext)
{
    if (phContext == nullptr) {
        return SCARD_E_INVALID_PARAMETER;
    }
    *phContext = 0;
    if (dwScope > SCARD_SCOPE_SYSTEM) {
        return SCARD_E_INVALID_VALUE;
    }
    return WithService([&](CService& service) { return service.Establish(*phContext); });
}

LONG SCardReleaseContext(SCARDCONTEXT hContext)
{
    return WithService([&](CService& service) { return service.Release(hContext); });
}

LONG SCardIsValidContext(SCARDCONTEXT hContext)
{
    return WithService([&](CService& service) { return service.CheckContext(hContext); });
}

LONG SCardCancel(SCARDCONTEXT hContext)
{
    return WithService([&](CService& service) { return service.Cancel(hContext); });
}

LONG SCardListReaders(SCARDCONTEXT hContext, LPCSTR, LPSTR mszReaders, LPDWORD pcchReaders)
{
    if (pcchReaders == nullptr) {
        return SCARD_E_INVALID_PARAMETER;
    }
    return WithService([&](CService& service) {
        std::string strReaders;
        const LONG lResult = service.ListReaders(hContext, strReaders);
        return lResult == SCARD_S_SUCCESS
                   ? HandOver(strReaders.data(), strReaders.size(), mszReaders, pcchReaders)
                   : lResult;
    });
}

LONG SCardListReaderGroups(SCARDCONTEXT hContext, LPSTR mszGroups, LPDWORD pcchGroups)
{
    constexpr char GROUPS[] = "SCard$DefaultReaders\0"; // with the final NUL of a multi-string
    if (pcchGroups == nullptr) {
        return SCARD_E_INVALID_PARAMETER;
    }
    const LONG lResult = SCardIsValidContext(hContext);
    return lResult == SCARD_S_SUCCESS ? HandOver(GROUPS, sizeof GROUPS, mszGroups, pcchGroups)
                                      : lResult;
}

LONG SCardFreeMemory(SCARDCONTEXT hContext, LPCVOID pvMem)
{
    const LONG lResult = SCardIsValidContext(hContext);
    if (lResult == SCARD_S_SUCCESS) {
        std::free(const_cast<LPVOID>(pvMem));
    }
    return lResult;
}

LONG SCardConnect(SCARDCONTEXT hContext, LPCSTR szReader, DWORD dwShareMode,
                  DWORD dwPreferredProtocols, LPSCARDHANDLE phCard, LPDWORD pdwActiveProtocol)
{
    if (phCard == nullptr || pdwActiveProtocol == nullptr) {
        return SCARD_E_INVALID_PARAMETER;
    }
    *phCard = 0;
    if (szReader == nullptr) {
        return SCARD_E_UNKNOWN_READER;
    }
    return WithService([&](CService& service) {
        return service.Connect(hContext, szReader, dwShareMode, dwPreferredProtocols, *phCard,
                               *pdwActiveProtocol);
    });
}

LONG SCardReconnect(SCARDHANDLE hCard, DWORD dwShareMode, DWORD dwPreferredProtocols,
                    DWORD dwInitialization, LPDWORD pdwActiveProtocol)
{
    if (pdwActiveProtocol == nullptr) {
        return SCARD_E_INVALID_PARAMETER;
    }
    return WithService([&](CService& service) {
        return service.Reconnect(hCard, dwShareMode, dwPreferredProtocols, dwInitialization,
                                 *pdwActiveProtocol);
    });
}

LONG SCardDisconnect(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return WithService([&](CService& service) { return service.Disconnect(hCard, dwDisposition); });
}

LONG SCardBeginTransaction(SCARDHANDLE hCard)
{
    return WithService([&](CService& service) { return service.Begin(hCard); });
}

LONG SCardEndTransaction(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return WithService([&](CService& service) { return service.End(hCard, dwDisposition); });
}

LONG SCardStatus(SCARDHANDLE hCard, LPSTR szReaderName, LPDWORD pcchReaderLen, LPDWORD pdwState,
                 LPDWORD pdwProtocol, LPBYTE pbAtr, LPDWORD pcbAtrLen)
{
    return WithService([&](CService& service) {
        CService::SStatus status;
        const LONG lResult = service.Status(hCard, status);
        if (lResult != SCARD_S_SUCCESS) {
            return lResult;
        }
        StoreIfWanted(pdwState, status.dwState);
        StoreIfWanted(pdwProtocol, status.dwProtocol);
        const LONG lName = HandOverIfWanted(status.strReader.c_str(), status.strReader.size() + 1,
                                            szReaderName, pcchReaderLen);
        const LONG lAtr = HandOverIfWanted(status.atr.data(), status.atr.size(), pbAtr, pcbAtrLen);
        return lName != SCARD_S_SUCCESS ? lName : lAtr;
    });
}

LONG SCardGetStatusChange(SCARDCONTEXT hContext, DWORD dwTimeout, SCARD_READERSTATE* rgReaderStates,
                          DWORD cReaders)
{
    if (rgReaderStates == nullptr && cReaders > 0) {
        return SCARD_E_INVALID_PARAMETER;
    }
    const std::span states(rgReaderStates, cReaders);
    for (const SCARD_READERSTATE& state : states) {
        if (state.szReader == nullptr) {
            return SCARD_E_INVALID_VALUE;
        }
    }
    return WithService(
        [&](CService& service) { return service.WaitForChange(hContext, dwTimeout, states); });
}

LONG SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST* pioSendPci, LPCBYTE pbSendBuffer,
                   DWORD cbSendLength, SCARD_IO_REQUEST*, LPBYTE pbRecvBuffer,
                   LPDWORD pcbRecvLength)
{
    if (pioSendPci == nullptr || pbSendBuffer == nullptr || pbRecvBuffer == nullptr ||
        pcbRecvLength == nullptr) {
        return SCARD_E_INVALID_PARAMETER;
    }
    return WithService([&](CService& service) {
        Bytes answer;
        const LONG lResult =
            service.Transmit(hCard, pioSendPci->dwProtocol, {pbSendBuffer, cbSendLength}, answer);
        if (lResult != SCARD_S_SUCCESS) {
            *pcbRecvLength = 0;
            return lResult;
        }
        return HandOver(answer.data(), answer.size(), pbRecvBuffer, pcbRecvLength);
    });
}

// The reader of a virtual card has neither control codes nor attributes.
LONG SCardControl(SCARDHANDLE, DWORD, LPCVOID, DWORD, LPVOID, DWORD, LPDWORD)
{
    return SCARD_E_UNSUPPORTED_FEATURE;
}

LONG SCardGetAttrib(SCARDHANDLE, DWORD, LPBYTE, LPDWORD)
{
    return SCARD_E_UNSUPPORTED_FEATURE;
}

LONG SCardSetAttrib(SCARDHANDLE, DWORD, LPCBYTE, DWORD)
{
    return SCARD_E_UNSUPPORTED_FEATURE;
}

} // extern "C"
