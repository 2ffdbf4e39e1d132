// SPDX-License-Identifier: Apache-2.0
//
// Another program that lives as long as a scope of the test.

#ifndef TESTS_SYSTEM_SUPPORT_CHILD_H
#define TESTS_SYSTEM_SUPPORT_CHILD_H

#include <cstdio>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

class CChild {
public:
    /// Starts a program with its arguments. It is killed when this process dies first.
    /// \throws std::system_error
    explicit CChild(const std::vector<std::string>& command);
    ~CChild() { Stop(); }
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    /// The next line of its standard output, without the line end; waits for it. Empty at the end.
    std::string ReadLine();

    bool Running();

    /// Asks it to end (SIGTERM) unless it has ended, and waits.
    /// \returns its exit status, or 128 and the number of the signal that ended it
    int Stop();

    /// Waits until it ends by itself. Result as for Stop.
    int Wait();

private:
    pid_t m_pid = -1;
    std::FILE* m_output = nullptr;
    std::optional<int> m_status;
};

#endif
