// SPDX-License-Identifier: Apache-2.0
//
// RSA keys on the card, each result checked with the public key by libcrypto alone.
#include "card_fixture.h"

#include <memory>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

namespace vcard {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Bytes Number(EVP_PKEY* pKey, const char* szName, int cb)
{
    BIGNUM* pNumber = nullptr;
    EXPECT_EQ(1, EVP_PKEY_get_bn_param(pKey, szName, &pNumber));
    Bytes bytes(static_cast<std::size_t>(cb));
    EXPECT_EQ(cb, BN_bn2binpad(pNumber, bytes.data(), cb));
    BN_free(pNumber);
    return bytes;
}

/// number^65537 mod modulus, by plain arithmetic.
Bytes PublicOperation(ByteView number, ByteView modulus)
{
    const auto bignum = [](ByteView bytes) {
        return std::unique_ptr<BIGNUM, decltype(&BN_free)>(
            BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr), BN_free);
    };
    const Bytes exponent = {0x01, 0x00, 0x01};
    const auto base = bignum(number), e = bignum(exponent), n = bignum(modulus),
               result = bignum({});
    const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> pContext(BN_CTX_new(), BN_CTX_free);
    EXPECT_EQ(1, BN_mod_exp(result.get(), base.get(), e.get(), n.get(), pContext.get()));
    Bytes bytes(modulus.size());
    BN_bn2binpad(result.get(), bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
}

/// The block of a signature, its padding written out.
std::string Signed(const Bytes& data, std::size_t cbModulus)
{
    std::string block = "0001" + std::string(2 * (cbModulus - 3 - data.size()), 'F') + "00";
    return block + ToHex(data);
}

class RsaKeys : public CardTest {
protected:
    RsaKeys() { Send(SELECT_DS); }

    std::string CreateKeyObject()
    {
        return Send("00 DA 01 6E 2E 83 02 20 05 85 08 02 03 88 00 FF FF FF 00 "
                    "86 0A 1A 1A FF FF FF FF 1A FF FF FF "
                    "8B 10 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF 8F 00");
    }
    void CreateScratch(const std::string& strFid, const std::string& strSize)
    {
        Send("00 E4 00 00 02", strFid);
        ASSERT_EQ("9000",
                  Send("00 E0 00 00 20 6F 1E 81 02", strSize + " 82 03 01 00 00 83 02 " + strFid +
                                                         " 85 03 00 00 00 86 0A 00 00 00 00 "
                                                         "00 00 00 00 00 FF"));
    }
    void Write(const Bytes& data)
    {
        for (std::size_t i = 0; i < data.size(); i += 64) {
            const ByteView piece =
                ByteView(data).subspan(i, std::min<std::size_t>(64, data.size() - i));
            ASSERT_EQ("9000", Send("00 D6 " + ToHex(Bytes{High(i), Low(i), Low(piece.size())}) +
                                   ToHex(piece)));
        }
    }
    Bytes Read256()
    {
        return Copy(ByteView(m_card->Transmit(FromHex("00 B0 00 00 00"))).first(256));
    }
    /// The five numbers in the card's order, then the exponent in eight bytes.
    static Bytes KeyBlock(EVP_PKEY* pKey)
    {
        Bytes block;
        for (const char* szName : {OSSL_PKEY_PARAM_RSA_FACTOR1, OSSL_PKEY_PARAM_RSA_FACTOR2,
                                   OSSL_PKEY_PARAM_RSA_COEFFICIENT1, OSSL_PKEY_PARAM_RSA_EXPONENT1,
                                   OSSL_PKEY_PARAM_RSA_EXPONENT2})
            Append(block, Number(pKey, szName, 128));
        Append(block, Number(pKey, OSSL_PKEY_PARAM_RSA_E, 8));
        return block;
    }
    void LoadKey(const Bytes& block)
    {
        ASSERT_EQ("9000", CreateKeyObject());
        ASSERT_EQ("9000", Send("B0 DF 20 05 00"));
        CreateScratch("FF 02", "02 88");
        Write(block);
    }

    /// One for all tests of a run: making it takes time.
    static EVP_PKEY* HostKey()
    {
        static const Key s_key{EVP_RSA_gen(2048), EVP_PKEY_free};
        return s_key.get();
    }
    static Bytes Modulus() { return Number(HostKey(), OSSL_PKEY_PARAM_RSA_N, 256); }
};

TEST_F(RsaKeys, ALoadedKeySignsThroughTheScratchFile)
{
    LoadKey(KeyBlock(HostKey()));
    EXPECT_EQ("9000", Send("B0 DE 20 05 00"));
    EXPECT_EQ("6982", Send("B0 DE 20 05 00")); // loaded once; now it wants the PIN
    EXPECT_EQ("6982", Send("00 2A 9E 9A 02 81 1F"));
    Send("00 20 00 9A 08", DS_PIN);

    for (const std::size_t cb : {19U, 200U, 245U}) {
        Send("00 A4 09 0C 02 81 1F FF");
        const Bytes data(cb, 0x5A);
        Bytes block = {0x9A};
        Append(block, cb < 0x80 ? Bytes{Low(cb)} : Bytes{0x82, 0x00, Low(cb)});
        Append(block, data);
        Write(block);
        EXPECT_EQ("9000", Send("00 2A 9E 9A 02 81 1F"));
        EXPECT_EQ(Signed(data, 256), ToHex(PublicOperation(Read256(), Modulus()))) << cb;
    }
    EXPECT_EQ("6A80", Send("00 2A 9E 9A 02 81 1F")); // a signature is no data to sign
    EXPECT_EQ("6A82", Send("00 2A 9E 9A 02 77 77"));
}

TEST_F(RsaKeys, DeciphermentTakesAndGivesTheNamedFile)
{
    LoadKey(KeyBlock(HostKey()));
    Send("B0 DE 20 05 00");
    Send("00 20 00 9A 08", DS_PIN);
    Bytes plain(256, 0x33);
    plain[0] = 0x00;

    CreateScratch("FF 01", "01 00");
    CreateScratch("FF 02", "01 00");
    Write(PublicOperation(plain, Modulus()));
    Send("00 A4 09 0C 02 FF 01 FF");
    EXPECT_EQ("9000", Send("00 2A 80 86 02 FF 02"));
    Send("00 A4 09 0C 02 FF 02 FF");
    EXPECT_EQ(plain, Read256());
}

TEST_F(RsaKeys, NumbersThatDoNotBelongTogetherAreNoKey)
{
    Bytes block = KeyBlock(HostKey());
    block[3 * 128 + 5] ^= 0x01;
    LoadKey(block);
    EXPECT_EQ("6A80", Send("B0 DE 20 05 00"));
    Send("00 20 00 9A 08", DS_PIN);
    EXPECT_EQ("6985", Send("00 2A 9E 9A 02 81 1F"));
    Write(KeyBlock(HostKey()));
    EXPECT_EQ("9000", Send("B0 DE 20 05 00"));
    EXPECT_EQ("6A88", Send("B0 DE 20 06 00"));
}

TEST_F(RsaKeys, AGeneratedPairSignsAndItsPublicHalfVerifies)
{
    ASSERT_EQ("9000", CreateKeyObject());
    CreateScratch("70 05", "01 20");
    EXPECT_EQ("9000", Send("00 46 00 00 08 20 05 70 05 00 00 04 00")); // 1024 bits
    Send("00 A4 09 0C 02 70 05 FF");
    const Bytes stored = m_card->Transmit(FromHex("00 B0 00 00 00"));
    ASSERT_EQ("81820080", ToHex(ByteView(stored).first(4)));
    ASSERT_EQ("8203010001", ToHex(ByteView(stored).subspan(4 + 128, 5)));

    Send("00 20 00 9A 08", DS_PIN);
    EXPECT_EQ("9000", Send("00 22 B6 01 03 84 01 85 00 00 00"));
    const Bytes signature = m_card->Transmit(FromHex("00 2A 9E 9A 03 61 62 63"));
    ASSERT_EQ(130U, signature.size());

    EXPECT_EQ(Signed(Ascii("abc"), 128), ToHex(PublicOperation(ByteView(signature).first(128),
                                                               ByteView(stored).subspan(4, 128))));

    EXPECT_EQ("6A80", Send("00 46 00 00 08 20 05 70 05 00 00 03 00"));
    EXPECT_EQ("6A82", Send("00 46 00 00 08 20 05 70 99 00 00 04 00"));
}

TEST_F(RsaKeys, TheSetecCardSignsTheHashItWasGiven)
{
    Insert("setec");
    EXPECT_EQ("6985", Send("00 2A 9E 9A 00"));
    EXPECT_EQ("9000", Send("00 22 41 B6 06 83 01 83 80 01 02"));
    EXPECT_EQ("6700", Send("00 2A 90 81 10", std::string(32, '4')));
    EXPECT_EQ("9000", Send("00 2A 90 81 14", std::string(40, '4')));
    const Bytes signature = m_card->Transmit(FromHex("00 2A 9E 9A 00"));
    ASSERT_EQ(130U, signature.size());

    const Bytes exported = m_card->Transmit(FromHex("80 F0 9C 00 01 03"));
    ASSERT_EQ(12U + 3 + 128 + 2, exported.size());
    EXPECT_EQ("0301000180", ToHex(ByteView(exported).subspan(10, 5)));
    const ByteView modulus = ByteView(exported).subspan(12 + exported[10], 128);
    const Bytes block = PublicOperation(ByteView(signature).first(128), modulus);
    EXPECT_EQ(Signed(Bytes(20, 0x44), 128), ToHex(block));

    Bytes cipher = {0x00};
    Append(cipher, PublicOperation(block, modulus));
    const std::string strPlain = Send("00 2A 80 86 81" + ToHex(cipher) + "80");
    EXPECT_EQ(ToHex(block) + "9000", strPlain);
}

} // namespace
} // namespace vcard
