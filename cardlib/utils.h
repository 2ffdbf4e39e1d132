// SPDX-License-Identifier: Apache-2.0
//
// Small helpers of the card layer: a checksum, text of BCD bytes, byte reversal, the walk over a
// flat chain of TLV elements, PKCS#11 attribute templates, and a locked pointer exchange.

#ifndef CARDLIB_UTILS_H
#define CARDLIB_UTILS_H

#include "cardlib/cktypes.h"
#include "cardlib/export.h"

/// CRC-16 with polynomial 0x1021, initial value 0xFFFF, nothing reflected, no final XOR
/// (CRC-16/CCITT-FALSE).
/// \return the checksum; 0xFFFF for null, no bytes, or a range that wraps around the address space.
PINDESK_API unsigned int Crc16(const unsigned char* data, unsigned long size);

/// Writes each byte as two upper-case hexadecimal digits, high nibble first, without a terminator.
/// \param dest  receives exactly 2 * len characters; must not overlap orig.
/// \param orig  len bytes. A null pointer writes nothing.
PINDESK_API void BCD2ASC(char* dest, const unsigned char* orig, unsigned long len);

/// Reverses the order of dwSize bytes in place. Null changes nothing.
PINDESK_API void MemInvert(unsigned char* pbBuffer, unsigned long dwSize);

/// Whether the second DF is used in place of the first: never.
PINDESK_API bool GetForceUseSecondDF();

/// Checks a flat chain of elements: one tag byte, one length byte (0 to 255, no long form), the
/// value. The last value may lack its last byte, which cards in the field do; a tag as the last
/// byte of the chain makes it invalid.
/// \param pTlv       the chain; null is invalid.
/// \param ulTlvSize  its length in bytes; below 2 it is invalid.
/// \return 1 for a valid chain, else 0.
PINDESK_API BOOL TLV_Validate(const unsigned char* pTlv, unsigned long ulTlvSize);

/// Finds the first element with a tag in a chain as TLV_Validate describes it.
/// \param wTag    the tag; above 0xFF it is never found.
/// \param pTlv    the chain, ulTlvSize bytes.
/// \param pData   receives a pointer to the value, inside the chain (no copy); null when not found.
/// \param pulData receives the length of the value; 0 when not found.
/// \return 1 when found; else 0: no such tag before the first broken element, a value that ends
///         outside the chain, or a null argument.
PINDESK_API BOOL TLV_Get(WORD wTag, unsigned char* pTlv, unsigned long ulTlvSize,
                         unsigned char** pData, unsigned long* pulData);

/// Stores a pointer under a lock that all such calls share.
/// \return the value now at *Target, which is Value and not the previous one.
PINDESK_API void* InterlockedExchangePointer_portable(void** Target, void* Value);

// Attribute templates (PKCS#11). A template is an array of ulCount records; the first record of a
// type counts. pulPosition and pulAttributeSize may be null unless a function says otherwise.
// Values and arrays that these functions allocate belong to the caller, and CK_TemplateFree frees
// them.

/// \return the index of the first record of a type; -1 if there is none, or no template.
PINDESK_API long GetAttributePos(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate,
                                 CK_ULONG ulCount);

/// Gives the address of a value as a number, its length and its index.
/// \return the record's pValue, 0 if there is none (the outputs are then untouched).
PINDESK_API CK_ULONG GetAttribute(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate,
                                  CK_ULONG ulCount, CK_ULONG* pulAttributeSize,
                                  CK_ULONG* pulPosition);

/// Copies a value.
/// \param pValue            receives the value if it fits; may be null to ask for the length.
/// \param pulAttributeSize  in: bytes at pValue; out: the value's length, also when it does not
///                          fit.
/// \return false if there is no such record, no template or no pulAttributeSize; otherwise true,
///         also when the value did not fit.
PINDESK_API bool GetAttribute2(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate,
                               CK_ULONG ulCount, void* pValue, CK_ULONG* pulAttributeSize,
                               CK_ULONG* pulPosition);

/// Gives a pointer to a value (no copy), its length and its index.
/// \return false if ppValue, the template or pulAttributeSize is null (outputs untouched), or if
///         there is no such record (*ppValue is then null).
PINDESK_API bool GetAttribute3(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate,
                               CK_ULONG ulCount, void** ppValue, CK_ULONG* pulAttributeSize,
                               CK_ULONG* pulPosition);

/// \return the length of the first value of a type, 0 if there is none.
PINDESK_API CK_ULONG GetAttributeLen(CK_ATTRIBUTE_TYPE type, const CK_ATTRIBUTE* pTemplate,
                                     CK_ULONG ulCount);

/// Gives each record of non-zero length a new value buffer of that length, not initialised. A
/// pointer that was there is overwritten and not freed.
/// \return false for no template, or when memory is short (the record that failed has a null
///         pValue).
PINDESK_API bool CK_TemplateAlloc(CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount);

/// Frees the values of non-zero length and clears pValue and ulValueLen of each record; frees the
/// array too, unless bFreeJustContents is set.
/// \return false for no template.
PINDESK_API bool CK_TemplateFree(CK_ATTRIBUTE* pTemplate, CK_ULONG ulCount, bool bFreeJustContents);

/// Makes a new array of the same records, each value with non-zero length in a buffer of its own.
/// A null value keeps its length.
/// \return false for a null argument, no records, or when memory is short; nothing is allocated
///         then.
PINDESK_API bool CK_TemplateCopy(const CK_ATTRIBUTE* pTemplateSource, CK_ULONG ulCount,
                                 CK_ATTRIBUTE** ppTemplateDest);

/// Makes a new array of template 2's records, overwritten and followed by template 1's: template 1
/// wins. A record of template 1 whose type is that of the first record of template 2 is appended
/// and does not replace it, and a value of length 0 leaves type and length of the record it
/// overwrites.
/// \return false for two empty templates, a null output, a null template with records, or when
///         memory is short; otherwise true. An empty template 1 gives true and writes no output.
PINDESK_API bool CK_TemplateMerge(const CK_ATTRIBUTE* pTemplate1, CK_ULONG ulCount1,
                                  const CK_ATTRIBUTE* pTemplate2, CK_ULONG ulCount2,
                                  CK_ATTRIBUTE** ppTemplateOut, CK_ULONG* pulTemplateOutCount);

#endif
