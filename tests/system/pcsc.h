// SPDX-License-Identifier: Apache-2.0
//
// A program's own use of PC/SC, without the library.

#ifndef TESTS_SYSTEM_PCSC_H
#define TESTS_SYSTEM_PCSC_H

#include "tests/support/bytes.h"

#include <winscard.h>

inline const Bytes SELECT_MF = FromHex("00 A4 00 0C 02 3F 00");
inline const Bytes WRONG_CNS_PIN = FromHex("00 20 00 10 08 31 31 31 31 31 31 31 31");

/// A context and a connection to one reader, for as long as a scope.
class CPcsc {
public:
    CPcsc()
    {
        m_lEstablished = SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext);
    }
    ~CPcsc() { SCardReleaseContext(m_hContext); }
    CPcsc(const CPcsc&) = delete;
    CPcsc& operator=(const CPcsc&) = delete;

    /// All readers, as PC/SC lists them: each with a NUL behind it, and one more at the end.
    std::string Readers() const
    {
        DWORD cch = 0;
        SCardListReaders(m_hContext, nullptr, nullptr, &cch);
        std::string readers(cch, '\0');
        SCardListReaders(m_hContext, nullptr, readers.data(), &cch);
        return readers;
    }

    /// To a reader; without a name, to the first.
    LONG Connect(const char* szReader = nullptr, DWORD dwShare = SCARD_SHARE_SHARED)
    {
        if (m_lEstablished != SCARD_S_SUCCESS) {
            return m_lEstablished;
        }
        const std::string readers = Readers();
        return SCardConnect(m_hContext, szReader != nullptr ? szReader : readers.c_str(), dwShare,
                            SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &m_hCard, &m_dwProtocol);
    }

    LONG Transmit(const Bytes& command, Bytes& answer, DWORD cbRoom = 258) const
    {
        answer.assign(cbRoom, 0);
        const LONG lResult =
            SCardTransmit(m_hCard, m_dwProtocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1,
                          command.data(), command.size(), nullptr, answer.data(), &cbRoom);
        answer.resize(cbRoom);
        return lResult;
    }
    /// What comes back: the answer, or the PC/SC code.
    std::string Send(const Bytes& command) const
    {
        Bytes answer;
        const LONG lResult = Transmit(command, answer);
        const auto code = static_cast<std::uint32_t>(lResult);
        return lResult == SCARD_S_SUCCESS ? ToHex(answer) : ToHex(&code, sizeof code);
    }

    SCARDHANDLE Card() const { return m_hCard; }

private:
    LONG m_lEstablished;
    SCARDCONTEXT m_hContext = 0;
    SCARDHANDLE m_hCard = 0;
    DWORD m_dwProtocol = 0;
};

#endif
