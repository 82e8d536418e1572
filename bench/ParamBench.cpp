// A parameter from the control side until the audio side has read it. In one thread: set, an empty block,
// read, and the way back of the command; beside it the obvious other way, a function in a list under a mutex.
// Between two threads: how long until an audio thread that runs empty blocks sees the value; beside it an
// atomic that such a thread polls without any element, which is the least that the machine allows.

#include "RatioTable.h"

#include "../tests/dsp/TestElement.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace {

using namespace DSP;
using namespace DSP::Testing;

class Gain final : public ElementDispatcher {
public:
    explicit Gain(TestElementHost& host) : ElementDispatcher(&host, "Gain", 48000.0F, mono) {
        ParamRegistration<float> param;
        param.name = "Gain";
        param.range = {0.0F, 1e9F};
        param.target = &gain;
        AddFloatParam(std::move(param));
        FinishParamRegistration();
        Reset();
    }
    float gain = 0.0F;
};

void setInOneThread(benchmark::State& state) {
    TestElementHost host;
    host.audioRunning = true;
    Gain element(host);
    const auto param = std::get<ElementParam<float>>(element.GetParam("Gain"));
    float value = 0.0F;
    for ([[maybe_unused]] auto _ : state) {
        value = value == 0.0F ? 1.0F : 0.0F;
        param.Set(ParamSide::control, value, {0, 1});
        element.Process(0, nullptr);
        benchmark::DoNotOptimize(element.gain);
        element.Idle();
    }
}

void setUnderMutex(benchmark::State& state) {
    std::mutex mutex;
    std::deque<std::function<void()>> list;
    float value = 0.0F;
    float gain = 0.0F;
    for ([[maybe_unused]] auto _ : state) {
        value = value == 0.0F ? 1.0F : 0.0F;
        {
            const std::lock_guard lock(mutex);
            list.emplace_back([&gain, value] { gain = value; });
        }
        std::deque<std::function<void()>> taken;
        {
            const std::lock_guard lock(mutex);
            taken.swap(list);
        }
        for (const auto& function : taken) {
            function();
        }
        benchmark::DoNotOptimize(gain);
    }
}

void setBetweenThreads(benchmark::State& state) {
    TestElementHost host;
    host.audioRunning = true;
    Gain element(host);
    const auto param = std::get<ElementParam<float>>(element.GetParam("Gain"));
    std::atomic<float> seen = 0.0F;
    std::atomic<bool> stop = false;
    std::thread audio([&] {
        while (!stop.load(std::memory_order_relaxed)) {
            element.Process(0, nullptr);
            seen.store(element.gain, std::memory_order_release);
        }
    });
    float value = 0.0F;
    for ([[maybe_unused]] auto _ : state) {
        value = value == 0.0F ? 1.0F : 0.0F;
        param.Set(ParamSide::control, value, {0, 1});
        while (seen.load(std::memory_order_acquire) != value) {
        }
        element.Idle();
    }
    stop = true;
    audio.join();
}

void atomicBetweenThreads(benchmark::State& state) {
    std::atomic<float> gain = 0.0F;
    std::atomic<float> seen = 0.0F;
    std::atomic<bool> stop = false;
    std::thread audio([&] {
        while (!stop.load(std::memory_order_relaxed)) {
            seen.store(gain.load(std::memory_order_acquire), std::memory_order_release);
        }
    });
    float value = 0.0F;
    for ([[maybe_unused]] auto _ : state) {
        value = value == 0.0F ? 1.0F : 0.0F;
        gain.store(value, std::memory_order_release);
        while (seen.load(std::memory_order_acquire) != value) {
        }
    }
    stop = true;
    audio.join();
}

} // namespace

int main(int argc, char** argv) {
    RatioTable table;
    table.AddRow("one thread");
    benchmark::RegisterBenchmark("one thread|ours", setInOneThread)->UseRealTime();
    benchmark::RegisterBenchmark("one thread|mutex and list", setUnderMutex)->UseRealTime();
    table.AddRow("two threads");
    benchmark::RegisterBenchmark("two threads|ours", setBetweenThreads)->UseRealTime();
    benchmark::RegisterBenchmark("two threads|bare atomic", atomicBetweenThreads)->UseRealTime();
    return RunRatioTable(argc, argv, table);
}
