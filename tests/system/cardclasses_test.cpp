// SPDX-License-Identifier: Apache-2.0
//
// The library's own card classes against the in-process card: files, records, listings and keys,
// each result checked with libcrypto, and the ways that only T=0 takes.

#include "cardlib/cscardsetec43.h"
#include "cardlib/scardzentaris34.h"
#include "tests/support/bytes.h"
#include "tests/support/scratch.h"
#include "tests/system/inprocess.h"

#include <gtest/gtest.h>
#include <memory>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

namespace {

constexpr WORD DS_DF = 0x1400, CNS_DF = 0x1100;
constexpr CK_BYTE DS_PIN_ID = 0x1A, KEY_ID = 0x05, OTHER_KEY_ID = 0x06, KEY_CLASS = 0x27;
const Bytes DS_PIN = FromHex("31 33 35 37 32 34 36 38");

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Bytes Number(const Key& key, const char* szName, int cb)
{
    BIGNUM* pNumber = nullptr;
    EXPECT_EQ(1, EVP_PKEY_get_bn_param(key.get(), szName, &pNumber));
    Bytes bytes(static_cast<std::size_t>(cb));
    EXPECT_EQ(cb, BN_bn2binpad(pNumber, bytes.data(), cb));
    BN_free(pNumber);
    return bytes;
}

/// The public half alone, from what a card tells.
Key PublicKey(const Bytes& modulus)
{
    Bytes n(modulus.rbegin(), modulus.rend()); // libcrypto's parameters have the host's order
    unsigned e = 65537;
    OSSL_PARAM parameters[] = {OSSL_PARAM_construct_BN(OSSL_PKEY_PARAM_RSA_N, n.data(), n.size()),
                               OSSL_PARAM_construct_uint(OSSL_PKEY_PARAM_RSA_E, &e),
                               OSSL_PARAM_construct_end()};
    EVP_PKEY_CTX* pContext = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY* pKey = nullptr;
    EXPECT_EQ(1, EVP_PKEY_fromdata_init(pContext));
    EXPECT_EQ(1, EVP_PKEY_fromdata(pContext, &pKey, EVP_PKEY_PUBLIC_KEY, parameters));
    EVP_PKEY_CTX_free(pContext);
    return {pKey, EVP_PKEY_free};
}

/// What the public key makes of a signature (its data) or, unpadded, of a block (its cryptogram).
Bytes PublicOperation(const Key& key, const Bytes& input, bool bSignature)
{
    Bytes output(static_cast<std::size_t>(EVP_PKEY_get_size(key.get())));
    std::size_t cb = output.size();
    EVP_PKEY_CTX* pContext = EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr);
    const int iPadding = bSignature ? RSA_PKCS1_PADDING : RSA_NO_PADDING;
    const auto start = bSignature ? EVP_PKEY_verify_recover_init : EVP_PKEY_encrypt_init;
    const auto run = bSignature ? EVP_PKEY_verify_recover : EVP_PKEY_encrypt;
    EXPECT_EQ(1, start(pContext));
    EXPECT_EQ(1, EVP_PKEY_CTX_set_rsa_padding(pContext, iPadding));
    EXPECT_EQ(1, run(pContext, output.data(), &cb, input.data(), input.size()));
    EVP_PKEY_CTX_free(pContext);
    output.resize(cb);
    return output;
}

class CardClasses : public testing::Test {
protected:
    CardClasses() { InsertCard("cns"); }
    ~CardClasses() override { SCardReleaseContext(m_hContext); }

    void InsertCard(const char* szProfile, const char* szFault = "")
    {
        Insert({{"_PROFILE", szProfile}, {"_FAULT", szFault}, {"_LOG", m_directory / "log"}});
        SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext);
    }
    /// A session of a class with the card.
    template <typename Card> auto Connect() const
    {
        std::string reader = FIRST_READER;
        const auto release = [](Card* p) { p->Release(); };
        std::unique_ptr<Card, decltype(release)> pCard(new Card(m_hContext, reader.data()));
        EXPECT_TRUE(pCard->Create());
        return pCard;
    }
    std::string Log() const { return m_directory.Read("log"); }

private:
    CScratchDirectory m_directory;
    SCARDCONTEXT m_hContext = 0;
};

TEST_F(CardClasses, CreateListReadAndDeleteFiles)
{
    const auto pCard = Connect<CSCardZentaris34>();
    WORD path[] = {DS_DF};
    for (WORD fid = 0x7000; fid < 0x7014; ++fid) { // with the two of the DF more than a page
        ASSERT_EQ(0, pCard->PathSelectWORD(path, 1, 1));
        _M4_FileInfo_common info;
        info.SetDefaultAC(0x00);
        info.fid = fid;
        info.size = 0x0123;
        ASSERT_EQ(0, pCard->CreateFile(&info)) << fid;
    }
    const Bytes content = Random(0x0123);
    EXPECT_EQ(0, pCard->SelectEx(0x7013, nullptr, eFidEF));
    EXPECT_EQ(0, pCard->UpdateBinary(content.data(), content.size(), 0));
    pCard->InvalidateCache();
    Bytes read(content.size());
    EXPECT_EQ(0, pCard->ReadBinary(0, static_cast<WORD>(read.size()), read.data()));
    EXPECT_EQ(content, read);

    _DirFileInfo* pFiles = nullptr;
    CK_ULONG ulFiles = 0;
    EXPECT_EQ(0, pCard->ListFiles(path, 1, &pFiles, &ulFiles, eListAll));
    const std::unique_ptr<_DirFileInfo[]> files(pFiles);
    ASSERT_EQ(22U, ulFiles);
    EXPECT_EQ(0x8100, files[0].fid);
    EXPECT_EQ(0x7013, files[21].fid);
    EXPECT_EQ(0, pCard->DeleteFile(0x7013, 0));
    EXPECT_EQ(eM4Error_file_not_found, pCard->SelectEx2(0x7013, nullptr, eFidEF, 1));
}

TEST_F(CardClasses, ReadAndWriteRecords)
{
    const auto pCard = Connect<CSCardZentaris34>();
    Bytes record(64);
    CK_BYTE cb = 64;
    const auto text = [&] { return std::string(record.begin(), record.begin() + cb); };
    WORD fixed[] = {CNS_DF, 0x1102};
    ASSERT_EQ(0, pCard->PathSelectWORD(fixed, 2, 0));
    EXPECT_EQ(0, pCard->UpdateRecord(4, 2, Bytes(8, 'x').data(), 8));
    EXPECT_EQ(0, pCard->ReadRecordAbsolute(2, record.data(), &cb));
    EXPECT_EQ("xxxxxxxx", text());
    EXPECT_EQ(0x6A83, pCard->ReadRecordAbsolute(4, record.data(), &cb));

    WORD tagged[] = {CNS_DF, 0x1103};
    ASSERT_EQ(0, pCard->PathSelectWORD(tagged, 2, 0));
    EXPECT_EQ(0, pCard->AppendRecord(FromHex("C5 02 79 7A").data(), 4));
    cb = 64;
    EXPECT_EQ(0, pCard->ReadRecordTLVStrip(0xC5, record.data(), &cb));
    EXPECT_EQ("yz", text());
    EXPECT_EQ(0x6A83, pCard->ReadRecordTLV(0xC9, record.data(), &cb));

    WORD cyclic[] = {CNS_DF, 0x1104}; // four records, two in use: the newest is the first
    ASSERT_EQ(0, pCard->PathSelectWORD(cyclic, 2, 0));
    for (const char* szRecord : {"NEW2", "NEW3", "NEW4"}) {
        EXPECT_EQ(0, pCard->AppendRecord(Bytes(szRecord, szRecord + 4).data(), 4));
    }
    cb = 64;
    EXPECT_EQ(0, pCard->ReadRecordAbsolute(4, record.data(), &cb));
    EXPECT_EQ("NEW1", text());
}

TEST_F(CardClasses, LoadAKeySignAndDecipherWithIt)
{
    const Key key(EVP_RSA_gen(2048), EVP_PKEY_free);
    const auto pCard = Connect<CSCardZentaris34>();
    WORD path[] = {DS_DF};
    ASSERT_EQ(0, pCard->PathSelectWORD(path, 1, 1));
    _M4_BSO_info info;
    info.ObjectClass = KEY_CLASS;
    info.ObjectId = KEY_ID;
    info.AC_USE = info.AC_CHANGE = DS_PIN_ID;
    Bytes p = Number(key, OSSL_PKEY_PARAM_RSA_FACTOR1, 128);
    Bytes q = Number(key, OSSL_PKEY_PARAM_RSA_FACTOR2, 128);
    Bytes dP = Number(key, OSSL_PKEY_PARAM_RSA_EXPONENT1, 128);
    Bytes dQ = Number(key, OSSL_PKEY_PARAM_RSA_EXPONENT2, 128);
    Bytes c = Number(key, OSSL_PKEY_PARAM_RSA_COEFFICIENT1, 128);
    Bytes e = Number(key, OSSL_PKEY_PARAM_RSA_E, 8);
    EXPECT_EQ(eM4Error_invalid_args, // numbers that don't belong together
              pCard->CreateRsa2048Key(&info, q.data(), p.data(), dP.data(), dQ.data(), c.data(),
                                      e.data()));
    info.ObjectId = OTHER_KEY_ID;
    ASSERT_EQ(0, pCard->CreateRsa2048Key(&info, p.data(), q.data(), dP.data(), dQ.data(), c.data(),
                                         e.data()));
    EXPECT_EQ(eM4Error_file_not_found, pCard->SelectEx2(0xFF02, nullptr, eFidEF, 1));

    Bytes result(256);
    CK_ULONG cb = result.size();
    ASSERT_EQ(0, pCard->PathSelectWORD(path, 1, 1));
    ASSERT_EQ(0, pCard->ManageSecurityEnvironment(info.ObjectId, 0x41B6, 0));
    EXPECT_EQ(0x6982, pCard->ComputeSignature2048(DS_PIN.data(), 8, result.data(), &cb));
    EXPECT_EQ(0, pCard->Verify(DS_PIN_ID, DS_PIN.data(), 8));
    for (const CK_BYTE cbData : {CK_BYTE{19}, CK_BYTE{200}, CK_BYTE{245}}) {
        const Bytes data = Random(cbData);
        EXPECT_EQ(0, pCard->ComputeSignature2048(data.data(), cbData, result.data(), &cb));
        EXPECT_EQ(data, PublicOperation(key, result, true)) << int{cbData};
    }
    const Bytes plain = Bytes{0x00} + Random(255);
    Bytes cryptogram = PublicOperation(key, plain, false);
    EXPECT_EQ(0, pCard->EncDec2048(0x8086, cryptogram.data(), 256, result.data(), &cb));
    EXPECT_EQ(plain, result);
}

TEST_F(CardClasses, GenerateAKeyWhosePublicHalfVerifiesAndLoadAnother)
{
    const auto pCard = Connect<CSCardZentaris34>();
    WORD path[] = {DS_DF};
    ASSERT_EQ(0, pCard->PathSelectWORD(path, 1, 1));
    _M4_FileInfo_common file;
    file.SetDefaultAC(0x00);
    file.fid = 0x7005;
    file.size = 0x0120;
    ASSERT_EQ(0, pCard->CreateFile(&file));
    _M4_BSO_info info;
    info.ObjectClass = KEY_CLASS;
    info.ObjectId = KEY_ID;
    ASSERT_EQ(0, pCard->CreateBSO(&info, 1));
    EXPECT_EQ(eM4Error_invalid_args,
              pCard->GenerateKeyPair(KEY_CLASS, KEY_ID, 0x7005, 999, nullptr, 0));
    ASSERT_EQ(0, pCard->GenerateKeyPair(KEY_CLASS, KEY_ID, 0x7005, 1024, nullptr, 0));
    Bytes objects(132), signature(128); // 81, three bytes of length, the modulus
    CK_ULONG cb = signature.size();
    EXPECT_EQ(0, pCard->ReadBinary(0, 132, objects.data()));
    EXPECT_EQ(0, pCard->ComputeSignature(DS_PIN.data(), 8, signature.data(), &cb));
    _M4_BSO_info protection;
    protection.ObjectClass = 0x10;
    protection.ObjectId = OTHER_KEY_ID;
    protection.SetDefaultConditions(0xFF); // not itself under protection
    protection.AC_CHANGE = DS_PIN_ID;
    protection.ObjectDataLen = 24;
    EXPECT_EQ(0, pCard->CreateBSO(&protection, 0)); // with its value: the creator may, once
    EXPECT_EQ(0x6982, pCard->ChangeKeyData(OTHER_KEY_ID, 0x10, Random(24).data(), 24));
    EXPECT_EQ(DS_PIN,
              PublicOperation(PublicKey({objects.begin() + 4, objects.end()}), signature, true));
}

TEST_F(CardClasses, SignAndDecipherWithAnotherFamilysKeyOverBothProtocols)
{
    Bytes modulus(128), signature(128), result(128), hash = Random(20);
    InsertCard("setec");
    EXPECT_EQ(0, Connect<CSCardSetec43>()->ExportRSAPublicKey(0x03, modulus.data()));
    const Key key = PublicKey(modulus);
    const Bytes plain = Bytes{0x00} + Random(127);
    Bytes cryptogram = PublicOperation(key, plain, false);
    for (const bool bT0 : {false, true}) {
        InsertCard(bT0 ? "setec-t0" : "setec", bT0 ? "6:sw=6F00" : "");
        const auto pCard = Connect<CSCardSetec43>();
        CK_ULONG cb = 128;
        EXPECT_EQ(0, pCard->ManageSecurityEnvironment(0x03, 0x41B6, 0x02));
        EXPECT_EQ(0, pCard->PutHash(hash.data(), 20));
        EXPECT_EQ(0, pCard->ComputeSignature(signature.data(), &cb));
        EXPECT_EQ(hash, PublicOperation(key, signature, true));
        EXPECT_EQ(bT0 ? 0x6180 : 0, pCard->EncDec(CSCardSetec43::DECIPHER, cryptogram.data(), 128,
                                                  result.data(), &cb));
    }
    EXPECT_EQ(plain, result); // of T=1: with T=0 the class leaves the answer to its host

    const auto pCard = Connect<CSCardSetec43>();
    CK_ULONG cb = 0;
    EXPECT_EQ(0x6180, pCard->EncDec(CSCardSetec43::DECIPHER, cryptogram.data(), 128, nullptr, &cb));
    EXPECT_EQ(0x6C80, pCard->GetResponse(0x10, nullptr)); // after 6F00 and the command once more
    EXPECT_EQ(0, pCard->GetResponse(0x80, nullptr));
    EXPECT_EQ(0x6985, pCard->GetResponse(0x80, nullptr));
}

TEST_F(CardClasses, FetchADescriptionWithTheCardsOwnGetResponseOverT0)
{
    _M4_FileInfo_SM infos[2];
    for (const bool bT0 : {false, true}) {
        InsertCard(bT0 ? "cns-t0" : "cns");
        const auto pCard = Connect<CSCardCardOSM4>();
        infos[bT0].fid = CNS_DF;
        EXPECT_EQ(0, pCard->GetFileInfo(infos[bT0]));
        EXPECT_EQ(bT0, Log().find(" > A0 C0 00 00") != std::string::npos);
    }
    EXPECT_EQ(eDF, infos[1].type);
    EXPECT_EQ(infos[0].DF_Body_size, infos[1].DF_Body_size);
}

TEST_F(CardClasses, SwitchADfAndALifeCycleOffAndOn)
{
    const auto pCard = Connect<CSCardCardOSM4>();
    WORD path[] = {DS_DF};
    EXPECT_EQ(0, pCard->PathSelectWORD(path, 0, 1));
    EXPECT_EQ(0, pCard->ActivateFile(DS_DF, 0, 1));
    EXPECT_EQ(0x6985, pCard->Verify(DS_PIN_ID, DS_PIN.data(), 8));
    EXPECT_EQ(0x6985, pCard->SelectEx2(0x8100, nullptr, eFidEF, 1)); // and nothing below it

    EXPECT_EQ(0, pCard->PathSelectWORD(path, 0, 1));
    EXPECT_EQ(0, pCard->ActivateFile(DS_DF, 1, 1));
    EXPECT_EQ(0, pCard->Verify(DS_PIN_ID, DS_PIN.data(), 8));
    EXPECT_EQ(1, Presented("ds-pin"));

    WORD wFree = 0;
    EXPECT_EQ(0, pCard->GetFreeMemory(eCurrentDFBody, wFree));
    EXPECT_NE(0, wFree);
    EXPECT_EQ(0, pCard->SwitchToAdminLifeCycle());
    EXPECT_EQ(0, pCard->RevertFromAdminLifeCycle());
}

} // namespace
