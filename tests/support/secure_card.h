// SPDX-License-Identifier: Apache-2.0
//
// The card's side of secure messaging over the scripted PC/SC, on libcrypto: gives its challenge,
// takes the host's random, checks and opens the protected command and protects the answer.

#ifndef TESTS_SUPPORT_SECURE_CARD_H
#define TESTS_SUPPORT_SECURE_CARD_H

#include "tests/support/libcrypto_des.h"

class CSecureCard {
public:
    CSecureCard(CScriptedPcsc& pcsc, Bytes abKeySig, Bytes abKeyEnc)
        : m_pcsc(pcsc), m_abKeySig(std::move(abKeySig)), m_abKeyEnc(std::move(abKeyEnc))
    {
    }

    /// The two exchanges in front of each protected command.
    void ExpectRandoms()
    {
        m_pcsc.Compute("challenge", [this](const Bytes& command) {
            EXPECT_EQ("00 84 00 00 08", scripted::ToHex(command.data(), command.size()));
            Bytes answer = m_abChallenge = libcrypto::Random(8);
            answer.insert(answer.end(), {0x90, 0x00});
            return SAnswer(answer);
        });
        m_pcsc.Compute("host random", [this](const Bytes& command) -> SAnswer {
            EXPECT_EQ("80 86 00 00 08", scripted::ToHex(command.data(), 5));
            EXPECT_EQ(13u, command.size());
            const Bytes random(command.begin() + 5, command.end());
            EXPECT_NE(m_abHostRandom, random); // fresh for each command
            EXPECT_EQ(0, std::count(random.begin(), random.end(), 0xFF));
            m_abHostRandom = random;
            return 0x9000;
        });
    }

    /// Three exchanges: the plain command, header with Lc and data, arrives protected; what
    /// `answer` makes of the model goes back.
    void Expect(std::string what, const char* szPlain, std::function<SAnswer()> answer)
    {
        ExpectRandoms();
        m_pcsc.Compute(std::move(what), [this, plain = FromHex(szPlain),
                                         answer = std::move(answer)](const Bytes& command) {
            EXPECT_EQ(scripted::ToHex(plain.data(), plain.size()), Open(command));
            return answer();
        });
    }

    /// The same with a status word that travels bare.
    void Expect(std::string what, const char* szPlain, int nStatusWord)
    {
        Expect(std::move(what), szPlain, [=] { return SAnswer(nStatusWord); });
    }

    /// Data and status word as a protected answer: cryptogram, checksum, status word.
    Bytes Protect(const char* szData, int nStatusWord = 0x9000) const
    {
        return Seal(libcrypto::IsoPadded(FromHex(szData)), nStatusWord);
    }

    /// The same with a plain text that the test has padded itself.
    Bytes Seal(const Bytes& padded, int nStatusWord = 0x9000) const
    {
        const Bytes cryptogram = libcrypto::TdesCbc(m_abKeyEnc, padded, DES_ENCRYPT);
        Bytes answer{0x87, static_cast<std::uint8_t>(cryptogram.size() + 1), 0x01};
        answer.insert(answer.end(), cryptogram.begin(), cryptogram.end());
        Bytes covered = m_abHostRandom;
        covered.insert(covered.end(), m_header.begin(), m_header.end());
        covered.insert(covered.end(), answer.begin(), answer.end());
        covered.resize(12 + (answer.size() + 7) / 8 * 8); // the object is padded, the header is not
        const Bytes mac = libcrypto::RetailMac(m_abKeySig, covered);
        answer.insert(answer.end(), {0x8E, 0x08});
        answer.insert(answer.end(), mac.begin(), mac.end());
        answer.push_back(static_cast<std::uint8_t>(nStatusWord >> 8));
        answer.push_back(static_cast<std::uint8_t>(nStatusWord));
        return answer;
    }

private:
    /// A protected command as header, Lc and data; a sentence when it is none.
    std::string Open(const Bytes& command)
    {
        if (command.size() < 27 || command[0] != 0x0C || command[4] != command.size() - 6 ||
            command[5] != 0x87 || command.back() != 0x00)
            return "not in its envelope: " + scripted::ToHex(command.data(), command.size());
        const std::size_t cbObject = command[6] + 2u;
        if (command.size() != 5 + cbObject + 10 + 1 || command[7] != 0x01)
            return "objects of wrong lengths";
        m_header.assign(command.begin(), command.begin() + 4);
        Bytes covered = m_abChallenge;
        covered.insert(covered.end(), m_header.begin(), m_header.end());
        covered.resize(16);
        covered.insert(covered.end(), command.begin() + 5,
                       command.begin() + 5 + static_cast<long>(cbObject));
        Bytes checksum = libcrypto::RetailMac(m_abKeySig, covered);
        checksum.insert(checksum.begin(), {0x8E, 0x08});
        if (!std::equal(checksum.begin(), checksum.end(), command.end() - 11))
            return "wrong checksum";
        const Bytes cryptogram(command.begin() + 8, command.end() - 11);
        Bytes data = libcrypto::TdesCbc(m_abKeyEnc, cryptogram, DES_DECRYPT);
        while (!data.empty() && data.back() == 0x00)
            data.pop_back();
        if (data.empty() || data.back() != 0x80)
            return "wrong padding";
        data.pop_back();
        Bytes plain{0x00, command[1], command[2], command[3],
                    static_cast<std::uint8_t>(data.size())};
        plain.insert(plain.end(), data.begin(), data.end());
        return scripted::ToHex(plain.data(), plain.size());
    }

    CScriptedPcsc& m_pcsc;
    const Bytes m_abKeySig, m_abKeyEnc;
    Bytes m_abChallenge, m_abHostRandom, m_header;
};

#endif
