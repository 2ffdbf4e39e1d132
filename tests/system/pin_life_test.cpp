// SPDX-License-Identifier: Apache-2.0
//
// The life of each secret through a real pcscd, with and without secure messaging: right, wrong,
// changed, blocked, unblocked; and what must never cost a try.

#include "tests/system/support/secrets.h"
#include "tests/system/support/virtualcard.h"

#include <gtest/gtest.h>

namespace {

class PinLife : public testing::TestWithParam<bool> {
protected:
    SCall Call() const { return {.bSecureMessaging = GetParam()}; }
};
INSTANTIATE_TEST_SUITE_P(, PinLife, testing::Bool(), [](const auto& row) {
    return std::string(row.param ? "UnderSecureMessaging" : "Plain");
});

TEST_P(PinLife, EachSecretIsVerifiedChangedAndBlocked)
{
    for (const SSecret& secret : SECRETS) {
        SCOPED_TRACE(secret.szName);
        const CVirtualCard card;
        EXPECT_EQ(result::OK, Verify(secret, secret.szValue, Call()));
        EXPECT_EQ(secret.lWrong, Verify(secret, "11111", Call()));
        EXPECT_EQ(secret.iTries - 1, card.TriesLeft(secret.szName));

        EXPECT_EQ(result::OK, Change(secret, secret.szValue, "97531", Call()));
        EXPECT_EQ(secret.iTries, card.TriesLeft(secret.szName));
        EXPECT_EQ(secret.lWrong, Verify(secret, secret.szValue, Call()));
        EXPECT_EQ(result::OK, Verify(secret, "97531", Call()));

        for (int iTry = 0; iTry < secret.iTries; ++iTry) {
            EXPECT_EQ(secret.lWrong, Verify(secret, "11111", Call())) << iTry;
        }
        EXPECT_EQ(secret.lBlocked, Verify(secret, "97531", Call()));
        EXPECT_EQ(secret.lBlocked, Change(secret, "97531", "12345", Call()));
        EXPECT_EQ(0, card.TriesLeft(secret.szName));
    }
}

TEST_P(PinLife, ABlockedPinComesBackWithItsPuk)
{
    for (const SSecret* pin : {&CNS_PIN, &DS_PIN}) {
        SCOPED_TRACE(pin->szName);
        const CVirtualCard card;
        for (int i = 0; i < pin->iTries; ++i) {
            Verify(*pin, "11111", Call());
        }
        ASSERT_EQ(0, card.TriesLeft(pin->szName));
        EXPECT_EQ(pin == &CNS_PIN ? result::VERIFY_CNS_PUK : result::VERIFY_DS_PUK,
                  Unblock(*pin, "11111111", "24680", Call()));
        EXPECT_EQ(pin->lBlocked, Verify(*pin, pin->szValue, Call()));

        EXPECT_EQ(result::OK, Unblock(*pin, pin->szPuk, "24680", Call()));
        EXPECT_EQ(result::OK, Verify(*pin, "24680", Call()));
        EXPECT_EQ(pin->iTries, card.TriesLeft(pin->szName));
    }
}

TEST(PinLifeOfCards, WithoutPaddingGetTheSecretUnpadded)
{
    const CVirtualCard card({"--unpadded"});
    EXPECT_EQ(result::OK, Verify(CNS_PIN, CNS_PIN.szValue));
}

TEST(PinLifeOfCards, ThatInsistOnSecureMessagingRefuseThePlainFormAtNoCost)
{
    const CVirtualCard card({"--require-sm"});
    EXPECT_EQ(result::SECURE_MESSAGING, Verify(DS_PIN, DS_PIN.szValue));
    EXPECT_EQ(DS_PIN.iTries, card.TriesLeft(DS_PIN.szName));
    EXPECT_EQ(result::OK, Verify(DS_PIN, DS_PIN.szValue, {.bSecureMessaging = true}));
}

TEST(NoTry, IsSpentOnAWrongLengthOrAnotherCard)
{
    const CVirtualCard card({"--serial", "6000000000000001"});
    for (const SSecret& secret : SECRETS) {
        SCOPED_TRACE(secret.szName);
        for (const char* szValue : {"1234", "123456789"}) {
            EXPECT_EQ(secret.lLength, Verify(secret, szValue));
            EXPECT_EQ(secret.lLength, Change(secret, szValue, "12345"));
            EXPECT_EQ(secret.lNewLength, Change(secret, secret.szValue, szValue));
        }
        EXPECT_EQ(std::vector<std::string>{}, card.Commands());
    }
    for (const SSecret& secret : SECRETS) {
        const SCall call = {.szSerial = "6000000000000002"};
        EXPECT_EQ(result::OTHER_CARD, Verify(secret, secret.szValue, call));
        EXPECT_EQ(result::OTHER_CARD, Change(secret, secret.szValue, "12345", call));
        EXPECT_EQ(0, card.Presented(secret.szName));
    }
    EXPECT_EQ(result::OTHER_CARD,
              Unblock(CNS_PIN, CNS_PIN.szPuk, "12345", {.szSerial = "6000000000000002"}));
    EXPECT_EQ(0, card.Presented("cns-puk"));
}

TEST(NoTry, IsSpentByACardThatLeavesBeforeTheSecret)
{
    const CVirtualCard card({"--fault", "3:removed"});
    EXPECT_EQ(CNS_PIN.lWrong, Verify(CNS_PIN, "11111"));
    EXPECT_EQ(0, card.Presented(CNS_PIN.szName));

    AwaitCard(true);
    EXPECT_EQ(result::OK, Verify(CNS_PIN, CNS_PIN.szValue));
}

TEST(NoTry, IsSpentTwiceUnderTheTryGuardWhenTheAnswerIsLost)
{
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", 1);
    {
        const CVirtualCard card({"--fault", "3:empty"});
        EXPECT_NE(result::OK, Verify(CNS_PIN, "11111"));
        EXPECT_EQ(1, card.Presented(CNS_PIN.szName));
    }
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", 0);
}

} // namespace
