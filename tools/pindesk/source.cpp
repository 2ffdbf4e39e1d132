// SPDX-License-Identifier: Apache-2.0
//
// The five sources of a secret.

#include "source.h"

#include "language.h"
#include "line_reader.h"
#include "numbers.h"
#include "outcome.h"
#include "private_file.h"
#include "terminal.h"

#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace tool {

namespace {

constexpr int PROMPT_ROUNDS =
    3; // for a value that cannot be right, or typed unlike the second time

std::string WhyNot(const std::string& title, LineEnd end)
{
    const desk::SGap gap = {"value", title};
    switch (end) {
    case LineEnd::NoInput:
        return Say("The {value} is missing: the input ended.", {gap});
    case LineEnd::TooLong:
        return Say("The {value} is far too long.", {gap});
    case LineEnd::Nul:
        return Say("The {value} holds a NUL byte.", {gap});
    case LineEnd::Interrupted:
        return Say("The {value} was interrupted.", {gap});
    case LineEnd::Failed:
    case LineEnd::Complete:
        break;
    }
    return Say("The {value} cannot be read.", {gap});
}

bool TakePrefix(const std::string& text, const std::string& prefix, std::string& rest)
{
    if (text.compare(0, prefix.size(), prefix) != 0 || text.size() == prefix.size()) {
        return false;
    }
    rest = text.substr(prefix.size());
    return true;
}

void Require(const Question& question, LineEnd end, const CSecretInput& value)
{
    if (end != LineEnd::Complete) {
        Refuse(WhyNot(question.title, end));
    }
    if (value.IsEmpty()) {
        Refuse(Say("The {value} is empty.", {{"value", question.title}}));
    }
}

std::optional<CFailure> FlawOf(const Question& question, const CSecretInput& value)
{
    try {
        Require(question, LineEnd::Complete, value);
        question.check();
    } catch (const CFailure& failure) {
        return failure;
    }
    return std::nullopt;
}

void Ask(const Question& question, int fd, const std::string& words, CSecretInput& value)
{
    const LineEnd end = AskAtTerminal(words, Echo::Off, value, fd);
    if (end == LineEnd::Failed) {
        Refuse(Say("The {value} cannot be asked for: there is no terminal.",
                   {{"value", question.title}}));
    }
    if (end != LineEnd::Complete) {
        Refuse(WhyNot(question.title, end));
    }
}

} // namespace

CSource::CSource(const std::string& option, const std::string& text)
{
    std::string rest;
    if (text == "prompt") {
        m_kind = Kind::Prompt;
        m_fd = CONTROLLING_TERMINAL;
    } else if (text.empty() || text == "stdin" ||
               (TakePrefix(text, "fd:", rest) && ToNumber(rest, DECIMAL, m_fd) && m_fd >= 0)) {
        // What is typed at a terminal is not to be seen, whichever way the terminal was named.
        m_kind = isatty(m_fd) != 0 ? Kind::Prompt : Kind::Descriptor;
    } else if (TakePrefix(text, "env:", m_name)) {
        m_kind = Kind::Environment;
    } else if (TakePrefix(text, "file:", m_name)) {
        m_kind = Kind::File;
    } else {
        RefuseUsage(
            Say("{option} takes prompt, stdin, fd:N, env:NAME or file:PATH.", {{"option", option}}),
            Say("It does not take the value itself: every user of this machine could read it in "
                "the list of processes."));
    }
    // Asked now: later the same number may be a connection of ours to the PC/SC service.
    if (m_kind == Kind::Descriptor && fcntl(m_fd, F_GETFD) < 0) {
        Refuse(Say("{option}: file descriptor {fd} is not open.",
                   {{"option", option}, {"fd", std::to_string(m_fd)}}));
    }
}

void CSource::Read(const Question& question, CSecretInput& value) const
{
    if (m_kind == Kind::Prompt) {
        ReadPrompt(question, value);
    } else {
        Fetch(question, value);
        question.check();
    }
}

void CSource::Fetch(const Question& question, CSecretInput& value) const
{
    if (m_kind == Kind::Environment) {
        ReadEnvironment(question, value);
        return;
    }
    if (m_kind == Kind::File) {
        const CPrivateFile file(m_name);
        Require(question, ReadLine(file.Fd(), value), value);
        return;
    }
    Require(question, ReadLine(m_fd, value), value);
}

void CSource::ReadPrompt(const Question& question, CSecretInput& value) const
{
    for (int round = 1;; ++round) {
        Ask(question, m_fd, question.title + " (" + question.hint + "): ", value);
        std::optional<CFailure> flaw = FlawOf(question, value);
        if (!flaw && question.isTwice) {
            CSecretInput again;
            Ask(question, m_fd, Say("{value} once more:", {{"value", question.title}}) + " ",
                again);
            if (!value.Equals(again)) {
                flaw = CFailure(PINDESK_REFUSED, Unsent(Say("The two values differ.")));
            }
        }
        if (!flaw) {
            return;
        }
        if (round == PROMPT_ROUNDS) {
            throw CFailure(*flaw);
        }
        SayAtTerminal(flaw->what(), m_fd);
    }
}

void CSource::ReadEnvironment(const Question& question, CSecretInput& value) const
{
    char* const text = std::getenv(m_name.c_str());
    if (text == nullptr) {
        Refuse(Say("The {value} is missing: the environment has no variable {name}.",
                   {{"value", question.title}, {"name", m_name}}));
    }
    bool fits = true;
    for (const char* p = text; *p != '\0' && fits; ++p) {
        fits = value.Append(static_cast<unsigned char>(*p));
    }
    explicit_bzero(text, std::strlen(text)); // /proc shows the environment of a process
    Require(question, fits ? LineEnd::Complete : LineEnd::TooLong, value);
}

} // namespace tool
