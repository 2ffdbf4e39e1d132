// SPDX-License-Identifier: Apache-2.0
//
// Where a PIN or PUK comes from: anywhere but the command line.

#ifndef TOOLS_PINDESK_SOURCE_H
#define TOOLS_PINDESK_SOURCE_H

#include "secret_input.h"

#include <functional>
#include <string>

namespace tool {

/// What is asked for.
struct Question {
    std::string title;                   ///< "CNS PIN", "new DS PIN"
    std::string hint;                    ///< shown at the prompt: the permitted lengths
    bool isTwice = false;                ///< at a prompt a new value is typed twice
    std::function<void()> check = [] {}; ///< throws CFailure when the value cannot be right
};

class CSource {
public:
    /// \param option  the option's name, for messages.
    /// \param text    prompt, stdin, fd:N, env:NAME or file:PATH; empty for the default: prompt
    ///                when standard input is a terminal, stdin otherwise.
    /// \throws CFailure (Usage). The text is never repeated: it may be a PIN given by mistake.
    CSource(const std::string& option, const std::string& text);

    /// At a terminal a value that cannot be right is asked for again.
    /// \throws CFailure (Refused) when no value comes, or one that cannot be right.
    void Read(const Question& question, CSecretInput& value) const;

private:
    enum class Kind { Prompt, Descriptor, Environment, File };

    void Fetch(const Question& question, CSecretInput& value) const;
    void ReadPrompt(const Question& question, CSecretInput& value) const;
    void ReadEnvironment(const Question& question, CSecretInput& value) const;

    Kind m_kind = Kind::Descriptor;
    int m_fd = 0;       // of the prompt: CONTROLLING_TERMINAL, or another terminal
    std::string m_name; // of the variable or file
};

} // namespace tool

#endif
