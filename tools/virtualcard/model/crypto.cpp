// SPDX-License-Identifier: Apache-2.0
//
// Symmetric cryptography of the card. Single DES is Triple-DES with one key three times, since
// the plain cipher is no longer in libcrypto's default provider.
#include "model/crypto.h"

#include "model/iso7816.h"

#include <memory>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <stdexcept>

namespace vcard {

namespace {

void Check(int iResult)
{
    if (iResult != 1) {
        throw std::runtime_error("libcrypto failed");
    }
}

Bytes Des3Cbc(const Bytes& key, const Bytes& iv, ByteView data, bool bEncrypt)
{
    if (key.size() != DES3_KEY || data.size() % DES_BLOCK != 0) {
        throw std::invalid_argument("Triple-DES wants 24 key bytes and whole blocks");
    }
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> pContext(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    Check(EVP_CipherInit_ex(pContext.get(), EVP_des_ede3_cbc(), nullptr, key.data(), iv.data(),
                            bEncrypt ? 1 : 0));
    Check(EVP_CIPHER_CTX_set_padding(pContext.get(), 0));

    Bytes result(data.size() + DES_BLOCK);
    int cbDone = 0, cbLast = 0;
    Check(EVP_CipherUpdate(pContext.get(), result.data(), &cbDone, data.data(),
                           static_cast<int>(data.size())));
    Check(EVP_CipherFinal_ex(pContext.get(), result.data() + cbDone, &cbLast));
    result.resize(data.size());
    return result;
}

const Bytes ZERO_IV(DES_BLOCK);

} // namespace

Bytes Des3Encrypt(const Bytes& key, const Bytes& data)
{
    return Des3Cbc(key, ZERO_IV, data, true);
}

Bytes Des3Decrypt(const Bytes& key, const Bytes& data)
{
    return Des3Cbc(key, ZERO_IV, data, false);
}

Bytes PadZeros(Bytes data)
{
    data.resize((data.size() + DES_BLOCK - 1) / DES_BLOCK * DES_BLOCK);
    return data;
}

Bytes PadIso(Bytes data)
{
    data.push_back(0x80);
    return PadZeros(std::move(data));
}

Bytes UnpadIso(Bytes data)
{
    data = StripTrailing(std::move(data), 0x00);
    Require(!data.empty() && data.back() == 0x80, sw::SM_OBJECTS_WRONG);
    data.pop_back();
    return data;
}

Bytes RetailMac(const Bytes& key, const Bytes& message)
{
    const Bytes padded = PadZeros(message.empty() ? Bytes(DES_BLOCK) : message);
    const ByteView all(padded), last = all.last(DES_BLOCK);
    Bytes single;
    for (int i = 0; i < 3; ++i) {
        Append(single, ByteView(key).first(DES_BLOCK));
    }

    // All blocks but the last under K1 alone, the last one under K1, K2 and K3.
    Bytes chain = ZERO_IV;
    if (all.size() > DES_BLOCK) {
        const Bytes head = Des3Cbc(single, ZERO_IV, all.first(all.size() - DES_BLOCK), true);
        chain = Copy(ByteView(head).last(DES_BLOCK));
    }
    return Des3Cbc(key, chain, last, true);
}

bool SecretsEqual(ByteView a, ByteView b)
{
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

Bytes RandomBytes(std::size_t cb)
{
    Bytes bytes(cb);
    Check(RAND_bytes(bytes.data(), static_cast<int>(cb)));
    return bytes;
}

} // namespace vcard
