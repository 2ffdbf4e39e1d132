// SPDX-License-Identifier: Apache-2.0
//
// Reads a JSON file, and replaces it by way of a temporary file beside it.

#include "plugged/jsonfile.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace vcard {
namespace {

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& strReason)
{
    throw std::runtime_error(path.string() + ": " + strReason);
}

[[noreturn]] void FailWithErrno(const std::filesystem::path& path)
{
    Fail(path, std::generic_category().message(errno));
}

/// A new file beside the one to replace, removed again unless it took its place.
class CTemporaryFile {
public:
    explicit CTemporaryFile(const std::filesystem::path& path)
        : m_target(path), m_strName(path.string() + ".XXXXXX"), m_iFile(mkstemp(m_strName.data()))
    {
        if (m_iFile < 0) {
            FailWithErrno(path);
        }
    }
    ~CTemporaryFile()
    {
        close(m_iFile);
        if (!m_bReplaced) {
            unlink(m_strName.c_str());
        }
    }
    CTemporaryFile(const CTemporaryFile&) = delete;
    CTemporaryFile& operator=(const CTemporaryFile&) = delete;

    void Write(std::string_view text) const
    {
        while (!text.empty()) {
            const ssize_t cbWritten = write(m_iFile, text.data(), text.size());
            if (cbWritten < 0 && errno != EINTR) {
                FailWithErrno(m_target);
            }
            text.remove_prefix(cbWritten < 0 ? 0 : static_cast<std::size_t>(cbWritten));
        }
    }

    void ReplaceTarget()
    {
        if (rename(m_strName.c_str(), m_target.c_str()) != 0) {
            FailWithErrno(m_target);
        }
        m_bReplaced = true;
    }

private:
    const std::filesystem::path& m_target;
    std::string m_strName;
    int m_iFile;
    bool m_bReplaced = false;
};

} // namespace

std::optional<nlohmann::json> CJsonFile::Load() const
{
    if (!Wanted() || !std::filesystem::exists(m_path)) {
        return std::nullopt;
    }
    std::ifstream file(m_path);
    if (!file) {
        FailWithErrno(m_path);
    }
    const auto content = nlohmann::json::parse(file, nullptr, /*allow_exceptions=*/false);
    if (content.is_discarded()) {
        Fail(m_path, "is no valid JSON; move it away to start with a fresh card");
    }
    return content;
}

void CJsonFile::Save(const nlohmann::json& content)
{
    if (!Wanted() || content == m_saved) {
        return;
    }
    CTemporaryFile file(m_path);
    file.Write(content.dump(2) + "\n");
    file.ReplaceTarget();
    m_saved = content;
}

} // namespace vcard
