// SPDX-License-Identifier: Apache-2.0
//
// Buffers that wipe themselves.

#include <cstring>
#include <gtest/gtest.h>
#include <new>

#include "cardlib/crypto/descore.h"
#include "cardlib/cscard.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/support/secret.h"
#include "tests/support/scripted_pcsc.h"

namespace {

TEST(Secret, PadsAndRefusesWhatDoesNotFit)
{
    const Bytes pin = FromHex("31 32 33 34 35 36 37 38 39");
    CPinBlock block;
    EXPECT_TRUE(block.Assign(pin.data(), 8, 0xFF));
    EXPECT_TRUE(block.Assign(pin.data(), 5, 0xFF));
    EXPECT_FALSE(block.Assign(pin.data(), 9, 0x00));
    EXPECT_FALSE(block.Assign(nullptr, 1, 0x00));
    EXPECT_EQ(FromHex("31 32 33 34 35 FF FF FF"), Bytes(block.data(), block.data() + 8));
    EXPECT_TRUE(block.Assign(nullptr, 0, 0xFF));
    EXPECT_EQ(Bytes(8, 0xFF), Bytes(block.data(), block.data() + 8));
}

TEST(Secret, ACommandTakesWhatFitsAndRemembersWhatDidNot)
{
    const Bytes data(CCommandApdu::CAPACITY);
    CCommandApdu command(0x00, 0xD6, 0x00, 0x00);
    command.Data(data.data(), CCommandApdu::CAPACITY - CCommandApdu::HEADER);
    EXPECT_TRUE(command.Fits());
    command.Le(0x00);
    EXPECT_FALSE(command.Fits());
    EXPECT_EQ(CCommandApdu::CAPACITY, command.size());
}

/// Makes an object, has its secret filled, and looks at those bytes after its end.
template <class T, class... TArgs>
bool LeavesNothing(unsigned char* (*fill)(T&), std::size_t cb, TArgs... args)
{
    alignas(T) static unsigned char memory[sizeof(T)];
    T* const pObject = new (memory) T(args...);
    const unsigned char* const pb = fill(*pObject);
    const bool bFilled = Bytes(cb) != Bytes(pb, pb + cb);
    pObject->~T();
    asm volatile("" : : "r"(memory) : "memory"); // the compiler may not guess what is there
    return bFilled && Bytes(cb) == Bytes(pb, pb + cb);
}

template <class T> unsigned char* Mark(T& object)
{
    std::memset(object.data(), 0x42, 8);
    return object.data();
}

template <class T> unsigned char* Keys(T& schedule)
{
    return reinterpret_cast<unsigned char*>(schedule.m_aKeys);
}

TEST(Secret, LeavesNothingBehind)
{
    const unsigned char* const key =
        reinterpret_cast<const unsigned char*>("0123456789abcdefABCDEFGH");
    char szReader[] = "reader";
    EXPECT_TRUE(LeavesNothing<CPinBlock>(Mark, 8));
    EXPECT_TRUE(LeavesNothing<CResponseApdu>(Mark, CResponseApdu::MAX));
    EXPECT_TRUE(
        LeavesNothing<CCommandApdu>(Mark, CCommandApdu::CAPACITY, cla::ISO, ins::VERIFY, WORD{0}));
    EXPECT_TRUE(LeavesNothing<descore::SDesSchedule>(Keys, sizeof(descore::SDesSchedule), key, 0));
    EXPECT_TRUE(
        LeavesNothing<descore::STdesSchedule>(Keys, sizeof(descore::STdesSchedule), key, 1));
    EXPECT_TRUE(LeavesNothing<_CachedChunk>(
        [](_CachedChunk& chunk) {
            chunk.pData[_CachedChunk::CAPACITY - 1] = 0x42;
            return +chunk.pData;
        },
        _CachedChunk::CAPACITY));
    EXPECT_TRUE(LeavesNothing<CSCard>(
        [](CSCard& session) {
            session.m_pbLastSendBuffer[255] = 0x42;
            return +session.m_pbLastSendBuffer;
        },
        256, SCARDCONTEXT{0}, szReader));
}

} // namespace
