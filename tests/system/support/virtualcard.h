// SPDX-License-Identifier: Apache-2.0
//
// A virtual card in the first slot of the private pcscd, for as long as a scope of the test.

#ifndef TESTS_SYSTEM_SUPPORT_VIRTUALCARD_H
#define TESTS_SYSTEM_SUPPORT_VIRTUALCARD_H

#include "tests/system/support/child.h"

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// A directory that goes with its scope, and all in it.
class CScratchDirectory {
public:
    CScratchDirectory();
    ~CScratchDirectory();
    CScratchDirectory(const CScratchDirectory&) = delete;
    CScratchDirectory& operator=(const CScratchDirectory&) = delete;

    std::filesystem::path operator/(const std::string& strName) const { return m_path / strName; }

private:
    std::filesystem::path m_path;
};

/// Waits until PC/SC shows a card in the first reader, or none.
/// \throws std::runtime_error  when that does not come about in time
void AwaitCard(bool bPresent);

class CVirtualCard {
public:
    /// Starts pindesk-vcard with these options, and waits until PC/SC sees the card.
    explicit CVirtualCard(const std::vector<std::string>& options = {});

    /// Takes the card out, and waits until PC/SC sees that too.
    ~CVirtualCard();
    CVirtualCard(const CVirtualCard&) = delete;
    CVirtualCard& operator=(const CVirtualCard&) = delete;

    /// Ends the program; its exit status.
    int Remove();

    /// The commands the card received so far, as in its log, without their names.
    std::vector<std::string> Commands() const;

    /// Everything the log says.
    std::string Log() const;

    /// How often a secret was presented to the card so far, by the name in its counters file.
    int Presented(const std::string& strSecret) const;
    int TriesLeft(const std::string& strSecret) const;

private:
    int Counter(const std::string& strSecret, const char* szCounter) const;

    CScratchDirectory m_files;
    std::unique_ptr<CChild> m_program;
};

#endif
