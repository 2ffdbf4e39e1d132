// SPDX-License-Identifier: Apache-2.0
//
// The dictionary of settings and its items.

#include "cardlib/ckdictionary.h"

#include <cstdint>
#include <cstring>

CKDictItem* CKDictItem::CreateInstance()
{
    return new CKDictItem;
}

void CKDictItem::Destroy()
{
    // Callers may call through a null pointer; the compiler must not conclude that there is none.
    CKDictItem* volatile pThis = this;
    CKDictItem* const pItem = pThis;
    delete pItem;
}

void CKDictItem::reset()
{
    delete[] m_pbData;
    m_pbData = nullptr;
    m_cbData = 0;
}

CKDictItem& CKDictItem::assign(long lVal)
{
    const auto nValue = static_cast<std::int32_t>(lVal);
    reset();
    m_pbData = new unsigned char[sizeof nValue];
    m_cbData = sizeof nValue;
    std::memcpy(m_pbData, &nValue, sizeof nValue);
    return *this;
}

CKDictItem& CKDictItem::assign(const char* szVal)
{
    return assign(reinterpret_cast<const unsigned char*>(szVal), szVal ? std::strlen(szVal) : 0);
}

CKDictItem& CKDictItem::assign(const unsigned char* pbVal, unsigned long cbVal)
{
    reset();
    if (!pbVal || cbVal == 0) {
        return *this;
    }
    m_pbData = new unsigned char[cbVal + 1];
    m_cbData = cbVal;
    std::memcpy(m_pbData, pbVal, cbVal);
    m_pbData[cbVal] = 0;
    return *this;
}

CKDictItem::operator long() const
{
    std::int32_t nValue = 0;
    if (m_cbData >= sizeof nValue) {
        std::memcpy(&nValue, m_pbData, sizeof nValue);
    }
    return nValue;
}

CKDictItem::operator const char*() const
{
    return m_pbData ? reinterpret_cast<const char*>(m_pbData) : "";
}

CKDict::~CKDict()
{
    for (auto& entry : *this) {
        if (entry.second) {
            entry.second->Destroy();
        }
        entry.second = nullptr;
    }
}

CKDictItem*& CKDict::operator[](const char* szKey)
{
    return map::operator[](std::string(szKey));
}

void CKDict::erase(const char* szKey)
{
    map::erase(std::string(szKey));
}
