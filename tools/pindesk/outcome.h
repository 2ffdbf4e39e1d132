// SPDX-License-Identifier: Apache-2.0
//
// What one run of the tool comes to: an exit status, what a person is told, what a script is told.

#ifndef TOOLS_PINDESK_OUTCOME_H
#define TOOLS_PINDESK_OUTCOME_H

#include "pindesk/desk.h"

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tool {

struct Field;
using Row = std::vector<Field>;

/// A value for scripts; monostate where it is not known.
using Value = std::variant<std::monostate, bool, long, std::string, std::vector<Row>>;

struct Field {
    std::string name;
    Value value;
};

struct Outcome {
    pindesk_outcome status = PINDESK_DONE;   ///< the exit status
    std::string message;                     ///< what happened, in plain words
    std::string advice;                      ///< what to do next; may be empty
    std::optional<long> code;                ///< result code of the library
    std::optional<std::uint16_t> statusWord; ///< as the card gave it
    std::optional<long> triesLeft;           ///< of the secret in question
    std::string output;                      ///< lines asked for, printed also with --quiet
    Row fields;                              ///< what the verb adds for scripts
    bool isReported = false;                 ///< everything was told as it happened
};

/// What a call of the desk came to.
Outcome OutcomeOf(const pindesk_report& report);

/// Ends a verb early.
class CFailure : public std::exception {
public:
    explicit CFailure(Outcome outcome) : m_outcome(std::move(outcome)) {}
    CFailure(pindesk_outcome status, std::string message, std::string advice = {})
    {
        m_outcome.status = status;
        m_outcome.message = std::move(message);
        m_outcome.advice = std::move(advice);
    }

    const char* what() const noexcept override { return m_outcome.message.c_str(); }
    const Outcome& Result() const { return m_outcome; }

private:
    Outcome m_outcome;
};

/// An advice, with the command that does what it says, where there is one.
std::string WithCommand(std::string advice, pindesk_next next);

/// A state by its name for scripts.
std::string StateName(pindesk_state state);

[[noreturn]] void RefuseUsage(const std::string& message, const std::string& advice = {});

/// A message, and that nothing was sent to the card.
std::string Unsent(const std::string& message);

/// Ends a verb by our own checks; that nothing was sent to the card is added.
[[noreturn]] void Refuse(const std::string& message, const std::string& advice = {});

/// Four upper-case digits, as status words are written.
std::string StatusWordText(std::uint16_t statusWord);

} // namespace tool

#endif
