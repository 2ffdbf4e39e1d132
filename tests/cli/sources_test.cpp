// SPDX-License-Identifier: Apache-2.0
//
// Where a secret may come from, and what happens when nothing sensible comes from there.

#include "tests/cli/tool.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

const std::string PIN = "12345678";

class Sources : public ToolTest {};

TEST_F(Sources, AllGiveTheSamePin)
{
    const std::string file = File("pin", PIN + "\r\n", 0600);
    const std::string open = File("open", PIN + "\nleft alone\n", 0600);
    const int fd = ::open(open.c_str(), O_RDONLY); // inherited by the tool
    Environment("THE_PIN", PIN);
    const std::string froms[] = {"stdin", "fd:0", "fd:" + std::to_string(fd), "env:THE_PIN",
                                 "file:" + file};
    for (const std::string& from : froms) {
        const Finished run = Pindesk({"verify", "cns-pin", "--pin-from", from}, PIN);
        EXPECT_EQ(0, run.status) << from << ": " << run.err;
    }
    EXPECT_EQ(static_cast<off_t>(PIN.size() + 1), lseek(fd, 0, SEEK_CUR)); // one line, no more
    close(fd);
}

TEST_F(Sources, CanBeMixed)
{
    Environment("OLD", PIN);
    const std::string next = File("new", "44556677", 0600);
    EXPECT_EQ(0,
              Pindesk({"change", "cns-pin", "--pin-from", "env:OLD", "--new-from", "file:" + next})
                  .status);
    EXPECT_EQ(0, Pindesk({"verify", "cns-pin"}, "44556677\n").status);
}

TEST_F(Sources, ThatGiveNothingSensibleCostNothing)
{
    const std::string megabyte(1'000'000, '1');
    const std::string nul = std::string("1234") + '\0' + "678\n";
    const struct {
        std::string from, input;
        int status;
        const char* told;
    } cases[] = {
        {"stdin", "", 2, "missing: the input ended"},
        {"stdin", "\n", 2, "is empty"},
        {"stdin", "\r\n", 2, "is empty"},
        {"stdin", megabyte, 2, "far too long"},
        {"stdin", nul, 2, "NUL byte"},
        {"fd:777", PIN, 2, "777 is not open"},
        {"fd:-1", PIN, 1, "fd:N"},
        {"fd:", PIN, 1, "fd:N"},
        {"env:NOT_THERE", PIN, 2, "no variable NOT_THERE"},
        {"env:LONG", PIN, 2, "far too long"},
        {"file:/nonexistent", PIN, 2, "cannot be opened"},
        {"file:/", PIN, 2, "is not a file"},
        {"file:" + File("open", PIN, 0644), PIN, 2, "open to other users"},
        {"file:" + File("empty", "", 0600), PIN, 2, "missing"},
        {"prompt", PIN, 2, "there is no terminal"},
        {"keyboard", PIN, 1, "prompt, stdin"},
    };
    Environment("LONG", std::string(100, '1'));
    for (const auto& [from, input, status, told] : cases) {
        const Finished run = Pindesk({"verify", "cns-pin", "--pin-from", from}, input);
        EXPECT_EQ(status, run.status) << from << ": " << run.err;
        EXPECT_NE(std::string::npos, run.err.find(told)) << run.err;
    }
    EXPECT_EQ(0, Pindesk({"verify", "cns-pin"}, PIN).status);
    EXPECT_EQ(1, Presented("cns-pin")); // by the last run alone
}

TEST_F(Sources, SecondLineMissingSendsNeither)
{
    EXPECT_EQ(2, Pindesk({"change", "cns-pin"}, PIN + "\n").status);
    EXPECT_EQ(2, Pindesk({"unblock", "cns"}, "87654321\n").status);
    EXPECT_EQ(0, Pindesk({"status"}).status);
    EXPECT_EQ(0, Presented("cns-pin"));
    EXPECT_EQ(0, Presented("cns-puk"));
}

} // namespace
