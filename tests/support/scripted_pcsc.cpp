// SPDX-License-Identifier: Apache-2.0
//
// The script, the log and the closing account of the scripted PC/SC; the functions that the library
// calls are in scripted_pcsc_calls.cpp.

#include "tests/support/scripted_pcsc.h"

#include <algorithm>

namespace {
bool IsCallOf(std::string_view entry, std::string_view szFunction)
{
    return entry.starts_with(szFunction) &&
           (entry.size() == szFunction.size() || entry[szFunction.size()] == ' ');
}
} // namespace

SAnswer::SAnswer(const char* szHex) : m_data(FromHex(szHex)) {}

SAnswer::SAnswer(int nStatusWord)
    : m_data({static_cast<std::uint8_t>(nStatusWord >> 8), static_cast<std::uint8_t>(nStatusWord)})
{
}

SAnswer::SAnswer(Bytes ab) : m_data(std::move(ab)) {}

SAnswer SAnswer::Fail(LONG lCode)
{
    SAnswer answer("");
    answer.m_lCode = lCode;
    answer.m_data.reset();
    return answer;
}

SAnswer SAnswer::Fail(LONG lCode, const char* szHex)
{
    SAnswer answer(szHex);
    answer.m_lCode = lCode;
    return answer;
}

CScriptedPcsc* CScriptedPcsc::s_pActive = nullptr;

CScriptedPcsc::CScriptedPcsc()
{
    s_pActive = this;
}

CScriptedPcsc::~CScriptedPcsc()
{
    s_pActive = nullptr;
}

void CScriptedPcsc::RemoveCard()
{
    for (auto& reader : m_readers) {
        reader.m_atr.clear();
    }
    for (auto& [hCard, handle] : m_cards) {
        handle.m_bRemoved = true;
    }
}

void CScriptedPcsc::Step(std::string what, const char* szCommand, SAnswer answer)
{
    m_script.push_back({std::move(what), FromHex(szCommand),
                        [answer = std::move(answer)](const auto&) { return answer; }});
}

void CScriptedPcsc::Wildcard(std::string what, SAnswer answer)
{
    Compute(std::move(what), [answer = std::move(answer)](const auto&) { return answer; });
}

void CScriptedPcsc::Compute(std::string what, std::function<SAnswer(const Bytes& command)> answer)
{
    m_script.push_back({std::move(what), std::nullopt, std::move(answer)});
}

void CScriptedPcsc::FailCall(const char* szFunction, LONG lCode, int nth)
{
    m_failures.push_back({szFunction, lCode, nth, nth == EVERY, false});
}

std::vector<std::string> CScriptedPcsc::LogWithout(std::string_view szFunction) const
{
    std::vector<std::string> rest;
    std::copy_if(m_log.begin(), m_log.end(), std::back_inserter(rest),
                 [&](const auto& entry) { return !IsCallOf(entry, szFunction); });
    return rest;
}

std::size_t CScriptedPcsc::Count(std::string_view szFunction) const
{
    return static_cast<std::size_t>(
        std::count_if(m_log.begin(), m_log.end(),
                      [&](const auto& entry) { return IsCallOf(entry, szFunction); }));
}

std::vector<std::string> CScriptedPcsc::Problems() const
{
    std::vector<std::string> problems = m_unexpected;
    problems.insert(problems.end(), m_misuses.begin(), m_misuses.end());
    for (std::size_t i = m_iNext; i < m_script.size(); ++i) {
        problems.push_back("step not used: " + m_script[i].m_what);
    }
    for (const auto& failure : m_failures) {
        if (!failure.m_bHappened) {
            problems.push_back("planned failure did not come: " + failure.m_function);
        }
    }
    return problems;
}

std::vector<std::string> CScriptedPcsc::Leftovers() const
{
    std::vector<std::string> leftovers(m_contexts.size(), "a context was left open");
    for (const auto& [hCard, handle] : m_cards) {
        if (handle.m_bConnected) {
            leftovers.push_back("a card was left connected");
        }
    }
    leftovers.insert(leftovers.end(), m_lists.size(), "a reader list was not given back");
    return leftovers;
}

std::optional<LONG> CScriptedPcsc::PlannedFailure(std::string_view szFunction)
{
    std::optional<LONG> lCode;
    for (auto& failure : m_failures) {
        if (failure.m_function != szFunction) {
            continue;
        }
        if (failure.m_bEvery || --failure.m_nLeft == 0) {
            failure.m_bHappened = true;
            lCode = failure.m_lCode;
        }
    }
    return lCode;
}

SAnswer CScriptedPcsc::Exchange(const Bytes& command, std::string& what)
{
    const std::string sent = ToHex(command);
    if (m_iNext == m_script.size()) {
        what = "beyond the script";
        if (m_otherwise) {
            return m_otherwise(command);
        }
        return Unexpected("command after the end of the script: " + sent);
    }
    // a copy: the answer may be worked out by a test that adds more steps
    const SStep step = m_script[m_iNext++];
    what = step.m_what;
    if (step.m_command && *step.m_command != command) {
        return Unexpected("step \"" + what + "\"\n  expected " +
                          ToHex(step.m_command->data(), step.m_command->size()) + "\n  sent     " +
                          sent);
    }
    return step.m_answer(command);
}

SAnswer CScriptedPcsc::Unexpected(std::string what)
{
    m_unexpected.push_back(std::move(what));
    RemoveCard();
    return SAnswer::Fail(SCARD_F_INTERNAL_ERROR);
}
