// What the observers' safety costs: an emission to one listener beside a plain call of the same function
// through std::function, measured in one run. After Google Benchmark's table one line gives their ratio, of
// minima over many short rounds, since the machine's noise only ever adds.

#include "svbase/util/Signal.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <functional>
#include <limits>

namespace {

/// A listener's work at its least.
struct Sum {
    float value = 0;

    std::function<void(const float&)> slot() {
        return [this](const float& v) { value += v; };
    }
};

void callThroughFunction(benchmark::State& state) {
    Sum sum;
    std::function<void(const float&)> function = sum.slot();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(function);
        function(1.0f);
        benchmark::DoNotOptimize(sum.value);
    }
}
BENCHMARK(callThroughFunction);

void emitToListeners(benchmark::State& state) {
    Sum sum;
    Trackable listener;
    Signal<const float&> signal;
    for (auto i = state.range(0); i > 0; --i) {
        signal.connect(listener, sum.slot());
    }
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(signal);
        signal.emit(1.0f);
        benchmark::DoNotOptimize(sum.value);
    }
}
BENCHMARK(emitToListeners)->Arg(0)->Arg(1)->Arg(8);

template<class Call>
double nanosecondsOfOne(Call call) {
    constexpr int calls = 20000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) {
        call();
    }
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

/// Both in turn, so that they meet the same machine.
void printRatio() {
    Sum sum;
    std::function<void(const float&)> function = sum.slot();
    Trackable listener;
    Signal<const float&> signal;
    signal.connect(listener, sum.slot());
    double plain = std::numeric_limits<double>::max();
    double emitted = std::numeric_limits<double>::max();
    for (int round = 0; round < 200; ++round) {
        plain = std::min(plain, nanosecondsOfOne([&] {
                             benchmark::DoNotOptimize(function);
                             function(1.0f);
                             benchmark::DoNotOptimize(sum.value);
                         }));
        emitted = std::min(emitted, nanosecondsOfOne([&] {
                               benchmark::DoNotOptimize(signal);
                               signal.emit(1.0f);
                               benchmark::DoNotOptimize(sum.value);
                           }));
    }
    std::printf(
        "Signal::emit with one listener %.2f ns, std::function call %.2f ns, ratio %.2f\n", emitted, plain,
        emitted / plain);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printRatio();
    return 0;
}
