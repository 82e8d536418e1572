// String::arg against fmt with the same texts: two placeholders and a number, as most messages have, and one
// long text. fmt writes into one string; arg makes a String at every step. The counter tells allocations.

#include "svbase/util/String.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

namespace {

std::atomic<std::uint64_t> allocations{0};

} // namespace

// Not inlined, or GCC sees malloc and free at the ends of a new and a delete and calls them mismatched.
[[gnu::noinline]] void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

void run(benchmark::State& state, auto body) {
    const std::uint64_t before = allocations.load();
    for (auto _ : state) {
        benchmark::DoNotOptimize(body());
    }
    const auto made = static_cast<double>(allocations.load() - before);
    state.counters["allocations"] = benchmark::Counter(made, benchmark::Counter::kAvgIterations);
}

void message_arg(benchmark::State& state) {
    const String format("Attempt to read %1 bytes, only read %2 bytes");
    const std::uint32_t asked = 4096;
    run(state, [&] { return format.arg(asked).arg(17U); });
}
BENCHMARK(message_arg);

void message_fmt(benchmark::State& state) {
    const std::uint32_t asked = 4096;
    run(state, [&] { return fmt::format("Attempt to read {} bytes, only read {} bytes", asked, 17U); });
}
BENCHMARK(message_fmt);

void short_text_arg(benchmark::State& state) {
    const String format("%1 Hz");
    run(state, [&] { return format.arg(44100); });
}
BENCHMARK(short_text_arg);

void short_text_fmt(benchmark::State& state) {
    run(state, [&] { return fmt::format("{} Hz", 44100); });
}
BENCHMARK(short_text_fmt);

void float_arg(benchmark::State& state) {
    const String format("%1 dB");
    run(state, [&] { return format.arg(-12.345F, 2); });
}
BENCHMARK(float_arg);

void float_fmt(benchmark::State& state) {
    run(state, [&] { return fmt::format("{:.2f} dB", -12.345F); });
}
BENCHMARK(float_fmt);

void text_arg(benchmark::State& state) {
    const String format("%1 (%2): Thrown, GetLastError(): %3\n");
    const String file("svbase/src/svbase/util/ByteStream.cpp");
    run(state, [&] { return format.arg(file).arg(120).arg(5U); });
}
BENCHMARK(text_arg);

void text_fmt(benchmark::State& state) {
    const std::string file("svbase/src/svbase/util/ByteStream.cpp");
    run(state, [&] { return fmt::format("{} ({}): Thrown, GetLastError(): {}\n", file, 120, 5U); });
}
BENCHMARK(text_fmt);

} // namespace

BENCHMARK_MAIN();
