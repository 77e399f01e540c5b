#pragma once

// A main() for benchmark programs whose figures are ratios: it runs the benchmarks as usual and
// then prints every figure against its reference, both measured in this run. A value is a
// benchmark's CPU time per iteration, or one of its counters; with --benchmark_repetitions=N the
// median of the N runs is used, and the spread of the per-repetition ratios shows how noisy the
// machine was.
//
// clang-format off
//   int main(int argc, char** argv) {
//       return RunWithRatios(argc, argv, {
//           {"folded pair", "BM_Ours", "BM_Reference", "", "<= 0.25"},
//           {"dump", "BM_Dump/1048576", "BM_Dump/65536", "lines/s", ">= 0.9"},
//       });
//   }
// clang-format on

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace autl::bench {

struct Ratio {
    // What the ratio stands for.
    const char* label;
    // Benchmark names as printed, without "/repeats:N" (for example "BM_Dump/65536"). An empty
    // reference takes the figure's counter as the ratio.
    const char* figure;
    const char* reference;
    // The counter to compare; empty for the CPU time per iteration.
    const char* counter;
    // The goal, as text (for example "<= 1.1").
    const char* goal;
};

// Reports as the console reporter does, and keeps every run's values by benchmark name.
class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            std::string name = run.run_name.function_name;
            if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
            Values& values = values_[name];
            values.times.push_back(run.GetAdjustedCPUTime());
            for (const auto& [counter, value] : run.counters) {
                values.counters[counter].push_back(value.value);
            }
        }
    }

    void PrintRatios(const std::vector<Ratio>& ratios) const {
        std::printf("\n%-58s %12s %12s %8s %17s %10s\n", "ratio (median of repetitions)", "figure",
                    "reference", "ratio", "spread", "goal");
        for (const Ratio& ratio : ratios) {
            const std::vector<double>* figure = Find(ratio.figure, ratio.counter);
            // Without a reference, the counter is a ratio already (for example heap / budget).
            const std::vector<double> one(figure != nullptr ? figure->size() : 0, 1.0);
            const std::vector<double>* reference =
                    *ratio.reference == '\0' ? &one : Find(ratio.reference, ratio.counter);
            if (figure == nullptr || reference == nullptr) {
                std::printf("%-58s (not run)\n", ratio.label);
                continue;
            }
            // Repetitions are paired in order; the spread is the range of their ratios.
            std::vector<double> each;
            for (size_t i = 0; i < std::min(figure->size(), reference->size()); ++i) {
                if ((*reference)[i] != 0) each.push_back((*figure)[i] / (*reference)[i]);
            }
            const double median_reference = Median(*reference);
            const double value = median_reference != 0 ? Median(*figure) / median_reference : 0;
            char spread[40] = "-";
            if (each.size() > 1) {
                const auto [low, high] = std::minmax_element(each.begin(), each.end());
                std::snprintf(spread, sizeof(spread), "%.2f..%.2f", *low, *high);
            }
            std::printf("%-58s %12.4g %12.4g %8.2f %17s %10s\n", ratio.label, Median(*figure),
                        median_reference, value, spread, ratio.goal);
        }
    }

  private:
    struct Values {
        std::vector<double> times;
        std::map<std::string, std::vector<double>> counters;
    };

    static double Median(std::vector<double> values) {
        if (values.empty()) return 0;
        std::sort(values.begin(), values.end());
        const size_t middle = values.size() / 2;
        return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    }

    const std::vector<double>* Find(const std::string& name, const std::string& counter) const {
        const auto it = values_.find(name);
        if (it == values_.end()) return nullptr;
        if (counter.empty()) return &it->second.times;
        const auto found = it->second.counters.find(counter);
        return found != it->second.counters.end() ? &found->second : nullptr;
    }

    std::map<std::string, Values> values_;
};

inline int RunWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios(ratios);
    benchmark::Shutdown();
    return 0;
}

}  // namespace autl::bench
