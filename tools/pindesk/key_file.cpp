// SPDX-License-Identifier: Apache-2.0
//
// A raw key may hold any byte, so only the length of the file tells the forms apart.

#include "key_file.h"

#include "outcome.h"
#include "private_file.h"

#include <algorithm>
#include <cctype>
#include <unistd.h>

namespace tool {

namespace {

// The longest form: hexadecimal, a carriage return and a line feed, and one byte to see an excess.
struct Content {
    Content() = default;
    ~Content() { explicit_bzero(ab.data(), ab.size()); }
    Content(const Content&) = delete;
    Content& operator=(const Content&) = delete;

    std::array<unsigned char, 2 * CTdesKey::SIZE + 3> ab{};
    std::size_t cb = 0;
};

bool ReadAll(int fd, Content& content)
{
    while (content.cb < content.ab.size()) {
        const ssize_t got = read(fd, &content.ab.at(content.cb), content.ab.size() - content.cb);
        if (got < 0) {
            return false;
        }
        if (got == 0) {
            return true;
        }
        content.cb += static_cast<std::size_t>(got);
    }
    return true;
}

std::size_t WithoutLineEnd(const Content& content)
{
    std::size_t cb = content.cb;
    while (cb > 0 && (content.ab.at(cb - 1) == '\n' || content.ab.at(cb - 1) == '\r')) {
        --cb;
    }
    return cb;
}

unsigned char DigitValue(unsigned char digit)
{
    return static_cast<unsigned char>(std::isdigit(digit) != 0 ? digit - '0'
                                                               : std::tolower(digit) - 'a' + 10);
}

} // namespace

CTdesKey::CTdesKey(const std::string& path)
{
    if (path.empty()) {
        return;
    }
    const CPrivateFile file(path);
    Content content;
    m_isGiven =
        ReadAll(file.Fd(), content) && (TakeRaw(content.ab.data(), content.cb) ||
                                        TakeHex(content.ab.data(), WithoutLineEnd(content)));
    if (!m_isGiven) {
        throw CFailure(
            ExitStatus::Refused,
            "The file " + path +
                " does not hold a Triple-DES key. Nothing was sent to "
                "the card.",
            "A key is 24 bytes (or 16, used as K1 K2 K1), raw or as hexadecimal digits.");
    }
}

bool CTdesKey::TakeRaw(const unsigned char* pb, std::size_t cb)
{
    if (cb != SIZE && cb != TWO_KEYS) {
        return false;
    }
    std::copy_n(pb, cb, m_ab.begin());
    if (cb == TWO_KEYS) {
        std::copy_n(pb, SIZE - TWO_KEYS, m_ab.begin() + TWO_KEYS);
    }
    return true;
}

bool CTdesKey::TakeHex(const unsigned char* pb, std::size_t cb)
{
    if (cb % 2 != 0 || cb > 2 * SIZE) {
        return false;
    }
    if (!std::all_of(pb, pb + cb, [](unsigned char digit) { return std::isxdigit(digit) != 0; })) {
        return false;
    }
    Content raw;
    for (; raw.cb < cb / 2; ++raw.cb) {
        raw.ab.at(raw.cb) = static_cast<unsigned char>(DigitValue(pb[2 * raw.cb]) << 4 |
                                                       DigitValue(pb[2 * raw.cb + 1]));
    }
    return TakeRaw(raw.ab.data(), raw.cb);
}

} // namespace tool
