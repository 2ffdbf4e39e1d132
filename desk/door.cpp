// SPDX-License-Identifier: Apache-2.0

#include "desk/door.h"

#include "cardlib/support/careful.h"
#include "cardlib/support/settings.h"
#include "desk/sized.h"

namespace desk {

namespace {

constexpr std::size_t SERIAL_LENGTH = PINDESK_SERIAL_SIZE - 1;

std::optional<std::chrono::milliseconds> Span(std::int32_t lMilliseconds)
{
    if (lMilliseconds < 0) {
        return std::nullopt; // for ever
    }
    return std::chrono::milliseconds(lMilliseconds);
}

SResult TakeOptions(const pindesk_options& options, SRequest& request)
{
    if (options.slot < 0 || options.wait_ms < PINDESK_FOREVER ||
        options.timeout_ms < PINDESK_FOREVER ||
        (options.serial != nullptr && std::strlen(options.serial) > SERIAL_LENGTH)) {
        return BAD_ARGUMENT;
    }
    request.strReader = options.reader != nullptr ? options.reader : "";
    request.strSerial = options.serial != nullptr ? options.serial : "";
    request.lSlot = options.slot;
    request.wait = Span(options.wait_ms);
    if (options.timeout_ms != 0) {
        request.timeout = Span(options.timeout_ms);
    }
    request.ulFlags = options.flags;
    return DONE;
}

void TakeKeys(pindesk_desk& desk, const pindesk_options& options, SRequest& request)
{
    const std::lock_guard lock(desk.keyMutex);
    request.smKey.Take(options.sm_key != nullptr ? options.sm_key : desk.smKey.data());
    request.adminKey.Take(options.admin_key != nullptr ? options.admin_key : desk.adminKey.data());
}

} // namespace

bool HasSize(const pindesk_report* pReport)
{
    return pReport == nullptr || pReport->size >= sizeof pReport->size;
}

pindesk_report EmptyReport()
{
    pindesk_report report{};
    report.size = sizeof report;
    report.tries_before = report.tries_left = report.status_word = -1;
    report.code = PINDESK_NO_CODE;
    return report;
}

pindesk_outcome Refuse(SResult result, pindesk_report* pReport)
{
    pindesk_report report = EmptyReport();
    report.outcome = result.eOutcome;
    report.detail = result.eDetail;
    report.next = NextAfter(result);
    if (HasSize(pReport)) {
        HandOver(report, pReport);
    }
    return result.eOutcome;
}

pindesk_outcome Serve(pindesk_desk* pDesk, const pindesk_options* pOptions, pindesk_report* pReport,
                      pindesk_operation eOperation, const Prepare& prepare, CCall::Work work)
{
    if (pDesk == nullptr || !HasSize(pReport) ||
        (pOptions != nullptr && pOptions->size < sizeof pOptions->size)) {
        return Refuse(BAD_ARGUMENT, pReport);
    }
    return Guarded(pReport, [&] {
        const pindesk_options options = Taken(pOptions);
        auto request = std::make_unique<SRequest>();
        request->eOperation = eOperation;
        SResult prepared = TakeOptions(options, *request);
        TakeKeys(*pDesk, options, *request);
        pindesk_report refusal{};
        if (prepared.Done() && prepare) {
            prepared = prepare(*request, refusal);
        }
        const auto call = std::make_shared<CCall>(std::move(request), pDesk->turns);
        call->report.weakness = refusal.weakness;
        pindesk_report report = call->report;
        if (prepared.Done()) {
            CCall::Waiting waiting;
            if (options.waiting != nullptr) {
                waiting = [&](const pindesk_report& soFar) {
                    options.waiting(&soFar, options.context);
                };
            }
            const auto careful = [work = std::move(work)](CCall& running) {
                const CSettingsSnapshot settings;
                const CCareful care(true);
                work(running);
            };
            report = CCall::Run(call, careful, pDesk->cancels, waiting);
        } else {
            call->Tell(prepared);
            report = call->report;
        }
        HandOver(report, pReport);
        return report.outcome;
    });
}

} // namespace desk

using namespace desk;

pindesk_desk* pindesk_open(void)
{
    try {
        return new pindesk_desk;
    } catch (const std::exception&) {
        return nullptr;
    }
}

void pindesk_close(pindesk_desk* desk)
{
    delete desk;
}

void pindesk_cancel(pindesk_desk* desk)
{
    if (desk != nullptr) {
        ++desk->cancels;
    }
}

pindesk_outcome pindesk_set_key(pindesk_desk* desk, pindesk_key key, const unsigned char* bytes)
{
    if (desk == nullptr || (key != PINDESK_KEY_SECURE_MESSAGING && key != PINDESK_KEY_ADMIN)) {
        return PINDESK_USAGE;
    }
    const std::lock_guard lock(desk->keyMutex);
    (key == PINDESK_KEY_ADMIN ? desk->adminKey : desk->smKey).Take(bytes);
    return PINDESK_DONE;
}
