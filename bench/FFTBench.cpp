// Real transforms, forward and inverse, against FFTW with measured plans. The rows "order n" end in each
// library's own packed form; the rows "order n, bins" have both give and take size / 2 + 1 complex bins.

#include "RatioTable.h"
#include "dsp/FFT.h"
#include "dsp/VectorKernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <fftw3.h>

namespace {

constexpr unsigned firstOrder = 1;
constexpr unsigned lastOrder = 16;

/// About a quarter of a millisecond of transforms.
benchmark::IterationCount GetIterations(unsigned order) {
    return std::max<benchmark::IterationCount>(1, 500000 / ((std::int64_t{1} << order) * order));
}

double GetLimit(unsigned order) {
    return order < 6 ? 1.2 : order <= 12 ? 0.75 : 1.0;
}

std::vector<float> MakeNoise(std::size_t count) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> level(-1.0F, 1.0F);
    std::vector<float> noise(count);
    for (float& sample : noise) {
        sample = level(random);
    }
    return noise;
}

/// Aligned as each library likes it best.
struct FftwArray {
    explicit FftwArray(std::size_t count)
        : size(count), data(static_cast<float*>(fftwf_malloc(count * sizeof(float)))) {}
    ~FftwArray() { fftwf_free(data); }
    FftwArray(const FftwArray&) = delete;
    FftwArray& operator=(const FftwArray&) = delete;

    std::size_t size;
    float* data;
};

class Ours {
public:
    explicit Ours(unsigned order)
        : fft(DSP::CreateFFT(order)), buffer(fft->GetBufferBytes()), signal(fft->GetSize()),
          packed(fft->GetSize()), bins(fft->GetSize() + 2), back(fft->GetSize()) {
        const std::vector<float> noise = MakeNoise(signal.size);
        std::copy(noise.begin(), noise.end(), signal.data);
    }

    void Run(benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            fft->Forward(signal.data, packed.data, buffer.data());
            fft->Inverse(packed.data, back.data, buffer.data());
            benchmark::ClobberMemory();
        }
    }

    void RunWithBins(benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            fft->Forward(signal.data, bins.data, buffer.data());
            DSP::Kernels::PackedToComplex(bins.data, bins.data, fft->GetOrder());
            DSP::Kernels::ComplexToPacked(packed.data, bins.data, fft->GetOrder());
            fft->Inverse(packed.data, back.data, buffer.data());
            benchmark::ClobberMemory();
        }
    }

private:
    std::unique_ptr<const DSP::FFT> fft;
    std::vector<std::byte> buffer;
    FftwArray signal;
    FftwArray packed;
    FftwArray bins;
    FftwArray back;
};

class Fftw {
public:
    explicit Fftw(unsigned order)
        : signal(std::size_t{1} << order), bins(signal.size + 2), back(signal.size),
          forward(fftwf_plan_dft_r2c_1d(
              static_cast<int>(signal.size), signal.data, reinterpret_cast<fftwf_complex*>(bins.data),
              FFTW_MEASURE)),
          inverse(fftwf_plan_dft_c2r_1d(
              static_cast<int>(signal.size), reinterpret_cast<fftwf_complex*>(bins.data), back.data,
              FFTW_MEASURE)) {
        const std::vector<float> noise = MakeNoise(signal.size);
        std::copy(noise.begin(), noise.end(), signal.data);
    }
    ~Fftw() {
        fftwf_destroy_plan(forward);
        fftwf_destroy_plan(inverse);
    }
    Fftw(const Fftw&) = delete;
    Fftw& operator=(const Fftw&) = delete;

    void Run(benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            fftwf_execute(forward);
            fftwf_execute(inverse);
            benchmark::ClobberMemory();
        }
    }

private:
    FftwArray signal;
    FftwArray bins;
    FftwArray back;
    fftwf_plan forward;
    fftwf_plan inverse;
};

} // namespace

int main(int argc, char** argv) {
    RatioTable table;
    for (unsigned order = firstOrder; order <= lastOrder; ++order) {
        const std::string row = "order " + std::to_string(order);
        table.AddRow(row, GetLimit(order));
        const auto ours = std::make_shared<Ours>(order);
        const auto fftw = std::make_shared<Fftw>(order);
        const auto runFftw = [fftw](benchmark::State& state) { fftw->Run(state); };
        const auto add = [&](const std::string& name, const auto& body) {
            benchmark::RegisterBenchmark(name.c_str(), body)->Iterations(GetIterations(order));
        };
        add(row + "|ours", [ours](benchmark::State& state) { ours->Run(state); });
        add(row + "|FFTW", runFftw);
        add(row + ", bins|ours", [ours](benchmark::State& state) { ours->RunWithBins(state); });
        add(row + ", bins|FFTW", runFftw);
    }
    for (unsigned order = firstOrder; order <= lastOrder; ++order) {
        table.AddRow("order " + std::to_string(order) + ", bins");
    }
    return RunRatioTable(argc, argv, table);
}
