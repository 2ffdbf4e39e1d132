// SPDX-License-Identifier: Apache-2.0
//
// Names and masks APDUs.

#include "plugged/apdulog.h"

#include "model/command_table.h"
#include "model/iso7816.h"

#include <algorithm>
#include <string_view>

namespace vcard {
namespace {

constexpr std::uint8_t SECURE_MESSAGING_BITS = 0x0C; // of the class byte
constexpr std::size_t HEADER_AND_LC = 5;

// What is not known may hold anything, so it is masked.
constexpr SCommandRow UNKNOWN = {0, 0, true, "unknown command", nullptr};

bool Protected(std::span<const std::uint8_t> command)
{
    return !command.empty() && (command[0] & SECURE_MESSAGING_BITS) != 0;
}

/// The row of a command. One under secure messaging hides its class, so the instruction decides.
const SCommandRow& RowOf(std::span<const std::uint8_t> command)
{
    if (command.size() < 2) {
        return UNKNOWN;
    }
    const auto row = std::ranges::find_if(Commands(), [&](const SCommandRow& r) {
        return r.bIns == command[1] && (r.bCla == command[0] || Protected(command));
    });
    return row == Commands().end() ? UNKNOWN : *row;
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
           << row.szName << (Protected(command) ? ", protected" : "") << std::endl;
}

void CApduLog::Answer(std::span<const std::uint8_t> answer)
{
    if (m_out == nullptr) {
        return;
    }
    const std::size_t cbData = answer.size() - std::min(answer.size(), sw::LENGTH);
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
