// SPDX-License-Identifier: Apache-2.0

#include "desk/findings.h"

#include "desk/sized.h"
#include "desk/words.h"

namespace desk {

void CFindings::Add(const SFindingKind& kind, const std::string& strReader,
                    const std::string& strDetail)
{
    const auto text = [&](const char* szText) {
        return Fill(Tr(m_szLanguage, szText), {{"reader", strReader}, {"detail", strDetail}});
    };
    m_findings.push_back(
        {kind, strReader, text(kind.szWhat), text(kind.szCause), text(kind.szRemedy)});
}

void CFindings::Visit(pindesk_finding_visitor visitor, void* context) const
{
    for (const SFinding& own : m_findings) {
        pindesk_finding finding{};
        finding.size = sizeof finding;
        finding.id = own.kind.szId;
        finding.severity = own.kind.eSeverity;
        finding.reader = own.strReader.c_str();
        finding.what = own.strWhat.c_str();
        finding.cause = own.strCause.c_str();
        finding.remedy = own.strRemedy.c_str();
        if (visitor == nullptr || visitor(&finding, context) != 0) {
            return;
        }
    }
}

void CFindings::Tell(pindesk_report& report) const
{
    const auto problem =
        std::find_if(m_findings.begin(), m_findings.end(),
                     [](const SFinding& finding) { return finding.kind.eSeverity == PROBLEM; });
    const SResult result = problem == m_findings.end() ? DONE : problem->kind.result;
    report.outcome = result.eOutcome;
    report.detail = result.eDetail;
    report.next = NextAfter(result);
    if (!result.Done()) {
        CopyText(report.reader, problem->strReader.c_str(), problem->strReader.size());
    }
}

} // namespace desk
