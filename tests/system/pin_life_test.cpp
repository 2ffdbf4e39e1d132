// SPDX-License-Identifier: Apache-2.0
//
// The life of the secrets in a C++ host, plain and under secure messaging: right, wrong, changed,
// blocked, brought back. The card is in the first reader of a private pcscd, or in this process.

#include "tests/support/operations.h"
#include "tests/support/vcard.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

std::shared_ptr<CCardFiles> InsertCard()
{
    if (std::getenv("PINDESK_VPCD_PORT") != nullptr) {
        return std::make_shared<CVirtualCard>();
    }
    auto pCard = std::make_shared<CCardFiles>();
    for (const std::string& variable : pCard->Variables()) {
        const auto equals = variable.find('=');
        setenv(variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str(), 1);
    }
    return pCard;
}

class PinLife : public testing::TestWithParam<BOOL> {
protected:
    void LiveUntilBlocked(ESecret secret)
    {
        const SSecret& row = CARD_SECRETS[secret];
        SCOPED_TRACE(row.szName);
        EXPECT_EQ(result::OK, Verify(secret, row.szValue, CALL));
        EXPECT_EQ(row.lWrong, Verify(secret, "11111", CALL));
        EXPECT_EQ(row.iTries - 1, m_pCard->TriesLeft(row.szName));

        EXPECT_EQ(result::OK, Change(secret, row.szValue, NEW_VALUE, CALL));
        EXPECT_EQ(row.iTries, m_pCard->TriesLeft(row.szName));
        EXPECT_EQ(row.lWrong, Verify(secret, row.szValue, CALL));
        EXPECT_EQ(result::OK, Verify(secret, NEW_VALUE, CALL));

        for (int iTry = 0; iTry < row.iTries; ++iTry) {
            EXPECT_EQ(row.lWrong, Verify(secret, "11111", CALL)) << iTry;
        }
        EXPECT_EQ(row.lBlocked, Verify(secret, NEW_VALUE, CALL));
        EXPECT_EQ(row.lBlocked, Change(secret, NEW_VALUE, "12345", CALL));
        EXPECT_EQ(0, m_pCard->TriesLeft(row.szName));
    }

    const SCall CALL = {.bProtect = GetParam()};
    const std::shared_ptr<CCardFiles> m_pCard = InsertCard();
};
INSTANTIATE_TEST_SUITE_P(, PinLife, testing::Values(0, 1), [](const auto& row) {
    return std::string(row.param != 0 ? "UnderSecureMessaging" : "Plain");
});

TEST_P(PinLife, EndsBlockedComesBackWithThePukAndThePukEndsForGood)
{
    for (const ESecret pin : {CNS_PIN, DS_PIN}) {
        const SSecret& puk = CARD_SECRETS[PukOf(pin)];
        LiveUntilBlocked(pin);
        EXPECT_EQ(puk.lWrong, Unblock(pin, "11111111", "24680", CALL));
        EXPECT_EQ(CARD_SECRETS[pin].lBlocked, Verify(pin, NEW_VALUE, CALL));

        EXPECT_EQ(result::OK, Unblock(pin, puk.szValue, "24680", CALL));
        EXPECT_EQ(result::OK, Verify(pin, "24680", CALL));
        EXPECT_EQ(CARD_SECRETS[pin].iTries, m_pCard->TriesLeft(CARD_SECRETS[pin].szName));

        LiveUntilBlocked(PukOf(pin));
        EXPECT_EQ(puk.lBlocked, Unblock(pin, NEW_VALUE, "12345", CALL));
    }
}

} // namespace
