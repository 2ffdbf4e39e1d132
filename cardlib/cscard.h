// SPDX-License-Identifier: Apache-2.0
//
// The base of every card session: one PC/SC card handle, the current paths and the file cache, with
// selection and transparent-file commands of ISO/IEC 7816-4. The card families derive from it.

#ifndef CARDLIB_CSCARD_H
#define CARDLIB_CSCARD_H

#include "cardlib/cktypes.h"
#include "cardlib/export.h"
#include "cardlib/filecachesystem.h"

class CCommandApdu;
class CResponseApdu;

/// How a file identifier is to be taken by the selecting operations.
enum eFidType { eFidUnknown = 0, eFidDF = 1, eFidEF = 2 };

/// Ends the PC/SC transaction of one card handle at the end of a scope, leaving the card powered.
/// Nothing happens while m_hCard is 0.
struct PINDESK_API CTransact {
    CTransact() : m_hCard(0) {}
    ~CTransact();
    CTransact(const CTransact&) = delete;
    CTransact& operator=(const CTransact&) = delete;

    SCARDHANDLE m_hCard; ///< set once SCardBeginTransaction has succeeded
};

/// A reference-counted session with the card in one named reader. Lives on the heap, is used by one
/// thread at a time, and disconnects its card (leaving it in place) when it goes.
///
/// Results of the card operations: 0 for status word 9000; SW1 x 256 + SW2 for any other; -1 when
/// no valid card is bound; 7 for null or empty data; a PC/SC code as it came when the exchange
/// itself failed; 0x6F00 when the exchange succeeded without a status word.
///
/// The order of the virtual operations is part of the binary interface.
class PINDESK_API CSCard {
public:
    /// \param hContext    an established context; stays the caller's.
    /// \param readerName  NUL-terminated, at most MAX_READERNAME - 1 bytes; copied.
    CSCard(SCARDCONTEXT hContext, char* readerName);
    virtual ~CSCard();
    CSCard(const CSCard&) = delete;
    CSCard& operator=(const CSCard&) = delete;

    virtual void SetSCContext(SCARDCONTEXT hContext);

    /// Selects a file under the current position and records it in the paths.
    /// \param len      null, or receives the file's size as the FCI states it, 0 when it does not.
    /// \param fidType  an eFidType; any other value selects without recording.
    virtual long SelectEx(WORD fid, DWORD* len, int fidType);

    /// Selects a path from the MF, one file at a time; the last as an EF unless isDF.
    /// \param path  big-endian pairs of bytes; null (or a count of 0) means the MF.
    virtual long PathSelect(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF);

    /// PathSelect for identifiers given as words.
    virtual long PathSelectWORD(WORD* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF);

    /// Selects the whole current path again, from the top.
    virtual long ForceSelectCurrentEF();

    /// Reads l bytes of the current EF, from the cache where it holds them. Bytes that the card
    /// does not deliver at the end are 0; 0x6282 when it delivers none although more is wanted.
    virtual long ReadBinary(WORD Offset, WORD l, CK_BYTE_PTR pBuffer);

    /// Serves a range from the cache without touching the card; -1 when it is not there.
    virtual long ReadBinaryFromCacheOnly(DFEF_Path EfFullPath, WORD Offset, WORD l,
                                         CK_BYTE_PTR pBuffer);

    /// Writes into the current EF and its cache. \return 7 for null or empty data; 0x6B00, with
    ///         nothing sent, when a piece would begin past offset 7FFF.
    virtual long UpdateBinary(const CK_BYTE* pData, CK_ULONG uDataLen, CK_ULONG ulOffset);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual" // hidden by a family on purpose
    /// Sends one command of at most 256 bytes; repeats it without limit while the card answers
    /// 6F00 or the PC/SC result ends in 0x79. Careful, it sends ten times at most, and once what
    /// carries a secret or does not bear repetition.
    /// \param pbRecvBuffer   at least 256 bytes.
    /// \param pcbRecvLength  receives the answer's length.
    /// \return the PC/SC result, 0 on success; -1 when no valid card is bound or a pointer is null.
    virtual long Transmit(CK_BYTE_PTR pbSendBuffer, DWORD cbSendLength, CK_BYTE_PTR pbRecvBuffer,
                          DWORD* pcbRecvLength);
#pragma GCC diagnostic pop

    /// The card's answer to reset. A null buffer asks for its length.
    /// \return the PC/SC result; SCARD_E_INSUFFICIENT_BUFFER too for a reader name above 49 bytes.
    virtual long GetATR(CK_BYTE_PTR pbAtr, DWORD* pdwLen);

    virtual CFileCacheSystem& GetFileCacheSystem();
    virtual void InvalidateCache();

    /// The family's name; empty for the base class.
    virtual const char* GetModelName();

    /// \return the new count.
    virtual long AddRef();
    /// Destroys the object when the count falls below 1. \return the new count.
    virtual long Release();

    /// Binds a handle from SCardConnect; paths and cache are emptied unless it is bound already.
    /// \return the handle bound before.
    virtual SCARDHANDLE Attach(SCARDHANDLE hCard);
    /// Gives the handle up without disconnecting. \return it.
    virtual SCARDHANDLE Detach();

    /// Whether a card answers to SCardStatus on the handle.
    bool isValid();

    /// SCardTransmit, the one place from which commands leave this layer.
    static long _SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST* pioSendPci,
                               const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                               SCARD_IO_REQUEST* pioRecvPci, CK_BYTE* pbRecvBuffer,
                               DWORD* pcbRecvLength);

    DWORD m_dwActiveProtocol;        ///< 1 is T=0, anything else is taken for T=1; 0 detached
    char m_readerName[64];           ///< the first 63 bytes of the reader's name
    SCARDHANDLE m_hCard;             ///< 0 while detached
    SCARDCONTEXT m_hContext;         ///< not owned
    CK_BYTE m_pbLastSendBuffer[256]; ///< the last command that was not a GET RESPONSE: it may hold
                                     ///< a secret until the next command, Detach or destruction;
                                     ///< CardOS M4 keeps the four bytes in front of Lc alone
    DWORD m_cbLastSendLength;        ///< its length
    DFEF_Path m_Current_DF_path;     ///< the DF selected last
    DFEF_Path m_Current_EF_path;     ///< the EF selected last, or a copy of the DF path
    CFileCacheSystem m_Cache;        ///< contents and selections of this card
    long m_RefCount;                 ///< 1 after construction
    char m_wholeReaderName[MAX_READERNAME]; ///< names above 63 bytes connect with this one

protected:
    /// The protocol header that belongs to m_dwActiveProtocol.
    const SCARD_IO_REQUEST* SendPci() const;

    /// SCardConnect, shared, with T=0 or T=1. \return whether a handle was obtained.
    bool Connect();

    /// Serves a range of the current EF from the cache. \return whether it was there.
    bool ReadCurrentFromCache(WORD Offset, WORD l, CK_BYTE_PTR pBuffer);

    /// Keeps bytes of the current EF; the cache is an optimisation, its failure is none.
    void StoreInCache(CK_ULONG ulOffset, CK_ULONG ulLen, const CK_BYTE* pData);

    /// Sends a command through Transmit. \return 0 for 9000, else as the card operations.
    long Send(CCommandApdu& command, CResponseApdu& response);

private:
    void TrackSelection(WORD fid, int fidType);
};

#endif
