// SPDX-License-Identifier: Apache-2.0
//
// pindesk: the command-line tool of the library.

#include "interrupts.h"
#include "language.h"
#include "report.h"
#include "settings.h"
#include "verbs.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tool {

namespace {

// A closed standard descriptor would be taken by the next file opened, perhaps by the connection to
// the PC/SC service, and then be read for a PIN.
void FillStandardDescriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) < 0 && errno == EBADF) {
            open("/dev/null", O_RDWR | O_NOCTTY); // takes the lowest free number, which is fd
        }
    }
}

void ForbidCoreDumps()
{
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

// Asked before the command line is parsed, so that its errors are reported in the wanted form.
bool WantsJson(int argc, char** argv)
{
    return std::any_of(argv, argv + argc,
                       [](const char* word) { return std::strcmp(word, "--json") == 0; });
}

Outcome InternalError(const char* what)
{
    Outcome outcome;
    outcome.status = PINDESK_INTERNAL_ERROR;
    outcome.message = Say("Internal error: {what}", {{"what", what}});
    return outcome;
}

Outcome Answer(Options& options, int argc, char** argv)
{
    try {
        ParseCommandLine(argc, argv, options);
        ApplySettings(options.settings);
        return Run(options);
    } catch (const CFailure& failure) {
        return failure.Result();
    } catch (const std::exception& error) {
        return InternalError(error.what());
    }
}

int Main(int argc, char** argv)
{
    FillStandardDescriptors();
    ForbidCoreDumps();
    signal(SIGPIPE, SIG_IGN); // a result that nobody reads is told on standard error
    ChooseLanguage(argc, argv);
    Options options;
    options.isJson = WantsJson(argc, argv);
    const Outcome outcome = Answer(options, argc, argv);
    const int status = Report(options, outcome);
    TakeInterrupt();
    return status;
}

} // namespace
} // namespace tool

int main(int argc, char** argv)
{
    try {
        return tool::Main(argc, argv);
    } catch (...) {
        std::fputs("pindesk: the result cannot be reported.\n", stderr);
        return PINDESK_INTERNAL_ERROR;
    }
}
