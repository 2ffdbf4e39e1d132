// SPDX-License-Identifier: Apache-2.0
//
// The signals are only remembered while the echo is off, and raised again once it is back. They get
// through only while input is waited for, so that none arrives unseen just before that.

#include "terminal.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace tool {

namespace {

volatile std::sig_atomic_t g_signal = 0;

void Remember(int signal)
{
    g_signal = signal;
}

class CTerminal {
public:
    explicit CTerminal(int fd)
        : m_isOwn(fd == CONTROLLING_TERMINAL),
          m_fd(m_isOwn ? open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC) : fd)
    {
    }
    ~CTerminal()
    {
        if (m_isOwn && m_fd >= 0) {
            close(m_fd);
        }
    }
    CTerminal(const CTerminal&) = delete;
    CTerminal& operator=(const CTerminal&) = delete;

    int Fd() const { return m_fd; }
    void Show(const std::string& text) const
    {
        if (write(m_fd, text.data(), text.size()) < 0) { // a descriptor that is for reading only
            [[maybe_unused]] const ssize_t n = write(STDERR_FILENO, text.data(), text.size());
        }
    }

    /// Stops a job in the background until it is brought to the front: before that the terminal has
    /// the settings of the shell's own line editor. False when it cannot be stopped.
    bool AwaitForeground() const
    {
        const auto isInFront = [this] {
            const pid_t front = tcgetpgrp(m_fd);
            return front < 0 ||
                   front == getpgrp(); // another session's terminal has no front for us
        };
        if (!isInFront()) {
            kill(0, SIGTTIN);
        }
        return isInFront();
    }

private:
    bool m_isOwn;
    int m_fd;
};

/// Remembers signals instead of taking them; those that are ignored stay so.
class CSignalScope {
public:
    CSignalScope()
    {
        g_signal = 0;
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int signal : SIGNALS) {
            sigaddset(&blocked, signal);
        }
        sigprocmask(SIG_BLOCK, &blocked, &m_maskBefore);
        struct sigaction remember = {};
        remember.sa_handler = Remember;
        for (std::size_t i = 0; i < SIGNALS.size(); ++i) {
            sigaction(SIGNALS[i], nullptr, &m_before[i]);
            if (m_before[i].sa_handler != SIG_IGN) {
                sigaction(SIGNALS[i], &remember, nullptr);
            }
        }
    }
    ~CSignalScope()
    {
        for (std::size_t i = 0; i < SIGNALS.size(); ++i) {
            sigaction(SIGNALS[i], &m_before[i], nullptr);
        }
        sigprocmask(SIG_SETMASK, &m_maskBefore, nullptr);
    }

    /// Waits for input. False when a signal came instead.
    bool AwaitInput(int fd) const
    {
        pollfd source = {fd, POLLIN, 0};
        while (g_signal == 0) {
            if (ppoll(&source, 1, nullptr, &m_maskBefore) >= 0 || errno != EINTR) {
                return true;
            }
        }
        return false;
    }

    CSignalScope(const CSignalScope&) = delete;
    CSignalScope& operator=(const CSignalScope&) = delete;

private:
    // Not SIGTTIN and SIGTTOU: a job in the background has to stop before it touches the terminal.
    static constexpr std::array SIGNALS = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};
    std::array<struct sigaction, SIGNALS.size()> m_before{};
    sigset_t m_maskBefore{};
};

class CEchoScope {
public:
    CEchoScope(int fd, Echo echo) : m_fd(fd)
    {
        m_isChanged = echo == Echo::Off && tcgetattr(fd, &m_before) == 0;
        if (!m_isChanged) {
            return;
        }
        termios quiet = m_before;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
        tcsetattr(fd, TCSAFLUSH, &quiet);
    }
    ~CEchoScope()
    {
        if (m_isChanged) {
            tcsetattr(m_fd, TCSAFLUSH, &m_before); // what else was typed is not for the shell
        }
    }
    CEchoScope(const CEchoScope&) = delete;
    CEchoScope& operator=(const CEchoScope&) = delete;

private:
    int m_fd;
    bool m_isChanged = false;
    termios m_before{};
};

LineEnd AskOnce(const CTerminal& terminal, const std::string& question, Echo echo,
                CSecretInput& answer)
{
    const CSignalScope signals;
    const CEchoScope scope(terminal.Fd(), echo);
    terminal.Show(question);
    const LineEnd end =
        ReadLine(terminal.Fd(), answer, [&] { return signals.AwaitInput(terminal.Fd()); });
    if (echo == Echo::Off) {
        terminal.Show("\n");
    }
    return end;
}

} // namespace

LineEnd AskAtTerminal(const std::string& question, Echo echo, CSecretInput& answer, int fd)
{
    const CTerminal terminal(fd);
    if (terminal.Fd() < 0) {
        return LineEnd::Failed;
    }
    for (;;) {
        if (!terminal.AwaitForeground()) {
            return LineEnd::Failed;
        }
        const LineEnd end = AskOnce(terminal, question, echo, answer);
        if (g_signal == 0) {
            return end;
        }
        answer.Wipe();
        raise(g_signal); // comes back only when it stopped the program and somebody continued it
    }
}

void SayAtTerminal(const std::string& line, int fd)
{
    const CTerminal terminal(fd);
    if (terminal.Fd() >= 0) {
        terminal.Show(line + "\n");
    }
}

} // namespace tool
