// SPDX-License-Identifier: Apache-2.0
//
// What a card remembers only while it is powered: the selected file, who has proved what, and
// the randoms waiting to be used.
#ifndef TOOLS_VIRTUALCARD_MODEL_SESSION_H
#define TOOLS_VIRTUALCARD_MODEL_SESSION_H

#include "model/apdu.h"
#include "model/file.h"

#include <set>
#include <utility>

namespace vcard {

class CSession {
public:
    /// A session just after power-up, on a tree that outlives it.
    explicit CSession(SFile& mf) : m_path{&mf} {}

    // Selection.
    SFile& Mf() const { return *m_path.front(); }
    SFile& Df() const { return *m_path.back(); }
    /// The DFs from the MF to the current one.
    const std::vector<SFile*>& Path() const { return m_path; }
    /// Whether all of them are active.
    bool PathIsActive() const;
    /// The current EF. Throws SRefusal(6986) when none is selected, 6985 when it is deactivated.
    SFile& Ef() const;
    /// The file selected last: the current EF if there is one, else the current DF.
    SFile& CurrentFile() const { return m_pEf != nullptr ? *m_pEf : Df(); }
    /// Selects the DFs from the MF down to the last; what was proved in a DF that is left is lost.
    void SelectDf(std::vector<SFile*> path);
    void SelectEf(SFile& ef) { m_pEf = &ef; }
    void DeselectEf() { m_pEf = nullptr; }

    // Security status.
    /// The object a reference means: with REFERENCE_LOCAL the nearest one from the current DF up,
    /// without it the one nearest to the MF. Throws SRefusal(6A88) when there is none of the kinds.
    SSecurityObject& Object(std::uint8_t bReference,
                            std::initializer_list<EObjectKind> kinds) const;
    /// The first object of a kind from the current DF up. Throws SRefusal(wRefusal) without one.
    SSecurityObject& Nearest(EObjectKind kind, std::uint16_t wRefusal) const;
    void SetVerified(const SSecurityObject& object) { m_verified.insert(&object); }
    void ClearVerified(const SSecurityObject& object) { m_verified.erase(&object); }
    bool IsVerified(const SSecurityObject& object) const { return m_verified.count(&object) != 0; }
    /// True when the access byte says always, or the secret it names is verified.
    bool Allows(std::uint8_t bAccess) const;
    /// The same, or an authentication key of a DF on the path is proved: it opens what only the
    /// issuer does.
    bool AllowsIssuer(std::uint8_t bAccess) const;
    /// Whoever creates an object may give it its value once, whatever its conditions say.
    void SetCreated(const SSecurityObject& object) { m_created.insert(&object); }
    bool IsCreated(const SSecurityObject& object) const { return m_created.count(&object) != 0; }
    void ClearCreated(const SSecurityObject& object) { m_created.erase(&object); }
    /// Neither verified nor fresh any more.
    void Forget(const SSecurityObject& object)
    {
        ClearVerified(object);
        ClearCreated(object);
    }

    // Randoms, each good for one use.
    void SetChallenge(Bytes challenge) { m_abChallenge = std::move(challenge); }
    Bytes TakeChallenge() { return std::exchange(m_abChallenge, {}); }
    void SetHostRandom(Bytes random) { m_abHostRandom = std::move(random); }
    Bytes TakeHostRandom() { return std::exchange(m_abHostRandom, {}); }

    // An answer that waits for GET RESPONSE; no data: none does.
    void HoldBack(SAnswer answer) { m_pending = std::move(answer); }
    SAnswer TakePending() { return std::exchange(m_pending, {}); }

    // Security environment: the key reference that MANAGE SECURITY ENVIRONMENT set, or 0.
    std::uint8_t m_bKeyReference = 0;
    // The hash that PUT HASH left for a signature without data, or nothing.
    Bytes m_abHash;

private:
    std::vector<SFile*> m_path; // never empty
    SFile* m_pEf = nullptr;
    std::set<const SSecurityObject*> m_verified, m_created;
    Bytes m_abChallenge, m_abHostRandom;
    SAnswer m_pending;
};

/// Refuses with 6982 unless the session satisfies the access byte.
void RequireAccess(const CSession& session, std::uint8_t bAccess);

} // namespace vcard

#endif
