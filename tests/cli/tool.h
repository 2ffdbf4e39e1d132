// SPDX-License-Identifier: Apache-2.0
//
// Runs the built tool beside a virtual card that lives in the tool's own process.

#ifndef TESTS_CLI_TOOL_H
#define TESTS_CLI_TOOL_H

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

using Words = std::vector<std::string>;

/// What execve takes: pointers into the words, and a null one. The words must outlive them.
std::vector<char*> Pointers(const Words& words);

struct Finished {
    int status = -1; ///< exit status, or 128 + the signal that ended it
    std::string out, err;

    nlohmann::json Json() const { return nlohmann::json::parse(out); }
};

/// A card whose state outlives each run, in a directory of the test's own.
class ToolTest : public testing::Test {
protected:
    ToolTest();
    ~ToolTest() override;

    /// Runs pindesk with these words; input is all of its standard input.
    Finished Pindesk(const Words& words, const std::string& input = "") const;

    /// A variable for all runs from now on: "FAULT" stands for PINDESK_VCARD_FAULT.
    void Card(const std::string& name, const std::string& value);
    void Environment(const std::string& name, const std::string& value);

    /// How often a secret arrived at the card, over all runs of this test.
    int Presented(const std::string& secret) const;
    int TriesLeft(const std::string& secret) const;

    /// A file of the test's directory with this content and mode.
    std::string File(const std::string& name, const std::string& content, int mode) const;

    /// Any of the card's counters: "presented", "new_values", "tries_left".
    int Counter(const std::string& secret, const char* which) const;

    Words EnvironmentWords() const;

private:
    std::filesystem::path m_directory;
    std::map<std::string, std::string> m_environment;
};

#endif
