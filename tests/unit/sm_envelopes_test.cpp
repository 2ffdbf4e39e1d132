// SPDX-License-Identifier: Apache-2.0
//
// Exact bytes of the four envelopes beside those of libcrypto, and what becomes of answers that are
// right, wrong and odd.

#include "cardlib/sm_sig_enc.h"
#include "tests/support/envelopes.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

using libcrypto::IsoPadded;
using libcrypto::RetailMac;

const SEnvelope ENVELOPE = {.sig = FromHex("0123456789ABCDEF 23456789ABCDEF01 0123456789ABCDEF"),
                            .enc = FromHex("89ABCDEF01234567 AB0123456789CDEF CDEF0123456789AB"),
                            .challenge = FromHex("A0 A1 A2 A3 A4 A5 A6 A7"),
                            .hostRandom = FromHex("B0 B1 B2 B3 B4 B5 B6 B7"),
                            .header = FromHex("0C B0 12 34")};
const Bytes& SIG = ENVELOPE.sig;
const Bytes& ENC = ENVELOPE.enc;
constexpr unsigned long TOO_LONG[] = {300, ~0UL};

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
        SMx4_SIG(SIG.data(), 0x84, 0x20, 0x01, 0x02, data.data(), &cb, mac.data());
    Bytes command = Take(pb, cb);
    EXPECT_TRUE(command.empty() || std::equal(mac.begin(), mac.end(), command.end() - 8));
    return command;
}

Bytes SignedAndEnciphered(const Bytes& data)
{
    unsigned long cb = data.size();
    unsigned char* const pb = SMx4_SIG_ENC(SIG.data(), 0x84, 0x20, 0x01, 0x02, data.data(), &cb);
    return Take(pb, cb);
}

TEST(Smx4, SignsAndEnciphersDataOfEveryLengthThatFits)
{
    const Bytes header = FromHex("84 20 01");
    for (std::size_t cb = 0; cb <= 247; ++cb) {
        const Bytes data = Random(cb); // the MAC is over all of the command but its class
        const Bytes macInput =
            FromHex("20 01 02") + Bytes{static_cast<std::uint8_t>(cb + 8)} + data;
        const Bytes body = data + RetailMac(SIG, macInput);
        EXPECT_EQ(header + Object(0x02, body), Signed(data));
        EXPECT_EQ(cb > 239 ? Bytes()
                           : header + Object(0x02, libcrypto::Encipher(SIG, IsoPadded(body))),
                  SignedAndEnciphered(data));
    }
}

TEST(Smx4, RefusesWhatDoesNotFitAndKeepsTheLength)
{
    const Bytes data(300);
    Bytes mac(8);
    for (unsigned long cb : TOO_LONG) {
        unsigned long cbInOut = cb;
        EXPECT_EQ(nullptr, SMx4_SIG(SIG.data(), 0, 0x20, 0, 0, data.data(), &cbInOut, mac.data()));
        EXPECT_EQ(nullptr, SMx4_SIG_ENC(SIG.data(), 0, 0x20, 0, 0, data.data(), &cbInOut));
        EXPECT_EQ(cb, cbInOut);
    }
    unsigned long cb = 3;
    EXPECT_EQ(nullptr, SMx4_SIG(SIG.data(), 0, 0x20, 0, 0, data.data(), &cb, nullptr));
    EXPECT_EQ(nullptr, SMx4_SIG(SIG.data(), 0, 0x20, 0, 0, data.data(), nullptr, mac.data()));
    EXPECT_EQ(nullptr, SMx4_SIG(nullptr, 0, 0x20, 0, 0, data.data(), &cb, mac.data()));
    EXPECT_EQ(nullptr, SMx4_SIG_ENC(SIG.data(), 0, 0x20, 0, 0, data.data(), nullptr));
}

// SMxC, the command

Bytes Wrapped(const Bytes& challenge, std::uint8_t cla, const Bytes& data)
{
    unsigned long cb = 99;
    unsigned char* const pb =
        SMxC_ENC_SIG(SIG.data(), ENC.data(), challenge.empty() ? nullptr : challenge.data(), cla,
                     0x20, 0x00, 0x81, data.data(), data.size(), 0x42, &cb);
    EXPECT_EQ(pb == nullptr, cb == 0);
    return Take(pb, cb);
}

TEST(SmxcCommand, ProtectsDataOfEveryLengthThatFits)
{
    SEnvelope withoutChallenge = ENVELOPE;
    withoutChallenge.challenge.clear();
    for (std::size_t cb = 0; cb <= 239; ++cb) {
        const Bytes data = Random(cb);
        for (const SEnvelope& envelope : {ENVELOPE, withoutChallenge}) {
            for (const std::uint8_t cla :
                 FromHex("00 83")) { // the caller's class is in the MAC alone
                const Bytes plain = Bytes{cla, 0x20, 0x00} + Object(0x81, data);
                EXPECT_EQ(envelope.ProtectCommand(plain), Wrapped(envelope.challenge, cla, data));
            }
        }
    }
    EXPECT_EQ(Bytes(), Wrapped(ENVELOPE.challenge, 0x00, Random(240)));
}

TEST(SmxcCommand, NeedsKeysAndALength)
{
    unsigned long cb = 99;
    EXPECT_EQ(nullptr, SMxC_ENC_SIG(nullptr, ENC.data(), nullptr, 0, 0, 0, 0, nullptr, 0, 0, &cb));
    EXPECT_EQ(nullptr, SMxC_ENC_SIG(SIG.data(), nullptr, nullptr, 0, 0, 0, 0, nullptr, 0, 0, &cb));
    EXPECT_EQ(nullptr,
              SMxC_ENC_SIG(SIG.data(), ENC.data(), nullptr, 0, 0, 0, 0, nullptr, ~0UL, 0, &cb));
    EXPECT_EQ(0U, cb);
    EXPECT_EQ(nullptr,
              SMxC_ENC_SIG(SIG.data(), ENC.data(), nullptr, 0, 0, 0, 0, nullptr, 0, 0, nullptr));
}

// SMxC, the response

/// What SMxC_VRF_DEC made of a response, as text: the data, or what is said in their place.
constexpr char NOT_PROTECTED[] = "null, length 0, verified 0, decoded 0";
constexpr char NOT_VERIFIED[] = "null, length 0, verified 0, decoded 1";
constexpr char EMPTY_OBJECT[] = "null, length 0, verified 1, decoded 1";
constexpr char BAD_PADDING[] = "null, length 4294967295, verified 1, decoded 1";

std::string Plain(const Bytes& data)
{
    return ToHex(data) + ", length " + std::to_string(data.size()) + ", verified 1, decoded 1";
}

std::string Open(const Bytes& response, const Bytes& random = ENVELOPE.hostRandom)
{
    unsigned long cb = 99;
    BOOL bVerified = 9, bDecoded = 9;
    unsigned char* const pb =
        SMxC_VRF_DEC(SIG.data(), ENC.data(), random.empty() ? nullptr : random.data(), 0x03, 0xB0,
                     0x12, 0x34, response.data(), response.size(), cb, bVerified, bDecoded);
    return (pb == nullptr ? "null" : ToHex(Take(pb, cb))) + ", length " + std::to_string(cb) +
           ", verified " + std::to_string(bVerified) + ", decoded " + std::to_string(bDecoded);
}

Bytes Cryptogram(std::uint8_t bTag, const Bytes& data)
{
    return ENVELOPE.Cryptogram(bTag, IsoPadded(data));
}

Bytes Checksum(const Bytes& covered)
{
    return ENVELOPE.AnswerChecksum(covered);
}

const Bytes OK = FromHex("90 00");

TEST(SmxcResponse, OpensWhatTheCardProtected)
{
    SEnvelope withoutRandom = ENVELOPE; // eight zeros stand for it
    withoutRandom.hostRandom = Bytes(8);
    for (std::size_t cb = 0; cb <= 239; ++cb) {
        const Bytes data = Random(cb);
        const Bytes plain = Object(0x81, data), status = FromHex("99 02 90 00");
        EXPECT_EQ(Plain(data), Open(ENVELOPE.ProtectAnswer(IsoPadded(data))));
        EXPECT_EQ(Plain(data), Open(plain + status + Checksum(plain) + OK));
        EXPECT_EQ(Plain(data), Open(plain)); // without a checksum it counts as verified
        EXPECT_EQ(Plain(data), Open(plain + withoutRandom.AnswerChecksum(plain) + OK, {}));
    }
}

TEST(SmxcResponse, EvenTagsAreNotCoveredByTheChecksum)
{
    const Bytes data = FromHex("AA BB CC");
    const Bytes enciphered = Cryptogram(0x86, data), plain = Object(0x80, data);
    EXPECT_EQ(Plain(data), Open(enciphered + Checksum({}) + OK));
    EXPECT_EQ(Plain(data), Open(plain + Checksum({}) + OK));
    EXPECT_EQ(NOT_VERIFIED, Open(plain + Checksum(plain) + OK));
    // A plain object beside a cryptogram that is not covered is covered itself.
    const Bytes beside = Object(0x81, FromHex("11"));
    EXPECT_EQ(Plain(data), Open(enciphered + beside + Checksum(beside) + OK));
}

TEST(SmxcResponse, TakesTheFirstKindOfDataThatIsThere)
{
    const Bytes o80 = Object(0x80, FromHex("80")), o81 = Object(0x81, FromHex("81"));
    const Bytes o86 = Cryptogram(0x86, FromHex("86")), o87 = Cryptogram(0x87, FromHex("87"));
    EXPECT_EQ(Plain(FromHex("87")), Open(o80 + o81 + o86 + o87 + Cryptogram(0x87, {}) + OK));
    EXPECT_EQ(Plain(FromHex("86")), Open(o80 + o81 + o86 + OK));
    EXPECT_EQ(Plain(FromHex("81")), Open(o80 + o81 + OK));
    EXPECT_EQ(Plain(FromHex("80")), Open(o80 + OK));
}

TEST(SmxcResponse, WithAnotherChecksumIsNotVerified)
{
    const Bytes data = Object(0x81, FromHex("AA BB"));
    const Bytes good = Checksum(data);
    for (std::size_t n = 2; n < good.size(); ++n) {
        Bytes wrong = good;
        wrong[n] ^= 0x01;
        EXPECT_EQ(NOT_VERIFIED, Open(data + wrong + OK)) << n;
    }
    EXPECT_EQ(NOT_VERIFIED, Open(data + good + OK, Bytes(8))) << "other randoms";
    // Fewer than eight bytes never match, even if the next object goes on with the right ones.
    for (std::size_t cb = 0; cb < 8; ++cb) {
        const Bytes part(good.begin() + 2, good.begin() + 2 + static_cast<long>(cb));
        const Bytes next = Object(good[2 + cb], {});
        EXPECT_EQ(NOT_VERIFIED, Open(data + Object(0x8E, part) + next + OK)) << cb;
    }
    const Bytes longer = Object(0x8E, Bytes(good.begin() + 2, good.end()) + FromHex("55"));
    EXPECT_EQ(Plain(FromHex("AA BB")), Open(data + longer + OK)) << "its first eight bytes count";
}

TEST(SmxcResponse, NotProtectedIsToldFromNotVerified)
{
    const Bytes data = Cryptogram(0x87, FromHex("AA"));
    for (const Bytes& response : {
             FromHex("99 02 90 00"), FromHex("6F 01 55 90 00"), FromHex("90"), Bytes(),
             data + Checksum(data) + FromHex("69 82"), // walked as an object that is cut off
             data + FromHex("8E"),                     // a tag as the last byte
         }) {
        EXPECT_EQ(NOT_PROTECTED, Open(response)) << ToHex(response);
    }
}

TEST(SmxcResponse, CryptogramsWithoutDataOrPaddingGiveNull)
{
    for (const std::uint8_t bTag : FromHex("87 86")) {
        EXPECT_EQ(EMPTY_OBJECT, Open(Object(bTag, {}) + OK));
        EXPECT_EQ(BAD_PADDING, Open(Object(bTag, FromHex("01")) + OK));
        EXPECT_EQ(BAD_PADDING, Open(Object(bTag, FromHex("01 11 22 33 44 55 66 77")) + OK));
        EXPECT_EQ(BAD_PADDING, Open(ENVELOPE.Cryptogram(bTag, Bytes(8, 0x11)) + OK));
    }
}

TEST(SmxcResponse, IsNeverVerifiedWithoutAKeyNorDecodedWithoutBytes)
{
    const Bytes response = Object(0x81, FromHex("AA")) + Object(0x8E, Bytes(8));
    unsigned long cb = 99;
    BOOL bVerified = 9, bDecoded = 9;
    EXPECT_EQ(nullptr, SMxC_VRF_DEC(nullptr, ENC.data(), nullptr, 0, 0, 0, 0, response.data(),
                                    response.size(), cb, bVerified, bDecoded));
    EXPECT_EQ(0, bVerified);
    EXPECT_EQ(nullptr, SMxC_VRF_DEC(SIG.data(), ENC.data(), nullptr, 0, 0, 0, 0, nullptr, 4, cb,
                                    bVerified, bDecoded));
    EXPECT_EQ(0, bDecoded);
}

} // namespace
