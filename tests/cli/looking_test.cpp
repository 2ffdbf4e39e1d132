// SPDX-License-Identifier: Apache-2.0
//
// The verbs that only look at readers and cards.

#include "tests/cli/tool.h"

namespace {

constexpr const char* READER = "PinDesk Virtual Reader 00 00";
constexpr const char* SERIAL = "6200000000000001";

class Looking : public ToolTest {};

TEST_F(Looking, ListsReadersWithTheirCards)
{
    const Finished run = Pindesk({"readers", "--json"});
    EXPECT_EQ(0, run.status);
    const auto reader = run.Json().at("readers").at(0);
    EXPECT_EQ(1, reader.at("slot"));
    EXPECT_EQ(READER, reader.at("name"));
    EXPECT_TRUE(reader.at("card_present"));
    EXPECT_EQ(0U, reader.at("atr").get<std::string>().find("3b"));
    EXPECT_NE(std::string::npos, Pindesk({"readers"}).out.find(READER));
}

TEST_F(Looking, PrintsTheSerialNumberAndNothingElse)
{
    for (const Words& words : {Words{"serial"}, Words{"serial", "--quiet"},
                               Words{"--wait", "serial", "--slot", "1", "--serial", SERIAL}}) {
        const Finished run = Pindesk(words);
        EXPECT_EQ(0, run.status) << run.err;
        EXPECT_EQ(std::string(SERIAL) + "\n", run.out);
        EXPECT_EQ("", run.err);
    }
}

TEST_F(Looking, FindsAReaderByNameOrByAPartOfIt)
{
    for (const char* name : {READER, "Virtual", "00 00"})
        EXPECT_EQ(0, Pindesk({"serial", "--reader", name}).status) << name;
    const Finished unknown = Pindesk({"serial", "--reader", "virtual"});
    EXPECT_EQ(5, unknown.status);
    EXPECT_NE(std::string::npos, unknown.err.find(READER)); // the choice is shown
    EXPECT_EQ(5, Pindesk({"serial", "--slot", "2"}).status);
}

TEST_F(Looking, TellsAMissingReaderFromAnotherCard)
{
    const Finished other = Pindesk({"status", "--serial", "6200000000000009", "--json"});
    EXPECT_EQ(9, other.status);
    EXPECT_EQ(-65, other.Json().at("code"));
    Card("READER", "");
    EXPECT_EQ(5, Pindesk({"readers"}).status);
    EXPECT_EQ(5, Pindesk({"serial", "--wait=1"}).status);
}

TEST_F(Looking, WorksWithAReaderNameOf80Characters)
{
    const std::string name(80, 'r');
    Card("READER", name);
    EXPECT_EQ(name, Pindesk({"status", "--json"}).Json().at("reader"));
    EXPECT_EQ(0, Pindesk({"serial", "--reader", name}).status);
}

TEST_F(Looking, TellsTheLimitsWithoutAnyCard)
{
    Card("READER", "");
    const Finished run = Pindesk({"limits"});
    EXPECT_EQ(0, run.status);
    EXPECT_EQ("CNS PIN  6 to 8 characters\nCNS PUK  8 characters\n"
              "DS PIN   6 to 8 characters\nDS PUK   8 characters\n",
              run.out);
}

TEST_F(Looking, AsksForTheTriesWithoutSpendingOne)
{
    for (int round = 0; round < 3; ++round) {
        const auto secrets = Pindesk({"status", "--json"}).Json().at("secrets");
        const struct {
            const char* name;
            int tries;
        } expected[] = {{"cns-pin", 3}, {"cns-puk", 5}, {"ds-pin", 3}, {"ds-puk", 5}};
        for (std::size_t i = 0; i < secrets.size(); ++i) {
            EXPECT_EQ(expected[i].name, secrets.at(i).at("name"));
            EXPECT_EQ(expected[i].tries, secrets.at(i).at("tries_left"));
        }
        EXPECT_EQ(4U, secrets.size());
    }
    EXPECT_EQ(0, Presented("cns-pin"));
}

TEST_F(Looking, SaysWhenTheCardDoesNotTell)
{
    Card("PROFILE", "gdo"); // without a signature application of that name
    const Finished run = Pindesk({"status", "--set", "SETTING_CNS_DS_DF_ROOT=0x1777", "--json"});
    EXPECT_EQ(0, run.status) << run.err;
    const auto pin = run.Json().at("secrets").at(2);
    EXPECT_EQ("unknown", pin.at("state"));
    EXPECT_TRUE(pin.at("tries_left").is_null());
    EXPECT_EQ("6A82", pin.at("status_word"));
}

TEST_F(Looking, UsesChangedSettings)
{
    const Finished run = Pindesk(
        {"status", "--set", "SETTING_CNS_PIN=0x11", "--set", "SETTING_CNS_PUK=16", "--json"});
    EXPECT_EQ(5, run.Json().at("secrets").at(0).at("tries_left"));
    EXPECT_EQ(3, run.Json().at("secrets").at(1).at("tries_left"));
}

TEST_F(Looking, IdentifiesEveryLayout)
{
    const struct {
        const char* profile;
        int layout;
    } cases[] = {{"cns", 2},      {"layout-0", 0}, {"layout-1", 1},  {"layout-3", 3},
                 {"layout-4", 4}, {"layout-5", 5}, {"layout-32", 32}};
    for (const auto& [profile, layout] : cases) {
        Card("PROFILE", profile);
        Card("STATE", "");
        const Finished run = Pindesk({"identify", "--json"});
        ASSERT_EQ(0, run.status) << profile << run.err;
        EXPECT_EQ(layout, run.Json().at("layout")) << profile;
        EXPECT_NE(std::string::npos,
                  run.Json().at("atr_match").get<std::string>().find("virtual card"));
    }
}

} // namespace
