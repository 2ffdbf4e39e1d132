// SPDX-License-Identifier: Apache-2.0
//
// Many runs of a program part, each in a process of its own, so that one that crashes or never ends
// is a finding like any other.

#ifndef TESTS_SWEEP_RUNS_H
#define TESTS_SWEEP_RUNS_H

#include <chrono>
#include <cstddef>
#include <functional>

/// How a run ended.
enum class EEnd : unsigned char { NOT_RUN, WELL, CRASHED, NEVER };

/// Runs job(0) to job(cRuns - 1), a few at a time, and tells how each ended.
/// \param limit  after which a run counts as one that never ends, and is killed
void RunEach(std::size_t cRuns, std::chrono::seconds limit,
             const std::function<void(std::size_t)>& job,
             const std::function<void(std::size_t, EEnd)>& ended);

/// Memory that the runs and their starter share: one T for each run, zero at first.
void* SharedMemory(std::size_t cb);
template <class T> class CShared {
public:
    explicit CShared(std::size_t cSlots) : m_p(static_cast<T*>(SharedMemory(cSlots * sizeof(T)))) {}
    T& operator[](std::size_t i) const { return m_p[i]; }

private:
    T* m_p; // until the end of the program
};

#endif
