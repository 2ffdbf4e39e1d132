// SPDX-License-Identifier: Apache-2.0
//
// The readable log of what a card was sent and answered. Secrets never reach it.

#ifndef VIRTUALCARD_SESSION_APDULOG_H
#define VIRTUALCARD_SESSION_APDULOG_H

#include <cstdint>
#include <ostream>
#include <span>
#include <string>

namespace vcard {

/// One line for each command and each answer, numbered by exchange:
///
///     3 > 00 20 00 10 08 ** ** ** ** ** ** ** **  VERIFY
///     3 < 90 00
///
/// The data of commands that carry secrets or keys are shown as ** in both directions.
class CApduLog {
public:
    /// \param out  where it goes; null for no log. It must outlive this object.
    explicit CApduLog(std::ostream* out) : m_out(out) {}

    void Command(std::span<const std::uint8_t> command);
    void Answer(std::span<const std::uint8_t> answer);

    /// A line about the exchange or the reader that is neither command nor answer.
    void Note(const std::string& strText);

private:
    std::ostream* m_out;
    unsigned long m_ulNumber = 0;
    bool m_bSecret = false;
};

} // namespace vcard

#endif
