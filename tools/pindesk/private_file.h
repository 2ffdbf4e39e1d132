// SPDX-License-Identifier: Apache-2.0
//
// Files that hold a secret: refused when anyone but their owner can read them.

#ifndef TOOLS_PINDESK_PRIVATE_FILE_H
#define TOOLS_PINDESK_PRIVATE_FILE_H

#include <string>

namespace tool {

/// An open file that only its owner can read.
class CPrivateFile {
public:
    /// \throws CFailure (Refused), naming the file and the reason.
    explicit CPrivateFile(const std::string& path);
    ~CPrivateFile();
    CPrivateFile(const CPrivateFile&) = delete;
    CPrivateFile& operator=(const CPrivateFile&) = delete;

    int Fd() const { return m_fd; }

private:
    void CheckOwner(const std::string& path) const;

    int m_fd;
};

} // namespace tool

#endif
