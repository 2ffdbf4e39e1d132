// SPDX-License-Identifier: Apache-2.0
//
// Verification and change of the four secrets: order, bytes and results.

#include "tests/support/operation_test.h"

#include "pindesk/constants.h"
#include "tests/support/secure_card.h"

namespace {
/// The references of a secret, in hex.
struct SReference {
    const char* szVerify; ///< always with the local bit
    const char* szChange; ///< as set
};
constexpr SReference REFERENCES[] = {{"90", "10"}, {"91", "11"}, {"9A", "9A"}, {"9B", "9B"}};
constexpr ESecret ALL[] = {CNS_PIN, CNS_PUK, DS_PIN, DS_PUK};
const Pins OLD = {"12345", "12345", "12345", "12345"};
const Pins NEW = {"67890", "67890", "67890", "67890"};

class Secrets : public COperationTest {
protected:
    static std::string VerifyCommand(ESecret secret, const std::string& pin, std::size_t cb = 8)
    {
        return std::string("00 20 00") + REFERENCES[secret].szVerify + "0" + std::to_string(cb) +
               Padded(pin, cb);
    }
    static std::string ChangeCommand(ESecret secret, const std::string& pin)
    {
        return std::string("00 24 01") + REFERENCES[secret].szChange + "08" + Padded(pin);
    }
};

TEST_F(Secrets, AreVerifiedInTheirOrderPaddedTo8)
{
    const Pins pins = {"12345", "123456", "1234567", "12345678"};
    Begin();
    for (const ESecret secret : ALL) {
        Step(VerifyCommand(secret, std::string("12345678", 5 + secret)));
    }
    EXPECT_EQ(0, Verify(pins));
}

TEST_F(Secrets, AreVerifiedAndThenChangedPairByPair)
{
    Begin();
    for (const ESecret secret : ALL) {
        Step(VerifyCommand(secret, "12345"));
        Step(ChangeCommand(secret, "678901"));
    }
    EXPECT_EQ(0, Change(OLD, {"678901", "678901", "678901", "678901"}));

    Begin();
    Step(VerifyCommand(DS_PIN, "12345"), 0x6700);
    Step(VerifyCommand(DS_PIN, "12345", 5));
    Step(ChangeCommand(DS_PIN, "678901"), 0x6700); // padded also here, and not again
    EXPECT_EQ(-17, Change({"12345", nullptr, "12345"}, {nullptr, "67890", "678901"}));
}

TEST_F(Secrets, TheFirstRefusalEndsItWithItsStagesCodeAndLeavesWhatWasDone)
{
    enum EStage { VERIFYING, OLD_VALUE, NEW_VALUE };
    const SAnswer reader = SAnswer::Fail(SCARD_E_READER_UNAVAILABLE);
    const struct {
        EStage stage;
        SAnswer answer;
        long SSecret::*pResult;
        bool bSmHasCode = false; ///< -10 for the secrets of the signature application
    } rows[] = {
        {VERIFYING, 0x6983, &SSecret::lBlocked},
        {VERIFYING, 0x63C2, &SSecret::lWrong},
        {VERIFYING, 0x6300, &SSecret::lWrong},
        {VERIFYING, reader, &SSecret::lWrong},
        {VERIFYING, 0x6987, &SSecret::lWrong, true},
        {VERIFYING, 0x6988, &SSecret::lWrong, true},
        {VERIFYING, 0x6A80, &SSecret::lWrong, true},
        {OLD_VALUE, 0x6983, &SSecret::lBlocked},
        {OLD_VALUE, 0x63C2, &SSecret::lWrong},
        {OLD_VALUE, 0x6988, &SSecret::lWrong}, // no code of its own at this stage
        {NEW_VALUE, 0x6982, &SSecret::lRefusedChange},
        {NEW_VALUE, reader, &SSecret::lRefusedChange},
        {NEW_VALUE, 0x6987, &SSecret::lRefusedChange, true},
        {NEW_VALUE, 0x6988, &SSecret::lRefusedChange, true},
        {NEW_VALUE, 0x6A80, &SSecret::lRefusedChange, true},
    };
    for (const ESecret last : ALL) {
        for (const auto& row : rows) {
            Begin();
            for (const ESecret secret : ALL) {
                const bool bLast = secret == last;
                if (secret <= last) {
                    Step(VerifyCommand(secret, "12345"),
                         bLast && row.stage != NEW_VALUE ? row.answer : 0x9000);
                }
                if (row.stage != VERIFYING &&
                    (secret < last || (bLast && row.stage == NEW_VALUE))) {
                    Step(ChangeCommand(secret, "67890"), bLast ? row.answer : 0x9000);
                }
            }
            const bool bSm = row.bSmHasCode && last >= DS_PIN;
            EXPECT_EQ(bSm ? result::SECURE_MESSAGING : CARD_SECRETS[last].*row.pResult,
                      row.stage == VERIFYING ? Verify(OLD) : Change(OLD, NEW));
        }
    }
}

TEST_F(Secrets, WrongLengthIsTriedOnceMoreUnpadded)
{
    for (const ESecret secret : ALL) {
        const struct {
            int nSecond;
            long lResult;
        } answers[] = {{0x9000, 0},
                       {0x6700, CARD_SECRETS[secret].lWrong},
                       {0x6983, CARD_SECRETS[secret].lBlocked}};
        for (const auto& answer : answers) {
            Begin();
            Step(VerifyCommand(secret, "123456"), 0x6700);
            Step(VerifyCommand(secret, "123456", 6), answer.nSecond);
            EXPECT_EQ(answer.lResult, Verify(secret, "123456"));
        }
    }
}

TEST_F(Secrets, CarefulAreSentInASecondFormOnlyWhereItIsAnother)
{
    const CSetting careful("SETTING_TRY_GUARD", 1);
    SelectMF();
    SelectDS();
    Step(VerifyCommand(CNS_PIN, "12345678"), 0x6700);
    EXPECT_EQ(-22, Verify(CNS_PIN, "12345678"));
    SelectMF();
    SelectDS();
    Step(VerifyCommand(CNS_PIN, "1234567"), 0x6700);
    Step(VerifyCommand(CNS_PIN, "1234567", 7));
    EXPECT_EQ(0, Verify(CNS_PIN, "1234567"));
}

TEST_F(Secrets, CarefulAreNotSentWhereTheirDirectoryWasNotSelected)
{
    const CSetting careful("SETTING_TRY_GUARD", 1);
    Begin();
    Step(VerifyCommand(CNS_PUK, "12345"));
    EXPECT_EQ(-4, Verify({nullptr, "12345", "12345"}));
    Begin();
    EXPECT_EQ(-4, Unblock(DS_PIN, "12345", "67890"));
    Begin();
    EXPECT_EQ(-4, Reactivate("12345", "67890"));
    Begin();
    EXPECT_EQ(-4, Lock());
}

TEST_F(Secrets, AnswersToWhatGoesAheadOfThemSayNothingAboutThem)
{
    for (const int nStatusWord : {0x6700, 0x6983}) {
        for (const bool bChallenge : {true, false}) {
            Begin();
            Step("00 84 00 00 08",
                 bChallenge ? SAnswer(nStatusWord) : "01 02 03 04 05 06 07 08 90 00");
            if (!bChallenge) {
                card.Wildcard("our random", nStatusWord);
            }
            EXPECT_EQ(-24, Verify(DS_PIN, "12345", {.bProtect = 1}));
        }
    }
}

TEST_F(Secrets, LengthsAreCheckedBeforeAnyCallAlsoBesideANullPointer)
{
    const Pins some = {"12345", "12345", "12345", "12345"};
    for (const ESecret secret : ALL) {
        for (const long cb : {1L, 4L, 9L, 255L, -1L}) {
            Pins given = some, missing = some;
            given[secret] = {"123456789", cb};
            missing[secret] = {nullptr, cb};
            EXPECT_EQ(CARD_SECRETS[secret].lLength, Verify(given));
            EXPECT_EQ(CARD_SECRETS[secret].lLength, Change(missing, some));
            EXPECT_EQ(CARD_SECRETS[secret].lNewLength, Change(some, missing));
        }
    }
    const SPin bad("1234");
    EXPECT_EQ(-60, Verify({bad, bad, bad, bad}));
    EXPECT_EQ(-60, Change({bad, bad}, {bad, "12345"}));
    EXPECT_EQ(-56, Change({"12345", bad}, {bad, "12345"}));
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

TEST_F(Secrets, OfTheSignatureApplicationAloneTravelProtected)
{
    CSecureCard secure(card, m_key, m_key);
    Begin();
    Step(VerifyCommand(CNS_PIN, "12345"));
    Step(ChangeCommand(CNS_PIN, "67890"));
    secure.Expect("verify", VerifyCommand(DS_PIN, "12345"), 0x9000);
    secure.Expect("change", ChangeCommand(DS_PIN, "67890"), 0x6A80);
    EXPECT_EQ(-10, Change({"12345", nullptr, "12345"}, {"67890", nullptr, "67890"},
                          {.bProtect = 1, .pKey = m_abKey}));

    const Bytes own(DEFAULT_DES3_KEY, DEFAULT_DES3_KEY + 24);
    CSecureCard secureByDefault(card, own, own);
    Begin();
    secureByDefault.Expect("verify", VerifyCommand(DS_PUK, "12345"), 0x9000);
    EXPECT_EQ(0, Verify(DS_PUK, "12345", {.bProtect = 1}));

    Begin(); // a key alone does not switch it on
    Step(VerifyCommand(DS_PUK, "12345"));
    EXPECT_EQ(0, Verify(DS_PUK, "12345", {.pKey = m_abKey}));
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

TEST_F(Secrets, TravelUnderTheSettingsThatTheOperationFoundAtItsStart)
{
    const CSetting reference("SETTING_CNS_PIN", 0x10);
    const CSetting root("SETTING_CNS_DS_DF_ROOT", 0x1400);
    card.Compute("select the MF while another thread changes settings", [](const auto&) {
        PINDESK_ChangeSetting("SETTING_CNS_PIN", 0x77);
        PINDESK_ChangeSetting("SETTING_CNS_DS_DF_ROOT", 0x7777);
        return 0x9000;
    });
    Step("00 A4 00 0C 02 3F 00 FF");
    SelectDS();
    Step(VerifyCommand(CNS_PIN, "12345"));
    EXPECT_EQ(0, Verify(CNS_PIN, "12345"));
}

TEST_F(Secrets, ComeUnderTheDefaultReferenceWhereAHostErasedTheSetting)
{
    const std::unique_ptr<CKDictItem> item(std::exchange(g_settings_dict["SETTING_CNS_PIN"], {}));
    for (const auto& takeAway : {+[] {}, +[] { g_settings_dict.erase("SETTING_CNS_PIN"); }}) {
        takeAway();
        Begin();
        Step(VerifyCommand(CNS_PIN, "12345"));
        EXPECT_EQ(0, Verify(CNS_PIN, "12345"));
    }
    PINDESK_ChangeSetting("SETTING_CNS_PIN", *item);
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
    for (const auto& [name, pItem] : g_settings_dict) {
        found[name] = static_cast<long>(*pItem);
    }
    EXPECT_EQ(defaults, found);

    const CKDictItem* const pBefore = g_settings_dict["SETTING_CNS_DF1"];
    const CSetting known("SETTING_CNS_DF1", 0x5000);
    EXPECT_EQ(pBefore, g_settings_dict["SETTING_CNS_DF1"]);
    const CSetting unknown("SETTING_OF_MY_OWN", -1);
    EXPECT_EQ(-1, static_cast<long>(*g_settings_dict["SETTING_OF_MY_OWN"]));
}
} // namespace
