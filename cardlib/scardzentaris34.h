// SPDX-License-Identifier: Apache-2.0
//
// The session with a card that runs the maker's own Zentaris34 operating system: CardOS M4 with
// other commands for key material, file and object administration and 2048-bit keys.

#ifndef CARDLIB_SCARDZENTARIS34_H
#define CARDLIB_SCARDZENTARIS34_H

#include "cardlib/scardcardosm4.h"

/// A Zentaris34 session; what is not said here is as in CSCardCardOSM4.
class PINDESK_API CSCardZentaris34 : public CSCardCardOSM4 {
public:
    CSCardZentaris34(SCARDCONTEXT hContext, char* readerName);
    ~CSCardZentaris34() override;

    /// "Mark&Seal 2048"
    const char* GetModelName() override;

    /// Key objects (class bit 0x20 or 0x10) without an old value go to ChangeKeyData; a key value
    /// of 0x82 bytes loses its two-byte header first.
    long ChangeReferenceData(CK_BYTE bsoId, CK_BYTE bsoClass, const CK_BYTE* pNewData,
                             CK_BYTE cbNewDataLen, const CK_BYTE* pOldData,
                             CK_BYTE cbOldDataLen) override;

    /// As the base's, with the additional FF that this card expects in the access conditions.
    long CreateFile(_M4_FileInfo_common* pFileInfo) override;

    /// Always 0xFFFF, without asking the card.
    long GetFreeMemory(eMemoryType MemoryType, WORD& size) override;

    /// Creates the object and, unless a key pair will be generated in it, loads its value.
    long CreateBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bCreateForKeyGeneration) override;
    long AdminBSO(_M4_BSO_info* pBsoInfo, CK_BBOOL bUpdateSM) override;
    long GenerateKeyPair(CK_BYTE BsoClass, CK_BYTE BsoId, WORD PubKeyFid, WORD PubKeyBits,
                         CK_BYTE_PTR pPubExp, CK_ULONG ulPubExpLen) override;

    /// Finds the first record whose first byte is tag, and reads it whole.
    /// \return 0x6A83 too when none of 255 records has the tag.
    long ReadRecordTLV(CK_BYTE tag, CK_BYTE_PTR pData, CK_BYTE_PTR pcbData) override;

    long PutDataFCI(_M4_FileInfo_common* pInfo) override;
    long ActivateFile(WORD fid, CK_BBOOL bActivate, CK_BBOOL bIsDF) override;

    /// Extends a key object to 2048 bits. flags is not used.
    long ExtendBSO(CK_BYTE bsoClass, CK_BYTE bsoId, CK_ULONG flags) override;

    /// A signature of 256 bytes over at most 245 bytes, through scratch file 811F. A null output
    /// asks for the length.
    long ComputeSignature2048(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen,
                              CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen) override;

    /// Deciphers 256 bytes (mode 0x8086) through scratch files FF01 and FF02, which are gone
    /// afterwards. A null output asks for the length.
    long EncDec2048(WORD mode, CK_BYTE_PTR pData, CK_ULONG DataLen, CK_BYTE_PTR pDecryptedData,
                    CK_ULONG_PTR pDecryptedDataLen) override;

    /// Loads a 2048-bit private key in CRT form through scratch file FF02, which is gone
    /// afterwards. The five numbers have 128 bytes each, the public exponent 8.
    /// \return eM4Error_invalid_args for a null number; the failure to delete the file, which is
    ///         then overwritten with zeros.
    long CreateRsa2048Key(_M4_BSO_info* pBsoInfo, CK_BYTE_PTR pPrime1, CK_BYTE_PTR pPrime2,
                          CK_BYTE_PTR pExponent1, CK_BYTE_PTR pExponent2, CK_BYTE_PTR pCoefficient,
                          CK_BYTE_PTR pPubExponent) override;

    /// This card needs no switch: 0, like the revert.
    long SwitchToAdminLifeCycle() override;
    long RevertFromAdminLifeCycle() override;

    /// Replaces the value of a key object with this card's own command (90 24).
    /// \param cbNewDataLen  1 to 251 bytes; -1 for 0 or null data, eM4Error_invalid_args above.
    virtual long ChangeKeyData(CK_BYTE bsoId, CK_BYTE bsoClass, const CK_BYTE* pNewData,
                               CK_BYTE cbNewDataLen);

private:
    long SignThroughFile(const CK_BYTE* pDataToSign, CK_BYTE DataToSignLen, CK_BYTE_PTR pSignature,
                         CK_ULONG_PTR puSignatureLen);
};

#endif
