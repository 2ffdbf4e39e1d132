// SPDX-License-Identifier: Apache-2.0
//
// Opening a PC/SC context, listing its readers, and giving both back.

#include "pindesk/readers.h"

#include "pindesk/PinDesk.h"

#include <cstring>
#include <utility>

namespace pindesk {

long CContext::Establish()
{
    const LONG lResult = SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext);
    if (lResult == SCARD_S_SUCCESS) {
        return result::OK;
    }
    m_hContext = 0;
    return result::NO_CONTEXT;
}

SCARDCONTEXT CContext::Detach()
{
    return std::exchange(m_hContext, 0);
}

void CContext::Close()
{
    if (m_hContext != 0) {
        SCardReleaseContext(Detach());
    }
}

CReaderList::~CReaderList()
{
    if (m_mszReaders) {
        SCardFreeMemory(m_hContext, m_mszReaders);
    }
}

long CReaderList::List(SCARDCONTEXT hContext)
{
    m_hContext = hContext;
    DWORD cchReaders = SCARD_AUTOALLOCATE; // PC/SC allocates, and writes the address of the list
    const LONG lResult =
        SCardListReaders(hContext, nullptr, reinterpret_cast<LPSTR>(&m_mszReaders), &cchReaders);
    return lResult == SCARD_S_SUCCESS && m_mszReaders ? result::OK : result::NO_READER;
}

const char* CReaderList::At(long slot) const
{
    if (slot < 1 || !m_mszReaders) {
        return nullptr;
    }
    const char* szName = m_mszReaders;
    while (*szName != '\0' && --slot > 0) {
        szName += std::strlen(szName) + 1;
    }
    return *szName != '\0' ? szName : nullptr;
}

long CReaderList::Count() const
{
    long lCount = 0;
    while (At(lCount + 1)) {
        ++lCount;
    }
    return lCount;
}

long CReaderAtSlot::Open(long slot)
{
    if (slot < 1) {
        return result::NO_READER;
    }
    if (const long lResult = m_context.Establish(); lResult != result::OK) {
        return lResult;
    }
    if (const long lResult = m_readers.List(m_context.Handle()); lResult != result::OK) {
        return lResult;
    }
    m_szName = m_readers.At(slot);
    return m_szName ? result::OK : result::NO_READER;
}

bool CReaderAtSlot::IsNamed(const char* szName) const
{
    return std::strcmp(m_szName, szName) == 0;
}

} // namespace pindesk
