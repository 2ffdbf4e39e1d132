// SPDX-License-Identifier: Apache-2.0
//
// Paddings, retail MAC and the secure-messaging envelopes: they build and check bytes,
// and know nothing of cards, sessions or when a command is protected.
//
// Keys are 24 bytes, K1 | K2 | K3, parity bits ignored. Every returned buffer comes from array new
// and belongs to the caller, who wipes it where it holds plain data and frees it with array delete.
// A null pData stands for as many zero bytes, unless it is said otherwise. A function that returns
// a buffer returns null when there is no memory or another pointer is null.

#ifndef CARDLIB_SM_SIG_ENC_H
#define CARDLIB_SM_SIG_ENC_H

#include <winscard.h>

#include "cardlib/export.h"

/// Pads with 0x80 and zeros to whole blocks (ISO/IEC 9797-1, padding method 2).
/// \param pcbData  in: data length; out: the padded length, 1 to 8 bytes more. Stays on failure.
PINDESK_API unsigned char* IsoPad(const unsigned char* pData, unsigned long* pcbData);

/// Pads with zeros to whole blocks (ISO/IEC 9797-1, padding method 1).
/// \param pcbData  in: data length; out: the padded length, 0 to 7 bytes more. Stays on failure.
PINDESK_API unsigned char* AnsiPad(const unsigned char* pData, unsigned long* pcbData);

/// Finds where the data of an ISO-padded buffer ends: at its last byte 0x80. What follows that byte
/// is not looked at.
/// \return the data length; 0xFFFFFFFF when cbData is 0 or not a multiple of 8, or no byte is 0x80.
PINDESK_API unsigned long IsoPadded_GetUnpaddedLen(const unsigned char* pData,
                                                   unsigned long cbData);

/// Pads with IsoPad and enciphers (Triple-DES, CBC, zero IV).
/// \param pcbData  in: data length; out: cipher length. Stays on failure.
PINDESK_API unsigned char* DES3_IsoPadded(const unsigned char* Des3_Key, const unsigned char* pData,
                                          unsigned long* pcbData);

/// Deciphers what DES3_IsoPadded made. The buffer is as long as the cipher text; the caller wipes
/// that much.
/// \param pcbData  in: cipher length; out: plain length, or 0xFFFFFFFF when the padding is bad.
/// \return null also when the padding is bad.
PINDESK_API unsigned char* UNDES3_IsoPadded(const unsigned char* Des3_Key,
                                            const unsigned char* pData, unsigned long* pcbData);

/// Computes the retail MAC of a message (ISO/IEC 9797-1, MAC algorithm 3, padding method 1).
/// \param Des3_Key  24 bytes: K1 | K2 | K3; parity bits are ignored.
/// \param pData     the message, of any length; it is zero-padded to whole 8-byte blocks here.
/// \param cbData    its length in bytes.
/// \param Mac3      receives 8 bytes, may lie within pData; left untouched when an argument is null
///                  or cbData is 0.
PINDESK_API void MAC3_AnsiPadded(const unsigned char* Des3_Key, const unsigned char* pData,
                                 unsigned long cbData, unsigned char* Mac3);

/// Appends a MAC to a command: cla ins p1 p2 Lc data MAC. The class byte is not authenticated.
/// \param pcbData  in: data length, at most 247; out: command length, 13 more. Stays on failure.
/// \param Mac3     receives the 8 bytes of the MAC.
/// \return null also when the data is too long for a short command.
PINDESK_API unsigned char* SMx4_SIG(const unsigned char* Des3_Key, unsigned char cla,
                                    unsigned char ins, unsigned char p1, unsigned char p2,
                                    const unsigned char* pData, unsigned long* pcbData,
                                    unsigned char* Mac3);

/// Appends a MAC as SMx4_SIG does, then enciphers data and MAC under the same key:
/// cla ins p1 p2 Lc cryptogram.
/// \param pcbData  in: data length, at most 239; out: command length. Stays on failure.
/// \return null also when the data is too long for a short command.
PINDESK_API unsigned char* SMx4_SIG_ENC(const unsigned char* Des3_Key, unsigned char cla,
                                        unsigned char ins, unsigned char p1, unsigned char p2,
                                        const unsigned char* pData, unsigned long* pcbData);

/// Wraps a command in the secure-messaging objects of ISO/IEC 7816-4: 0C ins p1 p2 Lc,
/// 87 (padding indicator 01 and cryptogram), 8E (MAC), 00. Without data the padding is still sent.
/// \param RandomDataBlock  8 bytes that open the MAC input, or null for none.
/// \param cla              its high nibble is authenticated; the class byte sent is always 0C.
/// \param cbData           data length, at most 239.
/// \param Le               not used.
/// \param pcbEncodedApdu   receives the length of the protected command; 0 on failure.
/// \return null also when the data is too long for a short command.
PINDESK_API unsigned char* SMxC_ENC_SIG(const unsigned char* Des3_Key_SIG,
                                        const unsigned char* Des3_Key_ENC,
                                        const unsigned char* RandomDataBlock, unsigned char cla,
                                        unsigned char ins, unsigned char p1, unsigned char p2,
                                        const unsigned char* pData, unsigned long cbData,
                                        unsigned char Le, unsigned long* pcbEncodedApdu);

/// Checks and opens a protected response: one of the objects 87, 86, 81, 80 (the first that is
/// there, in this order) and a MAC in 8E. A response without 8E counts as verified.
/// \param RandomDataBlock    the first 8 bytes open the MAC input; null stands for zeros.
/// \param cla, ins, p1, p2   header of the plain command.
/// \param pEncodedResponse   the response, any bytes; the status word is walked as an object.
/// \param cbDecodedDataLen   receives the plain length; 0xFFFFFFFF when the padding is bad.
/// \param bVerifyResult      receives whether the MAC matched or was absent.
/// \param bWasDecoded        receives whether the response was a protected one.
/// \return the plain data; null when the response is not protected, its MAC does not match (the
///         first 8 bytes of 8E; fewer never match), an 87 or 86 is empty, or the padding is bad.
PINDESK_API unsigned char*
SMxC_VRF_DEC(const unsigned char* Des3_Key_SIG, const unsigned char* Des3_Key_ENC,
             const unsigned char* RandomDataBlock, unsigned char cla, unsigned char ins,
             unsigned char p1, unsigned char p2, const unsigned char* pEncodedResponse,
             unsigned long cbEncodedResponse, unsigned long& cbDecodedDataLen, BOOL& bVerifyResult,
             BOOL& bWasDecoded);

#endif
