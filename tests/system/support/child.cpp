// SPDX-License-Identifier: Apache-2.0
//
// Starts and ends programs by their process ids.

#include "tests/system/support/child.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr int CANNOT_EXECUTE = 127;

int ExitStatus(int iWaited)
{
    return WIFEXITED(iWaited) ? WEXITSTATUS(iWaited) : 128 + WTERMSIG(iWaited);
}

} // namespace

CChild::CChild(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& strArgument : command) {
        arguments.push_back(const_cast<char*>(strArgument.c_str()));
    }
    arguments.push_back(nullptr);

    std::array<int, 2> pipeEnds{};
    if (pipe(pipeEnds.data()) != 0 || (m_pid = fork()) < 0) {
        throw std::system_error(errno, std::generic_category(), command.front());
    }
    if (m_pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(pipeEnds[1], STDOUT_FILENO);
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        execvp(arguments.front(), arguments.data());
        _exit(CANNOT_EXECUTE);
    }
    close(pipeEnds[1]);
    m_output = fdopen(pipeEnds[0], "r");
}

std::string CChild::ReadLine()
{
    std::string strLine;
    for (int iChar = std::fgetc(m_output); iChar != EOF && iChar != '\n';
         iChar = std::fgetc(m_output)) {
        strLine += static_cast<char>(iChar);
    }
    return strLine;
}

bool CChild::Running()
{
    int iWaited = 0;
    if (!m_status && waitpid(m_pid, &iWaited, WNOHANG) == m_pid) {
        m_status = ExitStatus(iWaited);
    }
    return !m_status;
}

int CChild::Stop()
{
    if (Running()) {
        kill(m_pid, SIGTERM);
    }
    const int iStatus = Wait();
    if (m_output != nullptr) {
        std::fclose(m_output);
        m_output = nullptr;
    }
    return iStatus;
}

int CChild::Wait()
{
    int iWaited = 0;
    if (Running() && waitpid(m_pid, &iWaited, 0) == m_pid) {
        m_status = ExitStatus(iWaited);
    }
    return m_status.value_or(-1);
}
