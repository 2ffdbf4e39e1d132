// SPDX-License-Identifier: Apache-2.0
//
// Asks the card itself: can it be reached, and how many tries has a secret? No try is spent by it:
// the question is a VERIFY without a value (ISO/IEC 7816-4).

#ifndef TOOLS_PINDESK_CARD_QUERY_H
#define TOOLS_PINDESK_CARD_QUERY_H

#include "cardlib/scardzentaris34.h"
#include "outcome.h"
#include "secrets.h"

#include <memory>
#include <optional>
#include <string>

namespace tool {

enum class Contact { Answers, NoService, NoReader, NoCard, InUse, Mute };

/// What the card said about one secret.
struct Tries {
    enum class State {
        Left, ///< so many tries
        Blocked,
        AlreadyVerified, ///< 9000: neither "correct" nor a number of tries
        Deactivated,
        Untold, ///< any other status word: the card does not tell
        Lost,   ///< the card or the reader did not answer
    };
    State state = State::Lost;
    int left = 0;
    std::uint16_t statusWord = 0;

    bool IsBlocked() const { return state == State::Blocked; }
    bool IsTold() const { return state == State::Left || IsBlocked(); }
    /// The number, where the card tells one.
    std::optional<int> Number() const { return IsTold() ? std::optional(left) : std::nullopt; }
};

/// One shared connection, in one transaction.
class CCardQuery {
public:
    explicit CCardQuery(const std::string& reader);
    ~CCardQuery();
    CCardQuery(const CCardQuery&) = delete;
    CCardQuery& operator=(const CCardQuery&) = delete;

    Contact State() const { return m_contact; }
    Tries Ask(const Secret& secret);

    /// Why the card fell silent: Mute when it can be connected all the same. Closes this
    /// connection, whose transaction would keep out the one that finds out.
    Contact WhySilent();

private:
    struct Releaser {
        void operator()(CSCardZentaris34* card) const { card->Release(); }
    };

    LONG Connect();
    void Close();
    long SelectHome(const Secret& secret);

    std::string m_reader;
    Contact m_contact = Contact::NoService;
    SCARDCONTEXT m_hContext = 0;
    std::unique_ptr<CSCardZentaris34, Releaser> m_card;
    std::unique_ptr<CTransact> m_transaction; // ended before the card is released
};

Contact ContactWith(const std::string& reader);

/// What to tell when a card cannot be reached; nothing was sent to it.
Outcome ContactOutcome(Contact contact, const std::string& reader, std::optional<long> code);

} // namespace tool

#endif
