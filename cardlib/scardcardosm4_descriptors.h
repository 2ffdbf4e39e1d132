// SPDX-License-Identifier: Apache-2.0
//
// Descriptors of files and of security objects (PINs, keys; "BSO") of a CardOS M4 card and its
// Zentaris34 variant. They write the TLV bodies of the card's administration commands; numbers are
// big-endian, lengths one byte.
//
// All writers follow one protocol. The output buffer may be null; *pulTlvDataSize holds its
// capacity and receives the bytes written, or needed. Results: 0 written; 1 null or too small a
// buffer, the needed size is stored; -1 a null pulTlvDataSize, or more object data than its field
// holds.

#ifndef CARDLIB_SCARDCARDOSM4_DESCRIPTORS_H
#define CARDLIB_SCARDCARDOSM4_DESCRIPTORS_H

#include "cardlib/cktypes.h"
#include "cardlib/export.h"

#include <cstdint>

/// What every descriptor can do.
struct PINDESK_API _M4_TlvStructure {
    /// Not supported by any descriptor. \return -1; nothing is touched.
    virtual long ParseTLV(const CK_BYTE* pTlvData, CK_ULONG ulTlvDataSize) = 0;
    /// Writes the whole body, for creation.
    virtual long GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize) = 0;
    /// Writes the access conditions, for administration.
    /// \param bUseSM  with the secure-messaging conditions, where the class has them.
    virtual long GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM) = 0;
    /// \return the size of the descriptor's class in memory.
    virtual CK_ULONG GetInternalStructSize() = 0;

protected:
    ~_M4_TlvStructure() = default;
};

/// File descriptor byte (ISO/IEC 7816-4) of the kinds of file.
enum _eFileType : CK_BYTE {
    eBinary = 1,
    eLinearFixed = 2,
    eLinearTLV = 5,
    eCyclicFixed = 6,
    eCode = 33,
    eDF = 56,
};

#pragma GCC diagnostic push
// The order of virtual operations is fixed and has no destructor for file descriptors: they own
// nothing, and are deleted as what they were made as.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A file: size, type, identifier and access conditions. Where a byte has two names, the first is
/// the meaning for an EF and the second that for a DF.
struct PINDESK_API _M4_FileInfo_common : public _M4_TlvStructure {
    /// A binary file; all numbers 0, all access conditions FF.
    _M4_FileInfo_common();

    long ParseTLV(const CK_BYTE* pTlvData, CK_ULONG ulTlvDataSize) override;
    /// 81 size, 82 type and record size, 83 identifier, 85 flags and DF body size, 86 access
    /// conditions: 29 bytes and the padding.
    long GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize) override;
    /// 86 and the nine access conditions: 11 bytes and the padding. bUseSM does not matter here.
    long GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM) override;
    CK_ULONG GetInternalStructSize() override;
    /// \return a copy of the same class on the heap, to be deleted by the caller as that class.
    virtual _M4_FileInfo_common* Clone();
    /// Gives all nine access conditions one value.
    virtual void SetDefaultAC(CK_BYTE bValue);
    /// Back to the state after construction, with structSize set to the size of this class.
    virtual void Reset();
    /// Whether type is eDF.
    virtual bool isDF();
    /// Sets the number of FF bytes that follow the access conditions in the body.
    virtual void SetAdditionalACPaddingFF(CK_BYTE bCount);

    CK_BYTE m_bAdditionalACPaddingFF = 0;
    std::uint32_t structSize = 0; ///< set by Reset
    WORD size = 0;                ///< bytes in an EF
    _eFileType type = eBinary;
    CK_BYTE recordSize = 0; ///< bytes in a record of a record file
    WORD fid = 0;
    CK_BYTE flags = 0;
    WORD DF_Body_size = 0;
    union {
        CK_BYTE AC_READ;
        CK_BYTE AC_LCYCLE;
    };
    CK_BYTE AC_UPDATE;
    CK_BYTE AC_APPEND;
    CK_BYTE AC_DEACTIVATE;
    CK_BYTE AC_ACTIVATE;
    CK_BYTE AC_DELETE;
    CK_BYTE AC_ADMIN;
    union {
        CK_BYTE AC_INCREASE;
        CK_BYTE AC_CREATE;
    };
    union {
        CK_BYTE AC_DECREASE;
        CK_BYTE AC_rfu9;
    };
};

/// A file with its 24 secure-messaging conditions.
struct PINDESK_API _M4_FileInfo_SM : public _M4_FileInfo_common {
    /// As the common descriptor; all secure-messaging conditions FF.
    _M4_FileInfo_SM();

    /// The common body, then 8B and the secure-messaging conditions: 55 bytes and the padding.
    long GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize) override;
    /// The access conditions, and with bUseSM the secure-messaging conditions (26 bytes more).
    long GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM) override;
    CK_ULONG GetInternalStructSize() override;
    _M4_FileInfo_SM* Clone() override;
    /// As the common descriptor, whose size structSize then holds, with all conditions FF.
    void Reset() override;
    /// Gives all 24 secure-messaging conditions one value.
    virtual void SetDefaultSM(CK_BYTE bValue);

    // clang-format off
    union { CK_BYTE SM_ENC_READ_OUT;     CK_BYTE SM_rfu1; };
    union { CK_BYTE SM_SIG_READ_OUT;     CK_BYTE SM_rfu2; };
    union { CK_BYTE SM_ENC_UPDATE;       CK_BYTE SM_ENC_UPDATE_APPEND; };
    union { CK_BYTE SM_SIG_UPDATE;       CK_BYTE SM_SIG_UPDATE_APPEND; };
    union { CK_BYTE SM_ENC_APPEND;       CK_BYTE SM_rfu5; };
    union { CK_BYTE SM_SIG_APPEND;       CK_BYTE SM_rfu6; };
    CK_BYTE SM_rfu7;
    CK_BYTE SM_rfu8;
    CK_BYTE SM_rfu9;
    CK_BYTE SM_rfu10;
    union { CK_BYTE SM_rfu11;            CK_BYTE SM_ENC_DELETE; };
    union { CK_BYTE SM_rfu12;            CK_BYTE SM_SIG_DELETE; };
    CK_BYTE SM_ENC_ADMIN;
    CK_BYTE SM_SIG_ADMIN;
    union { CK_BYTE SM_ENC_INCREASE_IN;  CK_BYTE SM_ENC_CREATE; };
    union { CK_BYTE SM_SIG_INCREASE_IN;  CK_BYTE SM_SIG_CREATE; };
    union { CK_BYTE SM_ENC_DECREASE_IN;  CK_BYTE SM_rfu17; };
    union { CK_BYTE SM_SIG_DECREASE_IN;  CK_BYTE SM_rfu18; };
    union { CK_BYTE SM_ENC_INCREASE_OUT; CK_BYTE SM_ENC_GENKEY; };
    union { CK_BYTE SM_SIG_INCREASE_OUT; CK_BYTE SM_SIG_GENKEY; };
    union { CK_BYTE SM_ENC_DECREASE_OUT; CK_BYTE SM_rfu21; };
    union { CK_BYTE SM_SIG_DECREASE_OUT; CK_BYTE SM_rfu22; };
    union { CK_BYTE SM_ENC_READ_IN;      CK_BYTE SM_rfu23; };
    union { CK_BYTE SM_SIG_READ_IN;      CK_BYTE SM_rfu24; };
    // clang-format on
};

#pragma GCC diagnostic pop

/// The parts of _M4_BSO_info::ObjectClass.
enum _eBsoClassMask : CK_BYTE {
    BSO_CLASS_kkk = 0x07,
    BSO_CLASS_uuu = 0x38, ///< the kind of use; 0 for a PIN-like object
    BSO_CLASS_p = 0x40,
    BSO_CLASS_fixed1 = 0x80,
};

/// A security object. pObjectData is a secret: copies are as secret as the original, and each is
/// wiped when it goes.
struct PINDESK_API _M4_BSO_info : public _M4_TlvStructure {
    /// All fields 0.
    _M4_BSO_info();
    _M4_BSO_info(const _M4_BSO_info&) = default;
    _M4_BSO_info& operator=(const _M4_BSO_info&) = default;

    long ParseTLV(const CK_BYTE* pTlvData, CK_ULONG ulTlvDataSize) override;
    /// 83 class and number, 85 parameters, 86 access and 8B secure-messaging conditions, 8F the
    /// value: 44 + ObjectDataLen bytes. The length byte of 8F is the low byte of ObjectDataLen.
    long GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize) override;
    /// 83, 86 and with bUseSM 8B: 14 or 32 bytes. A capacity of 32 is asked for in both cases.
    long GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM) override;
    CK_ULONG GetInternalStructSize() override;
    virtual ~_M4_BSO_info();

    /// Wipes every field from ObjectClass to ObjectDataLen.
    void Reset();
    /// Gives all access and secure-messaging conditions one value.
    void SetDefaultConditions(CK_BYTE bValue);

    CK_BYTE ObjectClass; ///< see _eBsoClassMask
    CK_BYTE ObjectId;
    CK_BYTE Options; ///< bit field
    CK_BYTE Flags;   ///< bit field
    CK_BYTE AlgoId;
    CK_BYTE ErrCnt; ///< bit field: error counter
    CK_BYTE UseCount;
    CK_BYTE Dek; ///< key that enciphers the value
    CK_BYTE Ara_Counter;
    CK_BYTE MinLen; ///< least number of bytes of the value (of a PIN)
    CK_BYTE AC_USE, AC_CHANGE, AC_UNBLOCK, AC_rfu4, AC_rfu5, AC_rfu6, AC_GENKEY, AC_SIGNDEC;
    CK_BYTE SM_ENC_USE_IN, SM_SIG_USE_IN, SM_ENC_CHANGE, SM_SIG_CHANGE, SM_ENC_UNBLOCK,
        SM_SIG_UNBLOCK, SM_rfu7, SM_rfu8, SM_rfu9, SM_rfu10, SM_rfu11, SM_rfu12, SM_rfu13, SM_rfu14,
        SM_ENC_USE_OUT, SM_SIG_USE_OUT;
    CK_BYTE pObjectData[1024]; ///< the value: a PIN or a key
    WORD ObjectDataLen;        ///< bytes in use at pObjectData, at most its size
};

/// A security object of a Zentaris34 card, with two more access conditions.
struct PINDESK_API _ZT34_BSO_info : public _M4_BSO_info {
    /// All fields 0.
    _ZT34_BSO_info() = default;
    /// A copy of a CardOS M4 object with the two conditions that it lacks.
    _ZT34_BSO_info(const _M4_BSO_info& source, CK_BYTE bAC_9, CK_BYTE bAC_10);

    /// As the base, with ten access conditions, and 8A 01 05 at the end when the uuu bits of
    /// ObjectClass are 0: 46 + ObjectDataLen bytes, or 3 more. The capacity is checked against two
    /// bytes less than is written: give the buffer two bytes to spare.
    long GetTLV(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize) override;
    /// As the base, with ten access conditions: 16 or 34 bytes. A capacity of 34 is asked for in
    /// both cases.
    long GetTLV_Admin(CK_BYTE* pTlvData, CK_ULONG* pulTlvDataSize, CK_BBOOL bUseSM) override;
    CK_ULONG GetInternalStructSize() override;

    CK_BYTE AC_9 = 0;
    CK_BYTE AC_10 = 0;
};

typedef _M4_TlvStructure M4_TlvStructure;
typedef _M4_FileInfo_common M4_FileInfo_common;
typedef _M4_FileInfo_SM M4_FileInfo_SM;
typedef _M4_BSO_info M4_BSO_info;
typedef _ZT34_BSO_info ZT34_BSO_info;
typedef _eFileType eFileType;

#endif
