// SPDX-License-Identifier: Apache-2.0
//
// The two trace channels, each in a child process: the error channel reads its environment once for
// a process, and the typed channel writes to a fixed file of the root directory.

#include "cardlib/traces.h"
#include "tests/support/process.h"
#include "tests/support/scratch.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char CHILD_MARK[] = "PINDESK_TEST_TRACE_CHILD";
constexpr int CANNOT_RUN = 77;

/// In a child of the test below: traces from a static initialiser, turns the level around and
/// traces again, which must change nothing.
const bool IS_CHILD = [] {
    if (std::getenv(CHILD_MARK) == nullptr) {
        return false;
    }
    CK_TraceStdErr("Verify error: SW=0x%04X\n", 0x63C2);
    setenv("CK_DEBUG_LEVEL", std::getenv("CK_DEBUG_LEVEL") != nullptr ? "0" : "1", 1);
    CK_TraceStdErr("again\n");
    CK_TraceStdErr(nullptr);
    std::fflush(stdout);
    _exit(0);
}();

TEST(ErrorChannel, GoesWhereTheEnvironmentAtLoadSays)
{
    const CScratchDirectory dir;
    const std::string file = "CK_DEBUG_FILE=" + dir / "log";
    const std::string missing = "CK_DEBUG_FILE=" + dir / "missing/log";
    const std::string link = "CK_DEBUG_FILE=" + dir / "link";
    std::filesystem::create_symlink(dir / "log", dir / "link");
    const struct {
        std::string level, file;
        std::string to; ///< where the text goes; "" for nowhere
    } rows[] = {
        {"CK_DEBUG_LEVEL", "CK_DEBUG_FILE", ""},
        {"CK_DEBUG_LEVEL", "CK_DEBUG_FILE=stdout", ""},
        {"CK_DEBUG_LEVEL=1", "CK_DEBUG_FILE", "err"},
        {"CK_DEBUG_LEVEL=2", "CK_DEBUG_FILE", ""}, // only bit 0 counts
        {"CK_DEBUG_LEVEL=3", "CK_DEBUG_FILE=stdout", "out"},
        {"CK_DEBUG_LEVEL=-1", "CK_DEBUG_FILE=stderr", "err"},
        {"CK_DEBUG_LEVEL=0x1", "CK_DEBUG_FILE", ""}, // decimal
        {"CK_DEBUG_LEVEL=1", "CK_DEBUG_FILE=", "err"},
        {"CK_DEBUG_LEVEL=1", missing, "err"},
        {"CK_DEBUG_LEVEL=1", file, "log"},
        {"CK_DEBUG_LEVEL=1", link, "err"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.level + " " + row.file);
        const auto at = [&](const char* sz) {
            return row.to == sz ? "Verify error: SW=0x63C2\nagain\n" : "";
        };
        std::filesystem::remove(dir / "log");
        const SFinished child =
            RunProgram({"/proc/self/exe"}, {row.level, row.file, std::string(CHILD_MARK) + "=1"});
        EXPECT_EQ(0, child.status);
        EXPECT_EQ(at("out"), child.out);
        EXPECT_EQ(at("err"), child.err);
        EXPECT_EQ(at("log"), dir.Read("log"));
        struct stat made = {};
        EXPECT_TRUE(stat((dir / "log").c_str(), &made) != 0 || (made.st_mode & 07777) == 0600);
    }
}

/// What run() appends to the log file in the root directory, which is one of its own, at a level
/// ("CK_DEBUG_LEVEL" for none); "cannot" where the root cannot be changed.
std::string Logged(const char* szLevel, const std::function<void()>& run)
{
    const CScratchDirectory dir;
    const int status = WaitFor(Fork([&] {
        const std::string root = dir / "";
        if (chroot(root.c_str()) != 0 &&
            (unshare(CLONE_NEWUSER) != 0 || chroot(root.c_str()) != 0)) {
            _exit(CANNOT_RUN);
        }
        szLevel == nullptr ? unsetenv("CK_DEBUG_LEVEL") : setenv("CK_DEBUG_LEVEL", szLevel, 1);
        run();
    }));
    EXPECT_TRUE(status == 0 || status == CANNOT_RUN);
    return status == CANNOT_RUN ? "cannot" : dir.Read("p11log.txt");
}

TEST(TypedChannel, PassesWhatHasEveryBitOfTheLevelAndCutsWhatIsLong)
{
    const std::string longText(5000, 'x');
    const std::string cut = Logged(nullptr, [&] { CK_Trace("%s", longText.c_str()); });
    if (cut == "cannot") {
        GTEST_SKIP() << "the root directory cannot be changed here";
    }
    EXPECT_EQ(longText.substr(0, 4095), cut);
    const struct {
        const char* szLevel;
        int iType;
        const char* szText;
    } rows[] = {
        {nullptr, 2, "type 2.always"}, {"0", 0, "type 0.always"},  {"3", 2, "always"},
        {"3", 7, "type 7.always"},     {"-1", 0, "type 0.always"}, {"junk", 0, "type 0.always"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.szText, Logged(row.szLevel, [&] {
                      CK_TraceEx(row.iType, "type %d.", row.iType);
                      CK_Trace("%s", "always");
                  }));
    }
    EXPECT_EQ("", Logged(nullptr, [&] {
                  mkdir("/p11log.txt", 0700); // it cannot be written
                  CK_Trace("lost");
                  CK_Trace(nullptr);
                  rmdir("/p11log.txt");
              }));
}

TEST(ApduNames, DependOnTheInstructionAndItsClass)
{
    struct {
        unsigned char cla, ins;
        const char* szName;
    } const cases[] = {
        {0x00, 0xA4, "SELECT FILE"},
        {0x0C, 0xA4, "SELECT FILE"},
        {0x00, 0x20, "VERIFY"},
        {0x80, 0x20, "LOAD EXECUTABLE"},
        {0x84, 0x20, "VERIFY"},
        {0x00, 0x24, "Change Reference Data"},
        {0x80, 0x24, "Zentaris Change Key Data"},
        {0x84, 0x24, "CardOS/M4 Chenge Key"}, // the spelling is the given one
        {0x00, 0x06, "Unknown"},
        {0x84, 0x06, "CardOS/M4 Erase Files"},
        {0x7F, 0xE4, "Delete File"},
        {0xFF, 0xE4, "CardOS/M4 UNINSTALL PACKAGE"}, // any class of 80 and above
        {0x00, 0xFD, "Unknown"},
        {0xB0, 0xFD, "Zentaris34 Get Card Traceability"},
        {0x00, 0x03, "Unknown APDU: cla=0x00, ins=0x03"},
        {0x00, 0xFE, "Unknown APDU: cla=0x00, ins=0xFE"},
        {0xAB, 0x21, "Unknown APDU: cla=0xAB, ins=0x21"},
    };
    for (const auto& row : cases) {
        EXPECT_STREQ(row.szName, GetAPDUName(row.cla, row.ins));
    }
}

} // namespace
