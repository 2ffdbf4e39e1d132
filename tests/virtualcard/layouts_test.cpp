// SPDX-License-Identifier: Apache-2.0
//
// The probing selects of card recognition against each layout.
#include "card_fixture.h"

namespace vcard {
namespace {

class Layouts : public CardTest {
protected:
    bool Has(const char* szFid)
    {
        Send(SELECT_MF);
        return Send("00 A4 00 0C 02", szFid) == "9000";
    }
};

TEST_F(Layouts, EachHasTheDfsItsCodeStandsFor)
{
    const struct {
        const char* szProfile;
        const char* szPresent; // '+' or '-' for 1100, 1400, 8110, 2FFF, 1111, 1112
    } layouts[] = {
        {"layout-0", "------"},  {"layout-1", "+-----"}, {"layout-2", "++----"},
        {"layout-3", "--+---"},  {"layout-4", "---+--"}, {"layout-5", "----+-"},
        {"layout-32", "++---+"}, {"cns", "++-+--"},
    };
    for (const auto& layout : layouts) {
        Insert(layout.szProfile);
        std::string strPresent;
        for (const char* szFid : {"1100", "1400", "8110", "2FFF", "1111", "1112"})
            strPresent += Has(szFid) ? '+' : '-';
        EXPECT_EQ(layout.szPresent, strPresent) << layout.szProfile;
    }
}

TEST_F(Layouts, TheFilesThatDecideCanBeRead)
{
    Insert("layout-4");
    ASSERT_TRUE(Has("2FFF"));
    EXPECT_EQ("9000", Send("00 A4 00 0C 02 00 00"));
    EXPECT_EQ("01029000", Send("00 B0 00 00 02"));
    Insert("layout-32");
    ASSERT_TRUE(Has("1112"));
    EXPECT_EQ("9000", Send("00 A4 00 0C 02 EF 01"));
}

} // namespace
} // namespace vcard
