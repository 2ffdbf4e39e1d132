// SPDX-License-Identifier: Apache-2.0
//
// The five sources of a secret.

#include "source.h"

#include "line_reader.h"
#include "numbers.h"
#include "outcome.h"
#include "private_file.h"
#include "terminal.h"

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr int PROMPT_ROUNDS = 3; // for a new value typed differently the second time

[[noreturn]] void Refuse(const std::string& title, const std::string& why)
{
    throw CFailure(ExitStatus::Refused,
                   "The " + title + " " + why + ". Nothing was sent to the card.");
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
        Refuse(question.title, Describe(end));
    }
    if (value.empty()) {
        Refuse(question.title, "is empty");
    }
}

void Ask(const Question& question, const std::string& words, CSecretInput& value)
{
    const LineEnd end = AskAtTerminal(words, Echo::Off, value);
    if (end == LineEnd::Failed) {
        Refuse(question.title, "cannot be asked for: there is no terminal");
    }
    Require(question, end, value);
}

} // namespace

CSource::CSource(const std::string& option, const std::string& text)
{
    std::string rest;
    if (text.empty()) {
        m_kind = isatty(STDIN_FILENO) != 0 ? Kind::Prompt : Kind::Descriptor;
    } else if (text == "prompt") {
        m_kind = Kind::Prompt;
    } else if (text == "stdin" ||
               (TakePrefix(text, "fd:", rest) && ToNumber(rest, DECIMAL, m_fd) && m_fd >= 0)) {
        m_kind = Kind::Descriptor;
    } else if (TakePrefix(text, "env:", m_name)) {
        m_kind = Kind::Environment;
    } else if (TakePrefix(text, "file:", m_name)) {
        m_kind = Kind::File;
    } else {
        throw CFailure(ExitStatus::Usage,
                       option + " takes prompt, stdin, fd:N, env:NAME or file:PATH.",
                       "It does not take the value itself: every user of this machine could read "
                       "it in the list of processes.");
    }
    // Asked now: later the same number may be a connection of ours to the PC/SC service.
    if (m_kind == Kind::Descriptor && fcntl(m_fd, F_GETFD) < 0) {
        throw CFailure(ExitStatus::Refused, option + ": file descriptor " + std::to_string(m_fd) +
                                                " is not open. Nothing was sent to the card.");
    }
}

void CSource::Read(const Question& question, CSecretInput& value) const
{
    switch (m_kind) {
    case Kind::Prompt:
        ReadPrompt(question, value);
        return;
    case Kind::Environment:
        ReadEnvironment(question, value);
        return;
    case Kind::Descriptor:
        Require(question, ReadLine(m_fd, value), value);
        return;
    case Kind::File: {
        const CPrivateFile file(m_name);
        Require(question, ReadLine(file.Fd(), value), value);
        return;
    }
    }
}

void CSource::ReadPrompt(const Question& question, CSecretInput& value) const
{
    CSecretInput again;
    for (int round = 0; round < PROMPT_ROUNDS; ++round) {
        Ask(question, question.title + " (" + question.hint + "): ", value);
        if (!question.isTwice) {
            return;
        }
        Ask(question, question.title + " once more: ", again);
        if (value.Equals(again)) {
            return;
        }
        SayAtTerminal("The two values differ.");
    }
    Refuse(question.title, "was not typed twice alike");
}

void CSource::ReadEnvironment(const Question& question, CSecretInput& value) const
{
    char* const text = std::getenv(m_name.c_str());
    if (text == nullptr) {
        Refuse(question.title, "is missing: the environment has no variable " + m_name);
    }
    bool fits = true;
    for (const char* p = text; *p != '\0' && fits; ++p) {
        fits = value.Append(static_cast<unsigned char>(*p));
    }
    explicit_bzero(text, std::strlen(text)); // /proc shows the environment of a process
    Require(question, fits ? LineEnd::Complete : LineEnd::TooLong, value);
}

} // namespace tool
