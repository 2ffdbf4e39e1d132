// SPDX-License-Identifier: Apache-2.0
//
// Exact bytes of the four envelopes, composed here from libcrypto's calls, and what becomes of
// answers that are right, wrong and odd.

#include <gtest/gtest.h>

#include "cardlib/sm_sig_enc.h"
#include "tests/support/libcrypto_des.h"

namespace {

using libcrypto::Random;
using libcrypto::RetailMac;
using scripted::ToHex;

const Bytes kSig = FromHex("0123456789ABCDEF 23456789ABCDEF01 0123456789ABCDEF");
const Bytes kEnc = FromHex("89ABCDEF01234567 AB0123456789CDEF CDEF0123456789AB");
const Bytes kRandom = FromHex("A0 A1 A2 A3 A4 A5 A6 A7");

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes ZeroPadded(Bytes bytes)
{
    bytes.resize((bytes.size() + 7) / 8 * 8);
    return bytes;
}

Bytes WithLength(const Bytes& value)
{
    return Bytes{static_cast<std::uint8_t>(value.size())} + value;
}

Bytes Object(std::uint8_t bTag, const Bytes& value)
{
    return Bytes{bTag} + WithLength(value);
}

Bytes Cipher(const Bytes& key, const Bytes& data)
{
    return libcrypto::TdesCbc(key, libcrypto::IsoPadded(data), DES_ENCRYPT);
}

Bytes Take(unsigned char* pb, unsigned long cb)
{
    const std::unique_ptr<unsigned char[]> owner(pb);
    return pb == nullptr ? Bytes() : Bytes(pb, pb + cb);
}

// SMx4: 20 01 02 is VERIFY with some parameters

Bytes Signed(const Bytes& data)
{
    unsigned long cb = data.size();
    Bytes mac(8);
    unsigned char* const pb =
        SMx4_SIG(kSig.data(), 0x84, 0x20, 0x01, 0x02, data.data(), &cb, mac.data());
    Bytes command = Take(pb, cb);
    EXPECT_TRUE(command.empty() || std::equal(mac.begin(), mac.end(), command.end() - 8));
    return command;
}

Bytes SignedAndEnciphered(const Bytes& data)
{
    unsigned long cb = data.size();
    unsigned char* const pb = SMx4_SIG_ENC(kSig.data(), 0x84, 0x20, 0x01, 0x02, data.data(), &cb);
    return Take(pb, cb);
}

/// The data and the MAC over all of the command but its class.
Bytes DataAndMac(const Bytes& data)
{
    const auto bLc = static_cast<std::uint8_t>(data.size() + 8);
    return data + RetailMac(kSig, FromHex("20 01 02") + Bytes{bLc} + data);
}

TEST(Smx4, SignsAndEnciphersDataOfEveryLengthThatFits)
{
    const Bytes header = FromHex("84 20 01 02");
    EXPECT_EQ(0x0B, Signed(Random(3)).at(4));
    for (std::size_t cb = 0; cb <= 247; ++cb) {
        const Bytes data = Random(cb);
        EXPECT_EQ(header + WithLength(DataAndMac(data)), Signed(data));
        if (cb <= 239) {
            EXPECT_EQ(header + WithLength(Cipher(kSig, DataAndMac(data))),
                      SignedAndEnciphered(data));
        }
    }
}

TEST(Smx4, RefusesWhatDoesNotFitAndKeepsTheLength)
{
    const Bytes data(300);
    for (unsigned long cb : {248UL, 300UL, ~0UL}) {
        unsigned long cbInOut = cb;
        Bytes mac(8);
        EXPECT_EQ(nullptr, SMx4_SIG(kSig.data(), 0, 0x20, 0, 0, data.data(), &cbInOut, mac.data()));
        EXPECT_EQ(nullptr, SMx4_SIG_ENC(kSig.data(), 0, 0x20, 0, 0, data.data(), &cbInOut));
        EXPECT_EQ(cb, cbInOut);
    }
    EXPECT_EQ(Bytes(), SignedAndEnciphered(Random(240)));

    unsigned long cb = 3;
    Bytes mac(8);
    EXPECT_EQ(nullptr, SMx4_SIG(kSig.data(), 0, 0x20, 0, 0, data.data(), &cb, nullptr));
    EXPECT_EQ(nullptr, SMx4_SIG(kSig.data(), 0, 0x20, 0, 0, data.data(), nullptr, mac.data()));
    EXPECT_EQ(nullptr, SMx4_SIG(nullptr, 0, 0x20, 0, 0, data.data(), &cb, mac.data()));
    EXPECT_EQ(nullptr, SMx4_SIG_ENC(kSig.data(), 0, 0x20, 0, 0, data.data(), nullptr));
}

// SMxC, the command

Bytes Wrapped(const unsigned char* pRandom, std::uint8_t cla, const Bytes& data)
{
    unsigned long cb = 99;
    unsigned char* const pb = SMxC_ENC_SIG(kSig.data(), kEnc.data(), pRandom, cla, 0x20, 0x00, 0x81,
                                           data.data(), data.size(), 0x42, &cb);
    EXPECT_EQ(pb == nullptr, cb == 0);
    return Take(pb, cb);
}

/// The protected command that a card expects.
Bytes Protected(const Bytes& macHeader, const Bytes& data)
{
    const Bytes cryptogram = Object(0x87, Bytes{0x01} + Cipher(kEnc, data));
    const Bytes mac = RetailMac(kSig, ZeroPadded(macHeader) + ZeroPadded(cryptogram));
    return FromHex("0C 20 00 81") + WithLength(cryptogram + Object(0x8E, mac)) + Bytes{0x00};
}

TEST(SmxcCommand, ProtectsDataOfEveryLengthThatFits)
{
    for (std::size_t cb = 0; cb <= 239; ++cb) {
        const Bytes data = Random(cb);
        EXPECT_EQ(Protected(kRandom + FromHex("0C 20 00 81"), data),
                  Wrapped(kRandom.data(), 0x00, data));
        EXPECT_EQ(Protected(FromHex("0C 20 00 81"), data), Wrapped(nullptr, 0x00, data));
    }
    EXPECT_EQ(Bytes(), Wrapped(kRandom.data(), 0x00, Random(240)));
    EXPECT_EQ(Protected(kRandom + FromHex("8C 20 00 81"), FromHex("11")),
              Wrapped(kRandom.data(), 0x83, FromHex("11"))); // the caller's class in the MAC alone
}

TEST(SmxcCommand, NeedsKeysAndALength)
{
    unsigned long cb = 99;
    EXPECT_EQ(nullptr, SMxC_ENC_SIG(nullptr, kEnc.data(), nullptr, 0, 0, 0, 0, nullptr, 0, 0, &cb));
    EXPECT_EQ(nullptr, SMxC_ENC_SIG(kSig.data(), nullptr, nullptr, 0, 0, 0, 0, nullptr, 0, 0, &cb));
    EXPECT_EQ(nullptr,
              SMxC_ENC_SIG(kSig.data(), kEnc.data(), nullptr, 0, 0, 0, 0, nullptr, ~0UL, 0, &cb));
    EXPECT_EQ(0U, cb);
    EXPECT_EQ(nullptr,
              SMxC_ENC_SIG(kSig.data(), kEnc.data(), nullptr, 0, 0, 0, 0, nullptr, 0, 0, nullptr));
}

// SMxC, the response

struct SOpened {
    bool m_bData; ///< whether there is a buffer at all
    Bytes m_data;
    unsigned long m_cb;
    bool m_bVerified;
    bool m_bDecoded;

    bool operator==(const SOpened&) const = default;
    friend void PrintTo(const SOpened& opened, std::ostream* pOut)
    {
        *pOut << (opened.m_bData ? ToHex(opened.m_data.data(), opened.m_data.size()) : "null")
              << ", length " << opened.m_cb << ", verified " << opened.m_bVerified << ", decoded "
              << opened.m_bDecoded;
    }
};

const SOpened kNotProtected{false, {}, 0, false, false};
const SOpened kNotVerified{false, {}, 0, false, true};
const SOpened kEmptyObject{false, {}, 0, true, true};
const SOpened kBadPadding{false, {}, 0xFFFFFFFF, true, true};

SOpened Plain(const Bytes& data)
{
    return {true, data, data.size(), true, true};
}

SOpened Open(const Bytes& response, const unsigned char* pRandom = kRandom.data())
{
    unsigned long cb = 99;
    BOOL bVerified = 9, bDecoded = 9;
    unsigned char* const pb =
        SMxC_VRF_DEC(kSig.data(), kEnc.data(), pRandom, 0x03, 0xB0, 0x12, 0x34, response.data(),
                     response.size(), cb, bVerified, bDecoded);
    return {pb != nullptr, Take(pb, cb), cb, bVerified != 0, bDecoded != 0};
}

Bytes Checksum(const Bytes& covered, const Bytes& random = kRandom)
{
    // On purpose the header is not padded before the object.
    const Bytes header = random + FromHex("0C B0 12 34");
    return Object(0x8E, RetailMac(kSig, header + ZeroPadded(covered)));
}

Bytes Cryptogram(std::uint8_t bTag, const Bytes& data)
{
    return Object(bTag, Bytes{0x01} + Cipher(kEnc, data));
}

const Bytes kOk = FromHex("90 00");

TEST(SmxcResponse, OpensWhatTheCardProtected)
{
    for (std::size_t cb = 0; cb <= 239; ++cb) {
        const Bytes data = Random(cb);
        const Bytes enciphered = Cryptogram(0x87, data), plain = Object(0x81, data);
        const Bytes status = FromHex("99 02 90 00");
        EXPECT_EQ(Plain(data), Open(enciphered + Checksum(enciphered) + kOk));
        EXPECT_EQ(Plain(data), Open(plain + status + Checksum(plain) + kOk));
        EXPECT_EQ(Plain(data), Open(plain)); // without a checksum it counts as verified
        EXPECT_EQ(Plain(data), Open(plain + Checksum(plain, Bytes(8)) + kOk, nullptr));
    }
}

TEST(SmxcResponse, EvenTagsAreNotCoveredByTheChecksum)
{
    const Bytes data = FromHex("AA BB CC");
    const Bytes enciphered = Cryptogram(0x86, data), plain = Object(0x80, data);
    EXPECT_EQ(Plain(data), Open(enciphered + Checksum({}) + kOk));
    EXPECT_EQ(Plain(data), Open(plain + Checksum({}) + kOk));
    EXPECT_EQ(kNotVerified, Open(plain + Checksum(plain) + kOk));
    // A plain object beside a cryptogram that is not covered is covered itself.
    const Bytes beside = Object(0x81, FromHex("11"));
    EXPECT_EQ(Plain(data), Open(enciphered + beside + Checksum(beside) + kOk));
}

TEST(SmxcResponse, TakesTheFirstKindOfDataThatIsThere)
{
    const Bytes o80 = Object(0x80, FromHex("80")), o81 = Object(0x81, FromHex("81"));
    const Bytes o86 = Cryptogram(0x86, FromHex("86")), o87 = Cryptogram(0x87, FromHex("87"));
    EXPECT_EQ(Plain(FromHex("87")), Open(o80 + o81 + o86 + o87 + Cryptogram(0x87, {}) + kOk));
    EXPECT_EQ(Plain(FromHex("86")), Open(o80 + o81 + o86 + kOk));
    EXPECT_EQ(Plain(FromHex("81")), Open(o80 + o81 + kOk));
    EXPECT_EQ(Plain(FromHex("80")), Open(o80 + kOk));
}

TEST(SmxcResponse, WithAnotherChecksumIsNotVerified)
{
    const Bytes data = Object(0x81, FromHex("AA BB"));
    const Bytes good = Checksum(data);
    for (std::size_t n = 2; n < good.size(); ++n) {
        Bytes wrong = good;
        wrong[n] ^= 0x01;
        EXPECT_EQ(kNotVerified, Open(data + wrong + kOk)) << n;
    }
    EXPECT_EQ(kNotVerified, Open(data + Checksum(data, Bytes(8)) + kOk)) << "other randoms";
    // Fewer than eight bytes never match, even if the next object goes on with the right ones.
    for (std::size_t cb = 0; cb < 8; ++cb) {
        const Bytes part(good.begin() + 2, good.begin() + 2 + static_cast<long>(cb));
        const Bytes next = Object(good[2 + cb], {});
        EXPECT_EQ(kNotVerified, Open(data + Object(0x8E, part) + next + kOk)) << cb;
    }
    const Bytes longer = Object(0x8E, Bytes(good.begin() + 2, good.end()) + FromHex("55"));
    EXPECT_EQ(Plain(FromHex("AA BB")), Open(data + longer + kOk)) << "its first eight bytes count";
}

TEST(SmxcResponse, NotProtectedIsToldFromNotVerified)
{
    const Bytes data = Cryptogram(0x87, FromHex("AA"));
    for (const Bytes& response : {
             FromHex("99 02 90 00"), FromHex("6F 01 55 90 00"), FromHex("90"), Bytes(),
             data + Checksum(data) + FromHex("69 82"), // walked as an object that is cut off
             data + FromHex("8E"),                     // a tag as the last byte
         })
        EXPECT_EQ(kNotProtected, Open(response)) << ToHex(response.data(), response.size());
    unsigned long cb = 99;
    BOOL bVerified = 9, bDecoded = 9;
    EXPECT_EQ(nullptr, SMxC_VRF_DEC(kSig.data(), kEnc.data(), nullptr, 0, 0, 0, 0, nullptr, 4, cb,
                                    bVerified, bDecoded));
    EXPECT_EQ(0, bDecoded);
}

TEST(SmxcResponse, CryptogramsWithoutDataOrPaddingGiveNull)
{
    const auto open = [](std::uint8_t bTag, const Bytes& value) {
        return Open(Object(bTag, value) + kOk);
    };
    const Bytes unpadded = libcrypto::TdesCbc(kEnc, Bytes(8, 0x11), DES_ENCRYPT);
    for (const std::uint8_t bTag : FromHex("87 86")) {
        EXPECT_EQ(kEmptyObject, open(bTag, {}));
        EXPECT_EQ(kBadPadding, open(bTag, FromHex("01")));
        EXPECT_EQ(kBadPadding, open(bTag, FromHex("01 11 22 33 44 55 66 77")));
        EXPECT_EQ(kBadPadding, open(bTag, Bytes{0x01} + unpadded));
    }
}

TEST(SmxcResponse, IsNeverVerifiedWithoutAKey)
{
    const Bytes response = Object(0x81, FromHex("AA")) + Object(0x8E, Bytes(8));
    unsigned long cb = 99;
    BOOL bVerified = 9, bDecoded = 9;
    EXPECT_EQ(nullptr, SMxC_VRF_DEC(nullptr, kEnc.data(), nullptr, 0, 0, 0, 0, response.data(),
                                    response.size(), cb, bVerified, bDecoded));
    EXPECT_EQ(0, bVerified);
}

} // namespace
