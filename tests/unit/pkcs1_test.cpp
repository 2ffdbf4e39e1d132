// SPDX-License-Identifier: Apache-2.0
//
// PKCS#1 blocks, trailing pad bytes, ASN.1 integers (here with the libcrypto of the test program).

#include "cardlib/pkcs1.h"
#include "tests/support/bytes.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>

namespace {

Bytes Numbered(std::size_t cb)
{
    Bytes data(cb);
    std::iota(data.begin(), data.end(), 1);
    return data;
}

using FPad = unsigned char (*)(const unsigned char*, int, unsigned char*, unsigned long);

/// The padded block; empty when it was refused.
Bytes Padded(FPad pad, const Bytes& data, std::size_t cbBlock)
{
    Bytes block(cbBlock + 1, 0xEE);
    const bool bDone = pad(data.data(), static_cast<int>(data.size()), block.data(), cbBlock) != 0;
    EXPECT_EQ(0xEE, block.back());
    block.pop_back();
    return bDone ? block : Bytes();
}

TEST(DigestInfo, HasTheLengthsOfItsNames)
{
    EXPECT_EQ(18U, sizeof_MD5_OID);
    EXPECT_EQ(15U, sizeof_SHA1_OID);
    EXPECT_EQ(19U, sizeof_SHA256_OID);
    EXPECT_EQ(16, MD5_OID[17]) << "the length of the hash that follows";
    EXPECT_EQ(20, SHA1_OID[14]);
    EXPECT_EQ(32, SHA256_OID[18]);
}

TEST(Pkcs1Padding, FillsWithFFOrTheHostsRandAndRefusesWhatIsTooLong)
{
    const Bytes data = Numbered(35), zero = FromHex("00");
    EXPECT_EQ(FromHex("00 01") + Bytes(90, 0xFF) + zero + data,
              Padded(SignaturePKCS1Padding, data, 128));
    EXPECT_EQ(FromHex("00 01 00 01 02"), Padded(SignaturePKCS1Padding, Numbered(2), 5));

    std::srand(7);
    const Bytes block = Padded(EncryptionPKCS1Padding, data, 2048);
    Bytes random(2048 - 35 - 3);
    std::srand(7);
    std::generate(random.begin(), random.end(),
                  [] { return static_cast<std::uint8_t>(std::rand() % 255); });
    EXPECT_EQ(FromHex("00 02") + random + zero + data, block);

    for (const FPad pad : {SignaturePKCS1Padding, EncryptionPKCS1Padding}) {
        EXPECT_EQ(Numbered(128), Padded(pad, Numbered(128), 128)) << "a full block is copied";
        for (const std::size_t cb : {126U, 127U, 129U}) {
            EXPECT_EQ(Bytes(), Padded(pad, Numbered(cb), 128)) << cb;
        }
        unsigned char room[16] = {};
        EXPECT_EQ(0, pad(room, -1, room, sizeof room));
        EXPECT_EQ(0, pad(nullptr, 1, room, sizeof room));
        EXPECT_EQ(0, pad(room, 1, nullptr, sizeof room));
    }
}

/// A block of 128 bytes of type 2, whose first zero is at nZero.
Bytes Block(std::size_t nZero)
{
    Bytes block(128, 0x55);
    block[0] = 0x00;
    block[1] = 0x02;
    if (nZero < block.size()) {
        block[nZero] = 0x00;
    }
    return block;
}

TEST(Pkcs1Unpad, TakesWhatFollowsTheFirstZeroIfThereIsRoomForIt)
{
    const struct {
        std::size_t nZero;
        int cbRoom;
        int cbData;
    } rows[] = {{100, 128, 27},
                {100, 27, 27},
                {100, 26, 27},
                {127, 128, 0},
                {2, 128, 125}}; // no padding at all is accepted
    for (const auto& row : rows) {
        Bytes data(128, 0xEE), expected(128, 0xEE);
        if (row.cbRoom >= row.cbData) {
            std::fill_n(expected.begin(), row.cbData, 0x55);
        }
        int cb = row.cbRoom;
        EXPECT_TRUE(PKCS1UnPad(Block(row.nZero).data(), 128, data.data(), &cb));
        EXPECT_EQ(row.cbData, cb);
        EXPECT_EQ(expected, data);
    }
}

TEST(Pkcs1Unpad, RefusesOtherBlocks)
{
    int cb = 128;
    const auto refused = [&](Bytes block, std::size_t nAt, std::uint8_t bValue) {
        block[nAt] = bValue;
        return !PKCS1UnPad(block.data(), 128, nullptr, &cb);
    };
    EXPECT_TRUE(refused(Block(100), 0, 0x01));
    EXPECT_TRUE(refused(Block(100), 1, 0x00));
    EXPECT_TRUE(refused(Block(100), 1, 0x03));
    EXPECT_TRUE(refused(Block(128), 127, 0x01)) << "no zero";
    EXPECT_FALSE(PKCS1UnPad(Block(5).data(), 10, nullptr, &cb));
    EXPECT_FALSE(PKCS1UnPad(nullptr, 128, nullptr, &cb));
    EXPECT_FALSE(PKCS1UnPad(Block(5).data(), 128, nullptr, nullptr));
    EXPECT_EQ(128, cb);
}

TEST(Unpadding, OfTrailingBytesAndLeadingZeros)
{
    const struct {
        const char* szIn;
        unsigned long cbWithoutTrailing;
        const char* szWithoutLeading;
    } rows[] = {{"41 42 00 00", 2, "41 42 00 00"},
                {"41 00 42", 3, "41 00 42"},
                {"00 00 01 02", 4, "01 02"},
                {"80 00", 1, "80 00"},
                {"00 00", 0, ""}};
    for (const auto& row : rows) {
        const Bytes in = FromHex(row.szIn);
        EXPECT_EQ(row.cbWithoutTrailing, GetLengthUnpadded(in.data(), in.size(), 0x00));
        unsigned long cb = in.size();
        const std::unique_ptr<unsigned char[]> out(NormalizeASN1Integer(in.data(), &cb));
        ASSERT_NE(nullptr, out);
        EXPECT_EQ(FromHex(row.szWithoutLeading), Bytes(out.get(), out.get() + cb));
    }
    EXPECT_EQ(0U, GetLengthUnpadded(nullptr, 4, 0x00));
    const unsigned char byte = 1;
    for (unsigned long cb : {0UL, 1UL << 31}) {
        EXPECT_EQ(nullptr, NormalizeASN1Integer(&byte, &cb));
    }
    unsigned long cb = 1;
    EXPECT_EQ(nullptr, NormalizeASN1Integer(nullptr, &cb));
    EXPECT_EQ(nullptr, NormalizeASN1Integer(&byte, nullptr));
}

} // namespace
