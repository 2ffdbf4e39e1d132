// SPDX-License-Identifier: Apache-2.0

#include "tests/support/nomemory.h"

#include <cstddef>
#include <new>
#include <utility>

namespace {
constexpr std::size_t MOST = std::size_t{1} << 32; // above it a sanitizer would end the program
bool g_bShort, g_bFelt;
int g_cLeft;

bool IsThere(std::size_t cb)
{
    const bool bRefused = g_bShort && g_cLeft-- <= 0;
    g_bFelt |= bRefused;
    return !bRefused && cb <= MOST;
}

using FNew = void*(std::size_t cb);
using FTryNew = void*(std::size_t cb, const std::nothrow_t&);

void* New(FNew* real, std::size_t cb)
{
    return IsThere(cb) ? real(cb) : throw std::bad_alloc();
}

void* TryNew(FTryNew* real, std::size_t cb)
{
    return IsThere(cb) ? real(cb, std::nothrow) : nullptr;
}
} // namespace

// What --wrap makes of the four forms of operator new.
extern "C" {
FNew __real__Znwm, __real__Znam;
FTryNew __real__ZnwmRKSt9nothrow_t, __real__ZnamRKSt9nothrow_t;
void* __wrap__Znwm(std::size_t cb)
{
    return New(__real__Znwm, cb);
}
void* __wrap__Znam(std::size_t cb)
{
    return New(__real__Znam, cb);
}
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t cb, const std::nothrow_t&)
{
    return TryNew(__real__ZnwmRKSt9nothrow_t, cb);
}
void* __wrap__ZnamRKSt9nothrow_t(std::size_t cb, const std::nothrow_t&)
{
    return TryNew(__real__ZnamRKSt9nothrow_t, cb);
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
