// SPDX-License-Identifier: Apache-2.0
//
// A recursive lock that works from the first instruction of a process on: it is
// constant-initialised, so that the trace functions can be called from static initialisers.

#ifndef CARDLIB_SYSTOVANMUTEX_H
#define CARDLIB_SYSTOVANMUTEX_H

#include "cardlib/export.h"

#include <pthread.h>

/// The lock of the platform: a recursive POSIX mutex.
typedef pthread_mutex_t SYSTOVAN_CRITICAL_SECTION;

/// A recursive critical section, not copyable: the thread that locked it unlocks it as often.
class PINDESK_API CSysTovanCriticalSection {
public:
    /// \param bAutoDestroy  whether the destructor destroys a mutex that was used.
    constexpr explicit CSysTovanCriticalSection(bool bAutoDestroy = true)
        : m_bAutoDestroy(bAutoDestroy)
    {
    }
    /// Destroys the mutex if it was ever locked and m_bAutoDestroy is set. Nobody may hold it.
    ~CSysTovanCriticalSection();
    CSysTovanCriticalSection(const CSysTovanCriticalSection&) = delete;
    CSysTovanCriticalSection& operator=(const CSysTovanCriticalSection&) = delete;

    /// Waits for the lock and takes it. The first lock marks the section as initialised.
    void Lock();
    /// Gives one lock back; does nothing while the section was never locked.
    void Unlock();
    /// Whether the section was ever locked.
    bool IsInitialized() const { return m_bInitialized; }

private:
    bool m_bInitialized = false;
    bool m_bAutoDestroy;
    SYSTOVAN_CRITICAL_SECTION m_criticalSection = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

/// Holds a critical section for the life of a scope.
class CSysTovanLock {
public:
    explicit CSysTovanLock(CSysTovanCriticalSection& section) : m_section(section)
    {
        m_section.Lock();
    }
    ~CSysTovanLock() { m_section.Unlock(); }
    CSysTovanLock(const CSysTovanLock&) = delete;
    CSysTovanLock& operator=(const CSysTovanLock&) = delete;

private:
    CSysTovanCriticalSection& m_section;
};

/// A place where a host may keep one critical section of its own; null at load. The library neither
/// reads nor writes it.
extern PINDESK_API CSysTovanCriticalSection* g_pGlobalCriticalSection;

#endif
