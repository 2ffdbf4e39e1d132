// SPDX-License-Identifier: Apache-2.0

#include "bench/bare.h"

#include "tests/support/envelopes.h"

#include <array>
#include <string>
#include <winscard.h>

namespace {

const Bytes SELECT_MF_FIRST = FromHex("00 A4 08 0C 02 3F 00");
const Bytes SELECT_MF = FromHex("00 A4 00 0C 02 3F 00 FF");
const Bytes SELECT_IDENTITY_DF = FromHex("00 A4 09 0C 02 10 00 FF");
const Bytes SELECT_SERIAL_EF = FromHex("00 A4 09 0C 02 10 03 FF");
const Bytes READ_SERIAL = FromHex("00 B0 00 00 10");
const Bytes SELECT_SIGNATURE_DF = FromHex("00 A4 09 0C 02 14 00 FF");
const Bytes VERIFY_DS_PIN = FromHex("00 20 00 9A 08 31 33 35 37 32 34 36 38");
const Bytes CHANGE_DS_PIN = FromHex("00 24 01 9A 08 31 33 35 37 32 34 36 38");
const Bytes GET_CHALLENGE = FromHex("00 84 00 00 08");
const Bytes GIVE_RANDOM = FromHex("80 86 00 00 08");
const Bytes CARD_KEY = FromHex("4A1F73C8259DE0B6 61D3085EF72A94CB 4A1F73C8259DE0B6");

/// A connection in one transaction.
class CBareCard {
public:
    explicit CBareCard(long lSlot)
    {
        LPSTR mszReaders = nullptr;
        DWORD cch = SCARD_AUTOALLOCATE;
        SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext);
        SCardListReaders(m_hContext, nullptr, reinterpret_cast<LPSTR>(&mszReaders), &cch);
        const char* szReader = mszReaders;
        while (--lSlot > 0) {
            szReader += std::char_traits<char>::length(szReader) + 1;
        }
        SCardConnect(m_hContext, szReader, SCARD_SHARE_SHARED,
                     SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &m_hCard, &m_dwProtocol);
        SCardFreeMemory(m_hContext, mszReaders);
        SCardBeginTransaction(m_hCard);
    }
    ~CBareCard()
    {
        SCardEndTransaction(m_hCard, SCARD_LEAVE_CARD);
        SCardDisconnect(m_hCard, SCARD_LEAVE_CARD);
        SCardReleaseContext(m_hContext);
    }
    CBareCard(const CBareCard&) = delete;
    CBareCard& operator=(const CBareCard&) = delete;

    Bytes Send(const Bytes& command)
    {
        std::array<BYTE, 258> answer{};
        DWORD cbAnswer = answer.size();
        SCardTransmit(m_hCard, m_dwProtocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1,
                      command.data(), command.size(), nullptr, answer.data(), &cbAnswer);
        return {answer.begin(), answer.begin() + cbAnswer};
    }

    void SendProtected(const Bytes& command)
    {
        Bytes challenge = Send(GET_CHALLENGE);
        challenge.resize(8); // without the status word
        const Bytes hostRandom = Random(8);
        Send(GIVE_RANDOM + hostRandom);
        Send(SEnvelope{CARD_KEY, CARD_KEY, challenge, hostRandom}.ProtectCommand(command));
    }

    void ReadSerial()
    {
        for (const Bytes& command :
             {SELECT_MF_FIRST, SELECT_MF, SELECT_IDENTITY_DF, SELECT_SERIAL_EF, READ_SERIAL}) {
            Send(command);
        }
    }

    /// Of the card with the right serial number.
    void SelectSignatureApplication()
    {
        ReadSerial();
        for (const Bytes& command : {SELECT_MF_FIRST, SELECT_MF, SELECT_SIGNATURE_DF}) {
            Send(command);
        }
    }

private:
    SCARDCONTEXT m_hContext = 0;
    SCARDHANDLE m_hCard = 0;
    DWORD m_dwProtocol = 0;
};

} // namespace

void BareGetSerial(long lSlot)
{
    CBareCard(lSlot).ReadSerial();
}

void BareChange(long lSlot)
{
    CBareCard card(lSlot);
    card.SelectSignatureApplication();
    card.Send(VERIFY_DS_PIN);
    card.Send(CHANGE_DS_PIN);
}

void BareProtectedChange(long lSlot)
{
    CBareCard card(lSlot);
    card.SelectSignatureApplication();
    card.SendProtected(VERIFY_DS_PIN);
    card.SendProtected(CHANGE_DS_PIN);
}
