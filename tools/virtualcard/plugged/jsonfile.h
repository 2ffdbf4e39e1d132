// SPDX-License-Identifier: Apache-2.0
//
// A JSON file that other programs may read at any moment: it is replaced whole, never rewritten.

#ifndef TOOLS_VIRTUALCARD_PLUGGED_JSONFILE_H
#define TOOLS_VIRTUALCARD_PLUGGED_JSONFILE_H

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

namespace vcard {

class CJsonFile {
public:
    /// \param path  where it lies; an empty path is a file that is never read nor written
    explicit CJsonFile(std::filesystem::path path) : m_path(std::move(path)) {}

    bool Wanted() const { return !m_path.empty(); }

    /// Its content, or nothing where there is no such file.
    /// \throws std::runtime_error  with the path, when it cannot be read or is no JSON
    std::optional<nlohmann::json> Load() const;

    /// Replaces the file atomically (readable by its owner only) when the content differs from
    /// what was saved last.
    /// \throws std::runtime_error  with the path and the reason; the old file is left as it was
    void Save(const nlohmann::json& content);

private:
    std::filesystem::path m_path;
    nlohmann::json m_saved;
};

} // namespace vcard

#endif
