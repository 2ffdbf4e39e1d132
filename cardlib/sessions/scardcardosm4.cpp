// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: construction, connection and the plain transport.

#include "cardlib/scardcardosm4.h"

#include "cardlib/sessions/apdu.h"
#include "cardlib/sessions/boundcard.h"
#include "cardlib/sessions/position.h"
#include "cardlib/sessions/tryguard.h"
#include "cardlib/traces.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <unistd.h>

namespace {

constexpr useconds_t RETRY_PAUSE = 50000;

/// Reader failures that may pass.
bool IsPassing(long lResult)
{
    constexpr long PASSING[] = {SCARD_E_NOT_READY, SCARD_F_COMM_ERROR, SCARD_F_UNKNOWN_ERROR,
                                SCARD_E_NOT_TRANSACTED};
    return std::find(std::begin(PASSING), std::end(PASSING), lResult) != std::end(PASSING);
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

void ForgetCard(CSCard& session)
{
    session.InvalidateCache();
    session.m_Current_DF_path = DFEF_Path();
    session.m_Current_EF_path = DFEF_Path();
    if (auto* const pM4 = dynamic_cast<CSCardCardOSM4*>(&session); pM4 != nullptr) {
        LosePosition(*pM4);
    }
}

void LosePosition(CSCardCardOSM4& session)
{
    session.m_bCurrentDFPhisicallySelected = 0;
    session.m_bCurrentEFPhisicallySelected = 0;
}

void CSCardCardOSM4::ForgetPosition()
{
    LosePosition(*this);
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
    if (pbSendBuffer != nullptr && IsProtected(pbSendBuffer, cbSendLength)) {
        return Transmit_SMxC(m_Des3Key_SIG, m_Des3Key_ENC, pbSendBuffer, cbSendLength, pbRecvBuffer,
                             pcbRecvLength);
    }
    return Transmit2(pbSendBuffer, cbSendLength, pbRecvBuffer, pcbRecvLength);
}

long CSCardCardOSM4::Transmit2(const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                               CK_BYTE_PTR pbRecvBuffer, DWORD* pcbRecvLength)
{
    if (pbSendBuffer == nullptr || pbRecvBuffer == nullptr || pcbRecvLength == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    if (!CBoundCard::ForExchange(*this)) {
        return refusal::NO_CARD;
    }
    // The header alone: it tells whose answer comes back, and holds no secret.
    m_cbLastSendLength = std::min<DWORD>(cbSendLength, CCommandApdu::HEADER - 1);
    std::memcpy(m_pbLastSendBuffer, pbSendBuffer, m_cbLastSendLength);
    const DWORD cbCapacity = *pcbRecvLength;
    const int iAttempts = SendOnlyOnce(pbSendBuffer, cbSendLength) ? 1 : SEND_ATTEMPTS;
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
        usleep(RETRY_PAUSE);
        *pcbRecvLength = cbCapacity;
    }
    const bool bMoreWithT0 = lResult == 0 && m_dwActiveProtocol == SCARD_PROTOCOL_T0 &&
                             *pcbRecvLength == 2 && pbRecvBuffer[0] == 0x61 &&
                             pbRecvBuffer[1] == 0x00;
    if (lResult == 0 && *pcbRecvLength != 0) {
        CBoundCard::Answered(*this);
    }
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
    if (!command.Fits() || (command.ExceedsLc() && IsProtected(command.data(), command.size()))) {
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
