// SPDX-License-Identifier: Apache-2.0
//
// PKCS#11 attribute templates: search, allocation, copy and merge.

#include "cardlib/utils.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr CK_ULONG MAX_RECORDS = PTRDIFF_MAX / sizeof(CK_ATTRIBUTE);

const CK_ATTRIBUTE* Find(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount)
{
    const long lPos = GetAttributePos(type, pTemplate, ulCount);
    return lPos < 0 ? nullptr : pTemplate + lPos;
}

void StorePosition(CK_ULONG* pulPosition, const CK_ATTRIBUTE* pTemplate, const CK_ATTRIBUTE* pFound)
{
    if (pulPosition != nullptr) {
        *pulPosition = static_cast<CK_ULONG>(pFound - pTemplate);
    }
}

void FreeValue(CK_ATTRIBUTE& record)
{
    // Not wiped: a token may have set the length to something that is no longer the buffer's.
    if (record.ulValueLen != 0) {
        delete[] static_cast<CK_BYTE*>(record.pValue);
    }
    record.pValue = nullptr;
}

/// \return false when memory is short, or for "no length known" (all bits set) and other lengths
/// that no object can have; pValue is then null.
bool AllocValue(CK_ATTRIBUTE& record)
{
    record.pValue =
        record.ulValueLen <= PTRDIFF_MAX ? new (std::nothrow) CK_BYTE[record.ulValueLen] : nullptr;
    return record.pValue != nullptr;
}

bool CopyRecord(CK_ATTRIBUTE& dest, const CK_ATTRIBUTE& source)
{
    dest = {source.type, nullptr, source.ulValueLen};
    if (source.pValue == nullptr || source.ulValueLen == 0) {
        return true;
    }
    if (!AllocValue(dest)) {
        return false;
    }
    std::memcpy(dest.pValue, source.pValue, source.ulValueLen);
    return true;
}

/// An array of records under construction: freed with its values unless it is released.
class CTemplateBuilder {
public:
    explicit CTemplateBuilder(CK_ULONG ulCapacity)
        : m_pRecords(ulCapacity <= MAX_RECORDS ? new (std::nothrow) CK_ATTRIBUTE[ulCapacity]()
                                               : nullptr),
          m_ulCapacity(ulCapacity)
    {
    }
    ~CTemplateBuilder() { CK_TemplateFree(m_pRecords, m_ulCapacity, false); }
    CTemplateBuilder(const CTemplateBuilder&) = delete;
    CTemplateBuilder& operator=(const CTemplateBuilder&) = delete;

    bool AppendCopies(const CK_ATTRIBUTE* pSource, CK_ULONG ulCount)
    {
        return m_pRecords != nullptr &&
               std::all_of(pSource, pSource + ulCount, [this](const auto& record) {
                   return CopyRecord(m_pRecords[m_ulUsed++], record);
               });
    }

    /// The merge's rule for one record of the template that wins.
    bool Merge(const CK_ATTRIBUTE& source)
    {
        const long lPos = GetAttributePos(source.type, m_pRecords, m_ulUsed);
        // A match at index 0 is appended too, on purpose: callers know it as the default.
        CK_ATTRIBUTE& dest = lPos > 0 ? m_pRecords[lPos] : m_pRecords[m_ulUsed++];
        FreeValue(dest);
        const bool bEmptyValue = source.pValue != nullptr && source.ulValueLen == 0;
        return bEmptyValue || CopyRecord(dest, source);
    }

    CK_ULONG Count() const { return m_ulUsed; }
    CK_ATTRIBUTE* Release() { return std::exchange(m_pRecords, nullptr); }

private:
    CK_ATTRIBUTE* m_pRecords;
    CK_ULONG m_ulCapacity;
    CK_ULONG m_ulUsed = 0;
};

} // namespace

long GetAttributePos(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount)
{
    if (pTemplate == nullptr) {
        return -1;
    }
    const CK_ATTRIBUTE* const pEnd = pTemplate + ulCount;
    const auto* const pFound = std::find_if(
        pTemplate, pEnd, [type](const CK_ATTRIBUTE& record) { return record.type == type; });
    return pFound == pEnd ? -1 : pFound - pTemplate;
}

CK_ULONG GetAttribute(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount,
                      CK_ULONG* pulAttributeSize, CK_ULONG* pulPosition)
{
    const CK_ATTRIBUTE* const pFound = Find(type, pTemplate, ulCount);
    if (pFound == nullptr) {
        return 0;
    }
    if (pulAttributeSize != nullptr) {
        *pulAttributeSize = pFound->ulValueLen;
    }
    StorePosition(pulPosition, pTemplate, pFound);
    return reinterpret_cast<CK_ULONG>(pFound->pValue);
}

bool GetAttribute2(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount,
                   void* pValue, CK_ULONG* pulAttributeSize, CK_ULONG* pulPosition)
{
    const CK_ATTRIBUTE* const pFound = Find(type, pTemplate, ulCount);
    if (pFound == nullptr || pulAttributeSize == nullptr) {
        return false;
    }
    if (pValue != nullptr && pFound->pValue != nullptr && *pulAttributeSize >= pFound->ulValueLen) {
        std::memcpy(pValue, pFound->pValue, pFound->ulValueLen);
    }
    *pulAttributeSize = pFound->ulValueLen;
    StorePosition(pulPosition, pTemplate, pFound);
    return true;
}

bool GetAttribute3(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount,
                   void** ppValue, CK_ULONG* pulAttributeSize, CK_ULONG* pulPosition)
{
    if (ppValue == nullptr || pTemplate == nullptr || pulAttributeSize == nullptr) {
        return false;
    }
    *ppValue = nullptr;
    const CK_ATTRIBUTE* const pFound = Find(type, pTemplate, ulCount);
    if (pFound == nullptr) {
        return false;
    }
    *ppValue = pFound->pValue;
    *pulAttributeSize = pFound->ulValueLen;
    StorePosition(pulPosition, pTemplate, pFound);
    return true;
}

CK_ULONG GetAttributeLen(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount)
{
    const CK_ATTRIBUTE* const pFound = Find(type, pTemplate, ulCount);
    return pFound != nullptr ? pFound->ulValueLen : 0;
}

bool CK_TemplateAlloc(CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount)
{
    if (pTemplate == nullptr || ulCount == 0) {
        return false;
    }
    return std::all_of(pTemplate, pTemplate + ulCount, [](CK_ATTRIBUTE& record) {
        return record.ulValueLen == 0 || AllocValue(record);
    });
}

bool CK_TemplateFree(CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount, bool bFreeJustContents)
{
    if (pTemplate == nullptr || ulCount == 0) {
        return false;
    }
    std::for_each(pTemplate, pTemplate + ulCount, [](CK_ATTRIBUTE& record) {
        FreeValue(record);
        record.ulValueLen = 0;
    });
    if (!bFreeJustContents) {
        delete[] pTemplate;
    }
    return true;
}

bool CK_TemplateCopy(const CK_ATTRIBUTE* pTemplateSource, CK_ULONG ulCount,
                     CK_ATTRIBUTE** ppTemplateDest)
{
    if (pTemplateSource == nullptr || ulCount == 0 || ppTemplateDest == nullptr) {
        return false;
    }
    CTemplateBuilder copy(ulCount);
    if (!copy.AppendCopies(pTemplateSource, ulCount)) {
        return false;
    }
    *ppTemplateDest = copy.Release();
    return true;
}

bool CK_TemplateMerge(const CK_ATTRIBUTE* pTemplate1, CK_ULONG ulCount1,
                      const CK_ATTRIBUTE* pTemplate2, CK_ULONG ulCount2,
                      CK_ATTRIBUTE** ppTemplateOut, CK_ULONG* pulTemplateOutCount)
{
    if (ulCount1 + ulCount2 == 0 || ppTemplateOut == nullptr || pulTemplateOutCount == nullptr) {
        return false;
    }
    if (ulCount1 == 0) {
        return true; // on purpose without outputs: the caller keeps its template 2
    }
    if (ulCount2 == 0) {
        *pulTemplateOutCount = ulCount1;
        return CK_TemplateCopy(pTemplate1, ulCount1, ppTemplateOut);
    }
    if (pTemplate1 == nullptr || pTemplate2 == nullptr || ulCount1 > MAX_RECORDS ||
        ulCount2 > MAX_RECORDS) {
        return false;
    }
    CTemplateBuilder merged(ulCount1 + ulCount2);
    if (!merged.AppendCopies(pTemplate2, ulCount2)) {
        return false;
    }
    if (!std::all_of(pTemplate1, pTemplate1 + ulCount1,
                     [&merged](const CK_ATTRIBUTE& record) { return merged.Merge(record); })) {
        return false;
    }
    *pulTemplateOutCount = merged.Count();
    *ppTemplateOut = merged.Release();
    return true;
}
