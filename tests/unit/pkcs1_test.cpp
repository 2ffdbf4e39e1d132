// SPDX-License-Identifier: Apache-2.0
//
// PKCS#1 blocks, trailing pad bytes, ASN.1 integers (here with the libcrypto of the test program).

#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>

#include "cardlib/pkcs1.h"
#include "tests/support/scripted_pcsc.h"

namespace {

using scripted::Bytes;
using scripted::FromHex;

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

TEST(SignaturePadding, FillsWithFF)
{
    const Bytes data = Numbered(35);
    Bytes expected = FromHex("00 01");
    expected.insert(expected.end(), 90, 0xFF);
    expected.push_back(0x00);
    expected.insert(expected.end(), data.begin(), data.end());
    EXPECT_EQ(expected, Padded(SignaturePKCS1Padding, data, 128));
    EXPECT_EQ(FromHex("00 01 00 01 02"), Padded(SignaturePKCS1Padding, Numbered(2), 5));
}

TEST(SignaturePadding, CopiesAFullBlockAndRefusesWhatIsTooLong)
{
    for (const FPad pad : {SignaturePKCS1Padding, EncryptionPKCS1Padding}) {
        EXPECT_EQ(Numbered(128), Padded(pad, Numbered(128), 128));
        for (const std::size_t cb : {126U, 127U, 129U})
            EXPECT_EQ(Bytes(), Padded(pad, Numbered(cb), 128)) << cb;
        unsigned char block[16] = {};
        EXPECT_EQ(0, pad(block, -1, block, sizeof block));
        EXPECT_EQ(0, pad(nullptr, 1, block, sizeof block));
        EXPECT_EQ(0, pad(block, 1, nullptr, sizeof block));
    }
}

TEST(EncryptionPadding, TakesTheHostsRand)
{
    const Bytes data = Numbered(8);
    std::srand(7);
    const Bytes block = Padded(EncryptionPKCS1Padding, data, 2048);
    Bytes expected = FromHex("00 02");
    std::srand(7);
    std::generate_n(std::back_inserter(expected), 2048 - 8 - 3,
                    [] { return static_cast<std::uint8_t>(std::rand() % 255); });
    expected.push_back(0x00);
    expected.insert(expected.end(), data.begin(), data.end());
    EXPECT_EQ(expected, block);
    EXPECT_EQ(0, std::count(block.begin() + 2, block.end(), 0xFF));
}

/// A block of 128 bytes of type 2, whose first zero is at nZero.
Bytes Block(std::size_t nZero)
{
    Bytes block(128, 0x55);
    block[0] = 0x00;
    block[1] = 0x02;
    if (nZero < block.size())
        block[nZero] = 0x00;
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
        if (row.cbRoom >= row.cbData)
            std::fill_n(expected.begin(), row.cbData, 0x55);
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

TEST(LengthUnpadded, StopsAtTheFirstOtherByteFromTheEnd)
{
    const auto length = [](const char* szHex) {
        const Bytes value = FromHex(szHex);
        return GetLengthUnpadded(value.data(), value.size(), 0x00);
    };
    EXPECT_EQ(2U, length("41 42 00 00"));
    EXPECT_EQ(3U, length("41 00 42"));
    EXPECT_EQ(0U, length("00 00")) << "pad bytes only";
    EXPECT_EQ(0U, length(""));
    EXPECT_EQ(0U, GetLengthUnpadded(nullptr, 4, 0x00));
}

TEST(Asn1Integer, LosesItsLeadingZeros)
{
    const struct {
        const char* szIn;
        const char* szOut;
    } cases[] = {{"00 00 01 02", "01 02"}, {"80 00", "80 00"}, {"00", ""}, {"00 00 00", ""}};
    for (const auto& row : cases) {
        const Bytes in = FromHex(row.szIn);
        unsigned long cb = in.size();
        const std::unique_ptr<unsigned char[]> out(NormalizeASN1Integer(in.data(), &cb));
        ASSERT_NE(nullptr, out);
        EXPECT_EQ(FromHex(row.szOut), Bytes(out.get(), out.get() + cb));
    }
    unsigned long cb = 0;
    const unsigned char byte = 1;
    EXPECT_EQ(nullptr, NormalizeASN1Integer(&byte, &cb));
    cb = 1;
    EXPECT_EQ(nullptr, NormalizeASN1Integer(nullptr, &cb));
    EXPECT_EQ(nullptr, NormalizeASN1Integer(&byte, nullptr));
    cb = 1UL << 31;
    EXPECT_EQ(nullptr, NormalizeASN1Integer(&byte, &cb));
}

} // namespace
