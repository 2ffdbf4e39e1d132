// SPDX-License-Identifier: Apache-2.0
//
// Buffers that wipe themselves.

#include <gtest/gtest.h>
#include <new>

#include "cardlib/secret.h"
#include "tests/support/scripted_pcsc.h"

namespace {

using scripted::Bytes;
using scripted::FromHex;

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

TEST(Secret, LeavesNothingBehind)
{
    alignas(CPinBlock) unsigned char memory[sizeof(CPinBlock)];
    auto* const pBlock = new (memory) CPinBlock;
    ASSERT_TRUE(pBlock->Assign(FromHex("31323334").data(), 4, 0xFF));
    pBlock->~CPinBlock();
    asm volatile("" : : "r"(memory) : "memory"); // the compiler may not guess what is there
    EXPECT_EQ(Bytes(sizeof memory), Bytes(memory, memory + sizeof memory));
}

} // namespace
