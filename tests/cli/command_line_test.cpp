// SPDX-License-Identifier: Apache-2.0
//
// What the command line accepts, what it refuses and why. None of these runs needs a card.

#include "tests/cli/tool.h"

namespace {

constexpr const char* PIN = "71839264"; // must never be seen again

class CommandLine : public ToolTest {};

TEST_F(CommandLine, RefusesWhatItDoesNotKnowWithAReason)
{
    const struct {
        Words words;
        const char* reason;
    } cases[] = {
        {{}, "A verb is missing"},
        {{"verfy"}, "readers, serial, status"},
        {{"verify"}, "cns-pin cns-puk ds-pin ds-puk"},
        {{"unblock", "ds-pin"}, "cns ds"},
        {{"serial", "--slot", "0"}, "--slot"},
        {{"serial", "--slot", "x"}, "--slot"},
        {{"serial", "--slot", "1", "--reader", "x"}, "--reader"},
        {{"serial", "--serial", "123"}, "16 characters"},
        {{"serial", "--wait=soon"}, "number of seconds"},
        {{"serial", "--jsn"}, "There is no option --jsn"},
        {{"serial", "--set", "SETTING_CNS_PIN"}, "NAME=VALUE"},
        {{"serial", "--set", "SETTING_CNS_PNI=1"}, "no setting SETTING_CNS_PNI"},
        {{"serial", "--set", "SETTING_CNS_PIN=0x100"}, "1 to 255"},
        {{"serial", "--set", "SETTING_CNS_DF0=65536"}, "1 to 65535"},
        {{"serial", "--set", "SETTING_CNS_DF0=1x"}, "1 to 65535"},
        {{"serial", "--set", "SETTING_CNS_DF0=-1"}, "1 to 65535"},
        {{"verify", "cns-pin", "--puk-from", "stdin"}, "--pin-from"},
        {{"verify", "ds-puk", "--pin-from", "stdin"}, "--puk-from"},
        {{"verify", "ds-pin", "--no-sm", "--sm-key-file", "k"}, "--no-sm"},
        {{"unblock", "--family", "m5"}, "starcos or m4-1111"},
        {{"explain", "12345"}, "result code"},
        {{"explain", "twenty"}, "result code"},
        {{"explain"}, "result code"},
    };
    for (const auto& [words, reason] : cases) {
        const Finished run = Pindesk(words);
        EXPECT_EQ(1, run.status) << reason;
        EXPECT_NE(std::string::npos, run.err.find(reason)) << run.err;
        EXPECT_EQ("", run.out);
    }
}

TEST_F(CommandLine, RefusesASecretWithTheReasonAndNeverRepeatsIt)
{
    const std::string pin = PIN;
    const Words cases[] = {
        {"verify", pin},
        {"verify", "cns-pin", pin},
        {"verify", "cns-pin", "--pin", pin},
        {"verify", "cns-pin", "--pin=" + pin},
        {"verify", "cns-pin", "-p" + pin},
        {"verify", "cns-pin", "--pin-from", pin},
        {"verify", "cns-pin", "--pin-from=" + pin},
        {"verify", "cns-pin", "--" + pin},
        {"change", "ds-pin", "--new-from", "file" + pin},
        {"unblock", "cns", "--puk-from", "fd:" + pin + "x"},
        {"unblock", pin},
        {pin},
    };
    for (const Words& words : cases) {
        for (const bool asJson : {false, true}) {
            Words all = words;
            if (asJson)
                all.emplace_back("--json");
            const Finished run = Pindesk(all);
            const std::string told = asJson ? run.out : run.err;
            EXPECT_EQ(1, run.status) << told;
            EXPECT_EQ(std::string::npos, (run.out + run.err).find(pin)) << words.back();
            if (words.front() != pin) {
                EXPECT_NE(std::string::npos, told.find("list of processes")) << told;
            }
        }
    }
}

TEST_F(CommandLine, ReportsItsOwnErrorsAsJsonToo)
{
    const Finished run = Pindesk({"verify", "--json"});
    EXPECT_EQ(1, run.status);
    EXPECT_EQ("usage", run.Json().at("result"));
    EXPECT_EQ(1, run.Json().at("exit_status"));
    EXPECT_EQ("", run.err);
}

TEST_F(CommandLine, HelpsWithExamples)
{
    const Finished help = Pindesk({"--help"});
    EXPECT_EQ(0, help.status);
    EXPECT_NE(std::string::npos, help.out.find("pindesk unblock cns"));
    const Finished verb = Pindesk({"change", "--help"});
    EXPECT_EQ(0, verb.status);
    EXPECT_NE(std::string::npos, verb.out.find("--new-from"));
    EXPECT_EQ("pindesk 1.0.0\n", Pindesk({"--version"}).out);
}

TEST_F(CommandLine, ExplainsCodesInEverySpelling)
{
    const struct {
        Words spellings;
        const char* meaning;
    } cases[] = {
        {{"-22", "22"}, "The CNS PIN was not accepted."},
        {{"6983", "0x6983", "0X6983"}, "The secret is blocked."},
        {{"63C2", "63c2", "0x63C2"}, "number of tries left"},
        {{"27266", "6A82"}, "The file does not exist."},
        {{"9000"}, "already verified"},
        {{"-128"}, "buffer"},
    };
    EXPECT_EQ(0, Pindesk({"explain", "--", "-22"}).status);
    for (const auto& [spellings, meaning] : cases) {
        for (const std::string& spelling : spellings) {
            const Finished run = Pindesk({"explain", spelling});
            EXPECT_EQ(0, run.status) << spelling;
            EXPECT_NE(std::string::npos, run.out.find(meaning)) << run.out;
        }
    }
}

} // namespace
