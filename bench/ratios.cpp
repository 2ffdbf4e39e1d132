// SPDX-License-Identifier: Apache-2.0

#include "bench/ratios.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <utility>
#include <vector>

namespace {

constexpr const char* OURS = ", ours";
constexpr const char* REFERENCE = ", reference";

std::vector<std::string>& Pairs()
{
    static std::vector<std::string> pairs;
    return pairs;
}

/// Prints nothing until the end, and then the medians side by side.
class CRatioReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.aggregate_name == "median") {
                m_medians[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
    }

    void Finalize() override
    {
        std::printf("%-36s %14s %14s %7s\n", "", "ours", "reference", "ratio");
        for (const std::string& what : Pairs()) {
            const double dOurs = m_medians[what + OURS];
            const double dReference = m_medians[what + REFERENCE];
            if (dReference > 0) { // a filter may have left it out
                std::printf("%-36s %11.0f ns %11.0f ns %7.2f\n", what.c_str(), dOurs, dReference,
                            dOurs / dReference);
            }
        }
    }

private:
    std::map<std::string, double> m_medians;
};

void Register(const std::string& name, std::function<void()> call)
{
    benchmark::RegisterBenchmark(name.c_str(), [call = std::move(call)](benchmark::State& state) {
        for (auto _ : state) {
            call();
        }
    })->UseRealTime();
}

} // namespace

void AddPair(const std::string& what, std::function<void()> ours, std::function<void()> reference)
{
    Pairs().push_back(what);
    Register(what + OURS, std::move(ours));
    Register(what + REFERENCE, std::move(reference));
}

int RunPairs(int argc, char** argv)
{
    std::vector<std::string> defaults = {argv[0], "--benchmark_enable_random_interleaving=true",
                                         "--benchmark_repetitions=25", "--benchmark_min_time=0.04"};
    defaults.insert(defaults.end(), argv + 1, argv + argc);
    std::vector<char*> arguments;
    arguments.reserve(defaults.size());
    for (std::string& argument : defaults) {
        arguments.push_back(argument.data());
    }
    int nArguments = static_cast<int>(arguments.size());
    benchmark::Initialize(&nArguments, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(nArguments, arguments.data())) {
        return 1;
    }
    CRatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
