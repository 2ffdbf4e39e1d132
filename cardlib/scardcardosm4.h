// SPDX-License-Identifier: Apache-2.0
//
// The session with a CardOS M4 card: transport with and without secure messaging, selection through
// the cache, files and records, PINs and keys, and the administration of files and objects.

#ifndef CARDLIB_SCARDCARDOSM4_H
#define CARDLIB_SCARDCARDOSM4_H

#include "cardlib/cscard.h"
#include "cardlib/scardcardosm4_descriptors.h"

/// Files that every card of this kind knows.
enum _eM401_KnownIDs {
    M4_MF = 0x3F00,
    M4_GDO = 0x2F02,
    M4_CARDINFO = 0x2F03,
    M4_LABEL = 0x5F0A,
};

/// The class's own answers, chosen to look like status words.
enum _M4_errorcodes {
    eM4Error_success = 0,
    eM4Error_invalid_args = 0x6A80,
    eM4Error_file_not_found = 0x6A82,
    eM4Error_non_enough_memory = 0x6A84,
    eM4Error_file_already_exists = 0x6A89,
    eM4Error_no_FCI_reported = 0x6284,
    eM4Error_SM_LE_doesnt_fit_output = 0x6C00,
};

/// What ListFiles lists; sent as P1.
enum eListFileMode { eListDFs = 0, eListEFs = 1, eListAll = 2 };

/// What GetFreeMemory asks for; sent as P2 of GET DATA.
enum eMemoryType { eCurrentDFBody = 0x85, eLargestFreeMemoryBlock = 0x8A };

/// One entry of a directory listing.
struct _DirFileInfo {
    WORD fid;         ///< file identifier
    CK_BYTE fileType; ///< file descriptor byte
};

/// A CardOS M4 session. Results as in CSCard; argument errors are values of _M4_errorcodes.
///
/// A command that does not fit a short APDU is refused with eM4Error_invalid_args and not sent. A
/// null pointer for which no meaning is stated gives -1, and nothing is sent.
/// The order of the virtual operations is part of the binary interface.
class PINDESK_API CSCardCardOSM4 : public CSCard {
public:
    CSCardCardOSM4(SCARDCONTEXT hContext, char* readerName);
    ~CSCardCardOSM4() override;

    long SelectEx(WORD fid, DWORD* len, int fidType) override;
    long PathSelect(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF) override;
    long PathSelectWORD(WORD* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF) override;
    long ForceSelectCurrentEF() override;
    long ReadBinary(WORD Offset, WORD l, CK_BYTE_PTR pBuffer) override;
    long UpdateBinary(const CK_BYTE* pData, CK_ULONG uDataLen, CK_ULONG ulOffset) override;
    /// "M4"
    const char* GetModelName() override;

    /// Selects a file in the current DF, or the MF. A selection the cache knows sends nothing; a
    /// file known to be missing fails with eM4Error_file_not_found.
    /// \param len        null, or receives the size that the FCI states; forces a real SELECT.
    /// \param fidType    eFidDF or eFidEF, else eM4Error_invalid_args.
    /// \param bUncached  always ask the card.
    /// \return also eM4Error_no_FCI_reported: selected, but without FCI.
    virtual long SelectEx2(WORD fid, DWORD* len, int fidType, CK_BBOOL bUncached);

    /// Selects a path from the MF with one command. At most 125 identifiers.
    virtual long PathSelect2(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF,
                             CK_BBOOL bUncached);
    virtual long PathSelectWORD2(WORD* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF,
                                 CK_BBOOL bUncached);

    /// VERIFY (ISO/IEC 7816-4) of secret kid, always with reference bit 0x80. A null pPin presents
    /// pinLen zero bytes; a length of 0 asks for the tries left without spending one.
    /// \return 63Cx for a wrong value with x tries left, 6983 when blocked.
    virtual long Verify(CK_BYTE kid, const CK_BYTE* pPin, CK_BYTE pinLen);

    /// Authenticates with a Triple-DES key: GET CHALLENGE, retail MAC, EXTERNAL AUTHENTICATE.
    /// \param pKey            8, 16 or 24 bytes; any other length is refused.
    /// \param ulChallengeLen  bytes of challenge wanted, at least 8.
    /// \return -1, with no try spent, for a shorter challenge than wanted.
    virtual long CRVerifyDes(CK_BYTE kid, const CK_BYTE* pKey, CK_ULONG ulKeyLen,
                             CK_ULONG ulChallengeLen);

    /// Verify with the old value, then ChangeReferenceData with the new one alone. maxPinLen is
    /// not used.
    virtual long VerifyAndChange(CK_BYTE kid, const CK_BYTE* pOldPin, CK_BYTE oldPinLen,
                                 const CK_BYTE* pNewPin, CK_BYTE newPinLen, CK_BYTE maxPinLen);

    /// CHANGE REFERENCE DATA (ISO/IEC 7816-4), the reference as given. Without an old value the
    /// card relies on an earlier verification.
    virtual long ChangeReferenceData(CK_BYTE bsoId, CK_BYTE bsoClass, const CK_BYTE* pNewData,
                                     CK_BYTE cbNewDataLen, const CK_BYTE* pOldData,
                                     CK_BYTE cbOldDataLen);

    /// MSE RESTORE of seid and SET of one component. iLoadMode: 0 RESTORE, its status ignored;
    /// 1 both; 2 SET; any other value sends nothing.
    virtual long LoadSecurityEnvironment(CK_BYTE seid, CK_BYTE CSE_Comp, CK_BYTE CSE_Comp_value,
                                         int iLoadMode, CK_BYTE bCDS_mode);

    /// MSE SET of key kid for mech (P1 P2). AlgID is not used.
    virtual long ManageSecurityEnvironment(CK_BYTE kid, WORD mech, CK_BYTE AlgID);

    /// PERFORM SECURITY OPERATION with mode as P1 P2; 0x8086 deciphers. A null output asks for the
    /// length; one too small gets it with eM4Error_invalid_args.
    virtual long EncDec(WORD mode, CK_BYTE_PTR pData, CK_BYTE DataLen, CK_BYTE_PTR pDecryptedData,
                        CK_ULONG_PTR pDecryptedDataLen);

    /// COMPUTE DIGITAL SIGNATURE with a 1024-bit key: 128 bytes. Size query as in EncDec.
    virtual long ComputeSignature(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                                  CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen);

    /// INTERNAL AUTHENTICATE with the low byte of mode as P2. Size query as in EncDec.
    virtual long InternalAuthenticate(WORD mode, CK_BYTE_PTR pDataIn, CK_ULONG uDataInLen,
                                      CK_BYTE_PTR pDataOut, CK_ULONG_PTR puDataOutLen);

    /// 1 when the card reports a version other than 0000, else 0.
    virtual long GetVer();

    /// Connects. \return whether a card is bound.
    virtual bool Create();
    /// Reconnects after a power-down, with T=1 alone, and forgets the position.
    virtual bool ReCreate();
    /// Disconnects, leaving the card; forgets position and cache. \return whether PC/SC agreed.
    virtual bool Destroy();

    /// Lists the files of a DF, at most 1024.
    /// \param ppFiles   receives an array the caller frees with delete[], or null; filled also when
    ///                  the listing ends with an error after some entries.
    /// \param pulCount  receives the number of entries.
    virtual long ListFiles(WORD* pDFPath, CK_ULONG ulDFsInPath, _DirFileInfo** ppFiles,
                           CK_ULONG* pulCount, eListFileMode ListMode);

    /// \return also eM4Error_file_already_exists, found out before anything is created.
    virtual long CreateFile(_M4_FileInfo_common* pFileInfo);
    virtual long DeleteFile(WORD fid, CK_BBOOL bIsDF);

    /// \param size  receives the free bytes of the memory asked for.
    virtual long GetFreeMemory(eMemoryType MemoryType, WORD& size);

    /// Creates a security object. bCreateForKeyGeneration is not used by this card. Under secure
    /// messaging an object above 255 bytes is refused with eM4Error_invalid_args.
    virtual long CreateBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bCreateForKeyGeneration);
    /// Rewrites the conditions of a security object, with bUpdateSM those of secure messaging too.
    virtual long AdminBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bUpdateSM);

    virtual long GenerateKeyPair(CK_BYTE BsoClass, CK_BYTE BsoId, WORD PubKeyFid, WORD PubKeyBits,
                                 CK_BYTE_PTR pPubExp, CK_ULONG ulPubExpLen);

    /// ReadRecord of the record that the card finds under tag.
    virtual long ReadRecordTLV(CK_BYTE tag, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData);
    /// ReadRecordTLV less the record's own tag and length.
    virtual long ReadRecordTLVStrip(CK_BYTE tag, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData);
    virtual long ReadRecordAbsolute(CK_BYTE nRecord, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData);

    /// READ RECORD with access_mode as P2.
    /// \param pcbData  in: capacity of pData, not 0; out: bytes read. -1 when an argument misses.
    virtual long ReadRecord(CK_BYTE access_mode, CK_BYTE rec, CK_BYTE_PTR pData,
                            CK_BYTE_PTR pcbData);
    virtual long UpdateRecord(CK_BYTE access_mode, CK_BYTE rec, CK_BYTE_PTR pData, CK_BYTE cbData);
    virtual long AppendRecord(CK_BYTE_PTR pData, CK_BYTE cbData);

    /// Writes the access and secure-messaging conditions of the current file.
    virtual long PutDataFCI(_M4_FileInfo_common* pInfo);

    // Hides the base's Transmit on purpose: no command of this family can reach the card past the
    // secure-messaging switch. GCC warns at the hidden declaration, clang here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
    /// The one path of all commands of this family: protected when secure messaging is on and the
    /// instruction is listed (or there is no list), else plain.
    /// \param pcbRecvLength  in: capacity of pbRecvBuffer; out: length of the answer with its
    ///                       status word.
    virtual long Transmit(const CK_BYTE* pbSendBuffer, DWORD cbSendLength, CK_BYTE_PTR pbRecvBuffer,
                          DWORD* pcbRecvLength);
#pragma GCC diagnostic pop

    /// The plain transport: up to ten attempts, 50 ms apart, while the reader fails in a passing
    /// way or the answer is empty; one GET RESPONSE after 61 00 with T=0. Careful, a command that
    /// carries a secret or does not bear repetition is attempted once.
    virtual long Transmit2(const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                           CK_BYTE_PTR pbRecvBuffer, DWORD* pcbRecvLength);

    /// Sends a command signed and enciphered with one key; the answer is handed over unchanged.
    virtual long Transmit_SMx4(const CK_BYTE* Des3Key, const CK_BYTE* pbSendBuffer,
                               DWORD cbSendLength, CK_BYTE_PTR pbRecvBuffer, DWORD* pcbRecvLength);

    /// Sends a command under secure messaging with fresh randoms and unwraps the answer.
    /// \param pbRecvBuffer  two bytes larger than the capacity: the status word that follows
    ///                      deciphered data is not counted against it.
    /// \return -1 for a command shorter than 5 bytes or than its Lc says;
    ///         eM4Error_SM_LE_doesnt_fit_output when the answer's MAC or padding is wrong;
    ///         eM4Error_invalid_args when an unprotected answer exceeds the capacity.
    virtual long Transmit_SMxC(const CK_BYTE* Des3Key_SIG, const CK_BYTE* Des3Key_ENC,
                               const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                               CK_BYTE_PTR pbRecvBuffer, DWORD* pcbRecvLength);

    /// Activates or deactivates a file of the current DF.
    virtual long ActivateFile(WORD fid, CK_BBOOL bActivate, CK_BBOOL bIsDF);

    /// Switches secure messaging on or off. Keys are 24 bytes each and are copied, a null one
    /// leaves the stored one; switching off wipes both.
    /// \param pbINSList  instruction bytes to protect; null or empty protects every command.
    virtual void SetSMxCMode(CK_BBOOL bEnable, const CK_BYTE* Des3Key_SIG,
                             const CK_BYTE* Des3Key_ENC, CK_BYTE_PTR pbINSList,
                             CK_ULONG ulINSListLen);

    /// GET CHALLENGE. \return -1 when the card does not answer with 8 bytes.
    virtual long GetChallenge(CK_BYTE_PTR pChallenge, CK_ULONG_PTR pulChallenge);
    /// GIVE RANDOM (80 86): eight bytes always travel, missing ones as 00.
    virtual long GiveRandom(CK_BYTE_PTR pRandom, CK_ULONG ulRandom);

    /// Not supported on this card, like the three that follow: -1.
    virtual long ExtendBSO(CK_BYTE bsoClass, CK_BYTE bsoId, CK_ULONG flags);
    virtual long ComputeSignature2048(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                                      CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen);
    virtual long EncDec2048(WORD mode, CK_BYTE_PTR pData, CK_ULONG DataLen,
                            CK_BYTE_PTR pDecryptedData, CK_ULONG_PTR pDecryptedDataLen);
    virtual long CreateRsa2048Key(_M4_BSO_info* pBsoInfo, CK_BYTE_PTR pPrime1, CK_BYTE_PTR pPrime2,
                                  CK_BYTE_PTR pExponent1, CK_BYTE_PTR pExponent2,
                                  CK_BYTE_PTR pCoefficient, CK_BYTE_PTR pPubExponent);

    /// Selects the file named by fileInfo.fid and fills the descriptor from its FCI; fields that
    /// the FCI does not state stay as they are.
    virtual long GetFileInfo(_M4_FileInfo_SM& fileInfo);

    /// Puts the card into its administration life cycle (0x20); -1 from any but 0x10 and 0x20.
    virtual long SwitchToAdminLifeCycle();
    /// Puts the card back, unless it was in administration before the switch. Careful, both look
    /// where the card is after a lost answer.
    virtual long RevertFromAdminLifeCycle();

    /// Finds the data in a length-prefixed block: length (of all that follows), 00, data.
    /// \param ppData  receives a pointer into the block, or null.
    /// \return false when the block is empty, or the data longer than the whole block. The two
    ///         bytes in front of the data are not counted: check against the block before reading.
    static bool CCMS_Read(CK_BYTE_PTR pCCMSData, CK_ULONG cbCCMSData, CK_BYTE_PTR* ppData,
                          CK_ULONG_PTR pcbData);

    /// Writes data right-aligned into a length-prefixed block of cbCCMSDataBlockSize bytes.
    /// \param pcbCCMSData  in: capacity; out: the size needed when that is too small.
    /// \return false when an argument misses, the buffer is too small or the data too long.
    static bool CCMS_Write(const CK_BYTE* pData, CK_ULONG cbData, CK_BYTE_PTR pCCMSData,
                           CK_ULONG_PTR pcbCCMSData, CK_ULONG cbCCMSDataBlockSize);

    // The spelling of the two flags is part of the interface.
    CK_BYTE m_PreviousLcycle;                ///< life cycle found by the last switch
    CK_BBOOL m_bCurrentDFPhisicallySelected; ///< the card's current DF is m_Current_DF_path
    CK_BBOOL m_bCurrentEFPhisicallySelected; ///< the card's current EF is m_Current_EF_path
    CK_BBOOL m_bUseSMxCMode;                 ///< secure messaging is on
    CK_BYTE m_Des3Key_SIG[24];               ///< key of the MAC
    CK_BYTE m_Des3Key_ENC[24];               ///< key of the encryption
    CK_BYTE_PTR m_pbINSList;                 ///< owned: instructions to protect, or null
    unsigned int m_ulINSListLen;             ///< how many

protected:
    /// Sends through Transmit. \return a result as the class comment says.
    long Send(const CCommandApdu& command, CResponseApdu& response);
    long SendForStatus(const CCommandApdu& command);

    /// Makes the card's current DF the recorded one; a failure shows in the command that follows.
    void BringDFInLine();
    /// Makes the card's current file the recorded one.
    void BringFileInLine();

    /// Notes in the cache that a path exists, or is missing.
    void RememberSelection(DFEF_Path path, bool bExists);

private:
    bool SelectFromCache(DFEF_Path& path, long& lResult);
    void RecordSelection(WORD fid, int fidType, bool bPhysical);
    void RecordPathSelection(CK_BYTE* path, CK_ULONG ulFidsInPath, CK_BBOOL isDF, bool bPhysical);
    void RecordVerification(CK_BYTE kid, bool bVerified);
    void ForgetPosition();
    bool IsProtected(const CK_BYTE* pbSendBuffer, DWORD cbSendLength) const;
    long ExchangeRandoms(CK_BYTE* pbRandoms);
    long ReadLifeCycle(CK_BYTE& bLifeCycle);
    long ToggleLifeCycle();
    long WriteRecord(CK_BYTE bIns, CK_BYTE bP1, CK_BYTE bP2, const CK_BYTE* pData, CK_BYTE cbData);
    template <typename TWrite> long PutBSO(TWrite write);
};

#endif
