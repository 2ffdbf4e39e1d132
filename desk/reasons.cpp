// SPDX-License-Identifier: Apache-2.0
//
// Why the system refused a file: strerror(3) says it in the language of an installed locale alone.

#include "desk/words.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace desk {

namespace {

struct SReason {
    int iError;
    const char* szText;
};
constexpr SReason REASONS[] = {
    {ENOENT, Msg("there is no such file or directory")},
    {ENOTDIR, Msg("there is no such file or directory")},
    {EACCES, Msg("access to it is not permitted")},
    {EPERM, Msg("access to it is not permitted")},
    {EROFS, Msg("nothing can be written there")},
    {EISDIR, Msg("it is a directory")},
    {ELOOP, Msg("it is a symbolic link")},
    {ENOSPC, Msg("there is no space left")},
    {EDQUOT, Msg("there is no space left")},
};

} // namespace

std::string ReasonText(const char* szLanguage, int iError)
{
    const auto* const pRow = std::find_if(std::begin(REASONS), std::end(REASONS),
                                          [&](const auto& row) { return row.iError == iError; });
    return pRow == std::end(REASONS) ? Fill(Tr(szLanguage, "error {number} of the system"),
                                            {{"number", std::to_string(iError)}})
                                     : Tr(szLanguage, pRow->szText);
}

} // namespace desk
