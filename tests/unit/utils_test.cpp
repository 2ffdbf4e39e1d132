// SPDX-License-Identifier: Apache-2.0
//
// The small helpers of the card layer and the recursive lock beneath them.

#include "cardlib/utils.h"

#include "cardlib/systovanmutex.h"
#include "tests/support/scripted_pcsc.h"

#include <thread>

namespace {

TEST(Crc16, FollowsItsParameters)
{
    const Bytes check = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(0x29B1u, Crc16(check.data(), check.size()));
    EXPECT_EQ(0xFFFFu, Crc16(nullptr, 9));
    EXPECT_EQ(0xFFFFu, Crc16(check.data(), 0));
    EXPECT_EQ(0xFFFFu, Crc16(check.data(), ~0ul)) << "wraps around the address space";
}

TEST(Bcd2Asc, WritesTwoDigitsForEachByteAndNothingElse)
{
    char text[] = "......";
    const Bytes orig = FromHex("12 AB");
    BCD2ASC(text, orig.data(), orig.size());
    EXPECT_STREQ("12AB..", text);
}

TEST(MemInvert, ReversesInPlace)
{
    const std::pair<const char*, const char*> cases[] = {
        {"01 02 03", "03 02 01"}, {"01 02", "02 01"}, {"01", "01"}, {"", ""}};
    for (const auto& [before, after] : cases) {
        Bytes bytes = FromHex(before);
        MemInvert(bytes.data(), bytes.size());
        EXPECT_EQ(FromHex(after), bytes);
    }
}

TEST(TlvValidate, AcceptsWholeChainsAndOneMissingByte)
{
    const std::pair<const char*, bool> cases[] = {
        {"80 02 AA BB", true},
        {"80 00", true},
        {"80 02 AA BB 81 00", true},
        {"80 02 AA", true}, // the tolerance that cards need
        {"80 01", true},
        {"80 01 AA 81 03 BB CC", true},
        {"80 03 AA", false},
        {"80 01 AA 81 04 BB CC", false},
        {"80", false},
        {"", false},
        {"80 01 AA 81", false}, // a tag without a length
    };
    for (const auto& [szChain, bValid] : cases) {
        Bytes chain = FromHex(szChain);
        chain.shrink_to_fit(); // the sanitizers see a read past its end
        EXPECT_EQ(bValid, TLV_Validate(chain.data(), chain.size()) == 1) << szChain;
    }
    EXPECT_EQ(0, TLV_Validate(nullptr, 4));
}

TEST(TlvGet, FindsTheFirstElementAndNoValueThatEndsOutside)
{
    struct {
        const char* szChain;
        WORD wTag;
        long lOffset; // of the value; -1: not found
        unsigned long ulLength;
    } const cases[] = {
        {"80 01 AA 81 02 BB CC", 0x81, 5, 2},
        {"80 01 AA 80 02 BB CC", 0x80, 2, 1},
        {"80 00 81 00", 0x81, 4, 0},
        {"80 01 AA 81 02 BB CC", 0x181, -1, 0},
        {"80 01 AA 81 02 BB CC", 0x82, -1, 0},
        {"80 02 AA", 0x80, -1, 0},       // tolerated in a chain, but the value ends outside
        {"80 05 AA 81 00", 0x81, -1, 0}, // a length that swallows the rest
        {"80 01 AA 81", 0x81, -1, 0},
        {"81 00 80 7F AA", 0x81, 2, 0}, // found before the broken element
        {"", 0x80, -1, 0},
    };
    for (const auto& row : cases) {
        Bytes chain = FromHex(row.szChain);
        chain.shrink_to_fit();
        unsigned char* pData = chain.data();
        unsigned long ulData = 99;
        const BOOL bFound = TLV_Get(row.wTag, chain.data(), chain.size(), &pData, &ulData);
        EXPECT_EQ(row.lOffset >= 0, bFound == 1) << row.szChain;
        EXPECT_EQ(row.lOffset >= 0 ? chain.data() + row.lOffset : nullptr, pData) << row.szChain;
        EXPECT_EQ(row.ulLength, ulData) << row.szChain;
    }
}

TEST(InterlockedExchange, AnswersTheNewPointer)
{
    int before = 0;
    int after = 0;
    void* pTarget = &before;
    EXPECT_EQ(&after, InterlockedExchangePointer_portable(&pTarget, &after));
    EXPECT_EQ(&after, pTarget);
}

TEST(CriticalSection, IsRecursiveAndKeepsOthersOut)
{
    CSysTovanCriticalSection section;
    EXPECT_FALSE(section.IsInitialized());
    long lCount = 0;
    const auto count = [&] {
        for (int i = 0; i < 20000; ++i) {
            const CSysTovanLock outer(section);
            const CSysTovanLock inner(section);
            ++lCount;
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(40000, lCount);
    EXPECT_TRUE(section.IsInitialized());
}

} // namespace
