// SPDX-License-Identifier: Apache-2.0
//
// Internal: the scratch files of Zentaris34 cards, for what is too long for a command or answer.

#ifndef CARDLIB_SESSIONS_SCRATCHFILE_H
#define CARDLIB_SESSIONS_SCRATCHFILE_H

#include "cardlib/cache/path.h"
#include "cardlib/scardzentaris34.h"
#include "cardlib/support/secret.h"

/// A transparent file of the current DF that everybody may use while it lives: until the end of the
/// scope, or of what it was made for.
class CScratchFile {
public:
    CScratchFile(CSCardZentaris34& card, WORD fid, WORD cb) : m_card(card), m_fid(fid), m_cb(cb) {}
    ~CScratchFile()
    {
        if (!m_bEnded) {
            Delete();
        }
    }
    CScratchFile(const CScratchFile&) = delete;
    CScratchFile& operator=(const CScratchFile&) = delete;

    /// Also deletes what an earlier use has left. What the session remembers of it goes too.
    long Delete()
    {
        const long lResult = m_card.DeleteFile(m_fid, 0);
        Forget();
        return lResult;
    }

    long Create()
    {
        constexpr CK_BYTE ALWAYS = 0x00;
        _M4_FileInfo_common info;
        info.Reset();
        info.SetDefaultAC(ALWAYS);
        info.size = m_cb;
        info.fid = m_fid;
        const long lResult = m_card.CreateFile(&info);
        m_bCreated = lResult == 0;
        return lResult;
    }

    /// The card has written into the file.
    void Forget() { m_card.m_Cache.Remove(EfIn(m_card.m_Current_DF_path, m_fid)); }

    /// Deletes the file once a key has passed through it, or else overwrites it with zeros.
    /// \return lResult, or the failure to delete behind a success.
    long EndOfKey(long lResult)
    {
        m_bEnded = true;
        const long lDeleted = Delete();
        if (lDeleted == 0 || !m_bCreated) {
            return lResult;
        }
        const CWipedArray zeros = CWipedArray::Zeroed(m_cb);
        if (zeros && m_card.SelectEx2(m_fid, nullptr, eFidEF, 1) == 0) {
            m_card.UpdateBinary(zeros.data(), zeros.size(), 0);
        }
        Forget();
        return lResult != 0 ? lResult : lDeleted;
    }

private:
    CSCardZentaris34& m_card;
    WORD m_fid;
    WORD m_cb;
    bool m_bCreated = false;
    bool m_bEnded = false;
};

#endif
