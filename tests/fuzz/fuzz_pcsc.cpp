// SPDX-License-Identifier: Apache-2.0

#include "tests/fuzz/fuzz_pcsc.h"

#include <cstring>
#include <iterator>
#include <memory>
#include <unistd.h>

const SCARD_IO_REQUEST g_rgSCardT0Pci = {SCARD_PROTOCOL_T0, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardT1Pci = {SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};

namespace {

constexpr char READERS[] = "Fuzz\0"; // and the NUL that ends the list

CInput* s_pInput = nullptr;
DWORD s_dwProtocol = SCARD_PROTOCOL_T1;
std::size_t s_cOpen = 0;
bool s_bConnected = false;

bool CardIsThere()
{
    return !s_pInput->Empty();
}

LONG OnCard(SCARDHANDLE hCard)
{
    if (hCard == 0 || !s_bConnected)
        return SCARD_E_INVALID_HANDLE;
    return CardIsThere() ? SCARD_S_SUCCESS : SCARD_W_REMOVED_CARD;
}

/// What one exchange comes to; the fuzzer's next byte chooses.
struct SExchange {
    explicit SExchange(CInput& input)
    {
        constexpr LONG kCodes[] = {SCARD_E_NOT_READY,      SCARD_F_COMM_ERROR,
                                   SCARD_F_UNKNOWN_ERROR,  SCARD_E_NOT_TRANSACTED,
                                   SCARD_W_RESET_CARD,     SCARD_W_REMOVED_CARD,
                                   SCARD_E_NO_SERVICE,     0x80100079,
                                   SCARD_E_INVALID_HANDLE, SCARD_E_INSUFFICIENT_BUFFER};
        const std::uint8_t bForm = input.Byte();
        switch (bForm % 8) {
        case 0: // any bytes, with any code of success or failure
            answer = input.Bytes();
            break;
        case 1:
            lCode = kCodes[input.Byte() % std::size(kCodes)];
            bUntouched = (bForm & 0x80) != 0;
            break;
        case 2:
            lCode = kCodes[input.Byte() % std::size(kCodes)];
            answer = input.Bytes();
            break;
        case 3:
            answer.assign(input.Word(), 0x90); // as long as it can be
            break;
        case 4:
            answer = {input.Byte(), input.Byte()};
            break;
        default: // data and success, most of the time
            answer = input.Bytes();
            answer.insert(answer.end(), {0x90, 0x00});
        }
    }

    LONG lCode = SCARD_S_SUCCESS;
    bool bUntouched = false; ///< buffer and length stay as they were
    std::vector<std::uint8_t> answer;
};

} // namespace

void InsertCard(CInput& input, DWORD dwProtocol)
{
    s_pInput = &input;
    s_dwProtocol = dwProtocol;
    s_cOpen = 0;
    s_bConnected = false;
}

std::size_t LeftOpen()
{
    return s_cOpen;
}

LONG SCardEstablishContext(DWORD, LPCVOID, LPCVOID, LPSCARDCONTEXT phContext)
{
    *phContext = 1;
    ++s_cOpen;
    return SCARD_S_SUCCESS;
}

LONG SCardReleaseContext(SCARDCONTEXT hContext)
{
    if (hContext == 0)
        return SCARD_E_INVALID_HANDLE;
    --s_cOpen;
    return SCARD_S_SUCCESS;
}

LONG SCardListReaders(SCARDCONTEXT, LPCSTR, LPSTR mszReaders, LPDWORD pcchReaders)
{
    if (*pcchReaders != SCARD_AUTOALLOCATE) {
        *pcchReaders = sizeof READERS;
        if (mszReaders)
            std::memcpy(mszReaders, READERS, sizeof READERS);
        return SCARD_S_SUCCESS;
    }
    auto list = std::make_unique<char[]>(sizeof READERS);
    std::memcpy(list.get(), READERS, sizeof READERS);
    const char* const pList = list.release();
    std::memcpy(mszReaders, &pList, sizeof pList);
    ++s_cOpen;
    return SCARD_S_SUCCESS;
}

LONG SCardFreeMemory(SCARDCONTEXT, LPCVOID pvMem)
{
    delete[] static_cast<const char*>(pvMem);
    --s_cOpen;
    return SCARD_S_SUCCESS;
}

LONG SCardConnect(SCARDCONTEXT, LPCSTR, DWORD, DWORD, LPSCARDHANDLE phCard, LPDWORD pdwProtocol)
{
    if (!CardIsThere())
        return SCARD_E_NO_SMARTCARD;
    *phCard = 2;
    *pdwProtocol = s_dwProtocol;
    s_bConnected = true;
    ++s_cOpen;
    return SCARD_S_SUCCESS;
}

LONG SCardReconnect(SCARDHANDLE hCard, DWORD, DWORD, DWORD, LPDWORD pdwProtocol)
{
    *pdwProtocol = s_dwProtocol;
    return OnCard(hCard);
}

LONG SCardDisconnect(SCARDHANDLE hCard, DWORD)
{
    if (hCard == 0 || !s_bConnected)
        return SCARD_E_INVALID_HANDLE;
    s_bConnected = false;
    --s_cOpen;
    return SCARD_S_SUCCESS;
}

LONG SCardBeginTransaction(SCARDHANDLE hCard)
{
    return OnCard(hCard);
}

LONG SCardEndTransaction(SCARDHANDLE hCard, DWORD)
{
    return OnCard(hCard);
}

LONG SCardStatus(SCARDHANDLE hCard, LPSTR, LPDWORD pcchName, LPDWORD, LPDWORD pdwProtocol, LPBYTE,
                 LPDWORD pcbAtr)
{
    *pcchName = sizeof READERS;
    *pcbAtr = 0;
    if (pdwProtocol)
        *pdwProtocol = s_dwProtocol;
    return OnCard(hCard);
}

LONG SCardGetStatusChange(SCARDCONTEXT, DWORD, SCARD_READERSTATE* rgReaderStates, DWORD cReaders)
{
    for (DWORD i = 0; i < cReaders; ++i) {
        const auto atr = s_pInput->Bytes();
        rgReaderStates[i].dwEventState = SCARD_STATE_PRESENT;
        rgReaderStates[i].cbAtr = atr.size(); // longer than the field when the fuzzer says so
        std::copy_n(atr.begin(), std::min(atr.size(), sizeof rgReaderStates[i].rgbAtr),
                    rgReaderStates[i].rgbAtr);
    }
    return SCARD_S_SUCCESS;
}

LONG SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST*, LPCBYTE pbSendBuffer,
                   DWORD cbSendLength, SCARD_IO_REQUEST*, LPBYTE pbRecvBuffer,
                   LPDWORD pcbRecvLength)
{
    volatile std::uint8_t bSum = 0; // the sanitizer sees a command shorter than it says
    for (DWORD i = 0; i < cbSendLength; ++i)
        bSum = static_cast<std::uint8_t>(bSum + pbSendBuffer[i]);
    const LONG lResult = OnCard(hCard);
    if (lResult != SCARD_S_SUCCESS)
        return lResult;
    const SExchange exchange(*s_pInput);
    if (exchange.bUntouched)
        return exchange.lCode;
    const DWORD cbRoom = *pcbRecvLength;
    std::memset(pbRecvBuffer, 0xEE, cbRoom); // all that was announced has to be there
    *pcbRecvLength = exchange.answer.size();
    if (exchange.answer.size() > cbRoom)
        return SCARD_E_INSUFFICIENT_BUFFER;
    std::copy(exchange.answer.begin(), exchange.answer.end(), pbRecvBuffer);
    return exchange.lCode;
}

int usleep(useconds_t)
{
    return 0;
}
