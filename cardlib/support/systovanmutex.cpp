// SPDX-License-Identifier: Apache-2.0
//
// The recursive lock over POSIX threads.

#include "cardlib/systovanmutex.h"

CSysTovanCriticalSection* g_pGlobalCriticalSection = nullptr;

CSysTovanCriticalSection::~CSysTovanCriticalSection()
{
    if (!m_bInitialized || !m_bAutoDestroy) {
        return;
    }
    m_bInitialized = false;
    pthread_mutex_destroy(&m_criticalSection);
}

void CSysTovanCriticalSection::Lock()
{
    pthread_mutex_lock(&m_criticalSection);
    m_bInitialized = true; // under the lock: two first users do not race
}

void CSysTovanCriticalSection::Unlock()
{
    if (m_bInitialized) {
        pthread_mutex_unlock(&m_criticalSection);
    }
}
