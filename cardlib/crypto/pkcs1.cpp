// SPDX-License-Identifier: Apache-2.0
//
// PKCS#1 v1.5 blocks, trailing pad bytes, ASN.1 integers.

#include "cardlib/pkcs1.h"

#include "cardlib/traces.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <openssl/bn.h>

// The host process supplies libcrypto, or nobody does: then these addresses are null.
#pragma weak BN_bin2bn
#pragma weak BN_num_bits
#pragma weak BN_bn2bin
#pragma weak BN_free

const unsigned char MD5_OID[18] = {0x30, 0x20, 0x30, 0x0C, 0x06, 0x08, 0x2A, 0x86, 0x48,
                                   0x86, 0xF7, 0x0D, 0x02, 0x05, 0x05, 0x00, 0x04, 0x10};
const unsigned char SHA1_OID[15] = {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E,
                                    0x03, 0x02, 0x1A, 0x05, 0x00, 0x04, 0x14};
const unsigned char SHA256_OID[19] = {0x30, 0x31, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                                      0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
const unsigned long sizeof_MD5_OID = sizeof MD5_OID;
const unsigned long sizeof_SHA1_OID = sizeof SHA1_OID;
const unsigned long sizeof_SHA256_OID = sizeof SHA256_OID;

namespace {

constexpr unsigned char TYPE_SIGNATURE = 0x01;
constexpr unsigned char TYPE_ENCRYPTION = 0x02;
constexpr unsigned long FRAMING = 3; // 00 and the type before the padding, 00 behind it
constexpr int MIN_BLOCK = 11;        // framing and the eight padding bytes of the standard

/// Builds a block whose padding bytes come from padding().
template <class F>
bool Pad(unsigned char bType, F padding, const unsigned char* toPad, int Len, unsigned char* Padded,
         unsigned long ulBlockSize)
{
    if (toPad == nullptr || Padded == nullptr || Len < 0) {
        return false;
    }
    const auto cbData = static_cast<unsigned long>(Len);
    if (ulBlockSize != cbData && ulBlockSize < cbData + FRAMING) {
        return false;
    }
    if (ulBlockSize != cbData) {
        *Padded++ = 0x00;
        *Padded++ = bType;
        Padded = std::generate_n(Padded, ulBlockSize - cbData - FRAMING, padding);
        *Padded++ = 0x00;
    }
    std::copy_n(toPad, cbData, Padded);
    return true;
}

bool HasBigNumbers()
{
    return BN_bin2bn != nullptr && BN_num_bits != nullptr && BN_bn2bin != nullptr &&
           BN_free != nullptr;
}

struct SFreeNumber {
    void operator()(BIGNUM* pNumber) const { BN_free(pNumber); }
};

} // namespace

unsigned char SignaturePKCS1Padding(const unsigned char* toPad, int Len, unsigned char* Padded,
                                    unsigned long ulBlockSize)
{
    const auto ff = [] { return static_cast<unsigned char>(0xFF); };
    if (Pad(TYPE_SIGNATURE, ff, toPad, Len, Padded, ulBlockSize)) {
        return 1;
    }
    CK_TraceStdErr("SignaturePKCS1Padding: Len=%d, len+3=%d, ulBlockSize=0x%08X\n", Len,
                   static_cast<int>(Len + static_cast<long>(FRAMING)),
                   static_cast<unsigned int>(ulBlockSize));
    return 0;
}

unsigned char EncryptionPKCS1Padding(const unsigned char* toPad, int Len, unsigned char* Padded,
                                     unsigned long ulBlockSize)
{
    // On purpose rand(), zeros included: a host that seeds it gets the same block again.
    const auto random = [] { return static_cast<unsigned char>(std::rand() % 255); };
    return Pad(TYPE_ENCRYPTION, random, toPad, Len, Padded, ulBlockSize) ? 1 : 0;
}

bool PKCS1UnPad(const unsigned char* pToUnPad, int toUnPadLen, unsigned char* pUnPadded,
                int* pUnpaddedLen)
{
    if (pToUnPad == nullptr || pUnpaddedLen == nullptr || toUnPadLen < MIN_BLOCK) {
        return false;
    }
    if (pToUnPad[0] != 0x00 || (pToUnPad[1] != TYPE_SIGNATURE && pToUnPad[1] != TYPE_ENCRYPTION)) {
        return false;
    }
    const unsigned char* const pEnd = pToUnPad + toUnPadLen;
    const unsigned char* const pZero = std::find(pToUnPad + 2, pEnd, 0x00);
    if (pZero == pEnd) {
        return false;
    }
    const auto cbData = static_cast<int>(pEnd - pZero - 1);
    if (pUnPadded != nullptr && *pUnpaddedLen >= cbData) {
        std::copy_n(pZero + 1, cbData, pUnPadded);
    }
    *pUnpaddedLen = cbData;
    return true;
}

unsigned long GetLengthUnpadded(const unsigned char* pbValue, unsigned long cbValue,
                                unsigned char bPaddingValue)
{
    if (pbValue == nullptr) {
        return 0;
    }
    while (cbValue > 0 && pbValue[cbValue - 1] == bPaddingValue) {
        --cbValue;
    }
    return cbValue;
}

unsigned char* NormalizeASN1Integer(const unsigned char* pbNum, unsigned long* pulNum)
{
    if (pbNum == nullptr || pulNum == nullptr || *pulNum == 0 || *pulNum > INT_MAX ||
        !HasBigNumbers()) {
        return nullptr;
    }
    const std::unique_ptr<BIGNUM, SFreeNumber> number(
        BN_bin2bn(pbNum, static_cast<int>(*pulNum), nullptr));
    if (!number) {
        return nullptr;
    }
    const auto cb = static_cast<unsigned long>(BN_num_bits(number.get()) + 7) / 8;
    auto* const pResult = new (std::nothrow) unsigned char[cb];
    if (pResult != nullptr) {
        BN_bn2bin(number.get(), pResult);
        *pulNum = cb;
    }
    return pResult;
}
