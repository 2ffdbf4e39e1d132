// SPDX-License-Identifier: Apache-2.0
//
// The checks are made on the open file, so that nothing can be exchanged behind them.

#include "private_file.h"

#include "language.h"
#include "outcome.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

CPrivateFile::CPrivateFile(const std::string& path)
    : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK))
{
    if (m_fd < 0) {
        Refuse(Say("The file {path} cannot be opened: {reason}.",
                   {{"path", path}, {"reason", desk::ReasonText(Language(), errno)}}));
    }
    try {
        CheckOwner(path);
    } catch (...) {
        close(m_fd);
        throw;
    }
}

CPrivateFile::~CPrivateFile()
{
    close(m_fd);
}

void CPrivateFile::CheckOwner(const std::string& path) const
{
    struct stat info = {};
    if (fstat(m_fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        Refuse(Say("{path} is not a regular file.", {{"path", path}}),
               Say("A pipe is read as fd:N."));
    }
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        Refuse(Say("The file {path} is open to other users.", {{"path", path}}),
               Say("Close it with: chmod 600 {path}", {{"path", path}}));
    }
    if (info.st_uid != geteuid() && info.st_uid != 0) {
        Refuse(Say("The file {path} belongs to another user.", {{"path", path}}));
    }
}

} // namespace tool
