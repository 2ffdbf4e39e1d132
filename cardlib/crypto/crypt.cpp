// SPDX-License-Identifier: Apache-2.0
//
// Cipher-block chaining. The chaining value is kept in the permuted form of the cipher's inside, so
// that neither permutation lies on the path from one block to the next.

#include "cardlib/crypt.h"

#include "cardlib/crypto/descore.h"
#include "cardlib/support/secret.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <utility>

using descore::BLOCK;
using descore::SState;
using descore::STdesSchedule;
using descore::TDES_ROUNDS;

namespace {

using CSchedulePtr = const unsigned int (*)[2];

constexpr std::size_t SIDE_BY_SIDE = 3; // as many blocks as fit the registers

void EncryptBlocks(CSchedulePtr schedule, unsigned char* iv, const unsigned char* in,
                   unsigned char* out, std::size_t nBlocks)
{
    SState chain = descore::Load(iv);
    for (; nBlocks > 0; --nBlocks, in += BLOCK, out += BLOCK) {
        chain ^= descore::Load(in);
        descore::Crypt(schedule, TDES_ROUNDS, chain);
        descore::Store(chain, out);
    }
    descore::Store(chain, iv);
}

/// Deciphers N blocks side by side; chain becomes the last cipher block. All input is read before
/// any output is written, so that both may be one buffer.
template <std::size_t N>
void DecryptGroup(CSchedulePtr schedule, SState& chain, const unsigned char* in, unsigned char* out)
{
    std::array<SState, N> cipher;
    for (std::size_t n = 0; n < N; ++n) {
        cipher[n] = descore::Load(in + n * BLOCK);
    }
    std::array<SState, N> plain = cipher;
    descore::Crypt(schedule, TDES_ROUNDS, plain);
    for (std::size_t n = 0; n < N; ++n) {
        plain[n] ^= std::exchange(chain, cipher[n]);
        descore::Store(plain[n], out + n * BLOCK);
    }
}

void DecryptBlocks(CSchedulePtr schedule, unsigned char* iv, const unsigned char* in,
                   unsigned char* out, std::size_t nBlocks)
{
    SState chain = descore::Load(iv);
    for (; nBlocks >= SIDE_BY_SIDE; nBlocks -= SIDE_BY_SIDE) {
        DecryptGroup<SIDE_BY_SIDE>(schedule, chain, in, out);
        in += SIDE_BY_SIDE * BLOCK;
        out += SIDE_BY_SIDE * BLOCK;
    }
    for (; nBlocks > 0; --nBlocks, in += BLOCK, out += BLOCK) {
        DecryptGroup<1>(schedule, chain, in, out);
    }
    descore::Store(chain, iv);
}

int EncryptFinal(CSchedulePtr schedule, unsigned char* iv, const unsigned char* in,
                 unsigned char* out, unsigned long cb)
{
    CSecret<BLOCK> block;
    if (cb >= BLOCK || !block.Assign(in, cb, 0)) {
        return -1;
    }
    block.data()[BLOCK - 1] = static_cast<unsigned char>(cb);
    return doCryptEx(schedule, iv, block.data(), out, BLOCK, 0);
}

int DecryptFinal(CSchedulePtr schedule, unsigned char* iv, const unsigned char* in,
                 unsigned char* out, unsigned long* pLen)
{
    CSecret<BLOCK> block;
    doCryptEx(schedule, iv, in, block.data(), BLOCK, 1);
    const unsigned char cb = block.data()[BLOCK - 1];
    if (cb >= BLOCK) {
        return -1;
    }
    std::copy_n(block.data(), cb, out);
    *pLen = cb;
    return 0;
}

} // namespace

int doCryptEx(const unsigned int (*schedule)[2], unsigned char* iv, const unsigned char* in,
              unsigned char* out, unsigned long length, int direction)
{
    const auto transform = direction == 0 ? EncryptBlocks : DecryptBlocks;
    transform(schedule, iv, in, out, length / BLOCK);
    return 0;
}

int doCryptExFinal(const unsigned int (*schedule)[2], unsigned char* iv, const unsigned char* in,
                   unsigned char* out, unsigned long* pLen, int direction)
{
    return direction == 0 ? EncryptFinal(schedule, iv, in, out, *pLen)
                          : DecryptFinal(schedule, iv, in, out, pLen);
}

int doencrypt(const unsigned char* key, unsigned char* buf, unsigned long length, int direction)
{
    const STdesSchedule schedule(key, direction);
    unsigned char iv[BLOCK] = {};
    return doCryptEx(schedule.m_aKeys, iv, buf, buf, length, direction);
}

long CBCDes3EncryptData(const unsigned char* key, const unsigned char* in, unsigned long length,
                        unsigned char** pOut)
{
    if (pOut != nullptr) {
        *pOut = nullptr;
    }
    if (in == nullptr || pOut == nullptr || length == 0 || length > LONG_MAX - BLOCK) {
        return -1;
    }
    CWipedArray out = CWipedArray::Zeroed(length + BLOCK);
    if (!out) {
        return -1;
    }
    const STdesSchedule schedule(key, 0);
    unsigned char iv[BLOCK] = {};
    unsigned long cbRest = length % BLOCK;
    const unsigned long cbWhole = length - cbRest;
    doCryptEx(schedule.m_aKeys, iv, in, out.data(), cbWhole, 0);
    doCryptExFinal(schedule.m_aKeys, iv, in + cbWhole, out.data() + cbWhole, &cbRest, 0);
    *pOut = out.Release();
    return static_cast<long>(cbWhole + BLOCK);
}

long CBCDes3DecryptData(const unsigned char* key, const unsigned char* in, unsigned long size,
                        unsigned char** pOut)
{
    if (pOut != nullptr) {
        *pOut = nullptr;
    }
    if (in == nullptr || pOut == nullptr || size == 0 || size % BLOCK != 0) {
        return -1;
    }
    CWipedArray out = CWipedArray::Zeroed(size);
    if (!out) {
        return -1;
    }
    const STdesSchedule schedule(key, 1);
    unsigned char iv[BLOCK] = {};
    const unsigned long cbWhole = size - BLOCK;
    unsigned long cbRest = BLOCK;
    doCryptEx(schedule.m_aKeys, iv, in, out.data(), cbWhole, 1);
    if (doCryptExFinal(schedule.m_aKeys, iv, in + cbWhole, out.data() + cbWhole, &cbRest, 1) != 0) {
        return -1;
    }
    *pOut = out.Release();
    return static_cast<long>(cbWhole + cbRest);
}

void CBCDes3Free(unsigned char* buffer)
{
    delete[] buffer;
}
