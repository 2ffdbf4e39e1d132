// SPDX-License-Identifier: Apache-2.0
//
// Paddings, Triple-DES over padded data and the retail MAC.

#include <gtest/gtest.h>

#include "cardlib/sm_sig_enc.h"
#include "tests/support/libcrypto_des.h"

namespace {

using libcrypto::Random;

constexpr unsigned long NO_PADDING = 0xFFFFFFFF;

/// Takes over a buffer that a helper returned.
Bytes Take(unsigned char* pb, unsigned long cb)
{
    EXPECT_NE(nullptr, pb);
    const std::unique_ptr<unsigned char[]> owner(pb);
    return pb == nullptr ? Bytes() : Bytes(pb, pb + cb);
}

Bytes Padded(unsigned char* (*pad)(const unsigned char*, unsigned long*), const Bytes& data)
{
    unsigned long cb = data.size();
    unsigned char* const pb = pad(data.data(), &cb);
    return Take(pb, cb);
}

TEST(Paddings, FillWholeBlocks)
{
    const Bytes eight = FromHex("01 02 03 04 05 06 07 08");
    const Bytes nine = FromHex("01 02 03 04 05 06 07 08 09");
    EXPECT_EQ(FromHex("80 00 00 00 00 00 00 00"), Padded(IsoPad, {}));
    EXPECT_EQ(FromHex("01 02 03 04 05 06 07 80"), Padded(IsoPad, FromHex("01020304050607")));
    EXPECT_EQ(FromHex("01 02 03 04 05 06 07 08 80 00 00 00 00 00 00 00"), Padded(IsoPad, eight));
    EXPECT_EQ(Bytes(), Padded(AnsiPad, {}));
    EXPECT_EQ(eight, Padded(AnsiPad, eight));
    EXPECT_EQ(FromHex("01 02 03 04 05 06 07 08 09 00 00 00 00 00 00 00"), Padded(AnsiPad, nine));
}

TEST(Paddings, TakeNullDataForZerosAndNoLengthThatWrapsAround)
{
    const char* const expected[] = {"00 00 80 00 00 00 00 00", "00 00 00 00 00 00 00 00"};
    for (const auto pad : {IsoPad, AnsiPad}) {
        unsigned long cb = 2;
        unsigned char* const pb = pad(nullptr, &cb);
        EXPECT_EQ(FromHex(expected[pad == AnsiPad]), Take(pb, cb));
        cb = ~0UL;
        const unsigned char byte = 0;
        EXPECT_EQ(nullptr, pad(&byte, &cb));
        EXPECT_EQ(~0UL, cb);
        EXPECT_EQ(nullptr, pad(&byte, nullptr));
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
    const Bytes unpadded = libcrypto::TdesCbc(key, Bytes(16, 0x11), DES_ENCRYPT);
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
