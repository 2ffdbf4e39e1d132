// SPDX-License-Identifier: Apache-2.0
//
// A PC/SC whose card answers with the fuzzer's bytes, small and fast. When they are used up the
// card is gone, so that every loop that relies on the card comes to its end.

#ifndef TESTS_FUZZ_FUZZ_PCSC_H
#define TESTS_FUZZ_FUZZ_PCSC_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>
#include <winscard.h>

/// The fuzzer's bytes, taken from the front; zeros when there are no more.
class CInput {
public:
    CInput(const std::uint8_t* pb, std::size_t cb) : m_pb(pb), m_cb(cb) {}

    bool Empty() const { return m_cb == 0; }
    std::uint8_t Byte()
    {
        if (Empty())
            return 0;
        --m_cb;
        return *m_pb++;
    }
    std::uint16_t Word()
    {
        const std::uint8_t bHigh = Byte();
        return static_cast<std::uint16_t>(bHigh << 8 | Byte());
    }
    /// A length byte and as many bytes, as far as there are.
    std::vector<std::uint8_t> Bytes()
    {
        const std::size_t cb = std::min<std::size_t>(Byte(), m_cb);
        std::vector<std::uint8_t> bytes(m_pb, m_pb + cb);
        m_pb += cb;
        m_cb -= cb;
        return bytes;
    }

private:
    const std::uint8_t* m_pb;
    std::size_t m_cb;
};

/// Puts a card into the reader "Fuzz" whose answers come from the input.
void InsertCard(CInput& input, DWORD dwProtocol);

/// Contexts, cards and reader lists that are open.
std::size_t LeftOpen();

#endif
