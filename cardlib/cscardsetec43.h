// SPDX-License-Identifier: Apache-2.0
//
// Sessions with Setec 4.3 cards: the base's files, and PIN, signature and key commands of ISO/IEC
// 7816-4 and -8 beside them.

#ifndef CARDLIB_CSCARDSETEC43_H
#define CARDLIB_CSCARDSETEC43_H

#include "cardlib/cscard.h"

/// A session with a Setec 4.3 card. Results of the commands as for CSCard, and:
/// -1 also when a required pointer is null; BUFFER_TOO_SMALL where it is named.
class PINDESK_API CSCardSetec43 : public CSCard {
public:
    static constexpr long BUFFER_TOO_SMALL = 0x150; ///< the PKCS#11 code
    static constexpr CK_ULONG MODULUS_LENGTH = 128; ///< bytes of a key, and of a signature

    CSCardSetec43(SCARDCONTEXT hContext, char* readerName);
    ~CSCardSetec43() override;

    /// \return "Setec/43".
    const char* GetModelName() override;

    /// Connects to the card, shared, with T=0 or T=1. \return whether a handle was obtained.
    bool Create();

    /// Sends GET RESPONSE and looks at the status word only: on purpose pData is not filled.
    long GetResponse(BYTE cData, BYTE* pData);

    /// Sets the key and algorithm for the operations that follow.
    /// \param kid    key reference; below 0x80 a public key's, stored as kid + 0x80.
    /// \param mech   P1 and P2: use and template, as 0x41B6 for signatures.
    /// \param AlgID  algorithm reference.
    long ManageSecurityEnvironment(CK_BYTE kid, WORD mech, CK_BYTE AlgID);

    /// Hands a hash over for ComputeSignature.
    /// \param pDataIn     the hash.
    /// \param uDataInLen  16 (four zero bytes follow it on the wire) or 20; anything else gives -1.
    long PutHash(CK_BYTE_PTR pDataIn, CK_ULONG uDataInLen);

    /// Signs the hash handed over.
    /// \param pSignature      receives 128 bytes; null asks for the length.
    /// \param puSignatureLen  in: room at pSignature; out: 128 when asked for, else unchanged.
    /// \return BUFFER_TOO_SMALL, with nothing sent, for less than 128 bytes of room.
    long ComputeSignature(CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen);

    /// Presents a PIN, zero-padded to 8 bytes; at most 8 are taken. Success marks the current DF
    /// and EF, so that the cache serves what this PIN guards.
    long Verify(CK_BYTE kid, const CK_BYTE* pPin, CK_BYTE pinLen);

    /// Changes a PIN; both values as in Verify, and the same mark on success.
    long VerifyAndChange(CK_BYTE kid, const CK_BYTE* pOldPin, CK_BYTE oldPinLen,
                         const CK_BYTE* pNewPin, CK_BYTE newPinLen);

    /// Enciphers, deciphers or hashes data with the security environment's key.
    /// \param mode               P1 and P2; DECIPHER puts a zero byte (no padding told) in front.
    /// \param pDecryptedData     receives the card's answer; null asks for its length, which costs
    ///                           an exchange all the same. May be pData.
    /// \param pDecryptedDataLen  in: room at pDecryptedData; out: the answer's length.
    /// \return BUFFER_TOO_SMALL when the answer does not fit.
    long EncDec(WORD mode, CK_BYTE_PTR pData, CK_BYTE DataLen, CK_BYTE_PTR pDecryptedData,
                CK_ULONG_PTR pDecryptedDataLen);
    static constexpr WORD DECIPHER = 0x8086; ///< plain value back, cryptogram in (ISO/IEC 7816-8)

    /// Reads the modulus of a public key.
    /// \param cha      key reference.
    /// \param modulus  receives 128 bytes, most significant first; left alone on failure.
    /// \return 0x6F00 too, when the answer places the modulus beyond the receive buffer.
    long ExportRSAPublicKey(CK_BYTE cha, CK_BYTE_PTR modulus);

private:
    long SendPin(CCommandApdu& command);
};

#endif
