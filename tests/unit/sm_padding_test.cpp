// SPDX-License-Identifier: Apache-2.0
//
// Paddings, Triple-DES over padded data and the retail MAC.

#include "cardlib/sm_sig_enc.h"
#include "tests/support/envelopes.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

constexpr unsigned long NO_PADDING = 0xFFFFFFFF;

TEST(Paddings, FillWholeBlocksTakeNullForZerosAndRefuseALengthThatWrapsAround)
{
    const struct {
        unsigned char* (*pad)(const unsigned char*, unsigned long*);
        Bytes (*model)(Bytes);
    } rows[] = {{IsoPad, libcrypto::IsoPadded}, {AnsiPad, libcrypto::ZeroPadded}};
    for (const auto& row : rows) {
        for (std::size_t cbData = 0; cbData <= 17; ++cbData) {
            for (const Bytes& data : {Bytes(cbData, 0x11), Bytes(cbData)}) {
                unsigned long cb = cbData;
                const bool bZeros = data == Bytes(cbData);
                const std::unique_ptr<unsigned char[]> padded(
                    row.pad(bZeros ? nullptr : data.data(), &cb));
                ASSERT_NE(nullptr, padded);
                EXPECT_EQ(row.model(data), Bytes(padded.get(), padded.get() + cb));
            }
        }
        const unsigned char byte = 0;
        unsigned long cb = ~0UL;
        EXPECT_EQ(nullptr, row.pad(&byte, &cb));
        EXPECT_EQ(~0UL, cb);
        EXPECT_EQ(nullptr, row.pad(&byte, nullptr));
    }
}

TEST(Unpadding, FindsTheLast80AndForgivesWhatFollows)
{
    const struct {
        const char* szPadded;
        unsigned long cbData;
    } cases[] = {
        {"11 22 80 00 00 00 00 00", 2},
        {"80 00 00 00 00 00 80 05", 6}, // on purpose: bytes behind 80 may be anything
        {"80 00 00 00 00 00 00 00", 0},
        {"11 22 33 44 55 66 77 88  99 80 00 00 00 00 00 00", 9},
        {"11 22 33 44 55 66 77 80  00 00 00 00 00 00 00 00", 7},
        {"11 22 33 44 55 66 77 88", NO_PADDING},
        {"11 22 80", NO_PADDING},
        {"", NO_PADDING},
    };
    for (const auto& row : cases) {
        const Bytes padded = FromHex(row.szPadded);
        EXPECT_EQ(row.cbData, IsoPadded_GetUnpaddedLen(padded.data(), padded.size()))
            << row.szPadded;
    }
    EXPECT_EQ(NO_PADDING, IsoPadded_GetUnpaddedLen(nullptr, 8));
}

TEST(PaddedCipher, BadPaddingGivesNullAndTheErrorLength)
{
    const Bytes key = Random(24);
    const Bytes unpadded = libcrypto::Encipher(key, Bytes(16, 0x11));
    for (const std::size_t cbCipher : {16U, 15U, 7U, 0U}) {
        unsigned long cb = cbCipher;
        EXPECT_EQ(nullptr, UNDES3_IsoPadded(key.data(), unpadded.data(), &cb));
        EXPECT_EQ(NO_PADDING, cb);
    }
    unsigned long cb = 8;
    EXPECT_EQ(nullptr, UNDES3_IsoPadded(nullptr, unpadded.data(), &cb));
    EXPECT_EQ(nullptr, DES3_IsoPadded(nullptr, unpadded.data(), &cb));
    EXPECT_EQ(8U, cb);
}

TEST(RetailMac, LeavesItsOutputWithoutInput)
{
    const Bytes key = Random(24), untouched(8, 0xEE);
    Bytes mac = untouched;
    MAC3_AnsiPadded(key.data(), key.data(), 0, mac.data());
    MAC3_AnsiPadded(key.data(), nullptr, 8, mac.data());
    MAC3_AnsiPadded(nullptr, key.data(), 8, mac.data());
    MAC3_AnsiPadded(key.data(), key.data(), 8, nullptr);
    EXPECT_EQ(untouched, mac);
}

} // namespace
