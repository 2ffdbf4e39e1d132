// SPDX-License-Identifier: Apache-2.0
//
// Child processes with pipes on their three standard descriptors.

#include "tests/cli/tool.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int PATIENCE_MS = 60'000; // far more than any run takes; a hanging one is killed then

struct Pipe {
    Pipe()
    {
        if (pipe(fd) != 0)
            throw std::runtime_error("no pipe");
    }
    int fd[2] = {-1, -1}; // read end, write end
};

// Reads both until both have ended. False when that takes too long.
bool Collect(int out, int err, Finished& run)
{
    std::array<pollfd, 2> sources = {{{out, POLLIN, 0}, {err, POLLIN, 0}}};
    const std::array<std::string*, 2> sinks = {&run.out, &run.err};
    for (std::size_t open = sources.size(); open > 0;) {
        if (poll(sources.data(), sources.size(), PATIENCE_MS) <= 0)
            return false;
        for (std::size_t i = 0; i < sources.size(); ++i) {
            if (sources[i].fd < 0 || sources[i].revents == 0)
                continue;
            std::array<char, 4096> part{};
            const ssize_t got = read(sources[i].fd, part.data(), part.size());
            if (got > 0) {
                sinks[i]->append(part.data(), static_cast<std::size_t>(got));
                continue;
            }
            sources[i].fd = -1;
            --open;
        }
    }
    return true;
}

void Write(int fd, const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t now = write(fd, text.data() + done, text.size() - done);
        if (now <= 0)
            break; // the reader has seen enough
        done += static_cast<std::size_t>(now);
    }
    close(fd);
}

} // namespace

std::vector<char*> Pointers(const Words& words)
{
    std::vector<char*> pointers(words.size() + 1, nullptr);
    std::transform(words.begin(), words.end(), pointers.begin(),
                   [](const std::string& word) { return const_cast<char*>(word.c_str()); });
    return pointers;
}

ToolTest::ToolTest()
{
    std::string pattern = std::filesystem::temp_directory_path() / "pindesk-cli-XXXXXX";
    m_directory = mkdtemp(pattern.data());
    signal(SIGPIPE, SIG_IGN);
    Environment("LD_LIBRARY_PATH", PINDESK_INPROCESS);
    Card("STATE", m_directory / "state");
    Card("COUNTERS", m_directory / "counters");
}

ToolTest::~ToolTest()
{
    std::filesystem::remove_all(m_directory);
}

void ToolTest::Environment(const std::string& name, const std::string& value)
{
    m_environment[name] = value;
}

void ToolTest::Card(const std::string& name, const std::string& value)
{
    Environment("PINDESK_VCARD_" + name, value);
}

Words ToolTest::EnvironmentWords() const
{
    Words words;
    for (char** variable = environ; *variable != nullptr; ++variable)
        words.emplace_back(*variable);
    for (const auto& [name, value] : m_environment) {
        const std::string start = name + "=";
        std::erase_if(words, [&](const std::string& word) { return word.starts_with(start); });
        words.push_back(start + value);
    }
    return words;
}

Finished ToolTest::Pindesk(const Words& words, const std::string& input) const
{
    Words command = {"pindesk"};
    command.insert(command.end(), words.begin(), words.end());
    const Words variables = EnvironmentWords();
    const std::vector<char*> argv = Pointers(command);
    const std::vector<char*> envp = Pointers(variables);
    Pipe in;
    Pipe out;
    Pipe err;
    const pid_t child = fork();
    if (child == 0) {
        setsid(); // without a terminal of its own
        dup2(in.fd[0], STDIN_FILENO);
        dup2(out.fd[1], STDOUT_FILENO);
        dup2(err.fd[1], STDERR_FILENO);
        for (const Pipe* used : {&in, &out, &err}) {
            close(used->fd[0]);
            close(used->fd[1]);
        }
        signal(SIGPIPE, SIG_DFL);
        execve(PINDESK_TOOL, argv.data(), envp.data());
        _exit(127);
    }
    close(in.fd[0]);
    close(out.fd[1]);
    close(err.fd[1]);
    Write(in.fd[1], input);
    Finished run;
    if (!Collect(out.fd[0], err.fd[0], run))
        kill(child, SIGKILL);
    close(out.fd[0]);
    close(err.fd[0]);
    int status = 0;
    waitpid(child, &status, 0);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}

int ToolTest::Counter(const std::string& secret, const char* which) const
{
    std::ifstream file(m_directory / "counters");
    return nlohmann::json::parse(file).at(secret).at(which);
}

int ToolTest::Presented(const std::string& secret) const
{
    return Counter(secret, "presented");
}

int ToolTest::TriesLeft(const std::string& secret) const
{
    return Counter(secret, "tries_left");
}

std::string ToolTest::File(const std::string& name, const std::string& content, int mode) const
{
    const std::filesystem::path path = m_directory / name;
    std::ofstream(path) << content;
    std::filesystem::permissions(path, static_cast<std::filesystem::perms>(mode));
    return path;
}
