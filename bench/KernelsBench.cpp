// Each vector kernel against the C library's function, where there is one, and the compiler's own vectorised
// loop.

#include "KernelsPeers.h"
#include "RatioTable.h"
#include "dsp/AlignedVector.h"
#include "dsp/VectorKernels.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

namespace Kernels = DSP::Kernels;

/// Six arrays of noise; products of them stay small.
struct Arrays {
    explicit Arrays(std::size_t count) {
        std::mt19937 random(1);
        std::uniform_real_distribution<float> level(-1.0F, 1.0F);
        for (DSP::AlignedVector<float>& array : arrays) {
            array.resize(count);
            for (float& sample : array) {
                sample = level(random);
            }
        }
    }
    float* operator[](std::size_t index) { return arrays[index].data(); }

    DSP::AlignedVector<float> arrays[6];
};

/// One set of arrays per row, the same for all columns: their placement alone can change a copy's time.
class Rows {
public:
    explicit Rows(RatioTable& rowTable, std::size_t samples) : table(rowTable), count(samples) {}

    void Add(const std::string& name, const std::string& column, void (*kernel)(Arrays&, std::size_t)) {
        const std::string row = name + " " + std::to_string(count);
        table.AddRow(row, 1.1);
        std::shared_ptr<Arrays>& shared = arraysOfRow[row];
        if (shared == nullptr) {
            shared = std::make_shared<Arrays>(count);
            // Products with noise would end in denormals, which no kernel here is about.
            std::fill_n((*shared)[2], count, 1.0F);
        }
        const auto body = [arrays = shared, samples = count, kernel](benchmark::State& state) {
            for (auto _ : state) {
                kernel(*arrays, samples);
                benchmark::ClobberMemory();
            }
        };
        // A tenth of a millisecond, more or less.
        const auto iterations = static_cast<benchmark::IterationCount>(2000000 / count);
        benchmark::RegisterBenchmark((row + "|" + column).c_str(), body)->Iterations(iterations);
    }

private:
    RatioTable& table;
    std::size_t count;
    std::map<std::string, std::shared_ptr<Arrays>> arraysOfRow;
};

} // namespace

int main(int argc, char** argv) {
    RatioTable table;
    for (const std::size_t count : {64U, 256U, 1024U, 4096U, 8192U}) {
        Rows rows(table, count);
        rows.Add("copy", "ours", [](Arrays& a, std::size_t n) { Kernels::Copy(a[0], a[1], n); });
        rows.Add(
            "copy", "memcpy", [](Arrays& a, std::size_t n) { std::memcpy(a[0], a[1], n * sizeof(float)); });
        rows.Add("copy", "loop", [](Arrays& a, std::size_t n) { Peers::Copy(a[0], a[1], n); });
        rows.Add("move", "ours", [](Arrays& a, std::size_t n) { Kernels::Move(a[0], a[1], n); });
        rows.Add(
            "move", "memmove", [](Arrays& a, std::size_t n) { std::memmove(a[0], a[1], n * sizeof(float)); });
        rows.Add("zero", "ours", [](Arrays& a, std::size_t n) { Kernels::Zero(a[0], n); });
        rows.Add("zero", "memset", [](Arrays& a, std::size_t n) { std::memset(a[0], 0, n * sizeof(float)); });
        rows.Add("zero", "loop", [](Arrays& a, std::size_t n) { Peers::Zero(a[0], n); });
        rows.Add("set", "ours", [](Arrays& a, std::size_t n) { Kernels::Set(a[0], 0.5F, n); });
        rows.Add("set", "loop", [](Arrays& a, std::size_t n) { Peers::Set(a[0], 0.5F, n); });
        rows.Add("add", "ours", [](Arrays& a, std::size_t n) { Kernels::Add(a[0], a[1], n); });
        rows.Add("add", "loop", [](Arrays& a, std::size_t n) { Peers::Add(a[0], a[1], n); });
        rows.Add("multiply", "ours", [](Arrays& a, std::size_t n) { Kernels::Multiply(a[0], a[2], n); });
        rows.Add("multiply", "loop", [](Arrays& a, std::size_t n) { Peers::Multiply(a[0], a[2], n); });
        rows.Add("complex", "ours", [](Arrays& a, std::size_t n) {
            Kernels::MultiplyAccumulateComplex(a[0], a[1], a[3], n / 2);
        });
        rows.Add("complex", "loop", [](Arrays& a, std::size_t n) {
            Peers::MultiplyAccumulateComplex(a[0], a[1], a[3], n / 2);
        });
        rows.Add("split", "ours", [](Arrays& a, std::size_t n) {
            Kernels::MultiplyAccumulateSplit(a[0], a[1], a[2], a[3], a[4], a[5], n);
        });
        rows.Add("split", "loop", [](Arrays& a, std::size_t n) {
            Peers::MultiplyAccumulateSplit(a[0], a[1], a[2], a[3], a[4], a[5], n);
        });
    }
    return RunRatioTable(argc, argv, table);
}
