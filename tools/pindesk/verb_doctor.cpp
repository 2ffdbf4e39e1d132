// SPDX-License-Identifier: Apache-2.0
//
// pindesk doctor: why it does not work, for a person, for a script, and as a bundle for a help desk.

#include "client.h"
#include "columns.h"
#include "language.h"
#include "verbs.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr const char* MARKS[] = {desk::Msg("ok"), desk::Msg("note"),
                                 desk::Msg("PROBLEM")}; // by severity
constexpr std::size_t INDENT = 9;

struct Findings {
    std::string text;
    std::vector<Row> rows;
};

int Collect(const pindesk_finding* finding, void* context)
{
    auto* const findings = static_cast<Findings*>(context);
    const auto line = [&](const std::string& start, const char* text) {
        if (*text != '\0') {
            findings->text += Padded(start, INDENT) + Wrapped(text, INDENT);
        }
    };
    const char* const mark = MARKS[std::clamp<std::int32_t>(finding->severity, 0, 2)];
    line(Say(mark), finding->what);
    line("", finding->cause);
    line("", finding->remedy);
    findings->rows.push_back(
        {{"id", std::string(finding->id)},
         {"severity", long{finding->severity}},
         {"reader", *finding->reader == '\0' ? Value() : Value(std::string(finding->reader))},
         {"what", std::string(finding->what)},
         {"cause", std::string(finding->cause)},
         {"remedy", std::string(finding->remedy)}});
    return 0;
}

/// A file that only its owner can read; an old one of that name is not followed through a link.
class CBundleFile {
public:
    explicit CBundleFile(const std::string& path)
        : m_fd(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600)),
          m_error(m_fd < 0 ? errno : 0)
    {
    }
    ~CBundleFile() { Close(); }
    CBundleFile(const CBundleFile&) = delete;
    CBundleFile& operator=(const CBundleFile&) = delete;

    /// The errno of what failed first; 0 while all went well.
    int Error() const { return m_error; }

    void Close()
    {
        if (m_fd >= 0 && close(m_fd) != 0) {
            Note(errno);
        }
        m_fd = -1;
    }

    static int Write(const char* text, std::size_t size, void* context)
    {
        auto* const file = static_cast<CBundleFile*>(context);
        while (size > 0 && file->m_error == 0) {
            const ssize_t written = write(file->m_fd, text, size);
            if (written <= 0) {
                file->Note(written < 0 ? errno : EIO);
                break;
            }
            text += written;
            size -= static_cast<std::size_t>(written);
        }
        return file->m_error;
    }

private:
    void Note(int error) { m_error = m_error == 0 ? error : m_error; }

    int m_fd;
    int m_error;
};

Outcome WriteBundle(const Options& options)
{
    CClient client(options);
    CBundleFile file(options.bundle);
    try {
        client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* report) {
            return pindesk_bundle(desk, call, CBundleFile::Write, &file, report);
        });
    } catch (const CFailure&) {
        if (file.Error() == 0) { // else it has ended because its writer did
            throw;
        }
    }
    file.Close();
    if (file.Error() != 0) {
        throw CFailure(PINDESK_INTERNAL_ERROR,
                       Say("The file {path} cannot be written: {reason}.",
                           {{"path", options.bundle},
                            {"reason", desk::ReasonText(Language(), file.Error())}}));
    }
    Outcome outcome;
    outcome.message = Say("Written to {path}. It holds no secret; read it before you pass it on.",
                          {{"path", options.bundle}});
    outcome.fields = {{"bundle", options.bundle}};
    return outcome;
}

} // namespace

Outcome Diagnose(const Options& options)
{
    if (!options.bundle.empty()) {
        return WriteBundle(options);
    }
    CClient client(options);
    Findings findings;
    Outcome outcome;
    try {
        client.Call([&](pindesk_desk* desk, const pindesk_options* call, pindesk_report* report) {
            return pindesk_doctor(desk, call, Language(), Collect, &findings, report);
        });
        outcome.message = Say("No problem was found.");
    } catch (const CFailure& failure) { // the worst of the problems found
        outcome = failure.Result();
    }
    outcome.output = findings.text;
    outcome.fields.push_back({"findings", findings.rows});
    return outcome;
}

} // namespace tool
