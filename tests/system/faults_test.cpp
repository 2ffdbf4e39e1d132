// SPDX-License-Identifier: Apache-2.0
//
// Every fault at every exchange of every operation, on the in-process card. Each trial runs in a
// process of its own, since the card is set up once in a process.

#include "tests/system/support/secrets.h"
#include "tests/system/support/virtualcard.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* NEW_VALUE = "97531";
constexpr SCall PROTECTED = {.bSecureMessaging = true};

struct SOperation {
    const char* szName;
    long (*run)();
};

void PrintTo(const SOperation& operation, std::ostream* out) // by googletest
{
    *out << operation.szName;
}

const SOperation OPERATIONS[] = {
    {"ReadSerial", [] { return CNS_GetSerial(1, std::array<char, 17>().data()); }},
    {"VerifyCnsPin", [] { return Verify(CNS_PIN, CNS_PIN.szValue); }},
    {"VerifyDsPinProtected", [] { return Verify(DS_PIN, DS_PIN.szValue, PROTECTED); }},
    {"ChangeCnsPin", [] { return Change(CNS_PIN, CNS_PIN.szValue, NEW_VALUE); }},
    {"ChangeDsPinProtected", [] { return Change(DS_PIN, DS_PIN.szValue, NEW_VALUE, PROTECTED); }},
    {"UnblockCnsPin", [] { return Unblock(CNS_PIN, CNS_PIN.szPuk, NEW_VALUE); }},
    {"UnblockDsPinProtected", [] { return Unblock(DS_PIN, DS_PIN.szPuk, NEW_VALUE, PROTECTED); }},
};

constexpr const char* FAULTS[] = {
    "empty",
    "empty-before",
    "short",
    "long",
    "removed",
    "removed-after",
    "sw=6F00",
    "sw-after=6F00",
    "sw=0000",
    "sw=6100",
    "sw=6C00",
    "sw=6987",
    "pcsc=80100010",
    "pcsc=80100013",
    "pcsc=80100014",
    "pcsc=80100016",
    "pcsc=80100069",
    "pcsc-after=80100010",
    "pcsc-after=80100013",
    "pcsc-after=80100016",
};

/// What one operation on a fresh card came to.
struct STrial {
    int iStatus;  ///< of the process: see RunInChild
    long lResult; ///< of the operation
    nlohmann::json counters;
    int nExchanges;
};

std::string ReadAll(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

int CountCommands(const std::string& strLog)
{
    int nFound = 0;
    for (auto at = strLog.find(" > "); at != strLog.npos; at = strLog.find(" > ", at + 1)) {
        ++nFound;
    }
    return nFound;
}

/// The child's part. Status 0 when the next operation worked too, without starting anything anew.
[[noreturn]] void RunInChild(const SOperation& operation, const std::string& strFault,
                             const CScratchDirectory& files)
{
    setenv("PINDESK_VCARD_FAULT", strFault.c_str(), 1);
    setenv("PINDESK_VCARD_COUNTERS", (files / "counters").c_str(), 1);
    setenv("PINDESK_VCARD_LOG", (files / "log").c_str(), 1);
    alarm(60); // an operation that never ends is a failure too
    const long lResult = operation.run();
    std::ofstream(files / "result") << lResult << '\n' << CountCommands(ReadAll(files / "log"));
    AwaitCard(true);
    const long lNext = CNS_GetSerial(1, std::array<char, 17>().data());
    _exit(lNext == result::OK ? EXIT_SUCCESS : EXIT_FAILURE);
}

STrial Try(const SOperation& operation, const std::string& strFault)
{
    const CScratchDirectory files;
    const pid_t pid = fork();
    if (pid == 0) {
        RunInChild(operation, strFault, files);
    }
    int iWaited = -1;
    waitpid(pid, &iWaited, 0);
    STrial trial = {iWaited, 0, nullptr, 0};
    trial.counters = nlohmann::json::parse(ReadAll(files / "counters"), nullptr, false);
    std::ifstream(files / "result") >> trial.lResult >> trial.nExchanges;
    return trial;
}

class EveryFault : public testing::TestWithParam<SOperation> {
protected:
    void SetUp() override { PINDESK_ChangeSetting("SETTING_TRY_GUARD", 1); }
    void TearDown() override { PINDESK_ChangeSetting("SETTING_TRY_GUARD", 0); }
};
INSTANTIATE_TEST_SUITE_P(, EveryFault, testing::ValuesIn(OPERATIONS),
                         [](const auto& row) { return std::string(row.param.szName); });

TEST_P(EveryFault, EndsInANumberCostsNoTryAndLosesNothing)
{
    const SOperation& operation = GetParam();
    const STrial plain = Try(operation, "");
    ASSERT_EQ(EXIT_SUCCESS, plain.iStatus);
    ASSERT_EQ(result::OK, plain.lResult);
    ASSERT_LT(2, plain.nExchanges);

    for (int iAt = 1; iAt <= plain.nExchanges; ++iAt) {
        for (const char* szFault : FAULTS) {
            const std::string strFault = std::to_string(iAt) + ":" + szFault;
            SCOPED_TRACE(strFault);
            const STrial trial = Try(operation, strFault);
            EXPECT_EQ(EXIT_SUCCESS, trial.iStatus);
            for (const SSecret& secret : SECRETS) {
                const auto& counters = trial.counters.at(secret.szName);
                EXPECT_EQ(secret.iTries, counters.at("tries_left")) << secret.szName;
                EXPECT_LE(counters.at("presented"),
                          plain.counters.at(secret.szName).at("presented"))
                    << secret.szName;
            }
            if (trial.lResult == result::OK) { // then what was asked for was really done
                EXPECT_EQ(plain.counters, trial.counters);
            }
        }
    }
}

} // namespace
