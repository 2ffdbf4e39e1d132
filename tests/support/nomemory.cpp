// SPDX-License-Identifier: Apache-2.0

#include "tests/support/nomemory.h"

#include <cstddef>
#include <new>
#include <utility>

namespace {
bool g_bShort, g_bFelt;
int g_cLeft;

void Ask()
{
    if (g_bShort && g_cLeft-- <= 0) {
        g_bFelt = true;
        throw std::bad_alloc();
    }
}
} // namespace

// What --wrap makes of operator new and operator new[].
extern "C" {
void* __real__Znwm(std::size_t cb);
void* __real__Znam(std::size_t cb);
void* __wrap__Znwm(std::size_t cb)
{
    Ask();
    return __real__Znwm(cb);
}
void* __wrap__Znam(std::size_t cb)
{
    Ask();
    return __real__Znam(cb);
}
}

CNoMemory::CNoMemory(int cLeft)
{
    g_cLeft = cLeft;
    g_bFelt = false;
    g_bShort = true;
}

CNoMemory::~CNoMemory()
{
    g_bShort = false;
}

bool CNoMemory::WasFelt()
{
    return g_bFelt;
}

CMemory::CMemory() : m_bBefore(std::exchange(g_bShort, false)) {}

CMemory::~CMemory()
{
    g_bShort = m_bBefore;
}
