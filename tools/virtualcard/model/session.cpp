// SPDX-License-Identifier: Apache-2.0
//
// Selection and security status.
#include "model/session.h"

#include "model/iso7816.h"

#include <algorithm>

namespace vcard {

namespace {

SSecurityObject* FindIn(SFile& df, std::uint8_t bId, std::initializer_list<EObjectKind> kinds)
{
    const auto it = std::find_if(df.objects.begin(), df.objects.end(), [&](const auto& object) {
        return object.bId == bId &&
               std::find(kinds.begin(), kinds.end(), object.Kind()) != kinds.end();
    });
    return it == df.objects.end() ? nullptr : &*it;
}

std::vector<SFile*> NearestFirst(std::vector<SFile*> path)
{
    std::reverse(path.begin(), path.end());
    return path;
}

} // namespace

SFile& CSession::Ef() const
{
    Require(m_pEf != nullptr, sw::NO_CURRENT_EF);
    Require(m_pEf->bActive, sw::CONDITIONS);
    return *m_pEf;
}

bool CSession::PathIsActive() const
{
    return std::ranges::all_of(m_path, &SFile::bActive);
}

void CSession::SelectDf(std::vector<SFile*> path)
{
    for (const SFile* pLeft : m_path) {
        if (std::find(path.begin(), path.end(), pLeft) != path.end()) {
            continue;
        }
        for (const SSecurityObject& object : pLeft->objects) {
            Forget(object);
        }
    }
    m_path = std::move(path);
    m_pEf = nullptr;
}

SSecurityObject& CSession::Object(std::uint8_t bReference,
                                  std::initializer_list<EObjectKind> kinds) const
{
    const bool bLocal = (bReference & REFERENCE_LOCAL) != 0;
    for (SFile* pDf : bLocal ? NearestFirst(m_path) : m_path) {
        if (SSecurityObject* pObject = FindIn(*pDf, bReference & REFERENCE_MASK, kinds)) {
            return *pObject;
        }
    }
    throw SRefusal(sw::OBJECT_NOT_FOUND);
}

SSecurityObject& CSession::Nearest(EObjectKind kind, std::uint16_t wRefusal) const
{
    for (SFile* pDf : NearestFirst(m_path)) {
        for (SSecurityObject& object : pDf->objects) {
            if (object.Kind() == kind) {
                return object;
            }
        }
    }
    throw SRefusal(wRefusal);
}

bool CSession::Allows(std::uint8_t bAccess) const
{
    if (bAccess == access::ALWAYS || bAccess == access::NEVER) {
        return bAccess == access::ALWAYS;
    }
    const std::uint8_t bId = bAccess & REFERENCE_MASK;
    return std::any_of(m_path.begin(), m_path.end(), [&](SFile* pDf) {
        const SSecurityObject* pObject =
            FindIn(*pDf, bId, {EObjectKind::PIN, EObjectKind::AUTH_KEY});
        return pObject != nullptr && IsVerified(*pObject);
    });
}

bool CSession::AllowsIssuer(std::uint8_t bAccess) const
{
    return Allows(bAccess) ||
           std::any_of(m_verified.begin(), m_verified.end(), [](const SSecurityObject* pObject) {
               return pObject->Kind() == EObjectKind::AUTH_KEY;
           });
}

void RequireAccess(const CSession& session, std::uint8_t bAccess)
{
    Require(session.Allows(bAccess), sw::NOT_ALLOWED);
}

} // namespace vcard
