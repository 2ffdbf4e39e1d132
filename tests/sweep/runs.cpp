// SPDX-License-Identifier: Apache-2.0

#include "tests/sweep/runs.h"

#include <csignal>
#include <map>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// more than there are cores: many runs sit in the pauses between repetitions
constexpr std::size_t AT_ONCE = 16;

struct SChild {
    std::size_t iRun;
    Clock::time_point latest;
};

} // namespace

void RunEach(std::size_t cRuns, std::chrono::seconds limit,
             const std::function<void(std::size_t)>& job,
             const std::function<void(std::size_t, EEnd)>& ended)
{
    std::map<pid_t, SChild> children;
    for (std::size_t iNext = 0; iNext < cRuns || !children.empty();) {
        while (iNext < cRuns && children.size() < AT_ONCE) {
            const pid_t pid = fork();
            if (pid == 0) {
                job(iNext);
                _exit(0);
            }
            if (pid < 0) {
                throw std::bad_alloc();
            }
            children[pid] = {iNext++, Clock::now() + limit};
        }
        int iStatus = 0;
        const pid_t pid = waitpid(-1, &iStatus, WNOHANG);
        if (pid > 0) {
            const bool bKilled = WIFSIGNALED(iStatus) && WTERMSIG(iStatus) == SIGKILL;
            const bool bWell = WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0;
            ended(children[pid].iRun, bKilled ? EEnd::NEVER : bWell ? EEnd::WELL : EEnd::CRASHED);
            children.erase(pid);
            continue;
        }
        for (const auto& [child, run] : children) {
            if (Clock::now() > run.latest) {
                kill(child, SIGKILL);
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void* SharedMemory(std::size_t cb)
{
    void* const p = mmap(nullptr, cb, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return p;
}
