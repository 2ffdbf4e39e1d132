// SPDX-License-Identifier: Apache-2.0
//
// Whether a card is bound: what every operation of a session asks first. Internal.

#ifndef CARDLIB_SESSIONS_BOUNDCARD_H
#define CARDLIB_SESSIONS_BOUNDCARD_H

#include "cardlib/cscard.h"

#include <utility>

/// The look at the card with which an operation begins. It serves the exchange that follows, and so
/// does each answer of the card within the operation: the service is asked only after a failure.
class CBoundCard {
public:
    explicit CBoundCard(CSCard& card) : m_outer(t_operation)
    {
        if (t_operation.pCard != &card) {
            t_operation = {.pCard = &card, .bSeen = false};
        }
        t_operation.bSeen = t_operation.bSeen || card.isValid();
        m_bBound = t_operation.bSeen;
    }
    ~CBoundCard()
    {
        if (m_outer.pCard != t_operation.pCard) {
            t_operation = m_outer;
        }
    }
    CBoundCard(const CBoundCard&) = delete;
    CBoundCard& operator=(const CBoundCard&) = delete;

    explicit operator bool() const { return m_bBound; }

    /// Before an exchange, of an operation or of its own.
    static bool ForExchange(CSCard& card)
    {
        return (t_operation.pCard == &card && std::exchange(t_operation.bSeen, false)) ||
               card.isValid();
    }
    /// After one that the card has answered.
    static void Answered(const CSCard& card) { t_operation.bSeen = t_operation.pCard == &card; }

private:
    struct SOperation {
        const CSCard* pCard; ///< whose outermost operation this is; null outside every one
        bool bSeen;          ///< the card was there a moment ago
    };
    static inline thread_local SOperation t_operation = {.pCard = nullptr, .bSeen = false};

    const SOperation m_outer;
    bool m_bBound;
};

#endif
