// SPDX-License-Identifier: Apache-2.0
//
// The file and selection cache: what it serves is what was written last, to whom it may be served.

#include "cardlib/filecachesystem.h"

#include "tests/support/scripted_pcsc.h"

#include <chrono>
#include <limits>
#include <random>
#include <thread>

namespace {

DFEF_Path Path(std::initializer_list<WORD> fids, bool bPinVerified = false)
{
    DFEF_Path path;
    for (const WORD fid : fids) {
        path.Append(fid);
    }
    path.m_isPinVerified = bPinVerified;
    return path;
}

Bytes Counting(std::size_t cb, unsigned char bFirst = 0)
{
    Bytes bytes(cb);
    for (std::size_t i = 0; i < cb; ++i) {
        bytes[i] = static_cast<unsigned char>(bFirst + i);
    }
    return bytes;
}

class FileCache : public testing::Test {
protected:
    void Put(const DFEF_Path& path, long start, const Bytes& bytes, bool bLast = false)
    {
        cache.Put(path, start, static_cast<long>(bytes.size()), bytes.data(), bLast);
    }
    long Get(const DFEF_Path& path, long start, long len)
    {
        lLen = len;
        pData = nullptr;
        bPartial = 0xEE;
        return cache.Get(path, start, lLen, pData, bPartial);
    }
    /// The bytes in hex, or "-" when they are not served.
    std::string Read(const DFEF_Path& path, long start, long len)
    {
        return Get(path, start, len) == 0 ? ToHex(pData, static_cast<std::size_t>(len)) : "-";
    }

    CFileCacheSystem cache;
    const DFEF_Path file = Path({0x1100, 0x1102});
    CK_BYTE* pData = nullptr;
    long lLen = 0;
    CK_BBOOL bPartial = 0;
};

TEST(CardPath, IsBuiltFromBytePairsWithinItsBounds)
{
    const Bytes bytes = Counting(600);
    const DFEF_Path path(bytes.data(), 2, 1);
    EXPECT_EQ(2u, path.m_FidsInPath);
    EXPECT_EQ(0x0001, path.m_pPath[0]);
    EXPECT_EQ(0x0203, path.m_pPath[1]);
    EXPECT_TRUE(path.m_isDF && path.m_bExists && !path.m_isPinVerified);

    DFEF_Path full(bytes.data(), 300, 0);
    EXPECT_EQ(256u, full.m_FidsInPath);
    EXPECT_FALSE(full.Append(0x2F02));
    EXPECT_EQ(0u, DFEF_Path(nullptr, 4, 0).m_FidsInPath);
}

TEST(CardPath, IsOrderedByLengthThenByBytesInMemory)
{
    EXPECT_LT(Path({0xFFFF}), Path({0x0000, 0x0000}));
    EXPECT_LT(Path({0x0201}), Path({0x0102})) << "the low byte of an identifier comes first";
    DFEF_Path other = Path({0x1100});
    other.m_isDF = other.m_bExists = 1;
    EXPECT_EQ(Path({0x1100}), other) << "flags take no part";
    EXPECT_FALSE(Path({0x1100}) < other || other < Path({0x1100}));
}

TEST_F(FileCache, TheMasterFileInFrontMakesNoDifference)
{
    const DFEF_Path full = Path({0x3F00, 0x1100, 0x1102});
    Put(full, 0, Counting(4));
    EXPECT_EQ("01 02", Read(file, 1, 2));
    Put(file, 0, Counting(4, 0xA0));
    EXPECT_EQ("A1 A2", Read(full, 1, 2));
    cache.Remove(full);
    EXPECT_EQ("-", Read(file, 1, 2));
}

TEST_F(FileCache, APartIsReportedAfterTheLongestCandidateWithTheLastChunksOffsets)
{
    Put(file, 0, Counting(100));
    Put(file, 10, Counting(20, 0xA0)); // goes into the first chunk
    Put(file, 95, Counting(10, 0xC0)); // the last chunk: 95 to 104
    EXPECT_EQ(CFileCacheSystem::MISS, Get(file, 97, 50));
    EXPECT_EQ(1, bPartial);
    EXPECT_EQ(105 - 97, lLen);
    EXPECT_EQ(2, *pData) << "byte 97 - 95 of the longest chunk; byte 97 is C2";
    cache.Clear();
    Put(file, 0, Counting(10), true);
    EXPECT_EQ(CFileCacheSystem::MISS, Get(file, 4, 50));
    EXPECT_EQ(0, bPartial) << "the part reaches the end of the file";
    EXPECT_EQ(6, lLen);
}

TEST_F(FileCache, EveryChunkThatHoldsAWrittenByteGetsTheNewValue)
{
    std::mt19937 random(20240511);
    Bytes truth(200, 0);
    for (int round = 0; round < 2000; ++round) {
        const std::size_t cbWritten = 1 + random() % 30;
        const std::size_t start = random() % (truth.size() - cbWritten);
        const Bytes bytes = Counting(cbWritten, static_cast<unsigned char>(random()));
        std::copy(bytes.begin(), bytes.end(), truth.begin() + static_cast<long>(start));
        Put(file, static_cast<long>(start), bytes, random() % 8 == 0);
        ASSERT_EQ(ToHex(bytes.data(), cbWritten),
                  Read(file, static_cast<long>(start), static_cast<long>(cbWritten)));
        const std::size_t from = random() % truth.size();
        const std::size_t cbRead = 1 + random() % (truth.size() - from);
        const std::string read = Read(file, static_cast<long>(from), static_cast<long>(cbRead));
        ASSERT_TRUE(read == "-" || read == ToHex(&truth[from], cbRead)) << "round " << round;
        if (random() % 100 == 0) {
            cache.Clear();
        }
    }
}

TEST_F(FileCache, TheEndOfAFileIsKeptOnce)
{
    Put(file, 0, Counting(10), true);
    Put(file, 4, Counting(4, 0xA0), true);
    EXPECT_EQ("A0 A1 A2 A3", Read(file, 4, 4));
    EXPECT_EQ("-", Read(file, 0, 1)) << "replaced as a whole";
}

TEST_F(FileCache, ARangeOutsideTheBoundsIsNotStored)
{
    const Bytes bytes = Counting(32769);
    const long lMax = std::numeric_limits<long>::max();
    const std::pair<long, long> ranges[] = {{0, 32769}, {0, -1}, {-1, 4}, {lMax - 2, 4}, {0, lMax}};
    for (const auto& [start, len] : ranges) {
        cache.Put(file, start, len, bytes.data(), 0);
        EXPECT_FALSE(cache.isCached(file, std::max(start, 0L), 1)) << start << ", " << len;
    }
    cache.Put(file, 0, 4, nullptr, 0);
    EXPECT_FALSE(cache.isCached(file, 0, 1));
    Put(file, 7, Counting(32768));
    EXPECT_EQ(0, Get(file, 7, 32768)) << "the largest chunk";
    cache.Put(file, 0, 32769, bytes.data(), 0);
    EXPECT_FALSE(cache.isCached(file, 7, 1)) << "replaced by more than fits";
}

TEST_F(FileCache, ProtectedDataIsServedOnlyToAVerifiedPin)
{
    const DFEF_Path verified = Path({0x1100, 0x1102}, true);
    Put(verified, 0, Counting(10));
    EXPECT_EQ(CFileCacheSystem::PIN_REQUIRED, Get(file, 0, 4));
    EXPECT_EQ(CFileCacheSystem::MISS, Get(verified, 200000, -150000)) << "no such length";
    EXPECT_FALSE(cache.isCached(file, 0, 4));
    EXPECT_TRUE(cache.isCached(verified, 0, 4));
    EXPECT_EQ("00 01", Read(verified, 0, 2));

    Put(file, 50, Counting(1)); // written without the PIN: all of the file is public now
    EXPECT_EQ("00 01", Read(file, 0, 2));
}

TEST_F(FileCache, IsCachedComparesLengthsAndNotEnds)
{
    Put(file, 0, Counting(25));
    EXPECT_TRUE(cache.isCached(file, 10, 20)) << "byte 29 is not held";
    EXPECT_EQ(CFileCacheSystem::MISS, Get(file, 10, 20));
    EXPECT_FALSE(cache.isCached(file, 10, 26));
    Put(file, 100, Counting(25));
    EXPECT_FALSE(cache.isCached(Path({0x1103}), 0, 1));
}

TEST_F(FileCache, AgeIsStoredTimeMinusNow)
{
    Put(file, 0, Counting(4));
    cache.m_bUseCacheExpire = 1;
    cache.m_ulCacheExpireSeconds = 0;
    EXPECT_FALSE(cache.isCached(file, 0, 4)) << "no difference is below 0";
    cache.m_ulCacheExpireSeconds = 3600;
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_FALSE(cache.isCached(file, 0, 4)) << "one second of age wraps around";
    cache.m_ulCacheExpireSeconds = 0xFFFFFFFF + 1ul;
    EXPECT_TRUE(cache.isCached(file, 0, 4)) << "every 32-bit difference is below this";
    EXPECT_EQ("00", Read(file, 0, 1)) << "only isCached looks at the age";
}

TEST_F(FileCache, ASelectionIsRememberedOnceWithItsFirstFlags)
{
    DFEF_Path path = Path({0x3F00, 0x1100});
    path.m_isDF = path.m_bExists = 1;
    path.m_PinId = 0x10;
    cache.PutSelect(path);
    cache.PutSelect(Path({0x1100}));
    EXPECT_TRUE(cache.isSelectCached(Path({0x1100})));
    const DFEF_Path found = cache.GetSelect(Path({0x1100}));
    EXPECT_EQ(1u, found.m_FidsInPath);
    EXPECT_TRUE(found.m_isDF && found.m_bExists && found.m_PinId == 0x10);

    cache.RemoveSelect(Path({0x1100}));
    EXPECT_FALSE(cache.isSelectCached(path)) << "it was kept once";
    EXPECT_FALSE(cache.GetSelect(path).m_bExists);
    cache.PutSelect(path);
    Put(file, 0, Counting(4));
    cache.Clear();
    EXPECT_FALSE(cache.isSelectCached(path));
    EXPECT_EQ("-", Read(file, 0, 4));
}

TEST_F(FileCache, DisabledItHoldsAndAnswersNothing)
{
    cache.m_bCacheSystemEnabled = 0;
    Put(file, 0, Counting(4));
    cache.PutSelect(file);
    cache.m_bCacheSystemEnabled = 1;
    EXPECT_EQ("-", Read(file, 0, 4));
    EXPECT_FALSE(cache.isSelectCached(file));

    Put(file, 0, Counting(4));
    cache.PutSelect(file);
    cache.m_bCacheSystemEnabled = 0;
    EXPECT_EQ(CFileCacheSystem::MISS, Get(file, 0, 4));
    EXPECT_FALSE(cache.isCached(file, 0, 4));
    EXPECT_FALSE(cache.isSelectCached(file));
}

} // namespace
