// SPDX-License-Identifier: Apache-2.0
//
// A report in words: what happened, what holds now, what to do next. Each table is read from its
// start; the first row that fits speaks.

#include "desk/meanings.h"
#include "desk/put.h"
#include "desk/sized.h"
#include "desk/state.h"
#include "desk/words.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace desk {

namespace {

struct SDetailText {
    pindesk_detail eDetail;
    const char* szText;
};
constexpr SDetailText DETAILS[] = {
    {PINDESK_DETAIL_BAD_ARGUMENT,
     Msg("The call is wrong: an argument is missing or out of range.")},
    {PINDESK_DETAIL_SEVERAL_READERS, Msg("Several readers have that text in their names.")},
    {PINDESK_DETAIL_SEVERAL_CARDS, Msg("Several readers hold a card.")},
    {PINDESK_DETAIL_LAST_TRY, Msg("The {secret} has one try left: a wrong value blocks it.")},
    {PINDESK_DETAIL_DEACTIVATED, Msg("The {target} is deactivated.")},
    {PINDESK_DETAIL_ACTIVE_ALREADY, Msg("The {target} is active: there is nothing to bring back.")},
    {PINDESK_DETAIL_DEACTIVATED_ALREADY, Msg("The {target} is deactivated already.")},
    {PINDESK_DETAIL_LENGTH, Msg("The {secret} has {length}.")},
    {PINDESK_DETAIL_NEW_LENGTH, Msg("The new {target} must have {newlength}.")},
    {PINDESK_DETAIL_CHARACTERS, Msg("The {secret} holds characters that are not permitted.")},
    {PINDESK_DETAIL_NEW_CHARACTERS,
     Msg("The new {target} holds characters that are not permitted.")},
    {PINDESK_DETAIL_NEW_IS_OLD, Msg("The new {target} is the same as the old one.")},
    {PINDESK_DETAIL_PIN_IS_PUK, Msg("The new {target} is the same as its PUK.")},
    {PINDESK_DETAIL_CANCELLED, Msg("The waiting was interrupted.")},
    {PINDESK_DETAIL_BLOCKED_BEFORE, Msg("The {secret} is blocked.")},
    {PINDESK_DETAIL_BLOCKED_NOW,
     Msg("The {secret} is wrong, and that was its last try: it is blocked now.")},
    {PINDESK_DETAIL_BOTH_BLOCKED, Msg("PIN and PUK are blocked.")},
    {PINDESK_DETAIL_NONE_CONNECTED, Msg("There is no card reader.")},
    {PINDESK_DETAIL_NO_SUCH_READER, Msg("There is no such reader.")},
    {PINDESK_DETAIL_READER_GONE, Msg("The reader {reader} is gone.")},
    {PINDESK_DETAIL_MUTE, Msg("The card in {reader} does not answer.")},
    {PINDESK_DETAIL_REMOVED, Msg("The card was removed from {reader}.")},
    {PINDESK_DETAIL_READER_FAILED, Msg("The reader {reader} failed, or its card fell silent.")},
    {PINDESK_DETAIL_EXCLUSIVE, Msg("Another program uses the card in {reader} alone.")},
    {PINDESK_DETAIL_TRANSACTION, Msg("Another program does not let go of the card in {reader}.")},
    {PINDESK_DETAIL_STUCK, Msg("The reader {reader} does not answer in time.")},
    {PINDESK_DETAIL_RESET, Msg("Another program has reset the card in {reader} again and again.")},
    {PINDESK_DETAIL_NOT_RUNNING, Msg("The PC/SC service does not answer.")},
    {PINDESK_DETAIL_NOT_ALLOWED, Msg("You are not allowed to use the readers from this session.")},
    {PINDESK_DETAIL_SERVICE_STUCK, Msg("The PC/SC service does not answer in time.")},
    {PINDESK_DETAIL_WRONG_SM_KEY, Msg("The card refused the secure messaging, or the data in it.")},
    {PINDESK_DETAIL_SM_REQUIRED, Msg("The card wants secure messaging for the {secret}.")},
    {PINDESK_DETAIL_ABSENT, Msg("This card has no {secret}.")},
    {PINDESK_DETAIL_OTHER_KIND, Msg("A card of this kind cannot do that.")},
    {PINDESK_DETAIL_NO_SERIAL, Msg("This card has no serial number where it is looked for.")},
    {PINDESK_DETAIL_COMMAND_REFUSED, Msg("The card refused the command; no try was spent.")},
    {PINDESK_DETAIL_NEW_VALUE_REFUSED,
     Msg("The {secret} was right, but the card did not take the new {target}.")},
    {PINDESK_DETAIL_DEACTIVATION_REFUSED, Msg("The card refused to deactivate the {target}.")},
    {PINDESK_DETAIL_REACTIVATION_REFUSED,
     Msg("The {secret} was right, but the card refused to bring the {target} back.")},
    {PINDESK_DETAIL_ADMIN_KEY_REFUSED,
     Msg("The card did not accept the administration key; the {target} stays active.")},
    {PINDESK_DETAIL_FIRST_PIN_ONLY,
     Msg("The first PIN has its new value; the second was not reset.")},
    {PINDESK_DETAIL_NOT_BACK, Msg("The answer was lost, and the card did not come back in time.")},
    {PINDESK_DETAIL_OTHER_CAME, Msg("The answer was lost, and another card was inserted instead.")},
    {PINDESK_DETAIL_NOT_TOLD,
     Msg("The answer was lost, and the card does not tell what became of it.")},
    {PINDESK_DETAIL_TOO_FEW_TRIES,
     Msg("The answer was lost, and finding out could have blocked the {target}.")},
    {PINDESK_DETAIL_NO_MEMORY, Msg("There is not enough memory.")},
    {PINDESK_DETAIL_UNKNOWN_CODE, Msg("The library answered with a code that is not known.")},
    {PINDESK_DETAIL_WAITING_FOR_CARD, Msg("Insert the card; waiting for it.")},
    {PINDESK_DETAIL_WAITING_FOR_READER, Msg("Connect the reader; waiting for it.")},
    {PINDESK_DETAIL_WAITING_FOR_PROGRAM,
     Msg("Waiting for another program to let go of the card in {reader}.")},
    {PINDESK_DETAIL_WAITING_FOR_RETURN,
     Msg("Insert the same card again; waiting for it, to learn what holds now.")},
    {PINDESK_DETAIL_WAITING_FOR_SERVICE, Msg("Waiting for the PC/SC service.")},
};

struct SDoneText {
    pindesk_operation eOperation;
    pindesk_in_force eInForce; ///< PINDESK_IN_FORCE_NOT_CONCERNED: whatever is in force
    const char* szText;
};
constexpr SDoneText DONE_TEXTS[] = {
    {PINDESK_OP_VERIFY, PINDESK_IN_FORCE_NOT_CONCERNED, Msg("The {secret} is right.")},
    {PINDESK_OP_CHANGE, PINDESK_IN_FORCE_NOT_CONCERNED, Msg("The {target} has its new value.")},
    {PINDESK_OP_UNBLOCK, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("The {target} is unblocked and has its new value.")},
    {PINDESK_OP_LOCK, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("The {target} is deactivated; its PUK brings it back.")},
    {PINDESK_OP_REACTIVATE, PINDESK_IN_FORCE_NEW,
     Msg("The {target} is active again and has its new value.")},
    {PINDESK_OP_REACTIVATE, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("The {target} is active again, with the value it had.")},
    {PINDESK_OP_UNBLOCK_STARCOS, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("Both PINs are unblocked and have the new value.")},
    {PINDESK_OP_UNBLOCK_M4_1111, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("The PIN is unblocked and has its new value.")},
};

// What may hold when nobody can tell.
constexpr SDoneText DOUBTS[] = {
    {PINDESK_OP_VERIFY, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("Whether the {secret} was right is not known; it may have cost a try.")},
    {PINDESK_OP_CHANGE, PINDESK_IN_FORCE_UNKNOWN,
     Msg("The {target} has either its old or its new value.")},
    {PINDESK_OP_UNBLOCK, PINDESK_IN_FORCE_UNKNOWN,
     Msg("The {target} may be unblocked and have its new value, or not.")},
    {PINDESK_OP_UNBLOCK_STARCOS, PINDESK_IN_FORCE_UNKNOWN,
     Msg("Whether the PINs have their new value is not known.")},
    {PINDESK_OP_UNBLOCK_M4_1111, PINDESK_IN_FORCE_UNKNOWN,
     Msg("Whether the PIN has its new value is not known.")},
    {PINDESK_OP_LOCK, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("Whether the {target} is deactivated is not known.")},
    {PINDESK_OP_REACTIVATE, PINDESK_IN_FORCE_NOT_CONCERNED,
     Msg("Whether the {target} is active again is not known.")},
};

constexpr const char* EMPTY_READER = Msg("There is no card in {reader}.");
constexpr const char* EMPTY_ALL = Msg("There is no card in any reader.");
constexpr const char* TRIES_NOT_TOLD =
    Msg("The card does not tell how many tries the {secret} has left: a wrong value may block it.");
constexpr const char* NOTHING_SENT = Msg("Nothing was sent to the card.");
constexpr const char* NOTHING_CHANGED = Msg("Nothing was changed.");
constexpr const char* STILL_ACTIVE = Msg("The {target} is still active.");
constexpr const char* ANSWER_LOST =
    Msg("An answer was lost on its way; the card was asked what holds now.");
constexpr const char* LEFT_VERIFIED =
    Msg("The card stays verified for every program until it is taken out.");
constexpr const char* ADMIN_KEY_BLOCKED = Msg("The administration key is blocked for good.");
constexpr const char* HOLDERS = Msg("Programs that use the service: {holders}.");

constexpr const char* LENGTHS[2][2] = {
    // one length, a choice of lengths
    {Msg("{max} digits"), Msg("{min} to {max} digits")},
    {Msg("{max} characters"), Msg("{min} to {max} characters")}, // any are permitted
};

/// One report in one language.
class CReportWords {
public:
    CReportWords(const pindesk_report& report, const char* szLanguage)
        : m_report(report), m_szLanguage(szLanguage)
    {
    }

    std::string Text() const
    {
        std::string text = Happened();
        const bool bOfCard = m_report.operation != PINDESK_OP_LOOK;
        const bool bFailed = m_report.outcome != PINDESK_DONE && !IsWaiting();
        if (m_report.outcome == PINDESK_OUTCOME_UNKNOWN) {
            Append(text, Doubt());
        }
        if (bFailed && bOfCard && m_report.secrets_sent == 0) {
            Append(text, Say(NOTHING_SENT));
        }
        if (bFailed && m_report.secrets_sent > 0 && m_report.in_force == PINDESK_IN_FORCE_OLD &&
            m_report.outcome != PINDESK_WRONG_SECRET && m_report.outcome != PINDESK_BLOCKED) {
            Append(text, Say(NOTHING_CHANGED));
        }
        if (m_report.operation == PINDESK_OP_LOCK && m_report.outcome == PINDESK_NO_CARD &&
            m_report.secrets_sent > 0) {
            Append(text, Say(STILL_ACTIVE));
        }
        return text + Notes();
    }

    std::string Advice() const
    {
        if (m_report.next == PINDESK_NEXT_CHECK_VALUE && m_report.tries_left == 1) {
            return Say(Msg("Another wrong value blocks it: be sure of the value."));
        }
        return NextText(m_szLanguage, m_report.next);
    }

private:
    bool IsWaiting() const { return m_report.detail >= PINDESK_DETAIL_WAITING_FOR_CARD; }

    std::string Length(pindesk_secret eSecret) const
    {
        const STitle& title = TitleOf(eSecret);
        const bool bAny = (m_report.notes & PINDESK_NOTE_ANY_CHARACTERS) != 0;
        return Fill(Tr(m_szLanguage, LENGTHS[bAny][title.lMin != title.lMax]),
                    {{"min", std::to_string(title.lMin)}, {"max", std::to_string(title.lMax)}});
    }

    static void Append(std::string& text, const std::string& sentence)
    {
        text += (text.empty() || sentence.empty() ? "" : " ") + sentence;
    }

    std::string Say(const char* szText) const
    {
        const auto title = [this](pindesk_secret eSecret) {
            return std::string(Tr(m_szLanguage, TitleOf(eSecret).szTitle));
        };
        return Fill(Tr(m_szLanguage, szText), {{"secret", title(m_report.secret)},
                                               {"target", title(m_report.target)},
                                               {"length", Length(m_report.secret)},
                                               {"newlength", Length(m_report.target)},
                                               {"tries", Tries()},
                                               {"reader", m_report.reader},
                                               {"holders", m_report.holders}});
    }

    std::string Tries() const
    {
        return m_report.tries_left < 0 ? std::string()
                                       : TriesText(m_szLanguage, m_report.tries_left);
    }

    std::string Happened() const
    {
        if (m_report.outcome == PINDESK_DONE && !IsWaiting()) {
            return OfOperation(DONE_TEXTS);
        }
        if (m_report.outcome == PINDESK_WRONG_SECRET) {
            return Wrong();
        }
        if (m_report.detail == PINDESK_DETAIL_EMPTY) {
            return Say(*m_report.reader == '\0' ? EMPTY_ALL : EMPTY_READER);
        }
        if (m_report.detail == PINDESK_DETAIL_BAD_KEY) {
            return BadKey();
        }
        if (m_report.detail == PINDESK_DETAIL_LAST_TRY && m_report.tries_left < 0) {
            return Say(TRIES_NOT_TOLD);
        }
        const auto* const pRow =
            std::find_if(std::begin(DETAILS), std::end(DETAILS),
                         [this](const SDetailText& row) { return row.eDetail == m_report.detail; });
        return pRow == std::end(DETAILS) ? OutcomeText(m_szLanguage, m_report.outcome)
                                         : Say(pRow->szText);
    }

    std::string BadKey() const
    {
        switch (m_report.code) {
        case EPERM:
            return Say(Msg("The key file is open to other users, or belongs to one."));
        case EINVAL:
            return Say(Msg("The file holds no Triple-DES key. A key is 24 bytes (or 16, used as K1 "
                           "K2 K1), raw or as hexadecimal digits."));
        default:
            return Fill(Tr(m_szLanguage, "The key file cannot be used: {reason}."),
                        {{"reason", ReasonText(m_szLanguage, m_report.code)}});
        }
    }

    std::string Wrong() const
    {
        if (m_report.tries_left < 0) {
            return Say(Msg("The {secret} was not accepted. The card does not tell how many tries "
                           "are left."));
        }
        return Say(Msg("The {secret} is wrong: {tries}."));
    }

    std::string Doubt() const
    {
        const bool bNoTryGone =
            m_report.tries_left >= 0 && m_report.tries_left == m_report.tries_before;
        if (m_report.operation == PINDESK_OP_VERIFY && bNoTryGone) {
            return Say(Msg("Whether the {secret} was right is not known; no try is gone."));
        }
        return m_report.in_force == PINDESK_IN_FORCE_OLD ? std::string() : OfOperation(DOUBTS);
    }

    template <std::size_t N> std::string OfOperation(const SDoneText (&rows)[N]) const
    {
        const auto* const pRow =
            std::find_if(std::begin(rows), std::end(rows), [this](const SDoneText& row) {
                return row.eOperation == m_report.operation &&
                       (row.eInForce == PINDESK_IN_FORCE_NOT_CONCERNED ||
                        row.eInForce == m_report.in_force);
            });
        return pRow == std::end(rows) ? std::string() : Say(pRow->szText);
    }

    std::string Notes() const
    {
        std::string text;
        const auto note = [&](std::uint32_t ulNote, const char* szText) {
            if ((m_report.notes & ulNote) != 0) {
                text += " " + Say(szText);
            }
        };
        if (m_report.outcome != PINDESK_OUTCOME_UNKNOWN) {
            note(PINDESK_NOTE_ANSWER_LOST, ANSWER_LOST);
        }
        note(PINDESK_NOTE_LEFT_VERIFIED, LEFT_VERIFIED);
        note(PINDESK_NOTE_ADMIN_KEY_BLOCKED, ADMIN_KEY_BLOCKED);
        if (*m_report.holders != '\0') {
            text += " " + Say(HOLDERS);
        }
        return text;
    }

    const pindesk_report& m_report;
    const char* m_szLanguage;
};

} // namespace

} // namespace desk

size_t pindesk_text(const pindesk_report* report, const char* language, char* buffer, size_t size)
{
    return desk::Put(buffer, size,
                     [&] { return desk::CReportWords(desk::Taken(report), language).Text(); });
}

size_t pindesk_advice(const pindesk_report* report, const char* language, char* buffer, size_t size)
{
    return desk::Put(buffer, size,
                     [&] { return desk::CReportWords(desk::Taken(report), language).Advice(); });
}
