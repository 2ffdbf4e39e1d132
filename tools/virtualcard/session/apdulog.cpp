// SPDX-License-Identifier: Apache-2.0
//
// Names and masks APDUs. Names are those of ISO/IEC 7816-4, and the card maker's for its own
// commands.

#include "session/apdulog.h"

#include <algorithm>
#include <string_view>

namespace vcard {
namespace {

constexpr std::uint8_t ANY_CLASS = 0xFF;             // not a valid class byte
constexpr std::uint8_t SECURE_MESSAGING_BITS = 0x0C; // of the class byte
constexpr std::size_t HEADER_AND_LC = 5;
constexpr std::size_t STATUS_WORD = 2;

struct SCommandRow {
    std::string_view name;
    std::uint8_t bClass; // without the bits of secure messaging
    std::uint8_t bIns;
    bool bSecret; // the data may hold a PIN, a PUK, a key or what authenticates with one
};

constexpr SCommandRow COMMANDS[] = {
    // the first match counts
    {"PHASE CONTROL", 0x80, 0x10, false},
    {"LIST FILES", 0x80, 0x16, false},
    {"CHANGE KEY DATA", 0x80, 0x24, true},
    {"CHANGE KEY DATA", 0x90, 0x24, true},
    {"FORMAT", 0x80, 0x40, true},
    {"GIVE RANDOM", 0x80, 0x86, false},
    {"RESET SECURITY STATUS", 0x80, 0xEA, false},
    {"DEACTIVATE FILE", ANY_CLASS, 0x04, false},
    {"VERIFY", ANY_CLASS, 0x20, true},
    {"MANAGE SECURITY ENVIRONMENT", ANY_CLASS, 0x22, false},
    {"CHANGE REFERENCE DATA", ANY_CLASS, 0x24, true},
    {"PERFORM SECURITY OPERATION", ANY_CLASS, 0x2A, false},
    {"RESET RETRY COUNTER", ANY_CLASS, 0x2C, true},
    {"ACTIVATE FILE", ANY_CLASS, 0x44, false},
    {"GENERATE KEY PAIR", ANY_CLASS, 0x46, false},
    {"EXTERNAL AUTHENTICATE", ANY_CLASS, 0x82, true},
    {"GET CHALLENGE", ANY_CLASS, 0x84, false},
    {"INTERNAL AUTHENTICATE", ANY_CLASS, 0x88, false},
    {"SELECT", ANY_CLASS, 0xA4, false},
    {"READ BINARY", ANY_CLASS, 0xB0, false},
    {"READ RECORD", ANY_CLASS, 0xB2, false},
    {"GET DATA", ANY_CLASS, 0xCA, false},
    {"UPDATE BINARY", ANY_CLASS, 0xD6, false},
    {"PUT DATA", ANY_CLASS, 0xDA, true},
    {"UPDATE RECORD", ANY_CLASS, 0xDC, false},
    {"CREATE FILE", ANY_CLASS, 0xE0, false},
    {"APPEND RECORD", ANY_CLASS, 0xE2, false},
    {"DELETE FILE", ANY_CLASS, 0xE4, false},
    {"ERASE FILES", ANY_CLASS, 0xF5, false},
    {"GET CARD TRACEABILITY", ANY_CLASS, 0xFD, false},
};
// What is not known may hold anything, so it is masked.
constexpr SCommandRow UNKNOWN = {"unknown command", ANY_CLASS, 0x00, true};

bool Protected(std::span<const std::uint8_t> command)
{
    return !command.empty() && (command[0] & SECURE_MESSAGING_BITS) != 0;
}

const SCommandRow& RowOf(std::span<const std::uint8_t> command)
{
    if (command.size() < 2) {
        return UNKNOWN;
    }
    const auto bClass = static_cast<std::uint8_t>(command[0] & ~SECURE_MESSAGING_BITS);
    const auto* row = std::ranges::find_if(COMMANDS, [&](const SCommandRow& r) {
        return r.bIns == command[1] && (r.bClass == bClass || r.bClass == ANY_CLASS);
    });
    return row == std::end(COMMANDS) ? UNKNOWN : *row;
}

/// Hexadecimal, with the bytes from \p from up to \p to as **.
std::string Hex(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t to)
{
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string strText;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool bMasked = i >= from && i < to;
        strText += i == 0 ? "" : " ";
        strText += bMasked ? '*' : DIGITS[bytes[i] >> 4U];
        strText += bMasked ? '*' : DIGITS[bytes[i] & 0x0FU];
    }
    return strText;
}

} // namespace

void CApduLog::Command(std::span<const std::uint8_t> command)
{
    ++m_ulNumber;
    if (m_out == nullptr) {
        return;
    }
    const SCommandRow& row = RowOf(command);
    m_bSecret = row.bSecret || Protected(command);
    *m_out << m_ulNumber << " > "
           << Hex(command, m_bSecret ? HEADER_AND_LC : command.size(), command.size()) << "  "
           << row.name << (Protected(command) ? ", protected" : "") << std::endl;
}

void CApduLog::Answer(std::span<const std::uint8_t> answer)
{
    if (m_out == nullptr) {
        return;
    }
    const std::size_t cbData = answer.size() - std::min(answer.size(), STATUS_WORD);
    *m_out << m_ulNumber << " < "
           << (answer.empty() ? "(empty)" : Hex(answer, 0, m_bSecret ? cbData : 0)) << std::endl;
}

void CApduLog::Note(const std::string& strText)
{
    if (m_out != nullptr) {
        *m_out << "# " << strText << std::endl;
    }
}

} // namespace vcard
