// SPDX-License-Identifier: Apache-2.0
//
// How a session's current paths move with its selections. Internal.

#ifndef CARDLIB_PATHTRACKING_H
#define CARDLIB_PATHTRACKING_H

#include "cardlib/filecachesystem.h"

#include <memory>
#include <new>

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
    CPathBytes(const WORD* path, CK_ULONG ulFids)
        : m_ulFids(path == nullptr ? 0 : ulFids),
          m_pb(m_ulFids > DFEF_Path::MAX_FIDS ? nullptr
                                              : new (std::nothrow) CK_BYTE[2 * m_ulFids + 1]())
    {
        for (CK_ULONG i = 0; m_pb != nullptr && i < m_ulFids; ++i) {
            m_pb[2 * i] = static_cast<CK_BYTE>(path[i] >> 8);
            m_pb[2 * i + 1] = static_cast<CK_BYTE>(path[i]);
        }
    }

    /// Null when the path is longer than a DFEF_Path can be, or memory is short.
    CK_BYTE* data() const { return m_pb.get(); }
    CK_ULONG Fids() const { return m_ulFids; }

private:
    CK_ULONG m_ulFids;
    std::unique_ptr<CK_BYTE[]> m_pb;
};

#endif
