// SPDX-License-Identifier: Apache-2.0
//
// The readers of this machine and the cards in them: enumeration, connections, answers to reset,
// recognition of a card's layout, and PIN unblocking for card families other than the CNS one.
//
// Slots count from 1 in the order of SCardListReaders. Each function but those of the connection
// record opens and releases a PC/SC context of its own. No function takes a lock or throws. The
// result codes are named in pindesk/PinDesk.h; PC/SC's own codes are folded into them.

#ifndef PINDESK_PCSC_MISC_H
#define PINDESK_PCSC_MISC_H

#include "cardlib/export.h"
#include "pindesk/PinDesk.h"

#include <winscard.h>

namespace pindesk {
namespace result {
constexpr long BUFFER_TOO_SMALL = -128; ///< a buffer smaller than the answer to reset in bytes
} // namespace result

/// What PCSC_GetFSType found on a card.
namespace layout {
constexpr long UNKNOWN = 0;       ///< none of those below
constexpr long CNS = 1;           ///< the CNS application's DF alone
constexpr long CNS_AND_DS = 2;    ///< the CNS application's DF and the DS root DF
constexpr long OTHER_DS = 3;      ///< no CNS application, the alternative DS DF
constexpr long FAST_FILES = 4;    ///< DF 2FFF whose file 0000 begins with a byte other than 0
constexpr long DF_1111 = 5;       ///< DF 1111
constexpr long WITH_DF_1112 = 32; ///< one of the first three, and DF 1112 with EF EF01
} // namespace layout
} // namespace pindesk

extern "C" {

/// An open connection: made by PCSC_Connect, owned by its caller, destroyed by PCSC_Disconnect and
/// by nothing else. One thread at a time.
struct ScardConnection {
    SCARDCONTEXT hContext; ///< established for this connection
    SCARDHANDLE hCard;     ///< from SCardConnect, shared
};

/// Counts the readers.
/// \param count  receives their number; 0 after every failure.
/// \return OK, NO_CONTEXT, NO_READER (the listing failed, as it does without a reader),
///         MISSING_ARGUMENT (count is null).
PINDESK_API long PCSC_GetReadersCount(long* count);

/// Lists the readers as PC/SC does: names, each with its NUL, and a further NUL.
/// \param szReaders  receives the list; null asks for its length.
/// \param ccReaders  in: room at szReaders in bytes; out: the length, all NULs counted. Goes to
///                   SCardListReaders as it is.
/// \return OK, NO_CONTEXT, NO_READER (any failure of the listing: no reader, too small a buffer,
///         ccReaders null).
PINDESK_API long PCSC_GetReadersList(LPTSTR szReaders, DWORD* ccReaders);

/// Tells the name of the reader in a slot.
/// \param slotId        one-based position in the reader list.
/// \param szReaderName  receives at most *nMaxChars bytes, filled up with NULs. A name of that
///                      length or longer is cut and gets no NUL: ask for the length first, and
///                      give one byte more. Null asks for the length.
/// \param nMaxChars     in: room at szReaderName in bytes, nothing is copied when it is negative;
///                      out, on success: the length of the name without its NUL.
/// \return OK, NO_CONTEXT, NO_READER (slot below 1, no list, no such slot), MISSING_ARGUMENT
///         (nMaxChars is null).
PINDESK_API long PCSC_GetReaderName(long slotId, LPTSTR szReaderName, long* nMaxChars);

/// Connects to the card in a slot, shared, with T=0 or T=1.
/// \param slot        one-based position in the reader list.
/// \param Connection  receives the record on success, for PCSC_Disconnect to destroy; left alone
///                    on failure.
/// \return OK, NO_CONTEXT, NO_READER (slot below 1, no list, no such slot), NO_CARD (no card, the
///         reader in exclusive use, no common protocol), MISSING_ARGUMENT (Connection is null).
PINDESK_API long PCSC_Connect(long slot, ScardConnection** Connection);

/// Tells whether a connection still reaches its card.
/// \param Connection  a record from PCSC_Connect, or null.
/// \return 0 if so; -1 for null, a card that was pulled or reset, or a service that is gone.
PINDESK_API long PCSC_Valid(ScardConnection* Connection);

/// Closes a connection, leaving the card in place and powered, and destroys its record.
/// \param Connection  a record from PCSC_Connect, or null.
/// \return 0 always.
PINDESK_API long PCSC_Disconnect(ScardConnection* Connection);

/// Reads the answer to reset of the card in a slot as lower-case hexadecimal digits, two to a byte.
/// It comes from the reader's state: nothing is connected.
/// \param slotId     one-based position in the reader list.
/// \param pbATR      receives the digits, without a NUL, if all of them fit; nothing otherwise.
///                   Null asks for their number.
/// \param nMaxChars  in: room at pbATR in bytes. It is compared, as an unsigned number, with the
///                   length in bytes first: give at least 33 when asking with a null buffer. Out,
///                   on success: the number of digits, also when they did not fit.
/// \return OK, NO_CONTEXT, NO_READER (slot below 1, no list, no such slot, no state, no card),
///         BUFFER_TOO_SMALL (*nMaxChars below the length in bytes; left unchanged),
///         MISSING_ARGUMENT (nMaxChars is null).
PINDESK_API long PCSC_GetATR(long slotId, LPTSTR pbATR, long* nMaxChars);

/// Tells whether a PC/SC context is still known to the service, without touching a card.
/// \return SCARD_E_INVALID_HANDLE when PC/SC says so; 0 in every other case, failures included.
PINDESK_API long SCardIsValidContextEX(SCARDCONTEXT hContext);

/// Compares two answers to reset under a mask. All three are hexadecimal text of either case, two
/// digits to a byte; an odd last digit does not count. A mask byte of 00 lets any byte pass, FF
/// asks for the same.
/// \return 0 when they agree; -1 when they differ, are not of one length, or one is null.
PINDESK_API long PCSC_AtrCmp(LPCTSTR szAtr1, LPCTSTR szAtr2, LPCTSTR szAtrMask);

/// Finds out which layout the card in a slot has, by selecting files in a fixed order within one
/// transaction. Reads SETTING_CNS_DF1, SETTING_CNS_DS_DF_ROOT and SETTING_CNS_DS_DF.
/// \param slot       one-based position in the reader list.
/// \param scardType  receives a value of namespace pindesk::layout, whatever the result, once the first DF
///                   was tried; left alone before.
/// \return OK or 0x6284 when the last decisive select succeeded, else its status word or PC/SC
///         code; NO_CONTEXT; NO_READER (slot below 1, no list, no such slot, no connection, no
///         transaction, or an MF that cannot be selected); MISSING_ARGUMENT (scardType is null).
PINDESK_API long PCSC_GetFSType(long slot, long* scardType);

/// Resets both PINs of a Starcos card with their PUK: reference 96 in DF 1111, then 9A in DF DF01.
/// When the second reset fails, the first is done all the same.
/// \param slotId    one-based position in the reader list.
/// \param szPUK     the PUK, at most 8 digits, NUL-terminated. Digits beyond the eighth run on into
///                  the new PIN's half of the command and are overwritten there by szNewPIN.
/// \param szNewPIN  the new PIN, at most 8 digits, NUL-terminated; what is longer is cut.
/// \return OK, NO_CONTEXT, NO_READER (slot below 1, no list, no such slot, no connection),
///         SELECT_FAILED (no transaction, MF or DF not selected), READER_FAILED (-32: the card
///         refused a reset, or the exchange failed), MISSING_ARGUMENT (a null string).
PINDESK_API long PCSC_Unblock_Starcos(long slotId, LPCTSTR szPUK, LPCTSTR szNewPIN);

/// Resets the PIN of a CardOS M4 card that keeps it in DF 1111 (RESET RETRY COUNTER, reference 81).
/// Parameters and results as for PCSC_Unblock_Starcos.
PINDESK_API long PCSC_Unblock_M4_1111(long slotId, LPCTSTR szPUK, LPCTSTR szNewPIN);

/// Does nothing, on purpose: Setec cards have no reset of their own here, and callers go through
/// the families without asking which one can.
/// \return 0 always, whatever the arguments.
PINDESK_API long PCSC_Unblock_Setec(long slotId, LPCTSTR szPUK, LPCTSTR szNewPIN);

} // extern "C"

#endif
