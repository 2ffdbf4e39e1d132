// SPDX-License-Identifier: Apache-2.0
//
// Verification and change of the four secrets: order, bytes and results.

#include "tests/support/operation_test.h"

#include "pindesk/constants.h"
#include "tests/support/secure_card.h"

namespace {
/// What is particular to one secret.
struct SSecretRow {
    const char* szReference; ///< of VERIFY, in hex: always with the local bit
    const char* szChange;    ///< of CHANGE REFERENCE DATA: as set
    long lLength, lNewLength, lVerify, lBlocked, lChange;
    bool bSignature;
};
const SSecretRow kRows[4] = {{"90", "10", -60, -56, -22, -32, -15, false},
                             {"91", "11", -61, -57, -23, -33, -16, false},
                             {"9A", "9A", -62, -58, -24, -34, -17, true},
                             {"9B", "9B", -63, -59, -25, -35, -18, true}};

class Secrets : public COperationTest {
protected:
    using Pins = std::array<SPin, 4>;

    long Verify(const Pins& p, BOOL bProtect = 0, unsigned char* pKey = nullptr)
    {
        return CNS_DS_VerifyPinPuk(1, nullptr, p[0].pb, p[0].cb, p[1].pb, p[1].cb, p[2].pb, p[2].cb,
                                   p[3].pb, p[3].cb, pKey, bProtect);
    }
    long Change(const Pins& o, const Pins& n, BOOL bProtect = 0, unsigned char* pKey = nullptr)
    {
        return CNS_DS_ChangePinPuk(1, nullptr, o[0].pb, o[0].cb, n[0].pb, n[0].cb, o[1].pb, o[1].cb,
                                   n[1].pb, n[1].cb, o[2].pb, o[2].cb, n[2].pb, n[2].cb, o[3].pb,
                                   o[3].cb, n[3].pb, n[3].cb, pKey, bProtect);
    }
    static Pins Only(std::size_t i, const SPin& pin)
    {
        Pins pins;
        pins[i] = pin;
        return pins;
    }
    void Begin()
    {
        SelectMF();
        SelectDS(0x6A82); // not looked at
    }
    static std::string VerifyCommand(const SSecretRow& row, const std::string& pin,
                                     std::size_t cb = 8)
    {
        const auto cbByte = static_cast<std::uint8_t>(cb);
        return std::string("00 20 00") + row.szReference + scripted::ToHex(&cbByte, 1) +
               Padded(pin, cb);
    }
    static std::string ChangeCommand(const SSecretRow& row, const std::string& pin)
    {
        return std::string("00 24 01") + row.szChange + "08" + Padded(pin);
    }
};

TEST_F(Secrets, AreVerifiedInTheirOrderPaddedTo8)
{
    Begin();
    Step(VerifyCommand(kRows[0], "12345"));
    Step(VerifyCommand(kRows[1], "123456"));
    Step(VerifyCommand(kRows[2], "1234567"));
    Step(VerifyCommand(kRows[3], "12345678"));
    EXPECT_EQ(0, Verify({"12345", "123456", "1234567", "12345678"}));
}

TEST_F(Secrets, VerificationStopsAtTheFirstFailureWithItsCode)
{
    for (std::size_t i = 0; i < 4; ++i) {
        const auto& row = kRows[i];
        const struct {
            SAnswer answer;
            long lResult;
        } answers[] = {{0x6983, row.lBlocked},
                       {0x63C2, row.lVerify},
                       {0x6300, row.lVerify},
                       {SAnswer::Fail(SCARD_E_READER_UNAVAILABLE), row.lVerify},
                       {0x6987, row.bSignature ? -10 : row.lVerify},
                       {0x6988, row.bSignature ? -10 : row.lVerify},
                       {0x6A80, row.bSignature ? -10 : row.lVerify}};
        for (const auto& answer : answers) {
            Begin();
            for (std::size_t iBefore = 0; iBefore < i; ++iBefore)
                Step(VerifyCommand(kRows[iBefore], "12345"));
            Step(VerifyCommand(row, "12345"), answer.answer);
            EXPECT_EQ(answer.lResult, Verify({"12345", "12345", "12345", "12345"}));
        }
    }
}

TEST_F(Secrets, WrongLengthIsTriedOnceMoreUnpadded)
{
    for (std::size_t i = 0; i < 4; ++i) {
        const auto& row = kRows[i];
        const struct {
            int nSecond;
            long lResult;
        } answers[] = {{0x9000, 0}, {0x6700, row.lVerify}, {0x6983, row.lBlocked}};
        for (const auto& answer : answers) {
            Begin();
            Step(VerifyCommand(row, "123456"), 0x6700);
            Step(VerifyCommand(row, "123456", 6), answer.nSecond);
            EXPECT_EQ(answer.lResult, Verify(Only(i, "123456")));
        }
    }
}

TEST_F(Secrets, LengthsAreCheckedBeforeAnyCallAlsoBesideANullPointer)
{
    for (std::size_t i = 0; i < 4; ++i) {
        for (const long cb : {1L, 4L, 9L, 255L, -1L}) {
            Pins pins = Only(i, {"123456789", cb});
            const std::size_t iOther = (i + 1) % 4;
            pins[iOther] = "12345";
            EXPECT_EQ(kRows[i].lLength, Verify(pins));
            EXPECT_EQ(kRows[i].lLength, Change(pins, Only(iOther, "12345")));
            EXPECT_EQ(kRows[i].lNewLength, Change(Only(iOther, "12345"), [&] {
                          Pins news = Only(iOther, "12345");
                          news[i].cb = cb; // without a pointer
                          return news;
                      }()));
        }
    }
    const SPin shortPin("1234");
    EXPECT_EQ(-60, Verify({shortPin, shortPin, shortPin, shortPin}));
    EXPECT_EQ(-60, Change({shortPin, shortPin}, {shortPin, "12345"}));
    EXPECT_EQ(-56, Change({"12345", shortPin}, {shortPin, "12345"}));
    EXPECT_TRUE(card.Log().empty());
}

TEST_F(Secrets, NothingGivenIsRefusedFirst)
{
    EXPECT_EQ(-64, Verify({}));
    EXPECT_EQ(-64, Verify({SPin("12345", 0), SPin(nullptr, 4)}));
    EXPECT_EQ(-64, Change({"12345"}, {}));
    EXPECT_EQ(-64, Change({}, {"1234", "1234"}));
    EXPECT_EQ(-64, Change({"12345", nullptr}, {nullptr, "12345"}));
    EXPECT_TRUE(card.Log().empty());
}

TEST_F(Secrets, AreVerifiedAndThenChangedPairByPair)
{
    Begin();
    for (const auto& row : kRows) {
        Step(VerifyCommand(row, "12345"));
        Step(ChangeCommand(row, "678901"));
    }
    EXPECT_EQ(
        0, Change({"12345", "12345", "12345", "12345"}, {"678901", "678901", "678901", "678901"}));

    Begin();
    Step(VerifyCommand(kRows[2], "12345"), 0x6700);
    Step(VerifyCommand(kRows[2], "12345", 5));
    Step(ChangeCommand(kRows[2], "678901"), 0x6700); // padded also here, and not again
    EXPECT_EQ(-17, Change({"12345", nullptr, "12345"}, {nullptr, "67890", "678901"}));
}

TEST_F(Secrets, ChangeReportsItsStageAndLeavesEarlierChanges)
{
    for (std::size_t i = 0; i < 4; ++i) {
        const auto& row = kRows[i];
        const struct {
            int nVerify;
            SAnswer change;
            long lResult;
        } answers[] = {{0x6983, 0x9000, row.lBlocked},
                       {0x63C2, 0x9000, row.lVerify},
                       {0x6988, 0x9000, row.lVerify}, // no code of its own at this stage
                       {0x9000, 0x6982, row.lChange},
                       {0x9000, SAnswer::Fail(SCARD_E_READER_UNAVAILABLE), row.lChange},
                       {0x9000, 0x6987, row.bSignature ? -10 : row.lChange},
                       {0x9000, 0x6988, row.bSignature ? -10 : row.lChange},
                       {0x9000, 0x6A80, row.bSignature ? -10 : row.lChange}};
        for (const auto& answer : answers) {
            Begin();
            for (std::size_t iBefore = 0; iBefore < i; ++iBefore) {
                Step(VerifyCommand(kRows[iBefore], "12345"));
                Step(ChangeCommand(kRows[iBefore], "67890"));
            }
            Step(VerifyCommand(row, "12345"), answer.nVerify);
            if (answer.nVerify == 0x9000)
                Step(ChangeCommand(row, "67890"), answer.change);
            EXPECT_EQ(answer.lResult, Change({"12345", "12345", "12345", "12345"},
                                             {"67890", "67890", "67890", "67890"}));
        }
    }
}

TEST_F(Secrets, OfTheSignatureApplicationAloneTravelProtected)
{
    Bytes key = FromHex("0123456789ABCDEF 23456789ABCDEF01 456789ABCDEF0123");
    CSecureCard secure(card, key, key);
    Begin();
    Step(VerifyCommand(kRows[0], "12345"));
    Step(ChangeCommand(kRows[0], "67890"));
    secure.Expect("verify", VerifyCommand(kRows[2], "12345").c_str(), 0x9000);
    secure.Expect("change", ChangeCommand(kRows[2], "67890").c_str(), 0x6A80);
    EXPECT_EQ(-10, Change({"12345", nullptr, "12345"}, {"67890", nullptr, "67890"}, 1, key.data()));

    const Bytes own(DEFAULT_DES3_KEY, DEFAULT_DES3_KEY + 24);
    CSecureCard secureByDefault(card, own, own);
    Begin();
    secureByDefault.Expect("verify", VerifyCommand(kRows[3], "12345").c_str(), 0x9000);
    EXPECT_EQ(0, Verify(Only(3, "12345"), 1));

    Begin(); // a key alone does not switch it on
    Step(VerifyCommand(kRows[3], "12345"));
    EXPECT_EQ(0, Verify(Only(3, "12345"), 0, key.data()));
}

TEST_F(Secrets, SettingsChooseDirectoryAndReferences)
{
    const CSetting df("SETTING_CNS_DS_DF_ROOT", 0x15000);
    const CSetting cnsPin("SETTING_CNS_PIN", 0x131);
    const CSetting dsPin("SETTING_CNS_DS_PIN", 0x19A);
    const CSetting dsPuk("SETTING_CNS_DS_PUK", 0x02);
    SelectMF();
    Step("00 A4 09 0C 02 50 00 FF");
    Step("00 20 00 B1 08" + Padded("12345"));
    Step("00 24 01 31 08" + Padded("67890")); // as set
    Step("00 20 00 9A 08" + Padded("12345"));
    Step("00 24 01 9A 08" + Padded("67890"));
    Step("00 20 00 82 08" + Padded("12345"));
    Step("00 24 01 82 08" + Padded("67890"));
    EXPECT_EQ(0,
              Change({"12345", nullptr, "12345", "12345"}, {"67890", nullptr, "67890", "67890"}));
}

TEST(Settings, AreTheTwelveDefaultsAndAChangeKeepsTheItem)
{
    const std::map<std::string, long> defaults = {
        {"SETTING_CNS_DS_DF_ROOT", 0x1400}, {"SETTING_CNS_DS_MAIN_FILE", 0x8100},
        {"SETTING_CNS_PIN", 0x10},          {"SETTING_CNS_PUK", 0x11},
        {"SETTING_CNS_DF0", 0x1000},        {"SETTING_CNS_DF0_EF_ID_Carta", 0x1003},
        {"SETTING_CNS_DF1", 0x1100},        {"SETTING_CNS_DS_PIN", 0x1A},
        {"SETTING_CNS_DS_PUK", 0x1B},       {"SETTING_CNS_DS_KAUTH", 0x1C},
        {"SETTING_CNS_DS_DF", 0x8110},      {"SETTING_FASTFS_P11_DF", 0x2FFF}};
    std::map<std::string, long> found;
    for (const auto& [name, pItem] : g_settings_dict)
        found[name] = static_cast<long>(*pItem);
    EXPECT_EQ(defaults, found);

    const CKDictItem* const pBefore = g_settings_dict["SETTING_CNS_DF1"];
    EXPECT_EQ(0, PINDESK_ChangeSetting("SETTING_CNS_DF1", 0x5000));
    EXPECT_EQ(0, PINDESK_ChangeSetting("SETTING_CNS_DF1", 0x1100));
    EXPECT_EQ(pBefore, g_settings_dict["SETTING_CNS_DF1"]);
    const CSetting unknown("SETTING_OF_MY_OWN", -1);
    EXPECT_EQ(-1, static_cast<long>(*g_settings_dict["SETTING_OF_MY_OWN"]));
}
} // namespace
