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
    if (m_cbData != sizeof nValue) {
        return assign(reinterpret_cast<const unsigned char*>(&nValue), sizeof nValue);
    }
    // In place: another thread may be reading.
    __atomic_store_n(reinterpret_cast<std::int32_t*>(m_pbData), nValue, __ATOMIC_RELAXED);
    return *this;
}

CKDictItem& CKDictItem::assign(const char* szVal)
{
    return assign(reinterpret_cast<const unsigned char*>(szVal),
                  szVal != nullptr ? std::strlen(szVal) : 0);
}

CKDictItem& CKDictItem::assign(const unsigned char* pbVal, unsigned long cbVal)
{
    if (pbVal == nullptr || cbVal == 0) {
        reset();
        return *this;
    }
    // Copied before anything is freed: the bytes may be this item's own.
    auto* const pbData = new unsigned char[cbVal + 1];
    std::memcpy(pbData, pbVal, cbVal);
    pbData[cbVal] = 0;
    reset();
    m_pbData = pbData;
    m_cbData = cbVal;
    return *this;
}

CKDictItem::operator long() const
{
    if (m_cbData < sizeof(std::int32_t)) {
        return 0;
    }
    return __atomic_load_n(reinterpret_cast<const std::int32_t*>(m_pbData), __ATOMIC_RELAXED);
}

CKDictItem::operator const char*() const
{
    return m_pbData != nullptr ? reinterpret_cast<const char*>(m_pbData) : "";
}

CKDict::~CKDict()
{
    for (auto& entry : *this) {
        if (entry.second != nullptr) {
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
