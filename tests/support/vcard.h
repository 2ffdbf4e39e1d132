// SPDX-License-Identifier: Apache-2.0
//
// The virtual card under both of its plugs: behind a private pcscd, or in the process that uses it.

#ifndef TESTS_SUPPORT_VCARD_H
#define TESTS_SUPPORT_VCARD_H

#include "tests/support/process.h"
#include "tests/support/scratch.h"

/// What a virtual card keeps and writes, in a directory of the scope's own.
class CCardFiles {
public:
    /// As variables of the in-process card: its state lives on from run to run.
    Words Variables() const;
    /// As options of pindesk-vcard.
    Words Options() const;

    /// Everything its log says.
    std::string Log() const { return m_directory.Read("log"); }
    /// The commands the card received so far, as in its log, without their names.
    Words Commands() const;

    /// A counter of a secret: "presented", "new_values" or "tries_left".
    int Counter(const std::string& secret, const char* szWhich) const;
    int Presented(const std::string& secret) const { return Counter(secret, "presented"); }
    int TriesLeft(const std::string& secret) const { return Counter(secret, "tries_left"); }

    const CScratchDirectory& Directory() const { return m_directory; }

private:
    CScratchDirectory m_directory;
};

/// Waits until PC/SC shows a card in the first reader, or none.
/// \throws std::runtime_error  when that does not come about in time
void AwaitCard(bool bPresent);

/// A card in the first slot of the private pcscd, for as long as a scope of the test.
class CVirtualCard : public CCardFiles {
public:
    /// Starts pindesk-vcard with these options, and waits until PC/SC sees the card.
    explicit CVirtualCard(const Words& options = {});
    /// Takes the card out, and waits until PC/SC sees that too.
    ~CVirtualCard();

    /// Ends the program; its exit status.
    int Remove() { return m_program.Stop(); }

private:
    CProcess m_program;
};

#endif
