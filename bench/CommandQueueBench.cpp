// The queue between control and audio thread beside boost::lockfree::spsc_queue, both with room for 1023
// pointers: in one thread, a pointer in and out; between two, a batch of pointers from the first to the last.

#include "RatioTable.h"

#include "dsp/CommandQueue.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <bit>
#include <boost/lockfree/spsc_queue.hpp>
#include <cstdint>
#include <thread>

namespace {

constexpr std::size_t capacity = 1023;
constexpr std::uint32_t batch = 20000;

DSP::DSPCommand* numbered(std::uintptr_t number) {
    return std::bit_cast<DSP::DSPCommand*>(number * 64);
}

struct Ours {
    bool Put(DSP::DSPCommand* command) { return queue.TryEnqueue(command); }
    bool Take(DSP::DSPCommand*& command) { return (command = queue.Dequeue()) != nullptr; }
    DSP::CommandQueue queue{1020};
};

struct Boost {
    bool Put(DSP::DSPCommand* command) { return queue.push(command); }
    bool Take(DSP::DSPCommand*& command) { return queue.pop(command); }
    boost::lockfree::spsc_queue<DSP::DSPCommand*, boost::lockfree::capacity<capacity>> queue;
};

template<class Queue>
void oneThread(benchmark::State& state) {
    Queue queue;
    std::uintptr_t number = 1;
    for ([[maybe_unused]] auto _ : state) {
        bool done = queue.Put(numbered(number++));
        DSP::DSPCommand* command = nullptr;
        done = queue.Take(command) && done;
        benchmark::DoNotOptimize(command);
        benchmark::DoNotOptimize(done);
    }
}

/// Fills the ring half and empties it again, so that both ends run over their cached indices.
template<class Queue>
void bursts(benchmark::State& state) {
    Queue queue;
    for ([[maybe_unused]] auto _ : state) {
        for (std::uintptr_t number = 1; number <= capacity / 2; ++number) {
            bool done = queue.Put(numbered(number));
            benchmark::DoNotOptimize(done);
        }
        DSP::DSPCommand* command = nullptr;
        while (queue.Take(command)) {
            benchmark::DoNotOptimize(command);
        }
    }
}

template<class Queue>
void twoThreads(benchmark::State& state) {
    Queue queue;
    std::atomic<std::uint64_t> consumed = 0;
    std::atomic<bool> stop = false;
    std::thread consumer([&] {
        std::uint64_t count = 0;
        DSP::DSPCommand* command = nullptr;
        while (!stop.load(std::memory_order_relaxed)) {
            while (queue.Take(command)) {
                benchmark::DoNotOptimize(command);
                if (++count % batch == 0) {
                    consumed.store(count, std::memory_order_release);
                }
            }
        }
    });
    std::uint64_t sent = 0;
    for ([[maybe_unused]] auto _ : state) {
        for (std::uintptr_t number = 1; number <= batch; ++number) {
            while (!queue.Put(numbered(number))) {
            }
        }
        sent += batch;
        while (consumed.load(std::memory_order_acquire) != sent) {
        }
    }
    stop = true;
    consumer.join();
}

void add(
    RatioTable& table, const std::string& row, void (*ours)(benchmark::State&),
    void (*boost)(benchmark::State&)) {
    table.AddRow(row, 1.0);
    benchmark::RegisterBenchmark((row + "|ours").c_str(), ours)->UseRealTime();
    benchmark::RegisterBenchmark((row + "|boost").c_str(), boost)->UseRealTime();
}

} // namespace

int main(int argc, char** argv) {
    RatioTable table;
    add(table, "one thread, in and out", oneThread<Ours>, oneThread<Boost>);
    add(table, "one thread, 511 and 511", bursts<Ours>, bursts<Boost>);
    add(table, "two threads, 20000", twoThreads<Ours>, twoThreads<Boost>);
    return RunRatioTable(argc, argv, table);
}
