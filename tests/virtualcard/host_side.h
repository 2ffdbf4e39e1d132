// SPDX-License-Identifier: Apache-2.0
//
// What a terminal does: proving a key and wrapping a command in secure messaging. The formats are
// written out here once more; only the two ciphers underneath are shared with the card.
#pragma once

#include "card_fixture.h"
#include "model/crypto.h"

namespace vcard {

class HostTest : public CardTest {
protected:
    static constexpr const char* HOST_RANDOM = "0102030405060708";

    /// EXTERNAL AUTHENTICATE with a key over a challenge of this many bytes.
    std::string Authenticate(const std::string& strKeyHex, std::uint8_t bReference = 0x9C,
                             std::uint8_t bChallenge = 8)
    {
        const Bytes challenge = Challenge(bChallenge);
        return Send("00 82 00 " + ToHex(Bytes{bReference}) + " 08",
                    ToHex(RetailMac(FromHex(strKeyHex), challenge)));
    }
    /// Fresh randoms, then the command (class 00, without Le) in its envelope; the raw answer.
    Bytes SendProtected(const std::string& strHex, const std::string& strKeyHex = ISSUER_KEY)
    {
        const Bytes challenge = Challenge(8);
        Send("80 86 00 00 08", HOST_RANDOM);
        return m_card->Transmit(Wrap(FromHex(strHex), FromHex(strKeyHex), challenge));
    }

    static Bytes Wrap(const Bytes& plain, const Bytes& key, const Bytes& challenge)
    {
        Bytes padded(plain.begin() + std::min<std::ptrdiff_t>(5, std::ssize(plain)), plain.end());
        padded.push_back(0x80);
        padded.resize((padded.size() + 7) / 8 * 8);
        const Bytes cipher = Des3Encrypt(key, padded);
        Bytes object = {0x87, Low(cipher.size() + 1), 0x01};
        Append(object, cipher);

        Bytes input = challenge;
        Append(input, Bytes{static_cast<std::uint8_t>((plain[0] & 0xF0) | 0x0C), plain[1], plain[2],
                            plain[3], 0, 0, 0, 0});
        Append(input, object);
        Bytes command = {0x0C, plain[1], plain[2], plain[3], Low(object.size() + 10)};
        Append(command, object);
        Append(command, Bytes{0x8E, 0x08});
        Append(command, RetailMac(key, input));
        command.push_back(0x00);
        return command;
    }

    Bytes Challenge(std::uint8_t b)
    {
        Bytes challenge = m_card->Transmit(Bytes{0x00, 0x84, 0x00, 0x00, b});
        challenge.resize(challenge.size() - 2);
        return challenge;
    }
};

} // namespace vcard
