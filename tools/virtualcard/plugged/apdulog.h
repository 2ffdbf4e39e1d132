// SPDX-License-Identifier: Apache-2.0
//
// The readable log of what a card was sent and answered. Secrets never reach it.

#ifndef TOOLS_VIRTUALCARD_PLUGGED_APDULOG_H
#define TOOLS_VIRTUALCARD_PLUGGED_APDULOG_H

#include <cstdint>
#include <memory>
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
    /// \param out  where it goes; null for no log
    explicit CApduLog(std::shared_ptr<std::ostream> out) : m_out(std::move(out)) {}

    void Command(std::span<const std::uint8_t> command);
    void Answer(std::span<const std::uint8_t> answer);

    /// A line about the exchange or the reader that is neither command nor answer.
    void Note(const std::string& strText);

private:
    std::shared_ptr<std::ostream> m_out;
    unsigned long m_ulNumber = 0;
    bool m_bSecret = false;
};

} // namespace vcard

#endif
