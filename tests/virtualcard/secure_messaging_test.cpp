// SPDX-License-Identifier: Apache-2.0
//
// Secure messaging: what is accepted, what is refused, and that a refusal costs nothing.
#include "host_side.h"

namespace vcard {
namespace {

const std::string VERIFY_DS = std::string("00 20 00 9A 08") + DS_PIN;
const Bytes OK = {0x90, 0x00};

class SecureMessaging : public HostTest {
protected:
    SecureMessaging() { Send(SELECT_DS); }
};

TEST_F(SecureMessaging, AProtectedCommandDoesWhatThePlainOneDoes)
{
    EXPECT_EQ(OK, SendProtected(VERIFY_DS));
    EXPECT_EQ("9000", Send("00 20 00 9A 00"));
    EXPECT_EQ("63C2", ToHex(SendProtected("00 20 00 9A 08 39 39 39 39 39 39 39 39")));
    EXPECT_EQ("63C2", ToHex(SendProtected("00 20 00 9A 00")));
    EXPECT_EQ("6A88", ToHex(SendProtected("90 24 20 01 01 00"))); // its class shows in the MAC only
}

TEST_F(SecureMessaging, AnAnswerWithDataIsEncryptedAndSealed)
{
    Send("00 A4 08 0C 04 14 00 81 1F");
    Send("00 D6 00 00 03 AA BB CC");
    const Bytes answer = SendProtected("00 B0 00 00 00");
    // 239 bytes are the most that fit: 87 F1 01 and 240 bytes, 8E 08 and the MAC, the status word.
    ASSERT_EQ(255U, answer.size());
    EXPECT_EQ("87F101", ToHex(ByteView(answer).first(3)));
    const Bytes key = FromHex(ISSUER_KEY);
    const Bytes plain = Des3Decrypt(key, Copy(ByteView(answer).subspan(3, 240)));
    EXPECT_EQ("AABBCC", ToHex(ByteView(plain).first(3)));
    EXPECT_EQ(0x80, plain.back());

    Bytes input = FromHex(HOST_RANDOM);
    Append(input, FromHex("0C B0 00 00"));
    Append(input, ByteView(answer).first(243));
    input.resize(12 + 248); // the header is not padded, the object is
    EXPECT_EQ("8E08" + ToHex(RetailMac(key, input)), ToHex(ByteView(answer).subspan(243, 10)));
}

TEST_F(SecureMessaging, ADamagedCommandIsRefusedAndCostsNoTry)
{
    Challenge(8);
    const Bytes intact = Wrap(FromHex(VERIFY_DS), FromHex(ISSUER_KEY), Challenge(8));
    Send("80 86 00 00 08", HOST_RANDOM);
    for (std::size_t i = 0; i + 1 < intact.size(); ++i) {
        if (i == 4)
            continue; // Lc: a wrong length, not a wrong object
        Bytes damaged = Wrap(FromHex(VERIFY_DS), FromHex(ISSUER_KEY), Challenge(8));
        Send("80 86 00 00 08", HOST_RANDOM);
        damaged[i] ^= 0x10;
        const std::string strAnswer = ToHex(m_card->Transmit(damaged));
        EXPECT_NE("9000", strAnswer) << "byte " << i;
    }
    EXPECT_EQ("6988", ToHex(SendProtected(VERIFY_DS, std::string(48, '1'))));
    EXPECT_EQ(0, Presented("ds-pin"));
    EXPECT_EQ(3, TriesLeft("ds-pin"));
}

TEST_F(SecureMessaging, MissingRandomsAndObjectsAreToldApartFromWrongOnes)
{
    EXPECT_EQ("6987",
              ToHex(m_card->Transmit(Wrap(FromHex(VERIFY_DS), FromHex(ISSUER_KEY), Bytes(8)))));
    const char* bodies[] = {"8E 08 00 00 00 00 00 00 00 00", "87 09 01 00 00 00 00 00 00 00 00"};
    for (const char* szBody : bodies) {
        Challenge(8);
        Send("80 86 00 00 08", HOST_RANDOM);
        Bytes command = FromHex("0C 20 00 9A");
        command.push_back(Low(FromHex(szBody).size()));
        Append(command, FromHex(szBody));
        EXPECT_EQ("6987", ToHex(m_card->Transmit(command))) << szBody;
    }
    Challenge(8);
    Send("80 86 00 00 08", HOST_RANDOM);
    EXPECT_EQ("6988", Send("0C 20 00 9A 03 87 09 01"));
}

TEST_F(SecureMessaging, RandomsAreGoodForOneCommand)
{
    const Bytes challenge = Challenge(8);
    Send("80 86 00 00 08", HOST_RANDOM);
    const Bytes command = Wrap(FromHex(VERIFY_DS), FromHex(ISSUER_KEY), challenge);
    EXPECT_EQ(OK, m_card->Transmit(command));
    EXPECT_EQ("6987", ToHex(m_card->Transmit(command)));
    Challenge(8);
    Send("80 86 00 00 08", HOST_RANDOM);
    EXPECT_EQ("6988", ToHex(m_card->Transmit(command))); // replayed under a new challenge
}

TEST_F(SecureMessaging, OutsideTheSignatureDfThereIsNoKeyForIt)
{
    Send(SELECT_MF);
    EXPECT_EQ("6882", ToHex(SendProtected(std::string("00 20 00 90 08") + CNS_PIN)));
}

} // namespace
} // namespace vcard
