// What an element costs that does nothing, in multiples of a copy of the same two channels; with the dry path
// on, also while its output is replaced by the dry signal.

#include "RatioTable.h"

#include "../tests/dsp/TestElement.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace DSP;
using namespace DSP::Testing;

class Empty final : public ElementDispatcher {
public:
    Empty(TestElementHost& host, bool isEnabled)
        : ElementDispatcher(&host, "Empty", 48000.0F, stereo), enabled(isEnabled) {
        FinishParamRegistration();
    }
    bool IsEnabled(std::uint32_t) const override { return enabled; }

protected:
    std::uint32_t DoGetMaxLatency() const override { return 1000; }
    std::uint32_t DoGetLatency(std::uint32_t) const override { return 1000; }

private:
    bool enabled;
};

void copy(benchmark::State& state, std::uint32_t frames) {
    TestAudio from(2, frames, 0.5F);
    TestAudio to(2, frames);
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t channel = 0; channel < 2; ++channel) {
            std::memcpy(to.channels[channel].data(), from.channels[channel].data(), frames * sizeof(float));
        }
        benchmark::ClobberMemory();
    }
}

void process(benchmark::State& state, std::uint32_t frames, bool dryPath, bool enabled) {
    TestElementHost host;
    Empty element(host, enabled);
    element.EnableDryPath(dryPath);
    element.Reset();
    TestAudio audio(2, frames, 0.5F);
    float** const channels = audio.GetPointers();
    for ([[maybe_unused]] auto _ : state) {
        element.Process(frames, channels);
        benchmark::ClobberMemory();
    }
}

} // namespace

int main(int argc, char** argv) {
    RatioTable table;
    for (const std::uint32_t frames : {32U, 128U, 512U, 2048U, 8192U}) {
        const auto add = [&](const char* name, bool dryPath, bool enabled) {
            const std::string row = std::string(name) + ", " + std::to_string(frames);
            table.AddRow(row);
            benchmark::RegisterBenchmark((row + "|ours").c_str(), [=](benchmark::State& state) {
                process(state, frames, dryPath, enabled);
            });
            benchmark::RegisterBenchmark(
                (row + "|copy").c_str(), [=](benchmark::State& state) { copy(state, frames); });
        };
        add("plain", false, true);
        add("dry path", true, true);
        add("bypassed", true, false);
    }
    return RunRatioTable(argc, argv, table);
}
