// SPDX-License-Identifier: Apache-2.0
//
// Reads and plays recorded dialogues.

#include "plugged/recording.h"

#include "model/atr.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace vcard {
namespace {

constexpr std::string_view READER = "reader ", ATR = "atr ", COMMAND = "> ", ANSWER = "< ",
                           FAILURE = "! ";
constexpr std::uint8_t MASKED = 0x30; // a digit, as in the serial numbers that are masked
constexpr std::size_t PCSC_CODE = 4;  // bytes
constexpr std::size_t LONGEST_APDU = 0xFFFF;
const Bytes UNKNOWN_COMMAND = {0x6F, 0x00};

std::string_view Trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r");
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::string_view WithoutComment(std::string_view line)
{
    return Trimmed(line.substr(0, line.find('#')));
}

/// The lines of a bundle's dialogue, or of a file that holds nothing else.
std::string LinesOf(std::istream& file)
{
    std::ostringstream text;
    text << file.rdbuf();
    if (!Trimmed(text.str()).starts_with('{')) {
        return text.str();
    }
    const auto bundle = nlohmann::json::parse(text.str());
    std::string strLines;
    for (const auto& line : bundle.at("dialogue")) {
        strLines += line.get<std::string>() + '\n';
    }
    return strLines;
}

} // namespace

CRecording CRecording::Load(const std::filesystem::path& path)
{
    std::ifstream file(path);
    if (!file) {
        throw std::invalid_argument("expected a file that can be read");
    }
    try {
        std::istringstream lines(LinesOf(file));
        return CRecording(lines);
    } catch (const nlohmann::json::exception& error) {
        throw std::invalid_argument(std::string("expected a dialogue (") + error.what() + ")");
    }
}

CRecording::CRecording(std::istream& lines)
{
    for (std::string strLine; std::getline(lines, strLine);) {
        try {
            Read(strLine);
        } catch (const std::invalid_argument&) {
            throw std::invalid_argument("expected a line of a dialogue (\"" + strLine + "\")");
        }
    }
    CheckAtr(m_abAtr);
}

CRecording::SOutcome CRecording::Transmit(ByteView command)
{
    const auto matches = [&](const SExchange& exchange) {
        return std::ranges::equal(exchange.command, command, [](const auto& wanted, auto b) {
            return wanted.value_or(b) == b;
        });
    };
    const auto next = m_exchanges.begin() + static_cast<std::ptrdiff_t>(m_next);
    auto found = std::find_if(next, m_exchanges.end(), matches);
    if (found == m_exchanges.end()) {
        found = std::find_if(m_exchanges.begin(), next, matches);
        if (found == next) {
            return {UNKNOWN_COMMAND};
        }
    }
    m_next = static_cast<std::size_t>(found - m_exchanges.begin()) + 1;
    return found->outcome;
}

CRecording::Pattern CRecording::PatternOf(std::string_view text)
{
    Pattern pattern;
    std::istringstream words{std::string(text)};
    for (std::string strByte; words >> strByte;) {
        if (strByte == "**") {
            pattern.emplace_back();
            continue;
        }
        const Bytes bytes = FromHex(strByte);
        pattern.insert(pattern.end(), bytes.begin(), bytes.end());
    }
    if (pattern.size() > LONGEST_APDU) {
        throw std::invalid_argument("longer than any APDU");
    }
    return pattern;
}

void CRecording::Read(std::string_view line)
{
    if (line.starts_with(READER)) { // a reader's name may hold any character
        m_strReader = Trimmed(line.substr(READER.size()));
        return;
    }
    const std::string_view text = WithoutComment(line);
    if (text.empty()) {
        return;
    }
    // A card that answers nothing leaves "<" alone.
    const std::string strSpaced = std::string(text) + ' ';
    const std::string_view spaced = strSpaced;
    if (spaced.starts_with(ATR)) {
        m_abAtr = FromHex(std::string(spaced.substr(ATR.size())));
        return;
    }
    if (spaced.starts_with(COMMAND)) {
        m_exchanges.push_back({PatternOf(spaced.substr(COMMAND.size())), {}});
        return;
    }
    if (m_exchanges.empty()) {
        throw std::invalid_argument("no command came before");
    }
    SOutcome& outcome = m_exchanges.back().outcome;
    if (spaced.starts_with(ANSWER)) {
        for (const auto& b : PatternOf(spaced.substr(ANSWER.size()))) {
            outcome.answer.push_back(b.value_or(MASKED));
        }
        return;
    }
    const Bytes code = FromHex(std::string(spaced.substr(std::min(FAILURE.size(), spaced.size()))));
    if (!spaced.starts_with(FAILURE) || code.size() != PCSC_CODE) {
        throw std::invalid_argument("neither answer nor failure");
    }
    outcome.ulPcscError =
        static_cast<std::uint32_t>(Word(code[0], code[1])) << 16U | Word(code[2], code[3]);
}

} // namespace vcard
