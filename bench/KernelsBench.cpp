// Each vector kernel against the C library's function, where there is one, and the compiler's own vectorised
// loop.

#include "KernelsPeers.h"
#include "RatioTable.h"
#include "dsp/AlignedVector.h"
#include "dsp/VectorKernels.h"

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

/// An add in place would run into infinity and slow nothing down, but a multiply into denormals would:
/// factors of 1 keep the data as it is.
void FillWithOnes(Arrays& arrays, std::size_t index, std::size_t count) {
    std::fill_n(arrays[index], count, 1.0F);
}

void Register(
    std::map<std::string, double>& limits, const std::string& name, std::size_t count,
    const std::string& column, void (*kernel)(Arrays&, std::size_t)) {
    const std::string row = name + " " + std::to_string(count);
    limits[row] = 1.1;
    const auto arrays = std::make_shared<Arrays>(count);
    FillWithOnes(*arrays, 2, count);
    benchmark::RegisterBenchmark(
        (row + "|" + column).c_str(), [arrays, count, kernel](benchmark::State& state) {
            for (auto _ : state) {
                kernel(*arrays, count);
                benchmark::ClobberMemory();
            }
        });
}

} // namespace

int main(int argc, char** argv) {
    std::map<std::string, double> limits;
    for (const std::size_t count : {64U, 256U, 1024U, 4096U, 8192U}) {
        const auto add = [&](const char* name, const char* column, void (*kernel)(Arrays&, std::size_t)) {
            Register(limits, name, count, column, kernel);
        };
        add("copy", "ours", [](Arrays& a, std::size_t n) { Kernels::Copy(a[0], a[1], n); });
        add("copy", "memcpy", [](Arrays& a, std::size_t n) { std::memcpy(a[0], a[1], n * sizeof(float)); });
        add("copy", "loop", [](Arrays& a, std::size_t n) { Peers::Copy(a[0], a[1], n); });
        add("move", "ours", [](Arrays& a, std::size_t n) { Kernels::Move(a[0], a[1], n); });
        add("move", "memmove", [](Arrays& a, std::size_t n) { std::memmove(a[0], a[1], n * sizeof(float)); });
        add("zero", "ours", [](Arrays& a, std::size_t n) { Kernels::Zero(a[0], n); });
        add("zero", "memset", [](Arrays& a, std::size_t n) { std::memset(a[0], 0, n * sizeof(float)); });
        add("zero", "loop", [](Arrays& a, std::size_t n) { Peers::Zero(a[0], n); });
        add("set", "ours", [](Arrays& a, std::size_t n) { Kernels::Set(a[0], 0.5F, n); });
        add("set", "loop", [](Arrays& a, std::size_t n) { Peers::Set(a[0], 0.5F, n); });
        add("add", "ours", [](Arrays& a, std::size_t n) { Kernels::Add(a[0], a[1], n); });
        add("add", "loop", [](Arrays& a, std::size_t n) { Peers::Add(a[0], a[1], n); });
        add("multiply", "ours", [](Arrays& a, std::size_t n) { Kernels::Multiply(a[0], a[2], n); });
        add("multiply", "loop", [](Arrays& a, std::size_t n) { Peers::Multiply(a[0], a[2], n); });
        add("complex", "ours",
            [](Arrays& a, std::size_t n) { Kernels::MultiplyAccumulateComplex(a[0], a[1], a[3], n / 2); });
        add("complex", "loop",
            [](Arrays& a, std::size_t n) { Peers::MultiplyAccumulateComplex(a[0], a[1], a[3], n / 2); });
        add("split", "ours", [](Arrays& a, std::size_t n) {
            Kernels::MultiplyAccumulateSplit(a[0], a[1], a[2], a[3], a[4], a[5], n);
        });
        add("split", "loop", [](Arrays& a, std::size_t n) {
            Peers::MultiplyAccumulateSplit(a[0], a[1], a[2], a[3], a[4], a[5], n);
        });
    }
    RatioTable table(std::move(limits));
    return RunRatioTable(argc, argv, table);
}
