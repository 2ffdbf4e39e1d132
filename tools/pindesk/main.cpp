// SPDX-License-Identifier: Apache-2.0
//
// pindesk: the command-line tool of the library.

#include "report.h"
#include "settings.h"
#include "verbs.h"

#include <algorithm>
#include <cerrno>
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
    outcome.status = ExitStatus::InternalError;
    outcome.message = std::string("Internal error: ") + what;
    return outcome;
}

int Run(int argc, char** argv)
{
    Options options;
    options.isJson = WantsJson(argc, argv);
    try {
        if (!ParseCommandLine(argc, argv, options)) {
            return static_cast<int>(ExitStatus::Done);
        }
        ApplySettings(options.settings);
        return Report(options, options.verb->run(options));
    } catch (const CFailure& failure) {
        return Report(options, failure.Result());
    } catch (const std::exception& error) {
        return Report(options, InternalError(error.what()));
    }
}

} // namespace
} // namespace tool

int main(int argc, char** argv)
{
    try {
        tool::FillStandardDescriptors();
        tool::ForbidCoreDumps();
        return tool::Run(argc, argv);
    } catch (...) {
        std::fputs("pindesk: the result cannot be reported.\n", stderr);
        return static_cast<int>(tool::ExitStatus::InternalError);
    }
}
