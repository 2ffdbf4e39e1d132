// SPDX-License-Identifier: Apache-2.0
//
// Runs pindesk-vcard and reads its files.

#include "tests/system/support/virtualcard.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <winscard.h>

namespace {

constexpr auto PATIENCE = std::chrono::seconds(20);
constexpr DWORD POLL_MILLISECONDS = 200;

std::string ReadAll(const std::filesystem::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::string FirstReader(SCARDCONTEXT hContext)
{
    std::array<char, 1024> readers{};
    DWORD cch = readers.size();
    SCardListReaders(hContext, nullptr, readers.data(), &cch);
    return readers.data();
}

/// Follows the first reader's state until its card is as wanted. False when the time is over.
bool Follow(SCARDCONTEXT hContext, bool bPresent)
{
    const std::string strReader = FirstReader(hContext);
    SCARD_READERSTATE state{};
    state.szReader = strReader.c_str();
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

std::vector<std::string> CommandLine(const std::vector<std::string>& options,
                                     const CScratchDirectory& files)
{
    const char* szPort = std::getenv("PINDESK_VPCD_PORT");
    std::vector<std::string> command = {PINDESK_VCARD_PROGRAM,
                                        "--port",
                                        szPort == nullptr ? "0" : szPort,
                                        "--log=" + (files / "log").string(),
                                        "--counters",
                                        (files / "counters").string()};
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

} // namespace

CScratchDirectory::CScratchDirectory()
{
    std::string strName = (std::filesystem::temp_directory_path() / "pindesk.XXXXXX").string();
    if (mkdtemp(strName.data()) == nullptr) {
        throw std::runtime_error("no scratch directory");
    }
    m_path = strName;
}

CScratchDirectory::~CScratchDirectory()
{
    std::filesystem::remove_all(m_path);
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

CVirtualCard::CVirtualCard(const std::vector<std::string>& options)
    : m_program(std::make_unique<CChild>(CommandLine(options, m_files)))
{
    AwaitCard(true);
}

CVirtualCard::~CVirtualCard()
{
    Remove();
    AwaitCard(false);
}

int CVirtualCard::Remove()
{
    return m_program->Stop();
}

std::string CVirtualCard::Log() const
{
    return ReadAll(m_files / "log");
}

std::vector<std::string> CVirtualCard::Commands() const
{
    const std::string ARROW = " > ";
    std::vector<std::string> commands;
    std::istringstream log(Log());
    for (std::string strLine; std::getline(log, strLine);) {
        if (const auto arrow = strLine.find(ARROW); arrow != strLine.npos) {
            const auto begin = arrow + ARROW.size();
            commands.push_back(strLine.substr(begin, strLine.find("  ", begin) - begin));
        }
    }
    return commands;
}

int CVirtualCard::Presented(const std::string& strSecret) const
{
    return Counter(strSecret, "presented");
}

int CVirtualCard::TriesLeft(const std::string& strSecret) const
{
    return Counter(strSecret, "tries_left");
}

int CVirtualCard::Counter(const std::string& strSecret, const char* szCounter) const
{
    return nlohmann::json::parse(ReadAll(m_files / "counters")).at(strSecret).at(szCounter);
}
