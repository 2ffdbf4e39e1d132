// SPDX-License-Identifier: Apache-2.0
//
// What one card session remembers of the card: the bytes of files that it read or wrote, and the
// paths that it selected. Knows nothing of commands. For one session, and under that session's use.

#ifndef CARDLIB_FILECACHESYSTEM_H
#define CARDLIB_FILECACHESYSTEM_H

#include "cardlib/cktypes.h"
#include "cardlib/export.h"

#include <ctime>
#include <list>
#include <map>
#include <memory>

/// The path of a file on the card: file identifiers from the top, and what is known of the file.
/// Compared by its identifiers alone.
struct PINDESK_API DFEF_Path {
    static constexpr CK_ULONG MAX_FIDS = 256;

    /// An empty path with no flag set.
    DFEF_Path() = default;
    /// The path of a file that exists.
    /// \param path  n pairs of bytes, each a file identifier, high byte first; null gives no
    ///              identifiers.
    /// \param n     number of pairs; those after the 256th are left out.
    /// \param isDF  whether the path names a DF.
    DFEF_Path(const CK_BYTE* path, CK_ULONG n, CK_BBOOL isDF);

    /// Adds one identifier at the end. \return false, and unchanged, when the path is full.
    bool Append(WORD fid);

    /// A path with fewer identifiers comes first; equal counts compare as bytes in memory order.
    bool operator<(const DFEF_Path& other) const;
    bool operator==(const DFEF_Path& other) const;

    char m_szTmpStringForm[255] = {}; ///< room for a text form, never compared
    WORD m_pPath[MAX_FIDS] = {};      ///< file identifiers from the top
    CK_ULONG m_FidsInPath = 0;        ///< identifiers in use, at most MAX_FIDS
    CK_BBOOL m_isDF = 0;              ///< the path names a DF
    CK_BBOOL m_isPinVerified = 0;     ///< the PIN that guards the file was verified in this session
    CK_BYTE m_PinId = 0;              ///< the reference of that PIN, where known
    CK_BBOOL m_bExists = 0;           ///< the file exists
};

/// One piece of one file. Wiped when it goes: scratch files of key operations pass through the
/// cache.
struct PINDESK_API _CachedChunk {
    static constexpr CK_ULONG CAPACITY = 32768;

    _CachedChunk() = default;
    ~_CachedChunk();
    _CachedChunk(const _CachedChunk&) = delete;
    _CachedChunk& operator=(const _CachedChunk&) = delete;

    CK_BYTE pData[CAPACITY] = {};
    CK_ULONG ulStart = 0;        ///< offset in the file of pData[0]
    CK_ULONG ulDataLen = 0;      ///< valid bytes
    CK_BBOOL bIsLastChunk = 0;   ///< reaches the end of the file
    std::time_t cached_time = 0; ///< when it was stored or refreshed, in seconds
    bool bPinVerified = false;   ///< served only to paths whose PIN was verified
};

typedef std::list<std::unique_ptr<_CachedChunk>> CachedChunkList;
typedef std::map<DFEF_Path, CachedChunkList> CacheMap;
typedef std::list<DFEF_Path> CachedSelectList;

/// The cache of one card session. A leading 3F00 of a path is dropped, so that [3F00, 1100] and
/// [1100] are one entry. While m_bCacheSystemEnabled is not set, every operation does nothing or
/// answers "no".
class PINDESK_API CFileCacheSystem {
public:
    static constexpr long MISS = 0xFFFF;         ///< not in the cache, or not wholly
    static constexpr long PIN_REQUIRED = 0x6982; ///< security status not satisfied (ISO/IEC 7816-4)

    CFileCacheSystem();
    virtual ~CFileCacheSystem();
    CFileCacheSystem(const CFileCacheSystem&) = delete;
    CFileCacheSystem& operator=(const CFileCacheSystem&) = delete;

    /// Stores bytes of a file, and brings every chunk that holds some of them up to date.
    /// \param ef_path      m_isPinVerified decides who is served; when it is not set, all that is
    ///                     cached of the file becomes public.
    /// \param start        offset in the file, not negative.
    /// \param len          1 to 32,768 bytes; any other range is not stored, and a longer one
    ///                     empties what is held of the file.
    /// \param pData        len bytes, copied; null stores nothing.
    /// \param isLastChunk  the bytes reach the end of the file.
    void Put(DFEF_Path ef_path, long start, long len, const CK_BYTE* pData, CK_BBOOL isLastChunk);

    /// Finds bytes of a file. Act on the outputs only when the result is 0.
    /// \param len            bytes wanted, not negative; changed when only a part is cached.
    /// \param pData          receives a pointer into the cache, valid until the next change.
    /// \param bPartialCache  receives whether only a part is cached.
    /// \return 0: all bytes are at pData; PIN_REQUIRED: cached, but only for a verified PIN;
    ///         MISS: else.
    long Get(DFEF_Path ef_path, long start, long& len, CK_BYTE*& pData, CK_BBOOL& bPartialCache);

    /// Whether a chunk that starts early enough and is long enough is held, and fresh.
    /// Compares lengths, not ends: a range that runs past the chunk can be reported as cached.
    bool isCached(DFEF_Path ef_path, long start, long len);
    /// Forgets the bytes of a file.
    void Remove(DFEF_Path ef_path);
    /// Forgets everything, selections included.
    void Clear();

    /// Remembers a selected path with its flags; one that is remembered keeps its first flags.
    void PutSelect(DFEF_Path ef_path);
    /// \return the remembered path, without a leading 3F00, with the flags it was stored with; an
    ///         empty path with no flag set when it is not remembered.
    DFEF_Path GetSelect(DFEF_Path ef_path);
    /// Whether the path is remembered, as existing or as missing.
    bool isSelectCached(DFEF_Path ef_path);
    /// Forgets a selected path.
    void RemoveSelect(DFEF_Path ef_path);

private:
    CachedChunkList* FindChunks(DFEF_Path path);
    CachedSelectList::iterator FindSelect(DFEF_Path path);
    bool IsFresh(const _CachedChunk& chunk) const;

    CacheMap m_Cache;
    CachedSelectList m_SelectCache;

public:
    CK_BBOOL m_bUseCacheExpire = 0;               ///< isCached looks at the age
    CK_ULONG m_ulCacheExpireSeconds = 0xFFFFFFFF; ///< the limit for it
    CK_BBOOL m_bCacheSystemEnabled = 1;           ///< the cache is in use
};

#endif
