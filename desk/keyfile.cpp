// SPDX-License-Identifier: Apache-2.0
//
// A key from a file. The checks are made on the open file, so that nothing can be exchanged behind
// them. A raw key may hold any byte, so only the length tells the forms apart.

#include "desk/door.h"
#include "desk/sized.h"

#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace desk;

namespace {

constexpr std::size_t TWO_KEYS = 16;

/// A file for as long as it is open.
class CFile {
public:
    explicit CFile(const char* szPath)
        : m_fd(open(szPath, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK))
    {
    }
    ~CFile()
    {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    /// 0 for a regular file that nobody but its owner, root or the user, can read; else errno's
    /// value.
    int Check() const
    {
        struct stat info = {};
        if (m_fd < 0 || fstat(m_fd, &info) != 0) {
            return errno;
        }
        if (!S_ISREG(info.st_mode)) {
            return EINVAL;
        }
        const bool bPrivate = (info.st_mode & (S_IRWXG | S_IRWXO)) == 0;
        return bPrivate && (info.st_uid == geteuid() || info.st_uid == 0) ? 0 : EPERM;
    }

    /// Reads all of it, or as much as there is room for. \return its length, -1 when that fails.
    ssize_t Read(unsigned char* pb, std::size_t cb) const
    {
        std::size_t cbRead = 0;
        for (ssize_t lGot = 1; lGot > 0 && cbRead < cb;) {
            lGot = read(m_fd, pb + cbRead, cb - cbRead);
            if (lGot < 0) {
                return -1;
            }
            cbRead += static_cast<std::size_t>(lGot);
        }
        return static_cast<ssize_t>(cbRead);
    }

private:
    int m_fd;
};

/// What a key file holds, as far as it is a key.
class CKeyText {
public:
    CKeyText() = default;
    ~CKeyText()
    {
        explicit_bzero(m_abText, sizeof m_abText);
        explicit_bzero(m_abKey, sizeof m_abKey);
    }
    CKeyText(const CKeyText&) = delete;
    CKeyText& operator=(const CKeyText&) = delete;

    /// \return 0, errno's value, or EINVAL for what is no key.
    int Take(const CFile& file)
    {
        const ssize_t lRead = file.Read(m_abText, sizeof m_abText);
        if (lRead < 0) {
            return errno;
        }
        const auto cb = static_cast<std::size_t>(lRead);
        if (cb == PINDESK_KEY_SIZE || cb == TWO_KEYS) {
            std::copy_n(m_abText, cb, m_abKey);
            m_cbKey = cb;
        } else if (!TakeHex(cb)) {
            return EINVAL;
        }
        if (m_cbKey == TWO_KEYS) { // K1 | K2: the third is the first
            std::copy_n(m_abKey, PINDESK_KEY_SIZE - TWO_KEYS, m_abKey + TWO_KEYS);
        }
        return m_cbKey == PINDESK_KEY_SIZE || m_cbKey == TWO_KEYS ? 0 : EINVAL;
    }
    const unsigned char* Key() const { return m_abKey; }

private:
    static int DigitValue(int c)
    {
        return std::isdigit(c) != 0 ? c - '0' : std::tolower(c) - 'a' + 10;
    }

    /// Hexadecimal digits with blanks anywhere.
    bool TakeHex(std::size_t cb)
    {
        std::size_t cDigits = 0;
        for (std::size_t i = 0; i < cb; ++i) {
            const int c = m_abText[i];
            if (std::isspace(c) != 0) {
                continue;
            }
            if (std::isxdigit(c) == 0 || cDigits == 2 * sizeof m_abKey) {
                return false;
            }
            unsigned char& b = m_abKey[cDigits++ / 2];
            b = static_cast<unsigned char>(b << 4 | DigitValue(c));
        }
        m_cbKey = cDigits / 2;
        return cDigits % 2 == 0;
    }

    unsigned char m_abText[128] = {}; // hexadecimal with blanks between the bytes, and some more
    unsigned char m_abKey[PINDESK_KEY_SIZE] = {};
    std::size_t m_cbKey = 0;
};

} // namespace

pindesk_outcome pindesk_load_key(pindesk_desk* desk, pindesk_key key, const char* path,
                                 pindesk_report* report)
{
    if (desk == nullptr || path == nullptr) {
        return Refuse(BAD_ARGUMENT, report);
    }
    const CFile file(path);
    CKeyText text;
    int iError = file.Check();
    if (iError == 0) {
        iError = text.Take(file);
    }
    if (iError == 0) {
        const pindesk_outcome eOutcome = pindesk_set_key(desk, key, text.Key());
        return Refuse({eOutcome, eOutcome == PINDESK_DONE ? PINDESK_DETAIL_NONE
                                                          : PINDESK_DETAIL_BAD_ARGUMENT},
                      report);
    }
    pindesk_report own = EmptyReport();
    own.outcome = PINDESK_REFUSED;
    own.detail = PINDESK_DETAIL_BAD_KEY;
    own.code = iError;
    HandOver(own, report);
    return own.outcome;
}
