// SPDX-License-Identifier: Apache-2.0
//
// A directory that goes with its scope, and all in it.

#ifndef TESTS_SUPPORT_SCRATCH_H
#define TESTS_SUPPORT_SCRATCH_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

class CScratchDirectory {
public:
    CScratchDirectory()
    {
        std::string name = (std::filesystem::temp_directory_path() / "pindesk.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no scratch directory");
        }
        m_path = name;
    }
    ~CScratchDirectory() { std::filesystem::remove_all(m_path); }
    CScratchDirectory(const CScratchDirectory&) = delete;
    CScratchDirectory& operator=(const CScratchDirectory&) = delete;

    /// The path of a file in it.
    std::string operator/(const std::string& name) const { return m_path / name; }

    /// All of a file; nothing when it is not there.
    std::string Read(const std::string& name) const
    {
        std::ifstream file(m_path / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_path;
};

#endif
