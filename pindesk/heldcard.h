// SPDX-License-Identifier: Apache-2.0
//
// The card of one call: the reader at a slot, a session with its card, and a transaction on it, as
// one scope. Internal.

#ifndef PINDESK_HELDCARD_H
#define PINDESK_HELDCARD_H

#include "cardlib/cscard.h"
#include "pindesk/PinDesk.h"
#include "pindesk/readers.h"

#include <memory>
#include <new>

/// Opens the card in a slot and holds it in a transaction until the end of the scope.
///
/// The order of closing is fixed, on purpose: the session disconnects its card, the reader list and
/// the context go, and only then the transaction is ended, on a handle that is gone. Hosts' traces
/// of the service depend on it, and the disconnect has ended the transaction already.
/// \tparam Session  a class derived from CSCard with a Create() that connects, and perhaps a
///                  Destroy() that disconnects.
template <class Session> class CHeldCard {
public:
    /// Once in the life of the object.
    /// \param slot  one-based position in the reader list.
    /// \return OK, NO_CONTEXT, NO_READER, NO_CARD (the session did not connect), SELECT_FAILED (the
    ///         transaction was refused: no command may go to the card).
    long Open(long slot)
    {
        if (const long lResult = m_reader.Open(slot); lResult != result::OK) {
            return lResult;
        }
        // the session copies the name; its parameter is not const for the sake of its callers
        m_pCard.reset(new (std::nothrow)
                          Session(m_reader.Context(), const_cast<char*>(m_reader.Name())));
        if (!m_pCard || !m_pCard->Create()) {
            return result::NO_CARD;
        }
        if (SCardBeginTransaction(m_pCard->m_hCard) != SCARD_S_SUCCESS) {
            return result::SELECT_FAILED;
        }
        m_transact.m_hCard = m_pCard->m_hCard;
        return result::OK;
    }

    /// The session, after Open() has returned OK.
    Session& Card() { return *m_pCard; }

private:
    struct SRelease {
        void operator()(Session* pCard) const
        {
            if constexpr (requires { pCard->Destroy(); }) {
                pCard->Destroy();
            }
            pCard->Release();
        }
    };

    // acquired upwards, given back from the last to the first
    CTransact m_transact;
    CReaderAtSlot m_reader;
    std::unique_ptr<Session, SRelease> m_pCard;
};

#endif
