// SPDX-License-Identifier: Apache-2.0
//
// The operations on the secrets of a national services card, their result codes and the settings.
//
// Each operation is one synchronous call: it opens its own PC/SC context, connects to the reader
// at a one-based slot, holds the card in one transaction and answers with one number. No operation
// throws, keeps a secret after it has returned, or starts a thread.

#ifndef PINDESK_PINDESK_H
#define PINDESK_PINDESK_H

#include "cardlib/export.h"

#include <wintypes.h>

/// What the exported operations return. CNS_GetSerial alone may also return a positive ISO/IEC
/// 7816-4 status word, when a card has neither of the two serial-number files.
namespace pindesk {
namespace result {
constexpr long OK = 0;
constexpr long NO_CONTEXT = -1;            ///< SCardEstablishContext failed
constexpr long NO_READER = -2;             ///< slot below 1, no reader list, or no such slot
constexpr long NO_CARD = -3;               ///< no card, or the connection failed
constexpr long SELECT_FAILED = -4;         ///< the MF (or the serial-number EF) was not selected
constexpr long SECURE_MESSAGING = -10;     ///< 6987, 6988 or 6A80 from the signature application
constexpr long CHANGE_CNS_PIN = -15;       ///< changing the CNS PIN failed
constexpr long CHANGE_CNS_PUK = -16;       ///< changing the CNS PUK failed
constexpr long CHANGE_DS_PIN = -17;        ///< changing the DS PIN failed
constexpr long CHANGE_DS_PUK = -18;        ///< changing the DS PUK failed
constexpr long UNBLOCK_CNS_PIN = -20;      ///< resetting the CNS PIN with its PUK failed
constexpr long UNBLOCK_DS_PIN = -21;       ///< resetting the DS PIN with its PUK failed
constexpr long VERIFY_CNS_PIN = -22;       ///< the CNS PIN was not accepted (not blocked)
constexpr long VERIFY_CNS_PUK = -23;       ///< the CNS PUK was not accepted (not blocked)
constexpr long VERIFY_DS_PIN = -24;        ///< the DS PIN was not accepted (not blocked)
constexpr long VERIFY_DS_PUK = -25;        ///< the DS PUK was not accepted (not blocked)
constexpr long DEACTIVATION_REFUSED = -26; ///< the card refused to deactivate the signature PIN
constexpr long ADMIN_KEY_REFUSED = -27;    ///< authentication with the administration key failed
constexpr long REACTIVATION_REFUSED = -28; ///< the card refused to reactivate the signature PIN
constexpr long NEW_DS_PIN_REFUSED = -29;   ///< the new DS PIN after a reactivation was refused
constexpr long BLOCKED_CNS_PIN = -32;      ///< CNS PIN blocked, or the reader failed (see below)
constexpr long READER_FAILED = -32;        ///< same value: a command that the operation builds
                                           ///< itself brought no status word; the card may have
                                           ///< carried it out
constexpr long BLOCKED_CNS_PUK = -33;      ///< CNS PUK blocked
constexpr long BLOCKED_DS_PIN = -34;       ///< DS PIN blocked
constexpr long BLOCKED_DS_PUK = -35;       ///< DS PUK blocked
constexpr long NEW_CNS_PIN_LENGTH = -56;   ///< new CNS PIN not of 5 to 8 bytes
constexpr long NEW_CNS_PUK_LENGTH = -57;   ///< new CNS PUK not of 5 to 8 bytes
constexpr long NEW_DS_PIN_LENGTH = -58;    ///< new DS PIN not of 5 to 8 bytes
constexpr long NEW_DS_PUK_LENGTH = -59;    ///< new DS PUK not of 5 to 8 bytes
constexpr long CNS_PIN_LENGTH = -60;       ///< CNS PIN not of 5 to 8 bytes
constexpr long CNS_PUK_LENGTH = -61;       ///< CNS PUK not of 5 to 8 bytes
constexpr long DS_PIN_LENGTH = -62;        ///< DS PIN not of 5 to 8 bytes
constexpr long DS_PUK_LENGTH = -63;        ///< DS PUK not of 5 to 8 bytes
constexpr long MISSING_ARGUMENT = -64;     ///< a buffer, or every secret, is missing
constexpr long OTHER_CARD = -65;           ///< the card's serial number is not the expected one,
                                           ///< or another reader came into the slot meanwhile
constexpr long SERIAL_UNREADABLE = -66;    ///< reading the serial-number file failed
} // namespace result
} // namespace pindesk

/// Changes a setting, or adds one, for all later operations of this process.
///
/// The twelve defaults are process-wide integers under these names:
/// SETTING_CNS_DS_DF_ROOT 0x1400, SETTING_CNS_DS_MAIN_FILE 0x8100, SETTING_CNS_PIN 0x10,
/// SETTING_CNS_PUK 0x11, SETTING_CNS_DF0 0x1000, SETTING_CNS_DF0_EF_ID_Carta 0x1003,
/// SETTING_CNS_DF1 0x1100, SETTING_CNS_DS_PIN 0x1A, SETTING_CNS_DS_PUK 0x1B,
/// SETTING_CNS_DS_KAUTH 0x1C, SETTING_CNS_DS_DF 0x8110, SETTING_FASTFS_P11_DF 0x2FFF.
/// A file identifier is read as the low 16 bits of its value, a reference as the low 8.
///
/// SETTING_TRY_GUARD, absent by default, non-zero when on, makes the operations careful:
/// - a command that carries a secret is sent to the card at most once, and a failed or empty exchange
///   is reported instead of repeated; so is whatever does not bear repetition;
/// - the expected serial number is read in the transaction in which the secrets are presented;
/// - nothing is presented in a DF whose selection failed (SELECT_FAILED);
/// - after 6700 a value is presented with its own length only if that is not 8, and if there is one;
/// - the administration key is blocked only where the card itself refused to rewrite the signature
///   PIN's object, and the attempt ends at the first answer that is not "wrong key".
///
/// \param szSettingName  NUL-terminated name, compared exactly; must not be null. A name that
///                       nothing reads is accepted.
/// \param lVal           the new value, kept as a 32-bit integer.
/// \return 0 always. It may be called at any time: each operation works with the settings that it
///         found at its start.
PINDESK_API long PINDESK_ChangeSetting(const char* szSettingName, long lVal);

/// Reads the serial number of the card in a slot: the 16 characters of the identity file, or, on a
/// card without one, the 16 hexadecimal digits of bytes 18 to 25 of EF 2F02.
/// \param slot          one-based position in the reader list.
/// \param serialNumber  receives 16 characters and a NUL; at least 17 bytes, owned by the caller.
/// \return OK, NO_CONTEXT, NO_READER, NO_CARD, SELECT_FAILED, MISSING_ARGUMENT (null buffer),
///         SERIAL_UNREADABLE, or the positive status word of the failed selection of EF 2F02.
PINDESK_API long CNS_GetSerial(long slot, char* serialNumber);

/// Presents up to four secrets to the card in one transaction, in the order of the parameters; the
/// first failure ends it, so that later secrets keep their tries.
///
/// A secret is given when its pointer is not null and its length is not 0. It reaches the card
/// right-padded with FF to 8 bytes, and once more unpadded if the card answers 6700.
///
/// \param slot                     one-based position in the reader list.
/// \param serialNumber             the number that the card must have, a text of which the first 16
///                                 characters count, or null to accept any card.
/// \param pOptional_SM_Des3Key     24-byte Triple-DES key for the signature secrets under secure
///                                 messaging; null for the library's default key.
/// \param bUseSecureMessaging      protects the DS secrets (never the CNS ones).
/// \return OK, NO_CONTEXT, NO_READER, NO_CARD, SELECT_FAILED, SECURE_MESSAGING, VERIFY_*,
///         BLOCKED_*, *_LENGTH (a non-zero length outside 5..8, also beside a null pointer),
///         MISSING_ARGUMENT (no secret given), OTHER_CARD, or a failure of CNS_GetSerial.
PINDESK_API long CNS_DS_VerifyPinPuk(long slot, char* serialNumber, unsigned char* pCNSPin,
                                     long CNSPinLen, unsigned char* pCNSPuk, long CNSPukLen,
                                     unsigned char* pDSPin, long DSPinLen, unsigned char* pDSPuk,
                                     long DSPukLen, unsigned char* pOptional_SM_Des3Key,
                                     BOOL bUseSecureMessaging);

/// Changes up to four secrets in one transaction: each is verified with its old value and then
/// set to its new one, padded with FF to 8 bytes. A failure in a later pair leaves the earlier
/// pairs changed: each change is final on the card.
///
/// A pair is given when both pointers are not null and both lengths are not 0; an incomplete pair
/// is skipped. Parameters and results as in CNS_DS_VerifyPinPuk, and:
/// \return CHANGE_* when the card refused the new value, NEW_*_LENGTH, MISSING_ARGUMENT when no
///         pair is complete. Refusals of a protected verification give VERIFY_DS_*.
PINDESK_API long CNS_DS_ChangePinPuk(long slot, char* serialNumber, unsigned char* pOldCNSPin,
                                     long oldCNSPinLen, unsigned char* pNewCNSPin,
                                     long newCNSPinLen, unsigned char* pOldCNSPuk,
                                     long oldCNSPukLen, unsigned char* pNewCNSPuk,
                                     long newCNSPukLen, unsigned char* pOldDSPin, long oldDSPinLen,
                                     unsigned char* pNewDSPin, long newDSPinLen,
                                     unsigned char* pOldDSPuk, long oldDSPukLen,
                                     unsigned char* pNewDSPuk, long newDSPukLen,
                                     unsigned char* pOptional_SM_Des3Key, BOOL bUseSecureMessaging);

/// Resets the retry counter of the CNS PIN and/or the DS PIN and sets a new PIN, proven by the
/// matching PUK. Without a complete pair the card is opened and 0 returned.
/// Parameters as in CNS_DS_VerifyPinPuk; secure messaging protects the DS pair only.
/// \return OK, NO_CONTEXT, NO_READER, NO_CARD, SELECT_FAILED, SECURE_MESSAGING, UNBLOCK_*,
///         VERIFY_*_PUK, BLOCKED_*_PUK, READER_FAILED (the reset command got no answer),
///         CNS_PUK_LENGTH, DS_PUK_LENGTH, NEW_*_PIN_LENGTH, OTHER_CARD, or a failure of
///         CNS_GetSerial. The slot is checked before the lengths.
PINDESK_API long CNS_DS_UnblockPin(long slot, char* serialNumber, unsigned char* pCNSPuk,
                                   long CNSPukLen, unsigned char* pNewCNSPin, long newCNSPinLen,
                                   unsigned char* pDSPuk, long DSPukLen, unsigned char* pNewDSPin,
                                   long newDSPinLen, unsigned char* pOptional_SM_Des3Key,
                                   BOOL bUseSecureMessaging);

/// Tells the lengths an application should accept: 6 to 8 for the PINs, 8 for the PUKs. Stricter
/// on purpose than the 5 to 8 that the operations accept.
/// Every output may be null; all are left alone on failure. Without a serial number no reader is
/// touched.
/// \return OK, NO_READER (slot below 1), OTHER_CARD, or a failure of CNS_GetSerial.
PINDESK_API long CNS_DS_GetPinLimit(long slot, char* serialNumber, int* piCnsPinMinLen,
                                    int* piCnsPinMaxLen, int* piCnsPukMinLen, int* piCnsPukMaxLen,
                                    int* piDSPinMinLen, int* piDSPinMaxLen, int* piDSPukMinLen,
                                    int* piDSPukMaxLen);

/// Deactivates the signature PIN and tightens the access conditions of three DFs; with bUseAdminKey
/// it authenticates first and blocks the administration key at the end. The conditions are
/// rewritten as far as the card lets, and only where all nine of a DF could be read: their failures
/// do not change the result. Blocking the key ends when the card says 6983, is gone, or is silent
/// twice in a row.
/// \param slot                    one-based position in the reader list.
/// \param serialNumber            as in CNS_DS_VerifyPinPuk.
/// \param pOptional_Admin_Des3Key 24-byte Triple-DES key; null for the library's default key.
/// \param bUseAdminKey            authenticate with the administration key, then block it.
/// \return OK, NO_CONTEXT, NO_READER, NO_CARD, SELECT_FAILED, DEACTIVATION_REFUSED,
///         ADMIN_KEY_REFUSED, READER_FAILED, OTHER_CARD, or a failure of CNS_GetSerial.
PINDESK_API long DS_DeactivatePin(long slot, char* serialNumber,
                                  unsigned char* pOptional_Admin_Des3Key, BOOL bUseAdminKey);

/// DS_DeactivatePin under its second name.
PINDESK_API long DS_LockPin(long slot, char* serialNumber, unsigned char* pOptional_Admin_Des3Key,
                            BOOL bUseAdminKey);

/// Brings a deactivated signature PIN back, proven by the DS PUK; sets a new DS PIN when both are
/// given, and rewrites the access conditions of the PIN object.
///
/// The PUK is presented in every case, eight FF bytes for a missing one. Lengths have no lower
/// bound here, and a negative one counts as a missing value. Where the card refuses to rewrite the
/// PIN object, the administration key is blocked as in DS_DeactivatePin.
/// \param pOptional_Admin_Des3Key, bUseAdminKey  accepted for symmetry with DS_DeactivatePin and
///                                               never used.
/// \return OK, NO_CONTEXT, NO_READER, NO_CARD, SELECT_FAILED, SECURE_MESSAGING, VERIFY_DS_PUK,
///         BLOCKED_DS_PUK, REACTIVATION_REFUSED, NEW_DS_PIN_REFUSED, READER_FAILED,
///         DS_PUK_LENGTH (PUK above 8 bytes), DS_PIN_LENGTH (new PIN above 8 bytes), OTHER_CARD,
///         or a failure of CNS_GetSerial.
PINDESK_API long DS_ReactivatePin(long slot, char* serialNumber, unsigned char* pDSPuk,
                                  long DSPukLen, unsigned char* pNewDSPin, long newDSPinLen,
                                  unsigned char* pOptional_Admin_Des3Key, BOOL bUseAdminKey,
                                  unsigned char* pOptional_SM_Des3Key, BOOL bUseSecureMessaging);

#endif
