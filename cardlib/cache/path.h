// SPDX-License-Identifier: Apache-2.0
//
// How a session's current paths move with its selections. Internal.

#ifndef CARDLIB_CACHE_PATH_H
#define CARDLIB_CACHE_PATH_H

#include "cardlib/filecachesystem.h"
#include "cardlib/support/bigendian.h"

#include <array>

constexpr WORD MF_FID = 0x3F00;

/// The path of an EF in a DF.
inline DFEF_Path EfIn(const DFEF_Path& df, WORD fid)
{
    DFEF_Path ef = df;
    ef.m_isDF = 0;
    ef.Append(fid);
    return ef;
}

/// A path of words as the bytes of a command, high byte first. A null path has none.
class CPathBytes {
public:
    CPathBytes(const WORD* path, CK_ULONG ulFids) : m_ulFids(path == nullptr ? 0 : ulFids)
    {
        for (CK_ULONG i = 0; data() != nullptr && i < m_ulFids; ++i) {
            m_ab[2 * i] = High(path[i]);
            m_ab[2 * i + 1] = Low(path[i]);
        }
    }

    /// Null when the path is longer than a DFEF_Path can be.
    CK_BYTE* data() { return m_ulFids <= DFEF_Path::MAX_FIDS ? m_ab.data() : nullptr; }
    CK_ULONG Fids() const { return m_ulFids; }

private:
    CK_ULONG m_ulFids;
    std::array<CK_BYTE, 2 * DFEF_Path::MAX_FIDS> m_ab;
};

#endif
