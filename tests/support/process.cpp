// SPDX-License-Identifier: Apache-2.0

#include "tests/support/process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr int CANNOT_EXECUTE = 127;
constexpr int PATIENCE_MS = 60'000; // far more than any run takes

/// Reads what is there into a text. False at the end.
bool ReadSome(int fd, std::string& text)
{
    std::array<char, 4096> part{};
    const ssize_t got = read(fd, part.data(), part.size());
    if (got > 0) {
        text.append(part.data(), static_cast<std::size_t>(got));
    }
    return got > 0;
}

/// Reads both until both have ended. False when that takes too long.
bool Collect(int out, int err, SFinished& run)
{
    std::array<pollfd, 2> sources = {{{out, POLLIN, 0}, {err, POLLIN, 0}}};
    const std::array<std::string*, 2> sinks = {&run.out, &run.err};
    for (std::size_t open = sources.size(); open > 0;) {
        if (poll(sources.data(), sources.size(), PATIENCE_MS) <= 0) {
            return false;
        }
        for (std::size_t i = 0; i < sources.size(); ++i) {
            if (sources[i].revents != 0 && !ReadSome(sources[i].fd, *sinks[i])) {
                sources[i].fd = -1; // poll passes over it
                --open;
            }
        }
    }
    return true;
}

void WriteAll(int fd, const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t now = write(fd, text.data() + done, text.size() - done);
        if (now <= 0) {
            return; // the reader has seen enough
        }
        done += static_cast<std::size_t>(now);
    }
}

} // namespace

void Execute(const Words& command, const Words& variables)
{
    for (const std::string& variable : variables) {
        const std::size_t iEqual = variable.find('=');
        if (iEqual == std::string::npos) {
            unsetenv(variable.c_str());
        } else {
            setenv(variable.substr(0, iEqual).c_str(), variable.c_str() + iEqual + 1, 1);
        }
    }
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(CANNOT_EXECUTE);
}

pid_t Fork(const std::function<void()>& run)
{
    const pid_t pid = fork();
    if (pid < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (pid == 0) {
        run();
        _exit(EXIT_SUCCESS);
    }
    return pid;
}

int WaitFor(pid_t pid)
{
    int status = -1;
    if (waitpid(pid, &status, 0) != pid) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

CProcess::CProcess(const Words& command, const Words& variables)
{
    signal(SIGPIPE, SIG_IGN);
    std::array<std::array<int, 2>, DESCRIPTORS> pipes{};
    for (auto& ends : pipes) {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
    }
    m_pid = Fork([&] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        setsid(); // without a terminal
        dup2(pipes[IN][0], STDIN_FILENO);
        dup2(pipes[OUT][1], STDOUT_FILENO);
        dup2(pipes[ERR][1], STDERR_FILENO);
        signal(SIGPIPE, SIG_DFL);
        Execute(command, variables);
    });
    for (int i = 0; i < DESCRIPTORS; ++i) {
        const auto& ends = pipes[static_cast<std::size_t>(i)];
        m_fd[i] = ends[i == IN ? 1 : 0];
        close(ends[i == IN ? 0 : 1]);
    }
}

CProcess::~CProcess()
{
    Stop();
    for (const int which : {IN, OUT, ERR}) {
        Close(which);
    }
}

std::string CProcess::ReadLine()
{
    std::string line;
    for (char ch = 0; read(m_fd[OUT], &ch, 1) == 1 && ch != '\n';) {
        line += ch;
    }
    return line;
}

SFinished CProcess::Finish(const std::string& input)
{
    WriteAll(m_fd[IN], input);
    Close(IN);
    SFinished run;
    if (!Collect(m_fd[OUT], m_fd[ERR], run)) {
        kill(m_pid, SIGKILL);
    }
    run.status = WaitFor(std::exchange(m_pid, -1));
    return run;
}

int CProcess::Stop()
{
    if (m_pid < 0) {
        return -1;
    }
    kill(m_pid, SIGTERM);
    return WaitFor(std::exchange(m_pid, -1));
}

void CProcess::Close(int which)
{
    close(std::exchange(m_fd[which], -1));
}
