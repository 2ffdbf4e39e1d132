// SPDX-License-Identifier: Apache-2.0
//
// The card of one call: the reader at a slot, a session with its card, and a transaction on it, as
// one scope. Internal.

#ifndef PINDESK_FRAME_H
#define PINDESK_FRAME_H

#include "cardlib/cscard.h"
#include "cardlib/scardzentaris34.h"
#include "cardlib/support/careful.h"
#include "cardlib/support/settings.h"
#include "pindesk/PinDesk.h"
#include "pindesk/readers.h"

#include <exception>
#include <memory>
#include <new>

namespace pindesk {

/// Opens the card in a slot and holds it in a transaction until the end of the scope.
///
/// The order of closing is fixed, on purpose: the session disconnects its card, the reader list and
/// the context go, and only then the transaction is ended, on a handle that is gone. Hosts' traces
/// of the service depend on it, and the disconnect has ended the transaction already.
/// \tparam CardClass  derived from CSCard, with a Create() that connects, and perhaps a Destroy()
///                    that disconnects.
template <class CardClass> class CFrame {
public:
    /// Once in the life of the object.
    /// \param slot      one-based position in the reader list.
    /// \param szReader  the name that the reader there must have, or null for any.
    /// \return OK, NO_CONTEXT, NO_READER, OTHER_CARD (another name: nothing is connected), NO_CARD
    ///         (the session did not connect), SELECT_FAILED (the transaction was refused: no
    ///         command may go to the card).
    long Open(long slot, const char* szReader = nullptr)
    {
        if (const long lResult = m_reader.Open(slot); lResult != result::OK) {
            return lResult;
        }
        if (szReader != nullptr && !m_reader.IsNamed(szReader)) {
            return result::OTHER_CARD;
        }
        // the session copies the name; its parameter is not const for the sake of its callers
        m_pCard.reset(new (std::nothrow)
                          CardClass(m_reader.Context(), const_cast<char*>(m_reader.Name())));
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
    CardClass& Card() { return *m_pCard; }
    /// The reader's name, in this object's memory. After Open() has returned OK.
    const char* Reader() const { return m_reader.Name(); }

private:
    struct SRelease {
        void operator()(CardClass* pCard) const
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
    std::unique_ptr<CardClass, SRelease> m_pCard;
};

using CCnsFrame = CFrame<CSCardZentaris34>;

/// Runs long(): one operation, with the settings and the care that it finds at its start.
/// \return what it returns; NO_CONTEXT when memory was short before the first secret left.
template <typename TOperation> long RunWithSettings(TOperation operation)
{
    const CSettingsSnapshot settings;
    const CCareful careful;
    try {
        return operation();
    } catch (const std::exception&) {
        return result::NO_CONTEXT;
    }
}

/// Selects the MF; careful calls ask the card also where the session believes to know.
/// \return OK or SELECT_FAILED.
long SelectMf(CSCardZentaris34& card);

/// Selects the DF of the signature application. Whoever presents a secret of it looks at the
/// result only when careful; otherwise the command that follows tells.
/// \return OK or SELECT_FAILED.
long SelectSignatureDf(CSCardZentaris34& card);

} // namespace pindesk

#endif
