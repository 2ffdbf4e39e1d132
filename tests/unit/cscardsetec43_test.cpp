// SPDX-License-Identifier: Apache-2.0
//
// The commands of Setec 4.3 sessions, byte by byte, and what is made of hostile answers.

#include "cardlib/cscardsetec43.h"
#include "tests/support/session_test.h"

#include <functional>
#include <numeric>

namespace {

class Setec : public CSessionTest<CSCardSetec43> {
protected:
    /// Bytes 01 02 03 ...
    static Bytes Counted(std::size_t cb)
    {
        Bytes ab(cb);
        std::iota(ab.begin(), ab.end(), std::uint8_t{1});
        return ab;
    }
    static std::string Hex(const Bytes& ab) { return ToHex(ab); }
};

TEST_F(Setec, CommandsGoOutByteByByte)
{
    Bytes ab = Counted(20), longPin = Counted(12);
    const struct {
        const char* szCommand;
        std::function<long()> call;
    } rows[] = {
        {"00 C0 00 00 10", [&] { return Card().GetResponse(0x10, nullptr); }},
        {"00 22 41 B6 06 83 01 81 80 01 02",
         [&] { return Card().ManageSecurityEnvironment(0x01, 0x41B6, 0x02); }},
        {"00 22 41 B8 06 84 01 81 80 01 02",
         [&] { return Card().ManageSecurityEnvironment(0x81, 0x41B8, 0x02); }},
        {"00 2A 90 81 14 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14",
         [&] { return Card().PutHash(ab.data(), 20); }},
        {"00 2A 90 81 14 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 00 00 00 00",
         [&] { return Card().PutHash(ab.data(), 16); }},
        {"00 20 00 82 08 01 02 03 04 05 00 00 00",
         [&] { return Card().Verify(0x82, ab.data(), 5); }},
        {"00 20 00 82 08 01 02 03 04 05 06 07 08",
         [&] { return Card().Verify(0x82, longPin.data(), 12); }},
        {"80 24 20 82 10 01 02 03 04 05 06 00 00 01 02 03 04 05 06 07 08",
         [&] { return Card().VerifyAndChange(0x82, ab.data(), 6, longPin.data(), 12); }},
        {"80 24 20 82 10 01 02 03 04 05 06 07 08 01 02 03 04 05 00 00 00",
         [&] { return Card().VerifyAndChange(0x82, longPin.data(), 12, ab.data(), 5); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.szCommand);
        card.Step("accepted", row.szCommand, 0x9000);
        EXPECT_EQ(0, row.call());
        card.Step("refused", row.szCommand, 0x6982);
        EXPECT_EQ(0x6982, row.call());
        card.Step("failed", row.szCommand, SAnswer::Fail(SCARD_E_NOT_TRANSACTED));
        EXPECT_EQ(SCARD_E_NOT_TRANSACTED, row.call());
        card.Step("no status word", row.szCommand, "90");
        EXPECT_EQ(0x6F00, row.call());
    }
}

TEST_F(Setec, SuccessfulPinMarksTheCurrentFiles)
{
    Bytes pin = Counted(5);
    card.Step("wrong", "00 20 00 01 08 01 02 03 04 05 00 00 00", 0x63C2);
    EXPECT_EQ(0x63C2, Card().Verify(1, pin.data(), 5));
    EXPECT_FALSE(Card().m_Current_DF_path.m_isPinVerified);
    EXPECT_FALSE(Card().m_Current_EF_path.m_isPinVerified);
    card.Step("right", "00 20 00 01 08 01 02 03 04 05 00 00 00", 0x9000);
    EXPECT_EQ(0, Card().Verify(1, pin.data(), 5));
    EXPECT_TRUE(Card().m_Current_DF_path.m_isPinVerified);
    EXPECT_TRUE(Card().m_Current_EF_path.m_isPinVerified);
}

TEST_F(Setec, SignatureIsTheFirst128BytesOfTheAnswer)
{
    Bytes signature(129, 0xEE), expected = Counted(128);
    CK_ULONG ulRoom = 129;
    card.Step("sign", "00 2A 9E 9A 00", (Hex(expected) + " 90 00").c_str());
    EXPECT_EQ(0, Card().ComputeSignature(signature.data(), &ulRoom));
    EXPECT_EQ(129u, ulRoom); // left as it was, on purpose
    expected.push_back(0xEE);
    EXPECT_EQ(expected, signature);
}

TEST_F(Setec, DeciphermentPutsAZeroByteBeforeTheData)
{
    Bytes data = Counted(128), out(3, 0xEE);
    const std::string decipher = "00 2A 80 86 81 00 " + Hex(data);
    const struct {
        CK_BYTE* pOut;
        CK_ULONG ulRoom;
        long lResult;
    } rows[] = {{nullptr, 0, 0}, {out.data(), 2, 336}, {out.data(), 3, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(Bytes(3, 0xEE), out);
        CK_ULONG ulLength = row.ulRoom;
        card.Step("decipher", decipher.c_str(), "AA BB CC 90 00");
        EXPECT_EQ(row.lResult, Card().EncDec(0x8086, data.data(), 128, row.pOut, &ulLength));
        EXPECT_EQ(3u, ulLength);
    }
    EXPECT_EQ((Bytes{0xAA, 0xBB, 0xCC}), out);

    CK_ULONG ulLength = 3;
    card.Step("encipher", "00 2A 86 80 02 01 02", 0x6A80);
    EXPECT_EQ(0x6A80, Card().EncDec(0x8680, data.data(), 2, out.data(), &ulLength));
    EXPECT_EQ(3u, ulLength);
}

TEST_F(Setec, PublicKeyIsFoundBehindTheSkipAndTurnedRound)
{
    const Bytes modulus = Counted(128);
    Bytes reversed(modulus.rbegin(), modulus.rend());
    const struct {
        const char* szOrder;
        const Bytes& onTheWire;
    } rows[] = {{"01", modulus}, {"81", reversed}};
    for (const auto& row : rows) {
        Bytes out(128);
        const std::string answer = "00 00 00 00 00 00 00 00 " + std::string(row.szOrder) +
                                   " 00 03 00 AA AA AA " + Hex(row.onTheWire) + " 90 00";
        card.Step("export", "80 F0 9C 00 01 07", answer.c_str());
        EXPECT_EQ(0, Card().ExportRSAPublicKey(7, out.data()));
        EXPECT_EQ(modulus, out);
    }
}

TEST_F(Setec, PublicKeyBeyondTheReceiveBufferIsRefused)
{
    Bytes out(128, 0xEE);
    card.Step("export", "80 F0 9C 00 01 07", "00 00 00 00 00 00 00 00 00 00 75 00 90 00");
    EXPECT_EQ(0x6F00, Card().ExportRSAPublicKey(7, out.data()));
    EXPECT_EQ(Bytes(128, 0xEE), out);
}

TEST_F(Setec, HasANameAndNeedsACardToConnectTo)
{
    EXPECT_STREQ("Setec/43", Card().GetModelName());
    CSCardSetec43 session(m_hContext, const_cast<char*>(SCRIPTED_READER));
    EXPECT_TRUE(CSCardSetec43(m_hContext, const_cast<char*>(SCRIPTED_READER)).Create());
    card.RemoveCard();
    EXPECT_FALSE(session.Create());
    EXPECT_EQ(-1, session.GetResponse(0, nullptr));
}
} // namespace
