// SPDX-License-Identifier: Apache-2.0
//
// Programs that are compiled already hold these sizes and offsets: whatever compiles the library has
// to agree. A member of each class is enough, its last one; the recorded types have the others.

#include "cardlib/ckdictionary.h"
#include "cardlib/cscardsetec43.h"
#include "cardlib/scardzentaris34.h"
#include "cardlib/systovanmutex.h"
#include "pindesk/PCSC_Misc.h"
#include "pindesk/desk.h"

#include <cstddef>

#if defined(__LP64__)
#pragma GCC diagnostic ignored "-Winvalid-offsetof" // of classes with virtual operations

#define LAYOUT(type, bytes, member, offset)                                                        \
    static_assert(sizeof(type) == (bytes) && offsetof(type, member) == (offset))

LAYOUT(CK_ATTRIBUTE, 24, ulValueLen, 16);
LAYOUT(DFEF_Path, 784, m_bExists, 779);
LAYOUT(_CachedChunk, 32808, bPinVerified, 32800);
LAYOUT(CFileCacheSystem, 104, m_bCacheSystemEnabled, 96);
LAYOUT(CTransact, 8, m_hCard, 0);
LAYOUT(CSCard, 2168, m_wholeReaderName, 2040);
LAYOUT(CSCardSetec43, 2168, m_wholeReaderName, 2040);
LAYOUT(CSCardCardOSM4, 2240, m_ulINSListLen, 2232);
LAYOUT(CSCardZentaris34, 2240, m_ulINSListLen, 2232);
LAYOUT(_M4_FileInfo_common, 40, AC_rfu9, 34);
LAYOUT(_M4_FileInfo_SM, 64, SM_rfu24, 58);
LAYOUT(_M4_BSO_info, 1072, ObjectDataLen, 1066);
LAYOUT(_ZT34_BSO_info, 1072, AC_10, 1069);
LAYOUT(ScardConnection, 16, hCard, 8);
LAYOUT(pindesk_bytes, 16, size, 8);
LAYOUT(pindesk_report, 328, holders, 225);
LAYOUT(pindesk_options, 80, context, 72);
LAYOUT(pindesk_reader, 304, holders, 201);
LAYOUT(pindesk_card, 448, historical, 408);
LAYOUT(pindesk_secret_status, 24, status_word, 20);
LAYOUT(pindesk_finding, 56, remedy, 48);
static_assert(sizeof(_M4_TlvStructure) == 8 && sizeof(CKDict) == 48 && sizeof(CKDictItem) == 16 &&
              sizeof(CSysTovanCriticalSection) == 48);

#endif
