// SPDX-License-Identifier: Apache-2.0
//
// Other programs: started, spoken to and ended by their process ids.

#ifndef TESTS_SUPPORT_PROCESS_H
#define TESTS_SUPPORT_PROCESS_H

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

using Words = std::vector<std::string>;

/// In a child: becomes this program, found in PATH when it has no slash, with these variables
/// ("NAME=value"; "NAME" alone: unset) over those that are there. Status 127 when it cannot.
[[noreturn]] void Execute(const Words& command, const Words& variables = {});

/// Runs a function in a child process. Status 0 when it returns.
pid_t Fork(const std::function<void()>& run);

/// Waits for a child to end: its exit status, or 128 and the number of the signal that ended it.
int WaitFor(pid_t pid);

/// What a program came to.
struct SFinished {
    int status = -1; ///< as WaitFor tells it
    std::string out, err;
};

/// A program that lives no longer than a scope, nor than this process. It has no terminal; its
/// three standard descriptors are pipes.
class CProcess {
public:
    /// \throws std::system_error
    explicit CProcess(const Words& command, const Words& variables = {});
    /// Asks it to end (SIGTERM), and waits.
    ~CProcess();
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    /// The next line of its standard output, without the line end; waits for it. Empty at the end.
    std::string ReadLine();

    /// Hands over all of its standard input and reads until it has ended. One that takes more than
    /// a minute is killed.
    SFinished Finish(const std::string& input = "");

    /// Asks it to end, and waits: its status.
    int Stop();

private:
    enum { IN, OUT, ERR, DESCRIPTORS };

    void Close(int which);

    pid_t m_pid = -1;
    int m_fd[DESCRIPTORS] = {-1, -1, -1}; ///< our ends of its pipes
};

/// Runs a program to its end.
inline SFinished RunProgram(const Words& command, const Words& variables = {},
                            const std::string& input = "")
{
    return CProcess(command, variables).Finish(input);
}

#endif
