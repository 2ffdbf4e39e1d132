// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: construction, connection and the plain transport.

#include "cardlib/scardcardosm4.h"

#include "cardlib/apdu.h"
#include "cardlib/traces.h"
#include "cardlib/tryguard.h"

#include <unistd.h>

namespace {

constexpr int kAttempts = 10;
constexpr useconds_t kRetryPause = 50000;

/// Reader failures that may pass.
bool IsPassing(long lResult)
{
    constexpr long kPassing[] = {SCARD_E_NOT_READY, SCARD_F_COMM_ERROR, SCARD_F_UNKNOWN_ERROR,
                                 SCARD_E_NOT_TRANSACTED};
    return std::find(std::begin(kPassing), std::end(kPassing), lResult) != std::end(kPassing);
}

} // namespace

CSCardCardOSM4::CSCardCardOSM4(SCARDCONTEXT hContext, char* readerName)
    : CSCard(hContext, readerName), m_PreviousLcycle(0), m_bCurrentDFPhisicallySelected(0),
      m_bCurrentEFPhisicallySelected(0), m_bUseSMxCMode(0), m_Des3Key_SIG(), m_Des3Key_ENC(),
      m_pbINSList(nullptr), m_ulINSListLen(0)
{
}

CSCardCardOSM4::~CSCardCardOSM4()
{
    explicit_bzero(m_Des3Key_SIG, sizeof m_Des3Key_SIG);
    explicit_bzero(m_Des3Key_ENC, sizeof m_Des3Key_ENC);
    CSCardCardOSM4::Destroy();
    delete[] m_pbINSList;
    m_pbINSList = nullptr;
}

bool CSCardCardOSM4::Create()
{
    return Connect();
}

bool CSCardCardOSM4::ReCreate()
{
    // T=1 only and with a power-down, unlike Create: the interface has it so.
    const long lResult = SCardReconnect(m_hCard, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1,
                                        SCARD_UNPOWER_CARD, &m_dwActiveProtocol);
    ForgetPosition();
    return lResult == SCARD_S_SUCCESS && m_hCard != 0;
}

bool CSCardCardOSM4::Destroy()
{
    const long lResult = SCardDisconnect(m_hCard, SCARD_LEAVE_CARD);
    m_hCard = 0;
    ForgetPosition();
    InvalidateCache();
    return lResult == SCARD_S_SUCCESS;
}

void CSCardCardOSM4::ForgetPosition()
{
    m_Current_DF_path.m_FidsInPath = 0;
    m_Current_DF_path.m_isPinVerified = 0;
    m_Current_DF_path.m_PinId = 0;
    m_Current_EF_path = m_Current_DF_path;
}

const char* CSCardCardOSM4::GetModelName()
{
    return "M4";
}

long CSCardCardOSM4::GetVer()
{
    CResponseApdu response;
    CCommandApdu command(cla::ISO, ins::GET_DATA, p1::CARD_DATA, p2::CARD_VERSION);
    command.Le(2);
    const long lExchange =
        Transmit(command.data(), command.size(), response.data(), response.Length());
    if (lExchange != 0 || !response.Usable() || response.DataLength() < 2) {
        return 0;
    }
    // The status word is not looked at, on purpose: some cards answer with a warning here.
    const std::size_t cb = response.DataLength();
    return response[cb - 2] != 0 || response[cb - 1] != 0 ? 1 : 0;
}

long CSCardCardOSM4::Transmit(const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                              CK_BYTE_PTR pbRecvBuffer, DWORD* pcbRecvLength)
{
    if (IsProtected(pbSendBuffer, cbSendLength)) {
        return Transmit_SMxC(m_Des3Key_SIG, m_Des3Key_ENC, pbSendBuffer, cbSendLength, pbRecvBuffer,
                             pcbRecvLength);
    }
    return Transmit2(pbSendBuffer, cbSendLength, pbRecvBuffer, pcbRecvLength);
}

long CSCardCardOSM4::Transmit2(const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                               CK_BYTE_PTR pbRecvBuffer, DWORD* pcbRecvLength)
{
    if (!isValid()) {
        return session::INVALID;
    }
    const DWORD cbCapacity = *pcbRecvLength;
    const int iAttempts = SendOnlyOnce(pbSendBuffer, cbSendLength) ? 1 : kAttempts;
    long lResult = 0;
    for (int i = 1;; ++i) {
        lResult = _SCardTransmit(m_hCard, SendPci(), pbSendBuffer, cbSendLength, nullptr,
                                 pbRecvBuffer, pcbRecvLength);
        if (lResult != 0) {
            CK_TraceStdErr("Transmit error: 0x%08X\n", static_cast<unsigned int>(lResult));
        }
        if (i == iAttempts || (*pcbRecvLength != 0 && !IsPassing(lResult))) {
            break;
        }
        usleep(kRetryPause);
        *pcbRecvLength = cbCapacity;
    }
    const bool bMoreWithT0 = lResult == 0 && m_dwActiveProtocol == SCARD_PROTOCOL_T0 &&
                             *pcbRecvLength == 2 && pbRecvBuffer[0] == 0x61 &&
                             pbRecvBuffer[1] == 0x00;
    if (!bMoreWithT0) {
        return lResult;
    }
    // Class A0 and a sixth byte are what this card expects here.
    const CK_BYTE getResponse[] = {
        cla::GSM, ins::GET_RESPONSE, 0x00, 0x00, 0x00, static_cast<CK_BYTE>(cbCapacity)};
    *pcbRecvLength = cbCapacity;
    return _SCardTransmit(m_hCard, SendPci(), getResponse, sizeof getResponse, nullptr,
                          pbRecvBuffer, pcbRecvLength);
}

long CSCardCardOSM4::Send(const CCommandApdu& command, CResponseApdu& response)
{
    if (!command.Fits()) {
        return eM4Error_invalid_args;
    }
    const long lExchange =
        Transmit(command.data(), command.size(), response.data(), response.Length());
    return response.Result(lExchange);
}

long CSCardCardOSM4::SendForStatus(const CCommandApdu& command)
{
    CResponseApdu response;
    return Send(command, response);
}
