// SPDX-License-Identifier: Apache-2.0

#include "client.h"

#include "language.h"
#include "readers.h"
#include "report.h"

#include <cerrno>
#include <new>

namespace tool {

namespace {

struct FlagRow {
    bool Options::*option;
    std::uint32_t flag;
};
constexpr FlagRow FLAGS[] = {
    {&Options::mayUseLastTry, PINDESK_USE_LAST_TRY},
    {&Options::takesAny, PINDESK_ANY_CHARACTERS},
    {&Options::keepsVerified, PINDESK_KEEP_VERIFIED},
    {&Options::isPlain, PINDESK_NO_SECURE_MESSAGING},
    {&Options::resetsFirst, PINDESK_RESET_FIRST},
};

const char* OrNull(const std::string& text)
{
    return text.empty() ? nullptr : text.c_str();
}

} // namespace

CClient::CClient(const Options& options)
    : m_options(options), m_desk(pindesk_open()), m_serial(options.serial)
{
    if (m_desk == nullptr) {
        throw std::bad_alloc();
    }
    m_call.size = sizeof m_call;
    m_call.reader = OrNull(options.reader);
    m_call.slot = options.slot;
    m_call.serial = OrNull(m_serial);
    m_call.wait_ms = options.waitMs;
    m_call.timeout_ms = options.timeoutMs;
    for (const FlagRow& row : FLAGS) {
        m_call.flags |= options.*row.option ? row.flag : 0;
    }
    m_call.waiting = Waiting;
    m_call.context = this;
    Load(PINDESK_KEY_SECURE_MESSAGING, "--sm-key-file", options.smKeyFile);
    Load(PINDESK_KEY_ADMIN, "--admin-key-file", options.adminKeyFile);
}

void CClient::Load(pindesk_key key, const char* option, const std::string& path)
{
    if (path.empty()) {
        return;
    }
    pindesk_report report{};
    report.size = sizeof report;
    if (pindesk_load_key(m_desk.get(), key, path.c_str(), &report) != PINDESK_DONE) {
        Outcome outcome = OutcomeOf(report);
        outcome.message = std::string(option) + ": " + Unsent(outcome.message);
        if (report.code == EPERM) {
            outcome.advice = Say("Close it with: chmod 600 {path}", {{"path", path}});
        }
        throw CFailure(outcome);
    }
}

void CClient::HoldTo(const pindesk_report& report)
{
    m_serial = report.serial;
    m_call.serial = OrNull(m_serial);
}

// Said once for each thing that is waited for, not once a second.
void CClient::Waiting(const pindesk_report* soFar, void* context)
{
    auto* const client = static_cast<CClient*>(context);
    if (soFar->detail != client->m_awaited) {
        client->m_awaited = soFar->detail;
        Note(client->m_options, InWords(pindesk_text, soFar));
    }
}

void CClient::Fail(const pindesk_report& report)
{
    Outcome outcome = OutcomeOf(report);
    if (report.next == PINDESK_NEXT_INSERT_CARD && m_call.wait_ms != 0) { // that was done
        outcome.advice = Say("Insert the card, then try again.");
    }
    const bool isChoice =
        report.next == PINDESK_NEXT_CHOOSE_READER || report.outcome == PINDESK_NO_READER;
    std::vector<pindesk_reader> readers;
    if (isChoice) {
        pindesk_readers(m_desk.get(), nullptr, Collect<pindesk_reader>, &readers, nullptr);
        AddReaders(readers, outcome);
    }
    throw CFailure(outcome);
}

} // namespace tool
