// SPDX-License-Identifier: Apache-2.0
//
// The file and selection cache of a card session.

#include "cardlib/filecachesystem.h"

#include "cardlib/cache/path.h"
#include "cardlib/support/bigendian.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

namespace {

DFEF_Path KeyOf(DFEF_Path path)
{
    if (path.m_FidsInPath == 0 || path.m_pPath[0] != MF_FID) {
        return path;
    }
    --path.m_FidsInPath;
    std::copy_n(path.m_pPath + 1, path.m_FidsInPath, path.m_pPath);
    return path;
}

/// Bytes of a file on their way into the cache.
struct SRange {
    long start;
    long len;
    const CK_BYTE* pData;

    bool Valid() const
    {
        return pData != nullptr && len > 0 && start >= 0 &&
               start <= std::numeric_limits<long>::max() - len;
    }
    bool TooLong() const { return Valid() && len > static_cast<long>(_CachedChunk::CAPACITY); }
    bool Storable() const { return Valid() && !TooLong(); }
    long End() const { return start + len - 1; }
};

long StartOf(const _CachedChunk& chunk)
{
    return static_cast<long>(chunk.ulStart);
}
long EndOf(const _CachedChunk& chunk)
{
    return static_cast<long>(chunk.ulStart + chunk.ulDataLen) - 1;
}

void Fill(_CachedChunk& chunk, const SRange& range)
{
    std::copy_n(range.pData, range.len, chunk.pData);
    chunk.ulStart = static_cast<CK_ULONG>(range.start);
    chunk.ulDataLen = static_cast<CK_ULONG>(range.len);
    chunk.cached_time = std::time(nullptr);
}

/// Overwrites the bytes that the chunk and the range share.
/// \return whether the chunk holds them all.
bool Refresh(_CachedChunk& chunk, const SRange& range)
{
    const long first = std::max(range.start, StartOf(chunk));
    const long last = std::min(range.End(), EndOf(chunk));
    if (first > last) {
        return false;
    }
    std::copy_n(range.pData + (first - range.start), last - first + 1,
                chunk.pData + (first - StartOf(chunk)));
    chunk.cached_time = std::time(nullptr);
    return first == range.start && last == range.End();
}

/// Brings one chunk up to date. \return whether it now holds the whole range.
bool Store(_CachedChunk& chunk, const SRange& range, bool bIsLastChunk)
{
    if (!bIsLastChunk || !chunk.bIsLastChunk) {
        return Refresh(chunk, range);
    }
    Fill(chunk, range); // the file's end is kept once
    return true;
}

} // namespace

DFEF_Path::DFEF_Path(const CK_BYTE* path, CK_ULONG n, CK_BBOOL isDF)
    : m_FidsInPath(path != nullptr ? std::min<CK_ULONG>(n, MAX_FIDS) : 0), m_isDF(isDF),
      m_bExists(1)
{
    for (CK_ULONG i = 0; i < m_FidsInPath; ++i) {
        m_pPath[i] = BigEndian(path + 2 * i);
    }
}

bool DFEF_Path::Append(WORD fid)
{
    if (m_FidsInPath >= MAX_FIDS) {
        return false;
    }
    m_pPath[m_FidsInPath++] = fid;
    return true;
}

bool DFEF_Path::operator<(const DFEF_Path& other) const
{
    if (m_FidsInPath != other.m_FidsInPath) {
        return m_FidsInPath < other.m_FidsInPath;
    }
    return std::memcmp(m_pPath, other.m_pPath, m_FidsInPath * sizeof m_pPath[0]) < 0;
}

bool DFEF_Path::operator==(const DFEF_Path& other) const
{
    return m_FidsInPath == other.m_FidsInPath &&
           std::equal(m_pPath, m_pPath + m_FidsInPath, other.m_pPath);
}

_CachedChunk::~_CachedChunk()
{
    explicit_bzero(pData, sizeof pData);
}

CFileCacheSystem::CFileCacheSystem() = default;
CFileCacheSystem::~CFileCacheSystem() = default;

CachedChunkList* CFileCacheSystem::FindChunks(DFEF_Path path)
{
    const auto entry = m_Cache.find(KeyOf(path));
    return m_bCacheSystemEnabled && entry != m_Cache.end() ? &entry->second : nullptr;
}

CachedSelectList::iterator CFileCacheSystem::FindSelect(DFEF_Path path)
{
    if (!m_bCacheSystemEnabled) {
        return m_SelectCache.end();
    }
    return std::find(m_SelectCache.begin(), m_SelectCache.end(), KeyOf(path));
}

bool CFileCacheSystem::IsFresh(const _CachedChunk& chunk) const
{
    if (!m_bUseCacheExpire) {
        return true;
    }
    // Stored minus now, in this order: with the limit in use, any age above 0 wraps around and
    // expires.
    return static_cast<std::uint32_t>(chunk.cached_time - std::time(nullptr)) <
           m_ulCacheExpireSeconds;
}

void CFileCacheSystem::Put(DFEF_Path ef_path, long start, long len, const CK_BYTE* pData,
                           CK_BBOOL isLastChunk)
{
    if (!m_bCacheSystemEnabled) {
        return;
    }
    CachedChunkList& chunks = m_Cache[KeyOf(ef_path)];
    const SRange range = {.start = start, .len = len, .pData = pData};
    if (range.TooLong()) {
        chunks.clear(); // they may hold what these bytes have replaced
    }
    if (!range.Storable()) {
        return;
    }
    bool bStored = false;
    for (const auto& pChunk : chunks) {
        if (!ef_path.m_isPinVerified) {
            pChunk->bPinVerified = false;
        }
        bStored |= Store(*pChunk, range, isLastChunk);
    }
    if (bStored) {
        return;
    }
    auto pChunk = std::make_unique<_CachedChunk>();
    Fill(*pChunk, range);
    pChunk->bIsLastChunk = isLastChunk;
    pChunk->bPinVerified = ef_path.m_isPinVerified;
    chunks.push_back(std::move(pChunk));
}

long CFileCacheSystem::Get(DFEF_Path ef_path, long start, long& len, CK_BYTE*& pData,
                           CK_BBOOL& bPartialCache)
{
    const CachedChunkList* const pChunks = FindChunks(ef_path);
    if (pChunks == nullptr || len < 0 || start > std::numeric_limits<long>::max() - len) {
        return MISS;
    }
    const long end = start + len - 1;
    bool bPinRequired = false;
    _CachedChunk* pLongest = nullptr;
    bPartialCache = 0;
    for (const auto& pChunk : *pChunks) {
        if (pChunk->bPinVerified && !ef_path.m_isPinVerified) {
            bPinRequired = true;
            continue;
        }
        if (start < StartOf(*pChunk)) {
            continue;
        }
        if (EndOf(*pChunk) >= end) {
            pData = pChunk->pData + (start - StartOf(*pChunk));
            return 0;
        }
        if (start < EndOf(*pChunk) &&
            (pLongest == nullptr || pChunk->ulDataLen > pLongest->ulDataLen)) {
            pLongest = pChunk.get();
        }
    }
    if (pLongest == nullptr) {
        return bPinRequired ? PIN_REQUIRED : MISS;
    }
    // On purpose the offsets of the last chunk, not of the longest: only a result of 0 is acted
    // upon.
    const _CachedChunk& last = *pChunks->back();
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a pointer sum outside the chunk is undefined
    pData = reinterpret_cast<CK_BYTE*>(reinterpret_cast<std::uintptr_t>(pLongest->pData) +
                                       static_cast<std::uintptr_t>(start - StartOf(last)));
    len = EndOf(last) + 1 - start;
    bPartialCache = !pLongest->bIsLastChunk;
    return MISS;
}

bool CFileCacheSystem::isCached(DFEF_Path ef_path, long start, long len)
{
    const CachedChunkList* const pChunks = FindChunks(ef_path);
    if (pChunks == nullptr) {
        return false;
    }
    const auto found = std::find_if(pChunks->begin(), pChunks->end(), [&](const auto& pChunk) {
        return pChunk->ulStart <= static_cast<CK_ULONG>(start) &&
               pChunk->ulDataLen >= static_cast<CK_ULONG>(len) && // length, not end: on purpose
               (!pChunk->bPinVerified || ef_path.m_isPinVerified);
    });
    return found != pChunks->end() && IsFresh(**found);
}

void CFileCacheSystem::Remove(DFEF_Path ef_path)
{
    if (m_bCacheSystemEnabled) {
        m_Cache.erase(KeyOf(ef_path));
    }
}

void CFileCacheSystem::Clear()
{
    if (!m_bCacheSystemEnabled) {
        return;
    }
    m_Cache.clear();
    m_SelectCache.clear();
}

void CFileCacheSystem::PutSelect(DFEF_Path ef_path)
{
    if (m_bCacheSystemEnabled && !isSelectCached(ef_path)) {
        m_SelectCache.push_back(KeyOf(ef_path));
    }
}

DFEF_Path CFileCacheSystem::GetSelect(DFEF_Path ef_path)
{
    const auto found = FindSelect(ef_path);
    return found == m_SelectCache.end() ? DFEF_Path() : *found;
}

bool CFileCacheSystem::isSelectCached(DFEF_Path ef_path)
{
    return FindSelect(ef_path) != m_SelectCache.end();
}

void CFileCacheSystem::RemoveSelect(DFEF_Path ef_path)
{
    const auto found = FindSelect(ef_path);
    if (found != m_SelectCache.end()) {
        m_SelectCache.erase(found);
    }
}
