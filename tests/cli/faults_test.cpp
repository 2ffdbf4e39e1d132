// SPDX-License-Identifier: Apache-2.0
//
// A fault at every exchange of the verbs that use a secret. Whatever happens: no secret is sent more
// often than on a good day, nothing is called wrong or blocked that is not, and "done" is true.

#include "tests/cli/tool.h"

#include <fstream>

namespace {

const char* const kKinds[] = {"empty",   "removed",       "removed-after",
                              "sw=6985", "pcsc=80100013", "pcsc-after=80100016"};

struct Faulty {
    const char* name;
    Words words;
    const char* input;
    const char* secret;    ///< presented
    int presentedOnce;     ///< how often a good run presents it
    const char* newSecret; ///< that a new value is set for, or null
    const char* newValue;
};

const Faulty kRuns[] = {
    {"verify", {"verify", "cns-pin"}, "12345678\n", "cns-pin", 1, nullptr, nullptr},
    {"verify_protected", {"verify", "ds-pin"}, "13572468\n", "ds-pin", 1, nullptr, nullptr},
    {"change",
     {"change", "cns-pin"},
     "12345678\n44556677\n",
     "cns-pin",
     1,
     "cns-pin",
     "44556677\n"},
    {"change_protected",
     {"change", "ds-pin"},
     "13572468\n44556677\n",
     "ds-pin",
     1,
     "ds-pin",
     "44556677\n"},
    {"unblock", {"unblock", "cns"}, "87654321\n44556677\n", "cns-puk", 2, "cns-pin", "44556677\n"},
    {"reactivate", {"reactivate"}, "24681357\n", "ds-puk", 1, nullptr, nullptr},
};

/// Names the case in the list of tests.
void PrintTo(const Faulty& faulty, std::ostream* out)
{
    *out << faulty.name;
}

class Faults : public ToolTest, public testing::WithParamInterface<Faulty> {
protected:
    int Exchanges();
    void Try(const std::string& kind, int exchange);
};

void Faults::Try(const std::string& kind, int exchange)
{
    const Faulty& faulty = GetParam();
    const std::string fault = std::to_string(exchange) + ":" + kind;
    SCOPED_TRACE(fault);
    Card("STATE", ""); // a fresh card each time
    Card("FAULT", fault);
    const Finished run = Pindesk(faulty.words, faulty.input);
    const bool isDone = run.status == 0;

    EXPECT_LE(Presented(faulty.secret), faulty.presentedOnce);
    EXPECT_NE(3, run.status) << run.err;
    EXPECT_NE(4, run.status) << run.err;
    EXPECT_NE(13, run.status) << run.err;
    EXPECT_EQ(!isDone, run.err.find("pindesk: ") != std::string::npos);
    if (run.err.find("Nothing was sent") != std::string::npos) {
        EXPECT_EQ(0, Presented(faulty.secret));
    }
    if (isDone && faulty.newSecret != nullptr) {
        EXPECT_EQ(1, Counter(faulty.newSecret, "new_values"));
    }
    if (run.err.find("Nothing was changed") != std::string::npos && faulty.newSecret != nullptr) {
        EXPECT_EQ(0, Counter(faulty.newSecret, "new_values"));
    }
}

// How many exchanges a good run takes.
int Faults::Exchanges()
{
    const std::string log = File("log", "", 0600);
    Card("LOG", log);
    EXPECT_EQ(0, Pindesk(GetParam().words, GetParam().input).status);
    Card("LOG", "/dev/null");
    std::ifstream file(log);
    int exchanges = 0;
    for (std::string line; std::getline(file, line);)
        exchanges += line.find(" > ") != std::string::npos ? 1 : 0;
    return exchanges;
}

TEST_P(Faults, AreNeverTakenForAWrongOrBlockedSecret)
{
    const int exchanges = Exchanges();
    EXPECT_GT(exchanges, 10);
    for (const char* kind : kKinds) {
        for (int exchange = 1; exchange <= exchanges; ++exchange)
            Try(kind, exchange);
    }
}

INSTANTIATE_TEST_SUITE_P(AtEveryExchange, Faults, testing::ValuesIn(kRuns),
                         [](const auto& run) { return std::string(run.param.name); });

// The card took the try away, and fails while it is asked about that.
class FaultsAfterAWrongValue : public ToolTest {};

TEST_F(FaultsAfterAWrongValue, LeaveTheOutcomeUnknownAndNeverClaimThatNoTryWasSpent)
{
    constexpr int VERIFY = 17, LAST_QUESTION = 20;
    Card("STATE", "");
    for (const char* kind : kKinds) {
        for (int exchange = VERIFY + 1; exchange <= LAST_QUESTION; ++exchange) {
            Card("FAULT", std::to_string(exchange) + ":" + kind);
            const Finished run = Pindesk({"verify", "cns-pin"}, "11111111\n");
            SCOPED_TRACE(std::to_string(exchange) + ":" + kind + " " + run.err);
            EXPECT_TRUE(run.status == 3 || run.status == 12) << run.status;
            EXPECT_EQ(std::string::npos, run.err.find("no try was spent"));
            EXPECT_EQ(2, TriesLeft("cns-pin"));
        }
    }
}

} // namespace
