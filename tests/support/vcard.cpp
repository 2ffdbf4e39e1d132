// SPDX-License-Identifier: Apache-2.0

#include "tests/support/vcard.h"

#include <array>
#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>
#include <winscard.h>

namespace {

constexpr auto PATIENCE = std::chrono::seconds(20);
constexpr DWORD POLL_MILLISECONDS = 200;

/// Follows the first reader's state until its card is as wanted. False when the time is over.
bool Follow(SCARDCONTEXT hContext, bool bPresent)
{
    std::array<char, 1024> readers{};
    DWORD cch = readers.size();
    SCardListReaders(hContext, nullptr, readers.data(), &cch);
    SCARD_READERSTATE state{};
    state.szReader = readers.data();
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (std::chrono::steady_clock::now() < end) {
        SCardGetStatusChange(hContext, POLL_MILLISECONDS, &state, 1);
        if ((state.dwEventState & (bPresent ? SCARD_STATE_PRESENT : SCARD_STATE_EMPTY)) != 0) {
            return true;
        }
        state.dwCurrentState = state.dwEventState;
    }
    return false;
}

Words CommandLine(const Words& files, const Words& options)
{
    const char* const szPort = std::getenv("PINDESK_VPCD_PORT");
    Words command = {PINDESK_VCARD_PROGRAM, "--port", szPort == nullptr ? "0" : szPort};
    command.insert(command.end(), files.begin(), files.end());
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

} // namespace

Words CCardFiles::Variables() const
{
    return {"PINDESK_VCARD_LOG=" + m_directory / "log",
            "PINDESK_VCARD_STATE=" + m_directory / "state",
            "PINDESK_VCARD_COUNTERS=" + m_directory / "counters"};
}

Words CCardFiles::Options() const
{
    return {"--log=" + m_directory / "log", "--counters", m_directory / "counters"};
}

Words CCardFiles::Commands() const
{
    const std::string ARROW = " > ";
    Words commands;
    std::istringstream log(Log());
    for (std::string line; std::getline(log, line);) {
        if (const auto arrow = line.find(ARROW); arrow != line.npos) {
            const auto begin = arrow + ARROW.size();
            commands.push_back(line.substr(begin, line.find("  ", begin) - begin));
        }
    }
    return commands;
}

int CCardFiles::Counter(const std::string& secret, const char* szWhich) const
{
    return nlohmann::json::parse(m_directory.Read("counters")).at(secret).at(szWhich);
}

void AwaitCard(bool bPresent)
{
    SCARDCONTEXT hContext = 0;
    SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext);
    const bool bSeen = Follow(hContext, bPresent);
    SCardReleaseContext(hContext);
    if (!bSeen) {
        throw std::runtime_error(bPresent ? "PC/SC saw no card" : "PC/SC still sees a card");
    }
}

CVirtualCard::CVirtualCard(const Words& options) : m_program(CommandLine(Options(), options))
{
    AwaitCard(true);
}

CVirtualCard::~CVirtualCard()
{
    Remove();
    AwaitCard(false);
}
