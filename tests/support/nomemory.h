// SPDX-License-Identifier: Apache-2.0
//
// Short memory for the library's own objects, which the linker sends here for theirs. The scripted
// PC/SC keeps what it needs.

#ifndef TESTS_SUPPORT_NOMEMORY_H
#define TESTS_SUPPORT_NOMEMORY_H

/// After cLeft more objects there is no memory, for a scope.
class CNoMemory {
public:
    explicit CNoMemory(int cLeft);
    ~CNoMemory();
    CNoMemory(const CNoMemory&) = delete;
    CNoMemory& operator=(const CNoMemory&) = delete;

    /// Whether somebody has been refused.
    static bool WasFelt();
};

/// Memory all the same, for a scope within.
class CMemory {
public:
    CMemory();
    ~CMemory();
    CMemory(const CMemory&) = delete;
    CMemory& operator=(const CMemory&) = delete;

private:
    const bool m_bBefore;
};

#endif
