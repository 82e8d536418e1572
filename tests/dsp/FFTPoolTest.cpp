#include "dsp/FFTPool.h"

#include "dsp/KernelFailure.h"
#include "dsp/ProcessingFFTPool.h"
#include "support/AllocationCount.h"
#include "support/VirtualSlot.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

using Util::FFTPool;

TEST(FFTPoolTest, Keeps_its_name) {
    EXPECT_STREQ(FFTPool("PluginFFTPool").GetName().c_str(), "PluginFFTPool");
}

// Its lock, which only an explicit instantiation may name.
const Util::CriticalSection& lockOf(const FFTPool& pool);
template<auto Mutex>
struct PrivateLock {
    friend const Util::CriticalSection& lockOf(const FFTPool& pool) { return pool.*Mutex; }
};
template struct PrivateLock<&FFTPool::mutex>;

TEST(FFTPoolTest, Its_lock_has_its_name) {
    EXPECT_EQ(lockOf(FFTPool("PluginFFTPool")).name(), String("PluginFFTPool Critical Section"));
}

TEST(FFTPoolTest, Preparing_twice_makes_one_state) {
    FFTPool pool("pool");
    pool.Prepare(8);
    const FFT* state = pool.Get(8);
    const std::size_t before = AllocationCount();
    pool.Prepare(8);
    EXPECT_EQ(pool.Get(8), state);
    EXPECT_EQ(AllocationCount(), before);
}

TEST(FFTPoolTest, An_order_past_the_pool_is_null_and_prepares_nothing) {
    FFTPool pool("pool", 10);
    pool.Prepare(10);
    EXPECT_EQ(pool.Get(10), nullptr);
    EXPECT_EQ(pool.Get(4000000000U), nullptr);
    EXPECT_NE(pool.Get(9), nullptr);
    FFTPool largest("pool", 1000);
    EXPECT_EQ(largest.Get(maxFFTOrder + 1), nullptr);
}

TEST(FFTPoolTest, An_order_that_was_not_prepared_is_prepared_on_demand) {
    FFTPool pool("pool");
    const FFT* state = pool.Get(5);
    ASSERT_NE(state, nullptr);
    EXPECT_EQ(state->GetOrder(), 5U);
    EXPECT_EQ(pool.Get(5), state);
}

TEST(FFTPoolTest, The_buffer_serves_every_prepared_order) {
    FFTPool pool("pool");
    EXPECT_EQ(pool.GetBuffer(), nullptr);
    for (const unsigned order : {1U, 12U, 6U}) {
        pool.Prepare(order);
    }
    ASSERT_NE(pool.GetBuffer(), nullptr);
    for (const unsigned order : {12U, 6U, 1U}) {
        std::vector<float> signal(std::size_t{1} << order, 0.0F);
        signal[1] = 1.0F;
        std::vector<float> data(signal.size());
        const FFT* fft = pool.Get(order);
        fft->Forward(signal.data(), data.data(), pool.GetBuffer());
        fft->Inverse(data.data(), data.data(), pool.GetBuffer());
        for (std::size_t i = 0; i < data.size(); ++i) {
            EXPECT_NEAR(data[i], signal[i], 1e-6F);
        }
    }
}

TEST(FFTPoolTest, A_smaller_order_leaves_the_buffer_where_it_is) {
    FFTPool pool("pool");
    pool.Prepare(10);
    const void* buffer = pool.GetBuffer();
    pool.Prepare(7);
    EXPECT_EQ(pool.GetBuffer(), buffer);
}

TEST(FFTPoolTest, Getting_a_prepared_order_allocates_nothing) {
    FFTPool pool("pool");
    pool.Prepare(9);
    const std::size_t before = AllocationCount();
    EXPECT_NE(pool.Get(9), nullptr);
    EXPECT_EQ(AllocationCount(), before);
}

TEST(FFTPoolTest, Wherever_memory_ends_preparing_fails_as_a_kernel_does_and_may_be_tried_again) {
    unsigned failures = 0;
    for (bool failed = true; failed;) {
        FFTPool pool("pool");
        String message;
        FailAllocation(failures + 1);
        try {
            pool.Prepare(10);
        } catch (const KernelFailure& failure) {
            message = failure.message();
        }
        failed = AllocationFailed();
        FailAllocation(0);
        EXPECT_STREQ(message.c_str(), failed ? "IPP failure: Not enough memory" : "") << failures;
        EXPECT_NE(pool.Get(10), nullptr);
        EXPECT_NE(pool.GetBuffer(), nullptr);
        failures += failed;
    }
    EXPECT_GT(failures, 1U) << "the state's and the buffer's";
}

TEST(FFTPoolTest, Threads_that_ask_at_once_get_one_state_each_order) {
    FFTPool pool("pool");
    constexpr unsigned numThreads = 4;
    std::vector<std::vector<const FFT*>> seen(numThreads);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < numThreads; ++t) {
        threads.emplace_back([&pool, &seen, t] {
            for (unsigned order = 1; order <= 9; ++order) {
                seen[t].push_back(pool.Get((order + t) % 9 + 1));
                if (seen[t].back()->GetOrder() != (order + t) % 9 + 1) {
                    seen[t].back() = nullptr;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (unsigned t = 0; t < numThreads; ++t) {
        for (unsigned order = 1; order <= 9; ++order) {
            EXPECT_EQ(seen[t][order - 1], pool.Get((order + t) % 9 + 1));
            EXPECT_NE(seen[t][order - 1], nullptr);
        }
    }
}

TEST(FFTPoolTest, A_smaller_order_is_prepared_beside_a_transform) {
    FFTPool pool("pool");
    pool.Prepare(10);
    std::atomic<bool> stop = false;
    std::thread preparing([&] {
        for (unsigned order = 1; order < 10; ++order) {
            pool.Prepare(order);
        }
        stop = true;
    });
    std::vector<float> signal(1024, 0.0F);
    signal[0] = 1.0F;
    std::vector<float> spectrum(signal.size());
    std::uint32_t wrong = 0;
    do {
        pool.Get(10)->Forward(signal.data(), spectrum.data(), pool.GetBuffer());
        // Of a unit impulse, every real part is one.
        wrong += spectrum[0] != 1.0F || spectrum[1] != 1.0F || spectrum[512] != 1.0F;
    } while (!stop);
    preparing.join();
    EXPECT_EQ(wrong, 0U);
}

TEST(ProcessingFFTPool, Its_operations_stand_in_their_published_order) {
    using Pool = ProcessingFFTPool;
    EXPECT_EQ(virtualSlots(&Pool::Prepare, &Pool::GetFFT, &Pool::GetBuffer), slotsFrom(destructorSlots, 3));
}

} // namespace
} // namespace DSP::Testing
