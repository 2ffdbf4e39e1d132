// SPDX-License-Identifier: Apache-2.0
//
// Marks what the shared library exports; everything else stays hidden.

#ifndef CARDLIB_EXPORT_H
#define CARDLIB_EXPORT_H

#define PINDESK_API __attribute__((visibility("default")))

#endif
