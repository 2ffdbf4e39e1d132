// SPDX-License-Identifier: Apache-2.0
//
// The card of a call: connected, in one transaction, and known by its serial number. Internal.

#ifndef DESK_SESSION_H
#define DESK_SESSION_H

#include "cardlib/scardzentaris34.h"
#include "desk/dialogue.h"

namespace desk {

/// A PC/SC context.
class CService {
public:
    CService() = default;
    ~CService() { Close(); }
    CService(const CService&) = delete;
    CService& operator=(const CService&) = delete;

    /// Opens it, if it is not open. One that has failed is to be closed: after a restart the service
    /// knows it no more.
    SResult Open(CCall& call);
    void Close();
    SCARDCONTEXT Handle() const { return m_hContext; }

private:
    SCARDCONTEXT m_hContext = 0;
};

/// What a card is held to: its serial number as the card has it, any bytes; without one, its answer
/// to reset.
struct SIdentity {
    std::string strSerial; ///< 16 bytes, or empty
    std::string strAtr;

    bool operator==(const SIdentity&) const = default;
};

class CSession {
public:
    CSession(CCall& call, CService& service, const pindesk_reader& reader);
    ~CSession() { Close(); }
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    /// Takes the reader's turn, connects and begins the transaction. 0 exchanges.
    /// \param dwShare  SCARD_SHARE_EXCLUSIVE fails while another program has a connection.
    SResult Open(DWORD dwShare);
    /// Reads the serial number. 4 exchanges.
    /// \param lCode  receives the code of CNS_GetSerial.
    SResult ReadIdentity(long& lCode);
    /// Goes to the DF in which a secret is looked for. 1 exchange for a secret of the signature
    /// application, else none: the others are found from everywhere.
    /// \return 0, a status word, or another code of the session.
    long GoTo(bool bSignatureDf);

    const CDialogue& Dialogue() const { return m_dialogue; }
    CSCardZentaris34& Card() { return *m_pCard; }
    const SIdentity& Identity() const { return m_identity; }
    const pindesk_reader& Reader() const { return m_reader; }

    /// Why an exchange failed: another's reset, a card that has gone, a reader that fails.
    SResult WhySilent() const;
    /// Resets the card when the session ends: what was verified is so no longer.
    void ResetAtTheEnd() { m_dwDisposition = SCARD_RESET_CARD; }
    void Close();

private:
    struct SRelease {
        void operator()(CSCard* pCard) const { pCard->Release(); }
    };

    CCall& m_call;
    CService& m_service;
    const pindesk_reader m_reader;
    CDialogue m_dialogue;
    std::optional<CTurn> m_turn;
    std::unique_ptr<CSCardZentaris34, SRelease> m_pCard;
    bool m_bInTransaction = false;
    bool m_bAtSignatureDf = false;
    DWORD m_dwDisposition = SCARD_LEAVE_CARD;
    SIdentity m_identity;
};

} // namespace desk

#endif
