// SPDX-License-Identifier: Apache-2.0
//
// The PKCS#11 integer and attribute types that the card layer uses, and the PC/SC ones beside them.
// BOOL (16 bits), WORD, DWORD (unsigned long) and the handle types come from pcsc-lite.

#ifndef CARDLIB_CKTYPES_H
#define CARDLIB_CKTYPES_H

#include <winscard.h>

#ifndef _PKCS11T_H_ // the guard of the standard's header: a host that has it brings the same types
typedef unsigned char CK_BYTE;
typedef unsigned char CK_BBOOL;
typedef unsigned long CK_ULONG;
typedef CK_BYTE* CK_BYTE_PTR;
typedef CK_ULONG* CK_ULONG_PTR;
typedef void* CK_VOID_PTR;
typedef CK_ULONG CK_ATTRIBUTE_TYPE;

/// One attribute of a PKCS#11 template.
struct CK_ATTRIBUTE {
    CK_ATTRIBUTE_TYPE type; ///< attribute type
    CK_VOID_PTR pValue;     ///< its value, or null
    CK_ULONG ulValueLen;    ///< bytes at pValue
};
typedef CK_ATTRIBUTE* CK_ATTRIBUTE_PTR;
#endif

#endif
