// SPDX-License-Identifier: Apache-2.0
//
// What a diagnosis has found, in words. Internal.

#ifndef DESK_FINDINGS_H
#define DESK_FINDINGS_H

#include "desk/failure.h"

#include <string>
#include <vector>

namespace desk {

enum ESeverity { AS_IT_SHOULD_BE = 0, WORTH_KNOWING = 1, PROBLEM = 2 };

/// One kind of finding. The texts are of the catalogue, with the gaps {reader} and {detail}.
struct SFindingKind {
    const char* szId;
    ESeverity eSeverity;
    SResult result; ///< what a call comes to that meets it
    const char* szWhat;
    const char* szCause = "";
    const char* szRemedy = "";
};

class CFindings {
public:
    /// \param szLanguage  as in pindesk_text; lives as long as the findings are added.
    explicit CFindings(const char* szLanguage) : m_szLanguage(szLanguage) {}

    void Add(const SFindingKind& kind, const std::string& strReader = {},
             const std::string& strDetail = {});
    /// Shows all, in their order, until the visitor ends it.
    void Visit(pindesk_finding_visitor visitor, void* context) const;
    /// Writes what the first problem comes to into a report: they are added from the ground up.
    void Tell(pindesk_report& report) const;

private:
    struct SFinding {
        SFindingKind kind;
        std::string strReader, strWhat, strCause, strRemedy;
    };

    const char* m_szLanguage;
    std::vector<SFinding> m_findings;
};

} // namespace desk

#endif
