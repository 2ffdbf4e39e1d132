// SPDX-License-Identifier: Apache-2.0
//
// A recorded dialogue with a real card, played back: a report from the field becomes a test
// without the card and without a PIN in it.

#ifndef TOOLS_VIRTUALCARD_PLUGGED_RECORDING_H
#define TOOLS_VIRTUALCARD_PLUGGED_RECORDING_H

#include "model/bytes.h"

#include <filesystem>
#include <istream>
#include <optional>

namespace vcard {

class CRecording {
public:
    /// What an exchange came to.
    struct SOutcome {
        Bytes answer;
        std::uint32_t ulPcscError = 0; ///< not 0: it failed with this PC/SC code
    };

    /// Reads the dialogue of a file: the lines that README.md describes, or a JSON object with these
    /// lines as its array "dialogue".
    /// \throws std::invalid_argument  with the line that is none, or for a dialogue without an ATR
    static CRecording Load(const std::filesystem::path& path);

    /// Reads the lines. \throws std::invalid_argument  as above
    explicit CRecording(std::istream& lines);

    const std::string& Reader() const { return m_strReader; } ///< empty where it isn't told
    const Bytes& Atr() const { return m_abAtr; }

    /// What the next exchange with this command came to, searched from the one before on, then from
    /// the beginning; 6F00 for a command that never was. A masked byte of a command matches any, one
    /// of an answer comes as 30.
    SOutcome Transmit(ByteView command);

private:
    using Pattern = std::vector<std::optional<std::uint8_t>>; // nothing where it is masked

    struct SExchange {
        Pattern command;
        SOutcome outcome;
    };

    static Pattern PatternOf(std::string_view text);
    void Read(std::string_view line);

    std::string m_strReader;
    Bytes m_abAtr;
    std::vector<SExchange> m_exchanges;
    std::size_t m_next = 0;
};

} // namespace vcard

#endif
