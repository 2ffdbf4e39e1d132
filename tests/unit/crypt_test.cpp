// SPDX-License-Identifier: Apache-2.0
//
// Triple-DES beside libcrypto over random input, the layout of key schedules, and the chaining with
// a length byte in its last block.

#include <gtest/gtest.h>
#include <numeric>

#include "cardlib/crypt.h"
#include "cardlib/des3port.h"
#include "tests/support/envelopes.h"

namespace {

const Bytes KEY_BYTES = FromHex("0123456789ABCDEF 23456789ABCDEF01 456789ABCDEF0123");

TEST(DesSchedule, HoldsTheGroupsOfOddAndEvenBoxes)
{
    // The round keys of this key are printed in many textbooks; the first is
    // 000110 110000 001011 101111 111111 000111 000001 110010.
    unsigned int schedule[16][2];
    deskey(schedule, FromHex("133457799BBCDFF1").data(), 0);
    EXPECT_EQ(0x060B3F01U, schedule[0][0]);
    EXPECT_EQ(0x302F0732U, schedule[0][1]);

    unsigned int reversed[16][2];
    deskey(reversed, FromHex("123556789ABDDEF0").data(), 7); // other parity, same key
    for (int n = 0; n < 16; ++n) {
        EXPECT_EQ(schedule[n][0], reversed[15 - n][0]);
        EXPECT_EQ(schedule[n][1], reversed[15 - n][1]);
    }
}

TEST(Doencrypt, AgreesWithLibcryptoInPlaceAtEveryAlignment)
{
    for (std::size_t nBlocks = 0; nBlocks <= 40; ++nBlocks) {
        for (std::size_t nOffset = 0; nOffset < 8; ++nOffset) {
            const Bytes key = Random(24), plain = Random(8 * nBlocks);
            const Bytes cipher = libcrypto::Encipher(key, plain);
            Bytes buffer(nOffset, 0xEE);
            buffer.insert(buffer.end(), plain.begin(), plain.end());
            buffer.insert(buffer.end(), 8, 0xEE);
            // 0 to 7 bytes more are no whole block and stay
            EXPECT_EQ(0, doencrypt(key.data(), &buffer[nOffset], plain.size() + nOffset, 0));
            EXPECT_TRUE(std::equal(cipher.begin(), cipher.end(), &buffer[nOffset]));
            EXPECT_EQ(0, doencrypt(key.data(), &buffer[nOffset], plain.size(), 1));
            EXPECT_TRUE(std::equal(plain.begin(), plain.end(), &buffer[nOffset]));
            EXPECT_EQ(8, std::count(buffer.end() - 8, buffer.end(), 0xEE));
        }
    }
}

TEST(CbcPair, GivesBackDataOfEveryLengthWithACountInTheLastBlock)
{
    for (std::size_t cb = 1; cb <= 33; ++cb) {
        Bytes data(cb);
        std::iota(data.begin(), data.end(), 1);
        Bytes padded = data;
        padded.resize(cb / 8 * 8 + 7);
        padded.push_back(static_cast<std::uint8_t>(cb % 8));

        unsigned char* pCipher = nullptr;
        const long cbCipher = CBCDes3EncryptData(KEY_BYTES.data(), data.data(), cb, &pCipher);
        ASSERT_EQ(static_cast<long>(padded.size()), cbCipher);
        EXPECT_EQ(libcrypto::Encipher(KEY_BYTES, padded), Bytes(pCipher, pCipher + cbCipher));

        unsigned char* pPlain = nullptr;
        const auto cbSize = static_cast<unsigned long>(cbCipher);
        ASSERT_EQ(static_cast<long>(cb),
                  CBCDes3DecryptData(KEY_BYTES.data(), pCipher, cbSize, &pPlain));
        EXPECT_EQ(data, Bytes(pPlain, pPlain + cb));
        CBCDes3Free(pCipher);
        CBCDes3Free(pPlain);
    }
    CBCDes3Free(nullptr);
}

TEST(CbcPair, RefusesAndHandsOutNothing)
{
    const Bytes tooManyAtTheEnd =
        libcrypto::Encipher(KEY_BYTES, FromHex("11 22 33 44 55 66 77 08"));
    unsigned char byte = 0;
    unsigned char* const pMarker = &byte;
    const auto decrypt = [&](const unsigned char* pIn, unsigned long cb) {
        unsigned char* pOut = pMarker;
        const long lResult = CBCDes3DecryptData(KEY_BYTES.data(), pIn, cb, &pOut);
        EXPECT_EQ(nullptr, pOut);
        return lResult;
    };
    EXPECT_EQ(-1, decrypt(tooManyAtTheEnd.data(), 8));
    EXPECT_EQ(-1, decrypt(tooManyAtTheEnd.data(), 7));
    EXPECT_EQ(-1, decrypt(tooManyAtTheEnd.data(), 0));
    EXPECT_EQ(-1, decrypt(nullptr, 8));
    EXPECT_EQ(-1, CBCDes3DecryptData(KEY_BYTES.data(), tooManyAtTheEnd.data(), 8, nullptr));

    unsigned char* pOut = pMarker;
    EXPECT_EQ(-1, CBCDes3EncryptData(KEY_BYTES.data(), pMarker, 0, &pOut));
    EXPECT_EQ(nullptr, pOut);
    EXPECT_EQ(-1, CBCDes3EncryptData(KEY_BYTES.data(), nullptr, 8, &pOut));
    EXPECT_EQ(-1, CBCDes3EncryptData(KEY_BYTES.data(), pMarker, 1, nullptr));
    EXPECT_EQ(-1, CBCDes3EncryptData(KEY_BYTES.data(), pMarker, ~0UL, &pOut));
}

TEST(FinalBlock, KeepsTheLengthWhenTheCountIsBad)
{
    unsigned int schedule[48][2];
    unsigned char iv[8] = {};
    unsigned char out[8] = {};
    unsigned long cb = 8;
    des3key(schedule, KEY_BYTES.data(), 0);
    EXPECT_EQ(-1, doCryptExFinal(schedule, iv, out, out, &cb, 0)) << "eight bytes need two blocks";

    const Bytes cipher = libcrypto::Encipher(KEY_BYTES, FromHex("1122334455667708"));
    des3key(schedule, KEY_BYTES.data(), 1);
    EXPECT_EQ(-1, doCryptExFinal(schedule, iv, cipher.data(), out, &cb, 1));
    EXPECT_EQ(8U, cb);
    EXPECT_EQ(Bytes(8), Bytes(out, out + 8));
}

} // namespace
