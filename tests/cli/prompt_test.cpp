// SPDX-License-Identifier: Apache-2.0
//
// The tool at a terminal: what is asked, what is shown, and the state it leaves the terminal in.

#include "tests/cli/tool.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int PATIENCE_MS = 20'000;

/// What a shell does for a job: gives it a process group and the terminal, and tells how it fares.
/// It outlives the job, since a terminal without its session leader is reset.
[[noreturn]] void Lead(char* const argv[], char* const envp[], int report)
{
    const pid_t job = fork();
    if (job == 0) {
        setpgid(0, 0);
        signal(SIGTTOU, SIG_IGN);
        tcsetpgrp(STDIN_FILENO, getpid());
        signal(SIGTTOU, SIG_DFL);
        signal(SIGPIPE, SIG_DFL);
        execve(PINDESK_TOOL, argv, envp);
        _exit(127);
    }
    ssize_t written = write(report, &job, sizeof job);
    for (int status = 0; written > 0 && waitpid(job, &status, WUNTRACED) == job;)
        written = write(report, &status, sizeof status);
    for (;;)
        pause();
}

/// A run of the tool on a pseudo-terminal, which has no other input or output.
class Prompt : public ToolTest {
protected:
    ~Prompt() override { Leave(); }

    void Start(const Words& words)
    {
        Leave();
        Words command = {"pindesk"};
        command.insert(command.end(), words.begin(), words.end());
        const Words variables = EnvironmentWords();
        const std::vector<char*> argv = Pointers(command);
        const std::vector<char*> envp = Pointers(variables);
        int report[2] = {-1, -1};
        ASSERT_EQ(0, pipe2(report, O_CLOEXEC));
        m_leader = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        ASSERT_GE(m_leader, 0);
        if (m_leader == 0)
            Lead(argv.data(), envp.data(), report[1]);
        close(report[1]);
        m_report = report[0];
        ASSERT_EQ(static_cast<ssize_t>(sizeof m_child), read(m_report, &m_child, sizeof m_child));
    }

    /// Reads until the text was shown. A prompt is waited for before it is answered, since what is
    /// typed earlier is thrown away.
    void AwaitText(const std::string& text)
    {
        while (m_shown.find(text, m_seen) == std::string::npos)
            ASSERT_TRUE(ReadMore()) << "waited for: " << text << "\nshown: " << m_shown;
        m_seen = m_shown.find(text, m_seen) + text.size();
    }

    void Type(const std::string& text)
    {
        ASSERT_EQ(static_cast<ssize_t>(text.size()), write(m_terminal, text.data(), text.size()));
    }

    void Answer(const std::string& prompt, const std::string& text)
    {
        AwaitText(prompt);
        Type(text);
    }

    /// Waits for the tool to end or stop: its status as waitpid gives it.
    int Report() const
    {
        int status = -1;
        pollfd source = {m_report, POLLIN, 0};
        EXPECT_EQ(1, poll(&source, 1, PATIENCE_MS));
        EXPECT_EQ(static_cast<ssize_t>(sizeof status), read(m_report, &status, sizeof status));
        return status;
    }

    /// The exit status, or 128 + the signal.
    int End() const
    {
        const int status = Report();
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    bool HasEcho() const
    {
        termios state = {};
        EXPECT_EQ(0, tcgetattr(m_terminal, &state));
        return (state.c_lflag & ECHO) != 0;
    }

    pid_t Child() const { return m_child; }
    const std::string& Shown() const { return m_shown; }

private:
    void Leave()
    {
        if (m_leader <= 0)
            return;
        kill(m_leader, SIGKILL);
        waitpid(m_leader, nullptr, 0);
        close(m_terminal);
        close(m_report);
        m_leader = -1;
        m_shown.clear();
        m_seen = 0;
    }

    bool ReadMore()
    {
        pollfd source = {m_terminal, POLLIN, 0};
        if (poll(&source, 1, PATIENCE_MS) <= 0)
            return false;
        std::array<char, 4096> part{};
        const ssize_t got = read(m_terminal, part.data(), part.size());
        if (got <= 0)
            return false; // EIO: the tool has ended
        m_shown.append(part.data(), static_cast<std::size_t>(got));
        return true;
    }

    int m_terminal = -1, m_report = -1;
    pid_t m_leader = -1, m_child = -1;
    std::string m_shown;
    std::size_t m_seen = 0;
};

TEST_F(Prompt, NeverShowsWhatIsTyped)
{
    Start({"verify", "cns-pin"});
    AwaitText("CNS PIN (6 to 8 characters): ");
    EXPECT_FALSE(HasEcho());
    Type("12345678\r");
    AwaitText("The CNS PIN is right.");
    EXPECT_TRUE(HasEcho());
    EXPECT_EQ(0, End());
    EXPECT_EQ(std::string::npos, Shown().find("12345678"));
}

TEST_F(Prompt, AsksForANewValueUntilItIsTypedTwiceAlike)
{
    Start({"change", "cns-pin"});
    Answer("CNS PIN (", "12345678\r");
    Answer("new CNS PIN (", "44556677\r");
    Answer("once more: ", "44556678\r");
    AwaitText("differ");
    Answer("new CNS PIN (", "44556677\r");
    Answer("once more: ", "44556677\r");
    AwaitText("has its new value");
    EXPECT_EQ(0, End());
    EXPECT_EQ(0, Pindesk({"verify", "cns-pin"}, "44556677\n").status);
}

TEST_F(Prompt, GivesUpAfterThreeDifferentPairs)
{
    Start({"unblock", "cns"});
    Answer("CNS PUK (8 characters): ", "87654321\r");
    for (const char* second : {"11111111\r", "22222222\r", "33333333\r"}) {
        Answer("new CNS PIN (", "44556677\r");
        Answer("once more: ", second);
    }
    AwaitText("Nothing was sent");
    EXPECT_EQ(2, End());
    EXPECT_EQ(0, Presented("cns-puk"));
}

TEST_F(Prompt, EndsCleanlyWithoutAnAnswer)
{
    const struct {
        const char* typed;
        const char* told;
    } cases[] = {{"\x04", "the input ended"}, {"\r", "is empty"}};
    for (const auto& [typed, told] : cases) {
        Start({"verify", "cns-pin"});
        Answer("CNS PIN (", typed);
        AwaitText(told);
        EXPECT_EQ(2, End());
    }
}

TEST_F(Prompt, AsksForNothingWhenTheSecretIsBlocked)
{
    for (int round = 0; round < 3; ++round)
        Pindesk({"verify", "cns-pin", "--use-last-try"}, "11111111\n");
    Start({"verify", "cns-pin"});
    AwaitText("pindesk unblock cns");
    EXPECT_EQ(4, End());
    EXPECT_EQ(std::string::npos, Shown().find("CNS PIN ("));
}

TEST_F(Prompt, ShowsTheConsequencesOfALock)
{
    Start({"lock"});
    AwaitText("nothing can be signed");
    Answer("Type lock to go on: ", "lock\r");
    AwaitText("is deactivated");
    EXPECT_EQ(0, End());
}

TEST_F(Prompt, RestoresTheTerminalOnASignal)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        Start({"verify", "cns-pin"});
        AwaitText("CNS PIN (");
        EXPECT_FALSE(HasEcho());
        kill(Child(), signal);
        EXPECT_EQ(128 + signal, End());
        EXPECT_TRUE(HasEcho());
    }
}

TEST_F(Prompt, AsksAgainAfterAStop)
{
    Start({"verify", "cns-pin"});
    AwaitText("CNS PIN (");
    Type("1234");
    kill(Child(), SIGTSTP);
    EXPECT_TRUE(WIFSTOPPED(Report()));
    EXPECT_TRUE(HasEcho());
    kill(Child(), SIGCONT);
    Answer("CNS PIN (", "12345678\r");
    AwaitText("is right");
    EXPECT_EQ(0, End());
}

} // namespace
