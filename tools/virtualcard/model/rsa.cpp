// SPDX-License-Identifier: Apache-2.0
//
// Key blocks become libcrypto's keys, and the other way round.
#include "model/rsa.h"

#include "model/iso7816.h"

#include <memory>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>
#include <stdexcept>

namespace vcard {

namespace {

constexpr std::size_t EXPONENT_BYTES = 8, PADDING_OVERHEAD = 11;

// The numbers of a key block in their order; the exponent follows them.
constexpr const char* NUMBERS[] = {OSSL_PKEY_PARAM_RSA_FACTOR1, OSSL_PKEY_PARAM_RSA_FACTOR2,
                                   OSSL_PKEY_PARAM_RSA_COEFFICIENT1, OSSL_PKEY_PARAM_RSA_EXPONENT1,
                                   OSSL_PKEY_PARAM_RSA_EXPONENT2};

struct SFree {
    void operator()(BIGNUM* p) const { BN_clear_free(p); }
    void operator()(BN_CTX* p) const { BN_CTX_free(p); }
    void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    void operator()(EVP_PKEY_CTX* p) const { EVP_PKEY_CTX_free(p); }
    void operator()(OSSL_PARAM_BLD* p) const { OSSL_PARAM_BLD_free(p); }
    void operator()(OSSL_PARAM* p) const { OSSL_PARAM_free(p); }
};
template <typename Type> using Owned = std::unique_ptr<Type, SFree>;
using Number = Owned<BIGNUM>;
using Key = Owned<EVP_PKEY>;
using KeyContext = Owned<EVP_PKEY_CTX>;

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

Number MinusOne(const Number& a)
{
    Number result(BN_dup(a.get()));
    Check(result != nullptr && BN_sub_word(result.get(), 1) == 1);
    return result;
}

Number Product(const Number& a, const Number& b)
{
    const Owned<BN_CTX> pContext(BN_CTX_new());
    Number result(BN_new());
    Check(BN_mul(result.get(), a.get(), b.get(), pContext.get()) == 1);
    return result;
}

/// d, which a key block doesn't hold.
Number PrivateExponent(const Number& e, const Number& p, const Number& q)
{
    const Owned<BN_CTX> pContext(BN_CTX_new());
    const Number phi = Product(MinusOne(p), MinusOne(q));
    Number d(BN_mod_inverse(nullptr, e.get(), phi.get(), pContext.get()));
    Check(d != nullptr);
    return d;
}

KeyContext ContextOf(const Key& key)
{
    KeyContext pContext(EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr));
    Check(pContext != nullptr);
    return pContext;
}

KeyContext NewContext()
{
    KeyContext pContext(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    Check(pContext != nullptr);
    return pContext;
}

/// A key pair of libcrypto from numbers by their names.
Key FromNumbers(std::span<const std::pair<const char*, Number>> numbers)
{
    const Owned<OSSL_PARAM_BLD> pBuilder(OSSL_PARAM_BLD_new());
    for (const auto& [szName, number] : numbers) {
        Check(OSSL_PARAM_BLD_push_BN(pBuilder.get(), szName, number.get()) == 1);
    }
    const Owned<OSSL_PARAM> pParameters(OSSL_PARAM_BLD_to_param(pBuilder.get()));
    const KeyContext pContext = NewContext();
    EVP_PKEY* pKey = nullptr;
    Check(EVP_PKEY_fromdata_init(pContext.get()) == 1 &&
          EVP_PKEY_fromdata(pContext.get(), &pKey, EVP_PKEY_KEYPAIR, pParameters.get()) == 1);
    return Key(pKey);
}

/// The exponent of a key block. An odd number doesn't end in a zero byte: such bytes fill up
/// a left-aligned one.
Number ExponentOf(ByteView keyBlock)
{
    return FromBytes(StripTrailing(Copy(keyBlock.last(EXPONENT_BYTES)), 0x00));
}

Key RequireKey(ByteView keyBlock)
{
    Require(RsaModulusSize(keyBlock) != 0, sw::CONDITIONS);
    const std::size_t cbHalf = RsaModulusSize(keyBlock) / 2;
    std::vector<std::pair<const char*, Number>> numbers;
    for (const char* szName : NUMBERS) {
        numbers.emplace_back(szName, FromBytes(keyBlock.subspan(numbers.size() * cbHalf, cbHalf)));
    }
    const Number &p = numbers[0].second, &q = numbers[1].second;
    Number e = ExponentOf(keyBlock), n = Product(p, q), d = PrivateExponent(e, p, q);
    numbers.emplace_back(OSSL_PKEY_PARAM_RSA_N, std::move(n));
    numbers.emplace_back(OSSL_PKEY_PARAM_RSA_D, std::move(d));
    numbers.emplace_back(OSSL_PKEY_PARAM_RSA_E, std::move(e));
    return FromNumbers(numbers);
}

Number NumberOf(const Key& key, const char* szName)
{
    BIGNUM* pNumber = nullptr;
    Check(EVP_PKEY_get_bn_param(key.get(), szName, &pNumber) == 1);
    return Number(pNumber);
}

} // namespace

std::size_t RsaModulusSize(ByteView keyBlock)
{
    for (const std::size_t cbModulus : {128U, 256U}) {
        if (keyBlock.size() == std::size(NUMBERS) * cbModulus / 2 + EXPONENT_BYTES) {
            return cbModulus;
        }
    }
    return 0;
}

bool IsSoundKeyBlock(ByteView keyBlock)
try {
    const Key key = RequireKey(keyBlock);
    return EVP_PKEY_get_bits(key.get()) == static_cast<int>(8 * RsaModulusSize(keyBlock)) &&
           EVP_PKEY_check(ContextOf(key).get()) == 1;
} catch (const std::exception&) {
    return false; // another length, or numbers that have no private exponent
}

Bytes RsaSign(ByteView keyBlock, ByteView data)
{
    const Key key = RequireKey(keyBlock);
    Bytes signature(RsaModulusSize(keyBlock));
    Require(data.size() + PADDING_OVERHEAD <= signature.size(), sw::WRONG_LENGTH);
    const KeyContext pContext = ContextOf(key);
    std::size_t cb = signature.size();
    // Without the name of a hash libcrypto pads the data as they are.
    Check(EVP_PKEY_sign_init(pContext.get()) == 1 &&
          EVP_PKEY_CTX_set_rsa_padding(pContext.get(), RSA_PKCS1_PADDING) == 1 &&
          EVP_PKEY_sign(pContext.get(), signature.data(), &cb, data.data(), data.size()) == 1);
    return signature;
}

Bytes RsaDecipher(ByteView keyBlock, ByteView cryptogram)
{
    const Key key = RequireKey(keyBlock);
    Bytes plain(RsaModulusSize(keyBlock));
    Require(cryptogram.size() == plain.size(), sw::WRONG_LENGTH);
    const KeyContext pContext = ContextOf(key);
    Check(EVP_PKEY_decrypt_init(pContext.get()) == 1 &&
          EVP_PKEY_CTX_set_rsa_padding(pContext.get(), RSA_NO_PADDING) == 1);
    std::size_t cb = plain.size();
    Require(EVP_PKEY_decrypt(pContext.get(), plain.data(), &cb, cryptogram.data(),
                             cryptogram.size()) == 1,
            sw::WRONG_DATA);
    return plain;
}

SRsaPublicKey RsaPublicKey(ByteView keyBlock)
{
    const Key key = RequireKey(keyBlock);
    const Number e = ExponentOf(keyBlock);
    return {ToBytes(NumberOf(key, OSSL_PKEY_PARAM_RSA_N), RsaModulusSize(keyBlock)),
            ToBytes(e, static_cast<std::size_t>(BN_num_bytes(e.get())))};
}

Bytes GenerateRsaKey(std::uint16_t wBits, ByteView exponent)
{
    Require(wBits == 1024 || wBits == 2048, sw::WRONG_DATA);
    const Bytes wanted = exponent.empty() ? Bytes{0x01, 0x00, 0x01} : Copy(exponent);
    const Number e = FromBytes(wanted);
    Require(wanted.size() <= EXPONENT_BYTES && BN_is_odd(e.get()) != 0 && BN_is_one(e.get()) == 0,
            sw::WRONG_DATA);

    const KeyContext pContext = NewContext();
    EVP_PKEY* pGenerated = nullptr;
    Check(EVP_PKEY_keygen_init(pContext.get()) == 1 &&
          EVP_PKEY_CTX_set_rsa_keygen_bits(pContext.get(), wBits) == 1 &&
          EVP_PKEY_CTX_set1_rsa_keygen_pubexp(pContext.get(), e.get()) == 1 &&
          EVP_PKEY_generate(pContext.get(), &pGenerated) == 1);
    const Key key(pGenerated);

    Bytes keyBlock;
    for (const char* szName : NUMBERS) {
        Append(keyBlock, ToBytes(NumberOf(key, szName), wBits / 16U));
    }
    Append(keyBlock, ToBytes(e, EXPONENT_BYTES));
    return keyBlock;
}

} // namespace vcard
