/* SPDX-License-Identifier: Apache-2.0
 *
 * What a host's own PKCS#11 header leaves behind, by the names and the guard of the standard's. */
#ifndef _PKCS11T_H_
#define _PKCS11T_H_ 1

#define CK_TRUE 1
#define CK_FALSE 0
#define CKR_OK 0x00000000UL
#define CKA_VALUE 0x00000011UL

typedef unsigned char CK_BYTE;
typedef CK_BYTE CK_BBOOL;
typedef unsigned long int CK_ULONG;
typedef CK_ULONG CK_ATTRIBUTE_TYPE;
typedef CK_BYTE* CK_BYTE_PTR;
typedef CK_ULONG* CK_ULONG_PTR;
typedef void* CK_VOID_PTR;
typedef struct CK_ATTRIBUTE {
    CK_ATTRIBUTE_TYPE type;
    CK_VOID_PTR pValue;
    CK_ULONG ulValueLen;
} CK_ATTRIBUTE;
typedef CK_ATTRIBUTE* CK_ATTRIBUTE_PTR;

#endif
