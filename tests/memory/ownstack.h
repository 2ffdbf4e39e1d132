// SPDX-License-Identifier: Apache-2.0
//
// A stack on which nothing but one function has run, so that what it leaves there is not covered
// by the frames of whoever looks.

#ifndef TESTS_MEMORY_OWNSTACK_H
#define TESTS_MEMORY_OWNSTACK_H

#include <cerrno>
#include <cstddef>
#include <functional>
#include <sys/mman.h>
#include <system_error>
#include <ucontext.h>
#include <utility>

class COwnStack {
public:
    COwnStack()
        : m_pStack(mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (m_pStack == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category(), "mmap");
        }
    }
    ~COwnStack() { munmap(m_pStack, SIZE); }
    COwnStack(const COwnStack&) = delete;
    COwnStack& operator=(const COwnStack&) = delete;

    /// Runs a function that does not throw and returns when it does.
    void Run(std::function<void()> function)
    {
        s_function = std::move(function);
        ucontext_t caller{};
        ucontext_t callee{};
        getcontext(&callee);
        callee.uc_stack.ss_sp = m_pStack;
        callee.uc_stack.ss_size = SIZE;
        callee.uc_link = &caller;
        makecontext(
            &callee, [] { s_function(); }, 0);
        swapcontext(&caller, &callee);
    }

private:
    static constexpr std::size_t SIZE = 1U << 20U;
    static inline std::function<void()> s_function; // a context takes no pointers

    void* m_pStack;
};

#endif
