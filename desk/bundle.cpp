// SPDX-License-Identifier: Apache-2.0
//
// What a help desk needs, and no more: nothing in it tells whose card it was.

#include "desk/diagnosis.h"
#include "desk/door.h"
#include "desk/json.h"
#include "desk/looks.h"
#include "desk/sized.h"
#include "desk/transcript.h"
#include "desk/versions.h"

#include <algorithm>
#include <optional>

using namespace desk;

namespace {

constexpr int SCHEMA = 1;

/// The drivers put a reader's own serial number into its name, in parentheses.
void MaskSerial(pindesk_reader& reader)
{
    bool bWithin = false;
    for (char* pc = reader.name; *pc != '\0'; ++pc) {
        bWithin = bWithin && *pc != ')';
        if (bWithin) {
            *pc = '*';
        }
        bWithin = bWithin || *pc == '(';
    }
}

std::string Number(long lValue)
{
    return std::to_string(lValue);
}

/// What is not known is -1 in C, null in JSON.
std::string Known(long lValue)
{
    return lValue < 0 ? "null" : Number(lValue);
}

std::string VersionsOf(const SVersions& versions)
{
    return JsonObject({{"pindesk", JsonText(pindesk_version())},
                       {"pcsc_lite_headers", JsonText(versions.strPcscHeaders)},
                       {"reader_drivers", JsonText(versions.strDrivers)},
                       {"system", JsonText(versions.strSystem)},
                       {"kernel", JsonText(versions.strKernel)}});
}

std::string Findings(const CFindings& findings)
{
    std::vector<std::string> values;
    const auto add = [](const pindesk_finding* pFinding, void* context) {
        static_cast<std::vector<std::string>*>(context)->push_back(
            JsonObject({{"id", JsonText(pFinding->id)},
                        {"severity", Number(pFinding->severity)},
                        {"reader", JsonText(pFinding->reader)},
                        {"what", JsonText(pFinding->what)},
                        {"cause", JsonText(pFinding->cause)},
                        {"remedy", JsonText(pFinding->remedy)}}));
        return 0;
    };
    findings.Visit(add, &values);
    return JsonArray(values);
}

std::string AtrOf(const pindesk_reader& reader)
{
    return MaskedHex({reader.atr, reader.atr_size}, reader.atr_size, 0);
}

std::string ReaderOf(const pindesk_reader& reader)
{
    return JsonObject({{"slot", Number(reader.slot)},
                       {"name", JsonText(reader.name)},
                       {"has_card", JsonBool(reader.has_card != 0)},
                       {"is_mute", JsonBool(reader.is_mute != 0)},
                       {"is_in_use", JsonBool(reader.is_in_use != 0)},
                       {"is_exclusive", JsonBool(reader.is_exclusive != 0)},
                       {"kind", JsonText(pindesk_kind_name(reader.kind))},
                       {"atr", JsonText(AtrOf(reader))}});
}

/// How a call ended, and what it has to tell besides.
std::string CallOf(const pindesk_report& report, const JsonMember& result)
{
    return JsonObject({{"outcome", JsonText(pindesk_outcome_name(report.outcome))},
                       {"detail", JsonText(pindesk_detail_name(report.detail))},
                       {"exchanges", Number(report.exchanges)},
                       {"milliseconds", Number(report.milliseconds)},
                       result});
}

std::string SecretOf(const pindesk_secret_status& status)
{
    const bool bAnswered = status.status_word >= 0;
    const std::string strWord = Hex(static_cast<std::uint32_t>(status.status_word), 4);
    return JsonObject({{"secret", JsonText(pindesk_secret_name(status.secret))},
                       {"state", JsonText(pindesk_state_name(status.state))},
                       {"tries_left", Known(status.tries_left)},
                       {"status_word", bAnswered ? JsonText(strWord) : "null"}});
}

/// pindesk_identify and pindesk_status, recorded: the second after the first alone.
class CExamination {
public:
    CExamination(pindesk_desk* pDesk, const pindesk_options* pOptions)
    {
        Record(pDesk, pOptions, m_identified,
               [card = m_card](CCall& call) { return Look(call, *card, true); });
        if (m_identified.outcome == PINDESK_DONE) {
            Record(pDesk, pOptions, m_asked.emplace(EmptyReport()),
                   [statuses = m_statuses](CCall& call) { return AskAll(call, *statuses); });
        }
    }

    bool Cancelled() const
    {
        return m_identified.outcome == PINDESK_REFUSED ||
               (m_asked && m_asked->outcome == PINDESK_REFUSED);
    }

    std::string Identified() const
    {
        const bool bDone = m_identified.outcome == PINDESK_DONE;
        return CallOf(m_identified, {"layout", Known(bDone ? m_card->layout : -1)});
    }

    std::string Asked() const
    {
        if (!m_asked) {
            return "null";
        }
        const bool bDone = m_asked->outcome == PINDESK_DONE;
        return CallOf(*m_asked, {"secrets", bDone ? JsonArray(*m_statuses, SecretOf) : "[]"});
    }

    /// In the format that the virtual card replays.
    std::string Dialogue(const Readers& readers) const
    {
        std::vector<std::string> lines;
        for (const pindesk_reader& reader : readers) {
            if (reader.slot == m_identified.slot) {
                lines = {std::string("reader ") + reader.name, "atr " + AtrOf(reader)};
            }
        }
        const std::vector<std::string> exchanges = m_transcript->Lines();
        lines.insert(lines.end(), exchanges.begin(), exchanges.end());
        return JsonArray(lines, JsonText);
    }

private:
    template <class Body>
    void Record(pindesk_desk* pDesk, const pindesk_options* pOptions, pindesk_report& report,
                Body body)
    {
        Serve(pDesk, pOptions, &report, PINDESK_OP_LOOK, {},
              [transcript = m_transcript, body](CCall& call) {
                  call.transcript = transcript;
                  call.Tell(body(call));
              });
    }

    // Shared with threads that may outlive their calls; only after success they are ours.
    std::shared_ptr<CTranscript> m_transcript = std::make_shared<CTranscript>();
    std::shared_ptr<pindesk_card> m_card = std::make_shared<pindesk_card>();
    std::shared_ptr<std::vector<pindesk_secret_status>> m_statuses =
        std::make_shared<std::vector<pindesk_secret_status>>();
    pindesk_report m_identified = EmptyReport();
    std::optional<pindesk_report> m_asked;
};

std::string Bundle(const SSurvey& survey, const CExamination& examination)
{
    return JsonObject({{"schema", Number(SCHEMA)},
                       {"versions", VersionsOf(Versions())},
                       {"findings", Findings(Diagnose(survey, nullptr))},
                       {"readers", JsonArray(survey.readers, ReaderOf)},
                       {"identify", examination.Identified()},
                       {"status", examination.Asked()},
                       {"dialogue", examination.Dialogue(survey.readers)}}) +
           '\n';
}

} // namespace

pindesk_outcome pindesk_bundle(pindesk_desk* desk, const pindesk_options* options,
                               pindesk_writer writer, void* context, pindesk_report* report)
{
    if (writer == nullptr) {
        return Refuse(BAD_ARGUMENT, report);
    }
    if (!HasSize(report)) {
        return PINDESK_USAGE;
    }
    return Guarded(report, [&] {
        SSurvey survey;
        pindesk_report own = EmptyReport();
        if (!Survey(desk, options, survey, own)) {
            HandOver(own, report);
            return own.outcome;
        }
        const CExamination examination(desk, options);
        if (examination.Cancelled()) {
            return Refuse(CANCELLED, report);
        }
        std::for_each(survey.readers.begin(), survey.readers.end(), MaskSerial);
        const std::string strBundle = Bundle(survey, examination);
        return Refuse(writer(strBundle.data(), strBundle.size(), context) == 0 ? DONE : CANCELLED,
                      report);
    });
}
