// SPDX-License-Identifier: Apache-2.0
//
// Unblocking the two PINs with their PUKs.

#include "tests/support/operation_test.h"
#include "tests/support/secure_card.h"

namespace {
class UnblockPin : public COperationTest {
protected:
    /// Values for the PUKs and PINs together: CNS PUK, CNS PIN, DS PUK, DS PIN.
    static long Call(const SPin& cnsPuk, const SPin& cnsPin, const SPin& dsPuk = {},
                     const SPin& dsPin = {}, const SCall& call = {})
    {
        return Unblock({nullptr, cnsPuk, nullptr, dsPuk}, {cnsPin, nullptr, dsPin}, call);
    }
    const std::string m_cnsVerify = "00 20 00 91 08" + Padded("87654321");
    const std::string m_cnsReset = "00 2C 00 10 10" + Padded("87654321") + Padded("12345");
    const std::string m_dsVerify = "00 20 00 9B 08" + Padded("87654321");
    const std::string m_dsReset = "00 2C 00 9A 10" + Padded("87654321") + Padded("12345");
};

TEST_F(UnblockPin, ResetsBothPinsOneAfterTheOther)
{
    SelectMF();
    Step(m_cnsVerify);
    Step(m_cnsReset);
    Step("00 A4 08 0C 02 3F 00"); // the MF is known by now, but the card has to go there
    SelectDS();
    Step(m_dsVerify);
    Step(m_dsReset);
    EXPECT_EQ(0, Call("87654321", "12345", "87654321", "12345"));
}

TEST_F(UnblockPin, WithoutAPairOpensTheCardAndDoesNothing)
{
    EXPECT_EQ(0, Call(nullptr, nullptr));
    EXPECT_EQ(0, Call("87654321", nullptr, nullptr, "12345"));
    EXPECT_EQ(2u, card.Count("BeginTransaction"));
    EXPECT_EQ(0u, card.Count("Transmit"));
}

TEST_F(UnblockPin, ChecksTheSlotBeforeTheLengthsAndThoseInTheirOrder)
{
    const SPin bad("1234");
    EXPECT_EQ(-2, Call(bad, nullptr, nullptr, nullptr, {.lSlot = 0}));
    EXPECT_EQ(-61, Call(bad, bad, bad, bad));
    EXPECT_EQ(-56, Call("12345", bad, bad, bad));
    EXPECT_EQ(-63, Call("12345", nullptr, bad, bad));
    EXPECT_EQ(-58, Call(nullptr, nullptr, "12345", {nullptr, 9}));
    EXPECT_TRUE(card.Log().empty());
}

TEST_F(UnblockPin, PukTakenUnpaddedStaysUnpaddedInTheReset)
{
    SelectMF();
    Step("00 20 00 91 08" + Padded("654321"), 0x6700);
    Step("00 20 00 91 06" + Padded("654321", 6));
    Step("00 2C 00 10 0E" + Padded("654321", 6) + Padded("12345"));
    EXPECT_EQ(0, Call("654321", "12345"));
}

TEST_F(UnblockPin, EachStepHasItsCodes)
{
    const SAnswer reader = SAnswer::Fail(SCARD_E_READER_UNAVAILABLE);
    const struct {
        bool bSignature;
        SAnswer verify;
        SAnswer reset;
        long lResult;
    } rows[] = {
        {false, 0x6983, 0, -33},     {false, 0x63C1, 0, -23},      {false, 0x6988, 0, -23},
        {false, reader, 0, -23},     {false, 0x9000, 0x6983, -20}, {false, 0x9000, 0x6A80, -20},
        {false, 0x9000, "90", -32},  {false, 0x9000, reader, -32}, // as if the PIN were blocked
        {true, 0x6983, 0, -35},      {true, 0x63C1, 0, -25},       {true, 0x6987, 0, -10},
        {true, 0x6A80, 0, -10},      {true, 0x6988, 0, -10},       {true, reader, 0, -25},
        {true, 0x9000, 0x6987, -10}, {true, 0x9000, 0x6A80, -10},  {true, 0x9000, 0x6988, -10},
        {true, 0x9000, 0x6983, -21}, {true, 0x9000, reader, -32}};
    for (const auto& row : rows) {
        SelectMF();
        if (row.bSignature) {
            SelectDS(0x6A82); // not looked at
        }
        Step(row.bSignature ? m_dsVerify : m_cnsVerify, row.verify);
        if (row.verify.m_data == SAnswer(0x9000).m_data) {
            Step(row.bSignature ? m_dsReset : m_cnsReset, row.reset);
        }
        EXPECT_EQ(row.lResult, row.bSignature ? Call(nullptr, nullptr, "87654321", "12345")
                                              : Call("87654321", "12345", "87654321", "12345"));
    }
    for (const ESecret pin : {CNS_PIN, DS_PIN}) {
        Step("00 A4 08 0C 02 3F 00", 0x6985);
        EXPECT_EQ(-4, Unblock(pin, "87654321", "12345"));
    }
}

TEST_F(UnblockPin, SignaturePinTravelsProtectedInBothCommands)
{
    CSecureCard secure(card, m_key, m_key);
    SelectMF();
    Step(m_cnsVerify);
    Step(m_cnsReset);
    Step("00 A4 08 0C 02 3F 00");
    SelectDS();
    secure.Expect("verify", m_dsVerify, 0x9000);
    secure.Expect("reset", m_dsReset, 0x6988);
    EXPECT_EQ(-10,
              Call("87654321", "12345", "87654321", "12345", {.bProtect = 1, .pKey = m_abKey}));
}

TEST_F(UnblockPin, PukReferenceIsTheSettingAndThePinsHasTheLocalBit)
{
    const CSetting puk("SETTING_CNS_DS_PUK", 0x05);
    const CSetting pin("SETTING_CNS_DS_PIN", 0x104);
    Begin();
    Step("00 20 00 85 08" + Padded("87654321"));
    Step("00 2C 00 84 10" + Padded("87654321") + Padded("12345"));
    EXPECT_EQ(0, Unblock(DS_PIN, "87654321", "12345"));
}
} // namespace
