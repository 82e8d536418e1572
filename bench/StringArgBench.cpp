// String::arg against fmt with the same texts, as messages have them. fmt writes into one string; arg makes a
// String at every step. After the table stands how often each asks for memory.

#include "RatioTable.h"
#include "support/AllocationCount.h"
#include "svbase/util/String.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

std::uint64_t allocationsOf(const auto& body) {
    const std::uint64_t before = AllocationCount();
    benchmark::DoNotOptimize(body());
    return AllocationCount() - before;
}

class Texts {
public:
    explicit Texts(RatioTable& rowTable) : table(rowTable) {}

    /// ours and fmt make the same text.
    void Add(const std::string& row, const auto& ours, const auto& fmt) {
        if (ours().toStdString() != fmt()) {
            std::fprintf(stderr, "%s: the texts differ\n", row.c_str());
            std::exit(1);
        }
        table.AddRow(row);
        AddColumn(row + "|ours", ours);
        AddColumn(row + "|fmt", fmt);
        counts.push_back([row, ours, fmt] {
            std::printf(
                "%-28s allocations: ours %llu, fmt %llu\n", row.c_str(),
                static_cast<unsigned long long>(allocationsOf(ours)),
                static_cast<unsigned long long>(allocationsOf(fmt)));
        });
    }

    void PrintAllocations() const {
        for (const auto& print : counts) {
            print();
        }
    }

private:
    static void AddColumn(const std::string& name, const auto& body) {
        const auto run = [body](benchmark::State& state) {
            for ([[maybe_unused]] auto _ : state) {
                benchmark::DoNotOptimize(body());
            }
        };
        // Some milliseconds.
        benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(50000);
    }

    RatioTable& table;
    std::vector<std::function<void()>> counts;
};

} // namespace

int main(int argc, char** argv) {
    RatioTable table;
    Texts texts(table);
    texts.Add(
        "one integer", [format = String("%1 Hz")] { return format.arg(44100); },
        [] { return fmt::format("{} Hz", 44100); });
    texts.Add(
        "one float", [format = String("%1 dB")] { return format.arg(-12.345F, 2); },
        [] { return fmt::format("{:.2f} dB", -12.345F); });
    texts.Add(
        "two integers",
        [format = String("Attempt to read %1 bytes, only read %2 bytes")] {
            return format.arg(4096U).arg(17U);
        },
        [] { return fmt::format("Attempt to read {} bytes, only read {} bytes", 4096U, 17U); });
    const std::string file = "svbase/src/svbase/util/ByteStream.cpp";
    texts.Add(
        "a text and two integers",
        [format = String("%1 (%2): Thrown, GetLastError(): %3\n"), name = String(file.c_str())] {
            return format.arg(name).arg(120).arg(5U);
        },
        [file] { return fmt::format("{} ({}): Thrown, GetLastError(): {}\n", file, 120, 5U); });
    const int code = RunRatioTable(argc, argv, table);
    texts.PrintAllocations();
    return code;
}
