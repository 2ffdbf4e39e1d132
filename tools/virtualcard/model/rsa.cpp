// SPDX-License-Identifier: Apache-2.0
//
// The private operation by the Chinese remainder theorem, on libcrypto's numbers.
#include "model/rsa.h"

#include "model/iso7816.h"

#include <memory>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <stdexcept>

namespace vcard {

namespace {

constexpr std::size_t NUMBERS = 5, EXPONENT_BYTES = 8, PADDING_OVERHEAD = 11;

struct SFree {
    void operator()(BIGNUM* p) const { BN_clear_free(p); }
    void operator()(BN_CTX* p) const { BN_CTX_free(p); }
    void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    void operator()(EVP_PKEY_CTX* p) const { EVP_PKEY_CTX_free(p); }
};
using Number = std::unique_ptr<BIGNUM, SFree>;

void Check(bool bDone)
{
    if (!bDone) {
        throw std::runtime_error("libcrypto failed");
    }
}

Number FromBytes(ByteView bytes)
{
    Number number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    Check(number != nullptr);
    return number;
}

Bytes ToBytes(const Number& number, std::size_t cb)
{
    Bytes bytes(cb);
    Check(BN_bn2binpad(number.get(), bytes.data(), static_cast<int>(cb)) >= 0);
    return bytes;
}

/// Arithmetic in one context, each result a new number.
class CArithmetic {
public:
    Number Multiply(const Number& a, const Number& b) const
    {
        return New([&](BIGNUM* r) { return BN_mul(r, a.get(), b.get(), m_pContext.get()); });
    }
    Number MultiplyMod(const Number& a, const Number& b, const Number& m) const
    {
        return New(
            [&](BIGNUM* r) { return BN_mod_mul(r, a.get(), b.get(), m.get(), m_pContext.get()); });
    }
    Number SubtractMod(const Number& a, const Number& b, const Number& m) const
    {
        return New(
            [&](BIGNUM* r) { return BN_mod_sub(r, a.get(), b.get(), m.get(), m_pContext.get()); });
    }
    Number PowerMod(const Number& a, const Number& e, const Number& m) const
    {
        return New(
            [&](BIGNUM* r) { return BN_mod_exp(r, a.get(), e.get(), m.get(), m_pContext.get()); });
    }
    static Number Add(const Number& a, const Number& b)
    {
        return New([&](BIGNUM* r) { return BN_add(r, a.get(), b.get()); });
    }
    static Number MinusOne(const Number& a)
    {
        return New([&](BIGNUM* r) { return BN_copy(r, a.get()) != nullptr && BN_sub_word(r, 1); });
    }

private:
    template <typename Operation> static Number New(Operation operation)
    {
        Number result(BN_new());
        Check(result != nullptr && operation(result.get()));
        return result;
    }
    std::unique_ptr<BN_CTX, SFree> m_pContext{BN_CTX_new()};
};

struct SCrtKey {
    explicit SCrtKey(ByteView keyBlock)
        : cbHalf((keyBlock.size() - EXPONENT_BYTES) / NUMBERS),
          p(FromBytes(keyBlock.subspan(0, cbHalf))), q(FromBytes(keyBlock.subspan(cbHalf, cbHalf))),
          qInverse(FromBytes(keyBlock.subspan(2 * cbHalf, cbHalf))),
          dP(FromBytes(keyBlock.subspan(3 * cbHalf, cbHalf))),
          dQ(FromBytes(keyBlock.subspan(4 * cbHalf, cbHalf))),
          // An odd number doesn't end in a zero byte: such bytes fill up a left-aligned exponent.
          e(FromBytes(StripTrailing(Copy(keyBlock.last(EXPONENT_BYTES)), 0x00)))
    {
    }
    std::size_t cbHalf;
    Number p, q, qInverse, dP, dQ, e;
};

SCrtKey RequireKey(ByteView keyBlock)
{
    Require(RsaModulusSize(keyBlock) != 0, sw::CONDITIONS);
    return SCrtKey(keyBlock);
}

Bytes PrivateOperation(const SCrtKey& key, ByteView input)
{
    const CArithmetic calculate;
    const Number c = FromBytes(input);
    const Number modulus = calculate.Multiply(key.p, key.q);
    Require(BN_cmp(c.get(), modulus.get()) < 0, sw::WRONG_DATA);

    const Number mP = calculate.PowerMod(c, key.dP, key.p);
    const Number mQ = calculate.PowerMod(c, key.dQ, key.q);
    const Number h =
        calculate.MultiplyMod(calculate.SubtractMod(mP, mQ, key.p), key.qInverse, key.p);
    return ToBytes(CArithmetic::Add(mQ, calculate.Multiply(h, key.q)), 2 * key.cbHalf);
}

Bytes Parameter(EVP_PKEY* pKey, const char* szName, std::size_t cb)
{
    BIGNUM* pNumber = nullptr;
    Check(EVP_PKEY_get_bn_param(pKey, szName, &pNumber) == 1);
    const Number number(pNumber);
    return ToBytes(number, cb);
}

} // namespace

std::size_t RsaModulusSize(ByteView keyBlock)
{
    for (const std::size_t cbModulus : {128U, 256U}) {
        if (keyBlock.size() == NUMBERS * cbModulus / 2 + EXPONENT_BYTES) {
            return cbModulus;
        }
    }
    return 0;
}

bool IsSoundKeyBlock(ByteView keyBlock)
{
    if (RsaModulusSize(keyBlock) == 0) {
        return false;
    }
    const SCrtKey key(keyBlock);
    if (BN_is_odd(key.p.get()) == 0 || BN_is_odd(key.q.get()) == 0 || BN_is_one(key.p.get()) != 0 ||
        BN_is_one(key.q.get()) != 0) {
        return false;
    }
    const CArithmetic calculate;
    const auto bInverse = [&](const Number& a, const Number& b, const Number& m) {
        return BN_is_one(calculate.MultiplyMod(a, b, m).get()) != 0;
    };
    const Number modulus = calculate.Multiply(key.p, key.q);
    return BN_num_bits(modulus.get()) == static_cast<int>(16 * key.cbHalf) &&
           bInverse(key.qInverse, key.q, key.p) &&
           bInverse(key.dP, key.e, CArithmetic::MinusOne(key.p)) &&
           bInverse(key.dQ, key.e, CArithmetic::MinusOne(key.q));
}

Bytes RsaSign(ByteView keyBlock, ByteView data)
{
    const SCrtKey key = RequireKey(keyBlock);
    const std::size_t cbModulus = RsaModulusSize(keyBlock);
    Require(data.size() + PADDING_OVERHEAD <= cbModulus, sw::WRONG_LENGTH);
    Bytes block(cbModulus - data.size(), 0xFF); // 00 01 FF ... FF 00 data
    block[0] = 0x00;
    block[1] = 0x01;
    block.back() = 0x00;
    Append(block, data);
    return PrivateOperation(key, block);
}

Bytes RsaDecipher(ByteView keyBlock, ByteView cryptogram)
{
    const SCrtKey key = RequireKey(keyBlock);
    Require(cryptogram.size() == RsaModulusSize(keyBlock), sw::WRONG_LENGTH);
    return PrivateOperation(key, cryptogram);
}

SRsaPublicKey RsaPublicKey(ByteView keyBlock)
{
    const SCrtKey key = RequireKey(keyBlock);
    return {ToBytes(CArithmetic().Multiply(key.p, key.q), 2 * key.cbHalf),
            ToBytes(key.e, static_cast<std::size_t>(BN_num_bytes(key.e.get())))};
}

Bytes GenerateRsaKey(std::uint16_t wBits, ByteView exponent)
{
    Require(wBits == 1024 || wBits == 2048, sw::WRONG_DATA);
    const Bytes wanted = exponent.empty() ? Bytes{0x01, 0x00, 0x01} : Copy(exponent);
    const Number e = FromBytes(wanted);
    Require(wanted.size() <= EXPONENT_BYTES && BN_is_odd(e.get()) != 0 && BN_is_one(e.get()) == 0,
            sw::WRONG_DATA);

    const std::unique_ptr<EVP_PKEY_CTX, SFree> pContext(
        EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    Check(pContext != nullptr && EVP_PKEY_keygen_init(pContext.get()) == 1);
    Check(EVP_PKEY_CTX_set_rsa_keygen_bits(pContext.get(), wBits) == 1);
    Check(EVP_PKEY_CTX_set1_rsa_keygen_pubexp(pContext.get(), e.get()) == 1);
    EVP_PKEY* pGenerated = nullptr;
    Check(EVP_PKEY_generate(pContext.get(), &pGenerated) == 1);
    const std::unique_ptr<EVP_PKEY, SFree> pKey(pGenerated);

    Bytes keyBlock;
    for (const char* szName : {OSSL_PKEY_PARAM_RSA_FACTOR1, OSSL_PKEY_PARAM_RSA_FACTOR2,
                               OSSL_PKEY_PARAM_RSA_COEFFICIENT1, OSSL_PKEY_PARAM_RSA_EXPONENT1,
                               OSSL_PKEY_PARAM_RSA_EXPONENT2}) {
        Append(keyBlock, Parameter(pKey.get(), szName, wBits / 16U));
    }
    Append(keyBlock, Parameter(pKey.get(), OSSL_PKEY_PARAM_RSA_E, EXPONENT_BYTES));
    return keyBlock;
}

} // namespace vcard
