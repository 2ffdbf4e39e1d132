// SPDX-License-Identifier: Apache-2.0
//
// What one run of the tool comes to: an exit status, what a person is told, what a script is told.

#ifndef TOOLS_PINDESK_OUTCOME_H
#define TOOLS_PINDESK_OUTCOME_H

#include <nlohmann/json.hpp>

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <utility>

namespace tool {

enum class ExitStatus {
    Done = 0,
    Usage = 1,
    Refused = 2, ///< by our own checks: nothing was sent to the card
    WrongSecret = 3,
    Blocked = 4,
    NoReader = 5,
    NoCard = 6, ///< also a card that was removed, or that does not answer
    InUse = 7,
    NoService = 8,
    OtherCard = 9,
    SecureMessagingRefused = 10,
    CardRefused = 11,
    OutcomeUnknown = 12, ///< the answer was lost
    InternalError = 13,
};

/// The status as the value of "result" in JSON.
const char* ResultName(ExitStatus status);

struct Outcome {
    ExitStatus status = ExitStatus::Done;
    std::string message;                     ///< what happened, in plain words
    std::string advice;                      ///< what to do next; may be empty
    std::optional<long> code;                ///< result code of the library
    std::optional<std::uint16_t> statusWord; ///< as the card gave it
    std::optional<int> triesLeft;            ///< of the secret in question
    std::string output;                      ///< lines asked for, printed also with --quiet
    nlohmann::ordered_json fields =
        nlohmann::ordered_json::object(); ///< members that the verb adds to the JSON object
};

/// Ends a verb early.
class CFailure : public std::exception {
public:
    explicit CFailure(Outcome outcome) : m_outcome(std::move(outcome)) {}
    CFailure(ExitStatus status, std::string message, std::string advice = {},
             std::optional<long> code = {})
    {
        m_outcome.status = status;
        m_outcome.message = std::move(message);
        m_outcome.advice = std::move(advice);
        m_outcome.code = code;
    }

    const char* what() const noexcept override { return m_outcome.message.c_str(); }
    const Outcome& Result() const { return m_outcome; }

private:
    Outcome m_outcome;
};

/// Four upper-case digits, as status words are written.
std::string StatusWordText(std::uint16_t statusWord);

} // namespace tool

#endif
