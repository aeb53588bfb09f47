// The main program of benchmarks written with Google Benchmark: its usual flags, and --json FILE,
// which appends one line a figure for tools/bench_report.py (processor time, the run's median where
// it is repeated, and the time that passes of what several threads work on).
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

namespace {

class RowReporter : public benchmark::ConsoleReporter {
public:
    explicit RowReporter(const std::string& file) : _rows(file, std::ios::app) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
            addRow(run, "CPU ", run.GetAdjustedCPUTime());
            if (!run.run_name.time_type.empty()) addRow(run, "wall ", run.GetAdjustedRealTime());
        }
    }

private:
    void addRow(const Run& run, const char* clock, double time) {
        _rows << nlohmann::json{{"name", run.benchmark_name()},
                                {"ours", time},
                                {"peer", nullptr},
                                {"unit",
                                 std::string(clock) + benchmark::GetTimeUnitString(run.time_unit)},
                                {"ratio", nullptr}}
              << "\n";
    }

    std::ofstream _rows;
};

} // namespace

int main(int argumentCount, char** arguments) {
    std::string file;
    std::vector<char*> others;
    for (int i = 0; i < argumentCount; ++i) {
        if (std::strcmp(arguments[i], "--json") == 0 && i + 1 < argumentCount)
            file = arguments[++i];
        else
            others.push_back(arguments[i]);
    }
    int count = static_cast<int>(others.size());
    benchmark::Initialize(&count, others.data());
    if (benchmark::ReportUnrecognizedArguments(count, others.data())) return 1;
    if (file.empty()) {
        benchmark::RunSpecifiedBenchmarks();
    } else {
        RowReporter reporter(file);
        benchmark::RunSpecifiedBenchmarks(&reporter);
    }
    benchmark::Shutdown();
    return 0;
}
