// SPDX-License-Identifier: Apache-2.0

#ifndef CARDLIB_CRYPTO_PADDING_H
#define CARDLIB_CRYPTO_PADDING_H

constexpr unsigned char PAD_START = 0x80; ///< then zeros, ISO/IEC 9797-1 method 2

#endif
