// SPDX-License-Identifier: Apache-2.0
//
// The card's side of secure messaging over the scripted PC/SC, on libcrypto: gives its challenge,
// takes the host's random, checks and opens the protected command and protects the answer.

#ifndef TESTS_SUPPORT_SECURE_CARD_H
#define TESTS_SUPPORT_SECURE_CARD_H

#include "tests/support/envelopes.h"
#include "tests/support/scripted_pcsc.h"

#include <algorithm>

class CSecureCard {
public:
    CSecureCard(CScriptedPcsc& pcsc, Bytes sig, Bytes enc)
        : m_pcsc(pcsc), m_envelope{std::move(sig), std::move(enc)}
    {
    }

    /// The two exchanges in front of each protected command.
    void ExpectRandoms()
    {
        m_pcsc.Compute("challenge", [this](const Bytes& command) {
            EXPECT_EQ("00 84 00 00 08", ToHex(command));
            m_envelope.challenge = Random(8);
            return SAnswer(m_envelope.challenge + Bytes{0x90, 0x00});
        });
        m_pcsc.Compute("host random", [this](const Bytes& command) -> SAnswer {
            EXPECT_EQ("80 86 00 00 08", ToHex(command.data(), 5));
            EXPECT_EQ(13u, command.size());
            const Bytes random(command.begin() + 5, command.end());
            EXPECT_NE(m_envelope.hostRandom, random); // fresh for each command
            EXPECT_EQ(0, std::count(random.begin(), random.end(), 0xFF));
            m_envelope.hostRandom = random;
            return 0x9000;
        });
    }

    /// Three exchanges: the plain command, header with Lc and data, arrives protected; what
    /// `answer` makes of the model goes back.
    void Expect(std::string what, const std::string& plain, std::function<SAnswer()> answer)
    {
        ExpectRandoms();
        m_pcsc.Compute(std::move(what), [this, plain = FromHex(plain),
                                         answer = std::move(answer)](const Bytes& command) {
            EXPECT_EQ(ToHex(plain), ToHex(m_envelope.OpenCommand(command).value_or(Bytes())))
                << "came as " << ToHex(command);
            return answer();
        });
    }

    /// The same with a status word that travels bare.
    void Expect(std::string what, const std::string& plain, int nStatusWord)
    {
        Expect(std::move(what), plain, [=] { return SAnswer(nStatusWord); });
    }

    /// Data and status word as a protected answer: cryptogram, checksum, status word.
    Bytes Protect(const char* szData, int nStatusWord = 0x9000) const
    {
        return Seal(libcrypto::IsoPadded(FromHex(szData)), nStatusWord);
    }

    /// The same with a plain text that the test has padded itself.
    Bytes Seal(const Bytes& padded, int nStatusWord = 0x9000) const
    {
        return m_envelope.ProtectAnswer(padded, nStatusWord);
    }

private:
    CScriptedPcsc& m_pcsc;
    SEnvelope m_envelope;
};

#endif
