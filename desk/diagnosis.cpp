// SPDX-License-Identifier: Apache-2.0
//
// From the ground up: what stands on something that is missing is not looked at.

#include "desk/diagnosis.h"

#include "desk/door.h"
#include "desk/finding_kinds.h"
#include "desk/holders.h"
#include "desk/sized.h"
#include "desk/versions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace desk {

namespace {

constexpr const char* SERVICE_PROGRAM = "/usr/sbin/pcscd";
constexpr const char* SERVICE_SOCKET = "/run/pcscd/pcscd.comm"; // if the environment names no other

void JudgeSilentService(CFindings& findings)
{
    const char* const szNamed = std::getenv("PCSCLITE_CSOCK_NAME");
    const char* const szSocket = szNamed != nullptr ? szNamed : SERVICE_SOCKET;
    if (access(szSocket, R_OK | W_OK) == 0) {
        findings.Add(SERVICE_NOT_ACCEPTING, {}, szSocket);
        return;
    }
    if (errno == EACCES) {
        findings.Add(SERVICE_OUT_OF_REACH, {}, szSocket);
        return;
    }
    findings.Add(access(SERVICE_PROGRAM, F_OK) == 0 ? SERVICE_NOT_RUNNING : SERVICE_NOT_INSTALLED);
}

/// \return whether the readers could be listed.
bool JudgeService(SResult listed, CFindings& findings)
{
    if (listed.Done()) {
        findings.Add(SERVICE_RUNNING);
    } else if (listed == NOT_RUNNING) {
        JudgeSilentService(findings);
    } else if (listed == NOT_ALLOWED) {
        findings.Add(SERVICE_NOT_ALLOWED);
    } else if (listed == SERVICE_STUCK || listed.eOutcome == PINDESK_IN_USE) {
        findings.Add(SERVICE_NOT_ANSWERING);
    } else {
        findings.Add(SERVICE_FAILED);
    }
    return listed.Done();
}

std::string KindText(pindesk_kind eKind, const char* szLanguage)
{
    std::array<char, 128> text{};
    pindesk_kind_text(eKind, szLanguage, text.data(), text.size());
    return text.data();
}

std::vector<std::string> NamesOf(const Readers& readers)
{
    std::vector<std::string> names;
    for (const pindesk_reader& reader : readers) {
        names.emplace_back(reader.name);
    }
    return names;
}

const SFindingKind& KindOf(EHidden eWhy)
{
    switch (eWhy) {
    case EHidden::NO_DRIVERS:
        return READER_WITHOUT_DRIVERS;
    case EHidden::UNKNOWN:
        return READER_UNKNOWN;
    case EHidden::TAKEN_BY_KERNEL:
        return READER_TAKEN_BY_KERNEL;
    case EHidden::TAKEN_BY_PROGRAM:
        return READER_TAKEN_BY_PROGRAM;
    default:
        return READER_NOT_SHOWN;
    }
}

void JudgeHidden(const SSurvey& survey, CFindings& findings)
{
    for (const SHiddenReader& reader : survey.hidden) {
        SFindingKind kind = KindOf(reader.eWhy);
        if (!survey.readers.empty()) {
            kind.eSeverity = WORTH_KNOWING; // another one is there
        }
        findings.Add(kind, reader.strName, reader.strTaker);
    }
}

void JudgeUse(const pindesk_reader& reader, CFindings& findings)
{
    if (reader.is_in_use == 0 && reader.is_exclusive == 0) {
        return;
    }
    char szPrograms[sizeof reader.holders];
    FillInHolders(szPrograms);
    const bool bSeen = szPrograms[0] != '\0';
    const SFindingKind& shared = bSeen ? CARD_HELD : CARD_HELD_BY_UNSEEN;
    const SFindingKind& alone = bSeen ? CARD_HELD_ALONE : CARD_HELD_ALONE_BY_UNSEEN;
    findings.Add(reader.is_exclusive != 0 ? alone : shared, reader.name, szPrograms);
}

void JudgeCard(const pindesk_reader& reader, const char* szLanguage, CFindings& findings)
{
    if (reader.is_mute != 0) {
        findings.Add(CARD_MUTE, reader.name);
    } else if (reader.kind == PINDESK_KIND_UNKNOWN) {
        findings.Add(CARD_UNKNOWN, reader.name);
    } else {
        findings.Add(CARD_FOUND, reader.name, KindText(reader.kind, szLanguage));
    }
    JudgeUse(reader, findings);
}

} // namespace

bool Survey(pindesk_desk* pDesk, const pindesk_options* pOptions, SSurvey& survey,
            pindesk_report& report)
{
    const auto readers = std::make_shared<Readers>();
    Serve(pDesk, pOptions, &report, PINDESK_OP_LOOK, {}, [readers](CCall& call) {
        CService service;
        call.Tell(List(call, service, *readers));
    });
    survey.listed = {report.outcome, report.detail};
    if (survey.listed.Done()) { // else the thread may be at work on them still
        survey.readers = *readers;
        survey.hidden = HiddenReaders(NamesOf(*readers), "/");
    }
    return report.outcome != PINDESK_USAGE && report.outcome != PINDESK_REFUSED &&
           report.outcome != PINDESK_INTERNAL_ERROR;
}

CFindings Diagnose(const SSurvey& survey, const char* szLanguage)
{
    CFindings findings(szLanguage);
    const SVersions versions = Versions();
    std::string strVersions = pindesk_version();
    for (const std::string& strVersion :
         {versions.strSystem, versions.strKernel, versions.strDrivers}) {
        strVersions += strVersion.empty() ? "" : ", " + strVersion;
    }
    findings.Add(VERSIONS, {}, strVersions);
    if (!JudgeService(survey.listed, findings)) {
        return findings;
    }
    JudgeHidden(survey, findings);
    if (survey.readers.empty() && survey.hidden.empty()) {
        findings.Add(READER_NONE);
    }
    const bool bAnyCard =
        std::any_of(survey.readers.begin(), survey.readers.end(),
                    [](const pindesk_reader& reader) { return reader.has_card != 0; });
    for (const pindesk_reader& reader : survey.readers) {
        findings.Add(READER_FOUND, reader.name);
        if (reader.has_card != 0) {
            JudgeCard(reader, szLanguage, findings);
        } else {
            findings.Add(bAnyCard ? READER_EMPTY : CARD_MISSING, reader.name);
        }
    }
    return findings;
}

} // namespace desk

using namespace desk;

pindesk_outcome pindesk_doctor(pindesk_desk* desk, const pindesk_options* options,
                               const char* language, pindesk_finding_visitor visitor, void* context,
                               pindesk_report* report)
{
    if (!HasSize(report)) {
        return PINDESK_USAGE;
    }
    return Guarded(report, [&] {
        SSurvey survey;
        pindesk_report own = EmptyReport();
        if (Survey(desk, options, survey, own)) {
            const CFindings findings = Diagnose(survey, language);
            findings.Tell(own);
            findings.Visit(visitor, context);
        }
        HandOver(own, report);
        return own.outcome;
    });
}
