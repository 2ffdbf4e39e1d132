// SPDX-License-Identifier: Apache-2.0
//
// One byte per read(2): a secret is a dozen bytes, and what follows belongs to somebody else.

#include "line_reader.h"

#include <cerrno>
#include <unistd.h>

namespace tool {

namespace {

LineEnd ReadRaw(int fd, CSecretInput& line, const std::function<bool()>& awaitInput)
{
    bool hasInput = false;
    for (;;) {
        if (awaitInput && !awaitInput()) {
            return LineEnd::Interrupted;
        }
        unsigned char b = 0;
        const ssize_t got = read(fd, &b, 1);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return LineEnd::Failed;
        }
        if (got == 0) {
            return hasInput ? LineEnd::Complete : LineEnd::NoInput;
        }
        if (b == '\n') {
            return LineEnd::Complete;
        }
        if (b == 0) {
            return LineEnd::Nul;
        }
        hasInput = true;
        if (!line.Append(b)) {
            return LineEnd::TooLong;
        }
    }
}

} // namespace

LineEnd ReadLine(int fd, CSecretInput& line, const std::function<bool()>& awaitInput)
{
    line.Wipe();
    const LineEnd end = ReadRaw(fd, line, awaitInput);
    if (end != LineEnd::Complete) {
        line.Wipe();
    } else if (!line.IsEmpty() && line.Last() == '\r') {
        line.DropLast();
    }
    return end;
}

} // namespace tool
