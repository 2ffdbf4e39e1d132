// SPDX-License-Identifier: Apache-2.0

#include "desk/transcript.h"

#include "cardlib/sessions/iso7816.h"

namespace desk {

namespace {

constexpr std::size_t HEADER = 5; // class, instruction, two parameters, a length
constexpr std::size_t STATUS_WORD = 2;

} // namespace

std::string Hex(std::uint32_t ulValue, unsigned cDigits)
{
    std::string text;
    while (cDigits-- > 0) {
        text += "0123456789ABCDEF"[ulValue >> 4 * cDigits & 0x0F];
    }
    return text;
}

std::string MaskedHex(std::span<const std::uint8_t> bytes, std::size_t cbShown, std::size_t cbEnd)
{
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool bShown = i < cbShown || i + cbEnd >= bytes.size();
        text += (i == 0 ? "" : " ") + (bShown ? Hex(bytes[i], 2) : "**");
    }
    return text;
}

void CTranscript::Leaves(Bytes command) noexcept
try {
    const std::lock_guard lock(m_mutex);
    if (command[1] != ins::GET_RESPONSE) {
        m_bSelection = command[1] == ins::SELECT;
    }
    m_strCommand = "> " + MaskedHex(command, m_bSelection ? command.size() : HEADER, 0);
    m_left = Clock::now();
} catch (const std::exception&) {
    m_strCommand.clear(); // without memory an exchange is left out
}

void CTranscript::CameBack(long lResult, Bytes answer) noexcept
try {
    const std::lock_guard lock(m_mutex);
    const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_left);
    std::string strAnswer = "! " + Hex(static_cast<std::uint32_t>(lResult), 8);
    if (lResult == SCARD_S_SUCCESS) {
        strAnswer = "< " + MaskedHex(answer, m_bSelection ? answer.size() : 0, STATUS_WORD);
    }
    if (!m_strCommand.empty()) {
        m_exchanges.emplace_back(m_strCommand + "  # " + std::to_string(spent.count()) + " ms",
                                 strAnswer);
    }
} catch (const std::exception&) {
    // likewise
}

std::vector<std::string> CTranscript::Lines() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> lines;
    for (const auto& [strCommand, strAnswer] : m_exchanges) {
        lines.push_back(strCommand);
        lines.push_back(strAnswer);
    }
    return lines;
}

} // namespace desk
