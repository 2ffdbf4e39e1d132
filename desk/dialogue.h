// SPDX-License-Identifier: Apache-2.0
//
// What passes between a session and its card: how much, whether a secret was among it, and what the
// card said to that. Internal.

#ifndef DESK_DIALOGUE_H
#define DESK_DIALOGUE_H

#include "cardlib/support/exchanges.h"
#include "desk/call.h"

namespace desk {

/// Counts into the report of a call, and holds every command back once its caller has gone.
class CDialogue : public CExchangeWatch {
public:
    explicit CDialogue(CCall& call) : m_call(call) {}

    bool MayLeave(const std::uint8_t* pbCommand, std::size_t cbCommand) noexcept override;
    void CameBack(long lResult, const std::uint8_t* pbAnswer,
                  std::size_t cbAnswer) noexcept override;

    /// Whether a secret or a command that changes the card has left, since the session began.
    bool Acted() const { return m_bActed; }
    /// Whether the card has authenticated nobody with a key any more: it said so (6983).
    bool AdminKeyBlocked() const { return m_bAdminKeyBlocked; }

private:
    CCall& m_call;
    bool m_bActed = false;
    std::uint8_t m_bInstruction = 0;
    bool m_bAdminKeyBlocked = false;
};

} // namespace desk

#endif
