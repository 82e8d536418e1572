#pragma once

#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

/// Benchmarks named "row|column" as one table: per row the minima over all repetitions and the ratio of the
/// first column to the best of the others. Repetitions of all rows and columns are interleaved, and minima
/// compared, because a shared machine's medians say more about its neighbours.
class RatioTable final : public benchmark::BenchmarkReporter {
public:
    /// Rows are printed in the order of this call. limit: the ratio that the row is meant to stay within; 0
    /// for none.
    void AddRow(const std::string& row, double limit = 0.0) {
        if (std::find(rows.begin(), rows.end(), row) == rows.end()) {
            rows.push_back(row);
        }
        limits[row] = limit;
    }

    /// A column of that name is no peer but what nothing can be faster than: it has a ratio of its own.
    void SetFloor(const std::string& column) { floor = column; }

    /// Compares the processor's time instead of the clock's: for runs so long that other work on the machine
    /// interrupts every one of them. Only where nothing waits.
    void UseProcessorTime() { usesProcessorTime = true; }

    /// The smallest time of a row's column, in nanoseconds; infinite where it was not run.
    double GetMinimum(const std::string& row, const std::string& column) const {
        const auto found = minima.find({row, column});
        return found == minima.end() ? std::numeric_limits<double>::infinity() : found->second;
    }

    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) {
                continue;
            }
            const std::string name = run.run_name.function_name;
            const std::size_t bar = name.find('|');
            const std::string row = name.substr(0, bar);
            const std::string column = name.substr(bar + 1);
            double& best =
                minima.try_emplace({row, column}, std::numeric_limits<double>::infinity()).first->second;
            best = std::min(best, usesProcessorTime ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime());
            std::vector<std::string>& order = columns[row];
            if (std::find(order.begin(), order.end(), column) == order.end()) {
                order.push_back(column);
            }
        }
    }

    void Finalize() override {
        for (const std::string& row : rows) {
            if (columns[row].empty()) {
                continue;
            }
            // Interleaving shuffles the order of arrival; ours is the column named so.
            const double ours = minima[{row, "ours"}];
            double best = std::numeric_limits<double>::infinity();
            std::printf("%-28s ours %11.1f ns", row.c_str(), ours);
            std::sort(columns[row].begin(), columns[row].end());
            for (const std::string& column : columns[row]) {
                if (column != "ours") {
                    best = column == floor ? best : std::min(best, minima[{row, column}]);
                    std::printf("  %s %11.1f ns", column.c_str(), minima[{row, column}]);
                }
            }
            if (best != std::numeric_limits<double>::infinity()) {
                std::printf("  ratio %.3f", ours / best);
            }
            if (const double least = GetMinimum(row, floor);
                least != std::numeric_limits<double>::infinity()) {
                std::printf("  to %s %.2f", floor.c_str(), ours / least);
            }
            if (const double limit = limits[row]; limit != 0.0) {
                std::printf("  at most %.2f: %s", limit, ours / best <= limit ? "met" : "MISSED");
            }
            std::printf("\n");
        }
    }

private:
    std::string floor;
    bool usesProcessorTime = false;
    std::map<std::string, double> limits;
    std::vector<std::string> rows;
    std::map<std::string, std::vector<std::string>> columns;
    std::map<std::pair<std::string, std::string>, double> minima;
};

/// Runs all registered benchmarks, many short interleaved repetitions unless the command line says otherwise,
/// and prints the table. Registrations of what takes microseconds fix their iterations: the library's own
/// estimate comes from one trial, and a trial that the machine interrupted leaves every later repetition too
/// short to measure.
inline int RunRatioTable(int argc, char** argv, RatioTable& table) {
    std::vector<std::string> arguments{
        argv[0], "--benchmark_repetitions=60", "--benchmark_enable_random_interleaving=true",
        "--benchmark_min_time=0.02"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks(&table);
    return 0;
}
