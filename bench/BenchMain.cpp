// SPDX-License-Identifier: Apache-2.0
#include "BenchRatios.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>

namespace quillo::bench {

std::vector<Ratio>& ratios() {
    static std::vector<Ratio> all;
    return all;
}

namespace {

// Prints the usual table and remembers each benchmark's time per iteration for the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && run.iterations > 0)
                m_nanoseconds[run.benchmark_name()] =
                    run.GetAdjustedRealTime() *
                    benchmark::GetTimeUnitMultiplier(benchmark::kNanosecond) /
                    benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
    }

    void printRatios() const {
        bool header = false;
        for (const Ratio& ratio : ratios()) {
            const auto measured = m_nanoseconds.find(ratio.measured);
            const auto reference = m_nanoseconds.find(ratio.reference);
            if (measured == m_nanoseconds.end() || reference == m_nanoseconds.end() ||
                reference->second <= 0)
                continue;
            if (!header) {
                std::printf("\nRatios (same run):\n");
                header = true;
            }
            std::printf("  %-60s %8.2f x\n", ratio.label.c_str(),
                        measured->second / reference->second);
        }
    }

private:
    std::map<std::string, double> m_nanoseconds;
};

} // namespace
} // namespace quillo::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    quillo::bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
