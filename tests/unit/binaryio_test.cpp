// SPDX-License-Identifier: Apache-2.0
//
// Transparent files: pieces, offsets, short and long answers, and the cache, for the base session
// and for the CardOS M4 one, which share all of it but the selection in front.

#include "cardlib/scardcardosm4.h"
#include "tests/support/nomemory.h"
#include "tests/support/session_test.h"

#include <cstring>

namespace {
template <class Session> class Binary : public CSessionTest<Session> {
protected:
    void SetUp() override
    {
        CSessionTest<Session>::SetUp();
        CK_BYTE path[] = {0x11, 0x02};
        this->card.Wildcard("select", 0x9000);
        ASSERT_EQ(0, this->Card().PathSelect(path, 1, 0));
    }
    /// Expects READ BINARY of these P1 P2 Le and answers with that many bytes of a pattern.
    void Piece(const char* szOffsetAndLength, std::size_t cb, std::uint8_t bFill)
    {
        Bytes answer(cb, bFill);
        answer.insert(answer.end(), {0x90, 0x00});
        this->card.Step(szOffsetAndLength, (std::string("00 B0 ") + szOffsetAndLength).c_str(),
                        answer);
    }
};
using Sessions = ::testing::Types<CSCard, CSCardCardOSM4>;
TYPED_TEST_SUITE(Binary, Sessions, );

TYPED_TEST(Binary, ReadingGoesInPiecesOf64AndTheRestIsServedFromTheCache)
{
    auto& session = this->Card();
    const auto& path = session.m_Current_EF_path;
    CK_BYTE ab[200], abAgain[100] = {};
    this->Piece("01 00 40", 64, 0xA1);
    this->Piece("01 40 40", 64, 0xA2);
    this->Piece("01 80 40", 64, 0xA3);
    this->Piece("01 C0 08", 8, 0xA4);
    EXPECT_EQ(0, session.ReadBinary(0x100, 200, ab));
    EXPECT_EQ("A1 A2", ToHex(ab + 63, 2));
    EXPECT_EQ("A2 A3", ToHex(ab + 127, 2));
    EXPECT_EQ("A3 A4 A4 A4 A4 A4 A4 A4 A4", ToHex(ab + 191, 9));
    EXPECT_EQ(0, session.ReadBinary(0x13C, 100, abAgain));
    EXPECT_EQ(0, std::memcmp(ab + 60, abAgain, 100));
    EXPECT_EQ(0, session.ReadBinaryFromCacheOnly(path, 0x1BE, 10, abAgain));
    session.InvalidateCache();
    EXPECT_EQ(-1, session.ReadBinaryFromCacheOnly(path, 0x1BE, 10, abAgain));
    this->Piece("01 00 00", 0, 0); // asks the card also for nothing
    EXPECT_EQ(0, session.ReadBinary(0x100, 0, ab));
    EXPECT_EQ(0x6B00, session.ReadBinary(0xFFFF, 2, ab)); // and not for what it cannot address
}

TYPED_TEST(Binary, ReadingGoesOnWhereAShortAnswerStopped)
{
    CK_BYTE ab[100];
    this->Piece("00 00 40", 30, 0xA1);
    this->Piece("00 1E 40", 80, 0xA2); // more than asked for: ignored
    this->Piece("00 5E 06", 4, 0xA3);  // the last piece may come short
    EXPECT_EQ(0, this->Card().ReadBinary(0, 100, ab));
    EXPECT_EQ("A2 A3 A3 A3 A3 00 00", ToHex(ab + 93, 7));
}

TYPED_TEST(Binary, ReadingEndsWithTheStatusWordOrWithoutProgress)
{
    const struct {
        SAnswer answer;
        long lResult;
    } rows[] = {{0x6B00, 0x6B00},
                {0x9000, 0x6282},
                {"AA", 0x6F00},
                {SAnswer::Fail(SCARD_E_READER_UNAVAILABLE), SCARD_E_READER_UNAVAILABLE}};
    for (const auto& row : rows) {
        CK_BYTE ab[100] = {0x77};
        this->Piece("00 00 40", 64, 0xA1);
        this->card.Step("second piece", "00 B0 00 40 24", row.answer);
        EXPECT_EQ(row.lResult, this->Card().ReadBinary(0, 100, ab));
        EXPECT_EQ(0x77, ab[0]);
    }
}

TYPED_TEST(Binary, WritingGoesInPiecesAndThroughTheCache)
{
    Bytes data(130, 0xD1);
    data[64] = data[128] = 0xD2;
    const auto block = [&](std::size_t offset, std::size_t cb) {
        return ToHex(data.data() + offset, cb);
    };
    this->card.Step("first", ("00 D6 01 00 40" + block(0, 64)).c_str(), 0x9000);
    this->card.Step("second", ("00 D6 01 40 40" + block(64, 64)).c_str(), 0x9000);
    this->card.Step("rest", ("00 D6 01 80 02" + block(128, 2)).c_str(), 0x9000);
    EXPECT_EQ(0, this->Card().UpdateBinary(data.data(), data.size(), 0x100));
    CK_BYTE ab[130];
    EXPECT_EQ(0, this->Card().ReadBinary(0x100, 130, ab));
    EXPECT_EQ(0, std::memcmp(data.data(), ab, sizeof ab));

    this->card.Wildcard("first of the same bytes", 0x9000);
    this->card.Wildcard("second refused", 0x6581);
    EXPECT_EQ(0x6581, this->Card().UpdateBinary(Bytes(130).data(), 130, 0x100));
    EXPECT_EQ(0, this->Card().ReadBinary(0x100, 130, ab));
    EXPECT_EQ(0xD1, ab[0]); // the failed write did not reach the cache
}

TYPED_TEST(Binary, WritingWithoutMemoryForTheCacheForgetsTheFile)
{
    CK_BYTE b = 0;
    this->Piece("00 00 01", 1, 0xA1);
    EXPECT_EQ(0, this->Card().ReadBinary(0, 1, &b));
    this->card.Step("write", "00 D6 00 00 02 B1 B2", 0x9000);
    const Bytes data = FromHex("B1 B2");
    {
        const CNoMemory noMemory(0);
        EXPECT_EQ(0, this->Card().UpdateBinary(data.data(), 2, 0));
    }
    EXPECT_TRUE(CNoMemory::WasFelt());
    EXPECT_EQ(-1, this->Card().ReadBinaryFromCacheOnly(this->Card().m_Current_EF_path, 0, 1, &b));
}

TYPED_TEST(Binary, WhatWouldGoToAnotherFileIsNotWritten)
{
    const Bytes data(65);
    EXPECT_EQ(0x6B00, this->Card().UpdateBinary(data.data(), 1, 0x8000));
    EXPECT_EQ(0x6B00, this->Card().UpdateBinary(data.data(), 65, 0x7FC0));
    EXPECT_EQ(1u, this->card.Count("Transmit")); // the fixture's
    this->card.Wildcard("the last offset", 0x9000);
    EXPECT_EQ(0, this->Card().UpdateBinary(data.data(), 64, 0x7FFF));
}

} // namespace
