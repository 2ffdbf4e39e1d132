// SPDX-License-Identifier: Apache-2.0
//
// Triple-DES keys read from files.

#ifndef TOOLS_PINDESK_KEY_FILE_H
#define TOOLS_PINDESK_KEY_FILE_H

#include <array>
#include <cstring>
#include <string>

namespace tool {

/// A key as the operations take it: K1 | K2 | K3.
class CTdesKey {
public:
    static constexpr std::size_t SIZE = 24, TWO_KEYS = 16;

    /// Reads 24 bytes, or 16 (K1 | K2, taken as K1 | K2 | K1), raw or as hexadecimal digits.
    /// With an empty path there is no key.
    /// \throws CFailure (Refused) when the file is open to others or holds something else.
    explicit CTdesKey(const std::string& path);
    ~CTdesKey() { explicit_bzero(m_ab.data(), m_ab.size()); }
    CTdesKey(const CTdesKey&) = delete;
    CTdesKey& operator=(const CTdesKey&) = delete;

    /// Null when there is no key.
    unsigned char* data() { return m_isGiven ? m_ab.data() : nullptr; }

private:
    bool TakeRaw(const unsigned char* pb, std::size_t cb);
    bool TakeHex(const unsigned char* pb, std::size_t cb);

    std::array<unsigned char, SIZE> m_ab{};
    bool m_isGiven = false;
};

} // namespace tool

#endif
