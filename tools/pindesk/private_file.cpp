// SPDX-License-Identifier: Apache-2.0
//
// The checks are made on the open file, so that nothing can be exchanged behind them.

#include "private_file.h"

#include "outcome.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

CPrivateFile::CPrivateFile(const std::string& path)
    : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK))
{
    if (m_fd < 0) {
        throw CFailure(ExitStatus::Refused, "The file " + path +
                                                " cannot be opened: " + std::strerror(errno) +
                                                ". Nothing was sent to the card.");
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
        throw CFailure(ExitStatus::Refused, path + " is not a file. Nothing was sent to the card.");
    }
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw CFailure(ExitStatus::Refused,
                       "The file " + path +
                           " is open to other users. Nothing was sent to the card.",
                       "Close it with: chmod 600 " + path);
    }
    if (info.st_uid != geteuid() && info.st_uid != 0) {
        throw CFailure(ExitStatus::Refused, "The file " + path +
                                                " belongs to another user. Nothing was sent to the "
                                                "card.");
    }
}

} // namespace tool
