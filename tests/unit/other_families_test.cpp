// SPDX-License-Identifier: Apache-2.0
//
// Unblocking on Starcos and CardOS M4 cards: the bytes of each reset, and that none is sent where
// the PIN's directory is missing.

#include "pindesk/PCSC_Misc.h"
#include "tests/support/selections.h"

namespace {
class Unblock : public CScriptedTest {
protected:
    /// Six digits of PUK and the filler's last two; five of PIN and the filler's last three.
    static constexpr char STARCOS_DATA[] = " 10 31 32 33 34 35 36 35 37  36 37 38 39 30 39 33 35";
    static constexpr char M4_DATA[] = " 10 31 32 33 34 35 36 00 00  36 37 38 39 30 00 00 00";

    void ExpectReset(const char* szHeader, const char* szData, SAnswer answer)
    {
        card.Step("reset", (std::string(szHeader) + szData).c_str(), std::move(answer));
    }
    static long Starcos() { return PCSC_Unblock_Starcos(1, "123456", "67890"); }
    static long M4() { return PCSC_Unblock_M4_1111(1, "123456", "67890"); }
};

TEST_F(Unblock, StarcosResetsThePinsOfBothDirectories)
{
    ExpectSelections(card, "3F00 1111");
    ExpectReset("80 24 30 96", STARCOS_DATA, 0x9000);
    ExpectSelections(card, "3F00 DF01");
    ExpectReset("80 24 30 9A", STARCOS_DATA, 0x9000);
    EXPECT_EQ(0, Starcos());
    EXPECT_EQ("EndTransaction -> 80100003", card.Log().back()); // after the disconnect, on purpose
}

TEST_F(Unblock, StarcosStopsAtTheFirstFailure)
{
    const SAnswer refusals[] = {0x63C2, SAnswer::Fail(SCARD_E_NOT_TRANSACTED), "", "90"};
    for (const auto& refusal : refusals) {
        ExpectSelections(card, "3F00 1111");
        ExpectReset("80 24 30 96", STARCOS_DATA, refusal);
        EXPECT_EQ(-32, Starcos());
    }
    for (const bool bSelected : {false, true}) {
        ExpectSelections(card, "3F00 1111");
        ExpectReset("80 24 30 96", STARCOS_DATA, 0x9000);
        ExpectSelections(card, bSelected ? "3F00 DF01" : "3F00 DF01!");
        if (bSelected) {
            ExpectReset("80 24 30 9A", STARCOS_DATA, 0x6983);
        }
        EXPECT_EQ(bSelected ? -32 : -4, Starcos());
    }
}

TEST_F(Unblock, M4ResetsThePinOfDf1111)
{
    ExpectSelections(card, "3F00 0000! 1111"); // the second one may fail
    ExpectReset("00 2C 00 81", M4_DATA, 0x9000);
    EXPECT_EQ(0, M4());

    ExpectSelections(card, "3F00 0000 1111");
    ExpectReset("00 2C 00 81", M4_DATA, 0x63C2);
    EXPECT_EQ(-32, M4());
}

TEST_F(Unblock, NoResetIsSentWhereTheDirectoryIsMissing)
{
    ExpectSelections(card, "3F00 1111!");
    EXPECT_EQ(-4, Starcos());
    ExpectSelections(card, "3F00! fci 3F00!");
    EXPECT_EQ(-4, Starcos());
    ExpectSelections(card, "3F00 0000 1111!");
    EXPECT_EQ(-4, M4());
    ExpectSelections(card, "3F00! fci 3F00!");
    EXPECT_EQ(-4, M4());
}

TEST_F(Unblock, LongValuesFillTheDataFieldAndNothingElse)
{
    const std::string puk(300, '5'), pin(12, '6');
    ExpectSelections(card, "3F00 0000 1111");
    ExpectReset("00 2C 00 81", " 10 35 35 35 35 35 35 35 35  36 36 36 36 36 36 36 36", 0x9000);
    EXPECT_EQ(0, PCSC_Unblock_M4_1111(1, puk.c_str(), pin.c_str()));
    // a long PUK shows where the PIN ends early
    ExpectSelections(card, "3F00 0000 1111");
    ExpectReset("00 2C 00 81", " 10 35 35 35 35 35 35 35 35  31 35 35 35 35 35 35 35", 0x9000);
    EXPECT_EQ(0, PCSC_Unblock_M4_1111(1, puk.c_str(), "1"));
}

TEST_F(Unblock, SetecDoesNothingOnPurpose)
{
    EXPECT_EQ(0, PCSC_Unblock_Setec(1, "123456", "67890"));
    EXPECT_EQ(0, PCSC_Unblock_Setec(0, nullptr, nullptr));
    EXPECT_TRUE(card.Log().empty());
}
} // namespace
