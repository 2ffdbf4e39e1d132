// SPDX-License-Identifier: Apache-2.0
//
// Diagnostic text in two channels, for C and C++ callers, and readable names of card commands.
//
// Error channel (CK_TraceStdErr): on when bit 0 of CK_DEBUG_LEVEL was set when the library was
// loaded; writes to the standard error, to the standard output or to the file named by
// CK_DEBUG_FILE. Typed channel (CK_Trace, CK_TraceEx): appends to /p11log.txt what the level, read
// at each call, lets through. Files are made for their owner alone, links are not followed, and a
// process with more rights than its caller does not look at the environment. Neither channel adds a
// prefix or a line end, and a null format writes nothing. Formats and arguments must never hold a
// PIN, a PUK or a key.

#ifndef CARDLIB_TRACES_H
#define CARDLIB_TRACES_H

#include "cardlib/export.h"

#include <stdarg.h>

#define PINDESK_PRINTF(nFormat, nFirst) __attribute__((format(printf, nFormat, nFirst)))

#ifdef __cplusplus
extern "C" {
#endif

/// Writes one message to the error channel, opening and closing its file around it.
/// A file that cannot be opened gives way to the standard error.
/// \param lpszFormat  a printf format; line ends are the caller's.
PINDESK_API void CK_TraceStdErr(const char* lpszFormat, ...) PINDESK_PRINTF(1, 2);
/// CK_TraceStdErr for an argument list, which is used up.
PINDESK_API void CK_vsTraceStdErr(const char* lpszFormat, va_list args) PINDESK_PRINTF(1, 0);

/// Writes one message of all types to the typed channel; it passes at every level.
PINDESK_API void CK_Trace(const char* lpszFormat, ...) PINDESK_PRINTF(1, 2);
/// Writes one message to the typed channel if the level is -1, or if each bit that is set in the
/// level is set in iType. A level of 0, or none, lets every message pass.
PINDESK_API void CK_TraceEx(int iType, const char* lpszFormat, ...) PINDESK_PRINTF(2, 3);
/// CK_TraceEx for an argument list, which is used up when the message passes.
PINDESK_API void CK_vsTraceEx(int iType, const char* lpszFormat, va_list args) PINDESK_PRINTF(2, 0);
/// Appends one message to /p11log.txt whatever the level. It is cut after 4095 bytes, and dropped
/// when the file cannot be opened.
PINDESK_API void CK_vsTrace(const char* lpszFormat, va_list args) PINDESK_PRINTF(1, 0);

/// Reserved for dumping L bytes at B under a name; writes nothing.
PINDESK_API void CKTraceBufL(const unsigned char* B, unsigned long L, const char* szBufDispName);

/// Names a card command after its class and instruction bytes.
/// \return a constant text; for an instruction that is not known, a text in a static buffer that
///         the next such call overwrites (not for two threads at once). Never null.
PINDESK_API const char* GetAPDUName(unsigned char cla, unsigned char ins);

#ifdef __cplusplus
} // extern "C"
#endif

#endif
