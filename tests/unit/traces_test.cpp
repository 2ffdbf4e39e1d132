// SPDX-License-Identifier: Apache-2.0
//
// The two trace channels, each in a child process: the error channel reads its environment once for
// a process, and the typed channel writes to a fixed file of the root directory.

#include "cardlib/traces.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char kChildMark[] = "PINDESK_TEST_TRACE_CHILD";
constexpr int kCannotRun = 77;

/// In a child of the test below: traces from a static initialiser, turns the level around and
/// traces again, which must change nothing.
const bool s_child = [] {
    if (!std::getenv(kChildMark))
        return false;
    CK_TraceStdErr("Verify error: SW=0x%04X\n", 0x63C2);
    setenv("CK_DEBUG_LEVEL", std::getenv("CK_DEBUG_LEVEL") ? "0" : "1", 1);
    CK_TraceStdErr("again\n");
    CK_TraceStdErr(nullptr);
    std::fflush(stdout);
    _exit(0);
}();

class CTempDir {
public:
    CTempDir()
    {
        std::string name = (std::filesystem::temp_directory_path() / "traces-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    ~CTempDir() { std::filesystem::remove_all(m_path); }
    CTempDir(const CTempDir&) = delete;
    CTempDir& operator=(const CTempDir&) = delete;

    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Name() const { return m_path; }

private:
    std::string m_path;
};

std::string Contents(const std::string& name)
{
    std::ifstream file(name);
    return {std::istreambuf_iterator<char>(file), {}};
}

int InChild(const std::function<void()>& run)
{
    const pid_t pid = fork();
    if (pid == 0) {
        run();
        _exit(0);
    }
    int nStatus = 0;
    waitpid(pid, &nStatus, 0);
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

void SetOrUnset(const char* szName, const char* szValue)
{
    szValue ? setenv(szName, szValue, 1) : unsetenv(szName);
}

void Redirect(int fd, const std::string& name)
{
    dup2(open(name.c_str(), O_WRONLY | O_CREAT, 0600), fd);
}

TEST(ErrorChannel, GoesWhereTheEnvironmentAtLoadSays)
{
    const CTempDir dir;
    const std::string file = dir / "log";
    const std::string missing = dir / "missing/log";
    struct {
        const char* szLevel;
        const char* szFile;
        const char* szExpected; // the destination; "" for none
    } const cases[] = {
        {nullptr, nullptr, ""}, {nullptr, "stdout", ""},       {"1", nullptr, "err"},
        {"2", nullptr, ""}, // only bit 0 counts
        {"3", "stdout", "out"}, {"-1", "stderr", "err"},       {"0x1", nullptr, ""}, // decimal
        {"1", "", "err"},       {"1", missing.c_str(), "err"}, {"1", file.c_str(), "log"},
    };
    for (const auto& row : cases) {
        for (const char* szName : {"out", "err", "log"})
            std::filesystem::remove(dir / szName);
        ASSERT_EQ(0, InChild([&] {
                      SetOrUnset("CK_DEBUG_LEVEL", row.szLevel);
                      SetOrUnset("CK_DEBUG_FILE", row.szFile);
                      setenv(kChildMark, "1", 1);
                      Redirect(STDOUT_FILENO, dir / "out");
                      Redirect(STDERR_FILENO, dir / "err");
                      execl("/proc/self/exe", "pindesk-unit-tests", nullptr);
                      _exit(1);
                  }));
        for (const std::string name : {"out", "err", "log"})
            EXPECT_EQ(name == row.szExpected ? "Verify error: SW=0x63C2\nagain\n" : "",
                      Contents(dir / name))
                << name << " at level " << (row.szLevel ? row.szLevel : "none");
    }
}

/// Makes a directory the root of this process, with a namespace of its own where that takes one.
void ChangeRoot(const std::string& dir)
{
    if (chroot(dir.c_str()) != 0 && (unshare(CLONE_NEWUSER) != 0 || chroot(dir.c_str()) != 0))
        _exit(kCannotRun);
}

class TypedChannel : public testing::Test {
protected:
    /// What run() appends to the log file, with a directory of its own as the root.
    std::string Logged(const std::function<void()>& run)
    {
        std::filesystem::remove(dir / "p11log.txt");
        const int nStatus = InChild([&] {
            ChangeRoot(dir.Name());
            run();
        });
        EXPECT_TRUE(nStatus == 0 || nStatus == kCannotRun);
        m_bCannotRun = nStatus == kCannotRun;
        return Contents(dir / "p11log.txt");
    }

    CTempDir dir;
    bool m_bCannotRun = false;
};

TEST_F(TypedChannel, PassesWhatHasEveryBitOfTheLevelAndCutsWhatIsLong)
{
    const std::string longText(5000, 'x');
    const std::string cut = Logged([&] { CK_Trace("%s", longText.c_str()); });
    if (m_bCannotRun)
        GTEST_SKIP() << "the root directory cannot be changed here";
    EXPECT_EQ(longText.substr(0, 4095), cut);
    struct {
        const char* szLevel;
        int iType;
        const char* szTyped;
    } const cases[] = {{nullptr, 2, "type 2."}, {"0", 0, "type 0."},  {"3", 2, ""},
                       {"3", 7, "type 7."},     {"-1", 0, "type 0."}, {"junk", 0, "type 0."}};
    for (const auto& row : cases) {
        const std::string text = Logged([&] {
            SetOrUnset("CK_DEBUG_LEVEL", row.szLevel);
            CK_TraceEx(row.iType, "type %d.", row.iType);
            CK_Trace("%s", "always");
        });
        EXPECT_EQ(std::string(row.szTyped) + "always", text) << row.szLevel;
    }
    EXPECT_EQ("", Logged([&] {
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
    for (const auto& row : cases)
        EXPECT_STREQ(row.szName, GetAPDUName(row.cla, row.ins));
}

} // namespace
