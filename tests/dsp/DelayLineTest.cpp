#include "dsp/DelayLine.h"

#include "support/AllocationCount.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

/// Sample by sample and with the whole history, as one would explain it.
class SlowDelay {
public:
    explicit SlowDelay(std::uint32_t capacity) : limit(capacity) {}

    void SetDelay(std::uint32_t frames) {
        if (frames == (waiting ? next : now) || frames >= limit) {
            return;
        }
        if (history.empty() && faded == 0) {
            now = frames;
        } else {
            next = frames;
            waiting = true;
        }
    }

    float Process(float sample) {
        if (waiting && faded == 0) {
            before = now;
            now = next;
            waiting = false;
            faded = 1;
        }
        history.push_back(sample);
        float result = At(now);
        if (faded != 0) {
            const float weight = static_cast<float>(faded) / 128.0F;
            result = weight * At(now) + (1.0F - weight) * At(before);
            faded = faded == 128 ? 0 : faded + 1;
        }
        return result;
    }

    void Reset() {
        now = waiting ? next : now;
        waiting = false;
        faded = 0;
        history.clear();
    }

private:
    float At(std::uint32_t delay) const {
        return delay < history.size() ? history[history.size() - 1 - delay] : 0.0F;
    }

    std::uint32_t limit;
    std::uint32_t now = 0;
    std::uint32_t next = 0;
    std::uint32_t before = 0;
    bool waiting = false;
    unsigned faded = 0;
    std::vector<float> history;
};

std::vector<float> MakeRamp(std::size_t count, float first = 1.0F) {
    std::vector<float> ramp(count);
    for (std::size_t i = 0; i < count; ++i) {
        ramp[i] = first + static_cast<float>(i);
    }
    return ramp;
}

TEST(DelayLineTest, Before_the_first_sample_the_delay_is_set_at_once) {
    DelayLine line(11);
    line.SetDelay(3);
    std::vector<float> data = MakeRamp(6);
    line.Process(data.data(), 6);
    EXPECT_EQ(data, (std::vector<float>{0, 0, 0, 1, 2, 3}));
}

TEST(DelayLineTest, A_new_line_passes_the_signal_through) {
    DelayLine line(1);
    std::vector<float> data = MakeRamp(1000);
    line.Process(data.data(), 1000);
    EXPECT_EQ(data, MakeRamp(1000));
}

TEST(DelayLineTest, The_largest_delay_is_one_less_than_the_capacity) {
    DelayLine line(8);
    line.SetDelay(7);
    EXPECT_EQ(line.GetDelay(), 7U);
    std::vector<float> data = MakeRamp(20);
    line.Process(data.data(), 20);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(data[i], i < 7 ? 0.0F : static_cast<float>(i - 6));
    }
}

TEST(DelayLineTest, A_delay_past_the_capacity_is_ignored) {
    DelayLine line(8);
    line.SetDelay(2);
    line.SetDelay(8);
    line.SetDelay(4000000000U);
    EXPECT_EQ(line.GetDelay(), 2U);
    std::vector<float> data = MakeRamp(4);
    line.Process(data.data(), 4);
    line.SetDelay(9);
    EXPECT_EQ(line.GetDelay(), 2U);
}

TEST(DelayLineTest, A_capacity_of_0_is_one_of_1) {
    DelayLine line(0);
    EXPECT_EQ(line.GetCapacity(), 1U);
    float sample = 5.0F;
    line.Process(&sample, 1);
    EXPECT_EQ(sample, 5.0F);
}

TEST(DelayLineTest, A_change_in_mid_stream_fades_over_exactly_128_samples) {
    DelayLine line(64);
    std::vector<float> lead(100, 0.0F);
    line.Process(lead.data(), 100);
    // A constant from here on: the tap at delay 0 hears it at once, the one at delay 50 after 50 samples.
    line.SetDelay(50);
    std::vector<float> data(300, 1.0F);
    line.Process(data.data(), 300);
    for (std::size_t i = 0; i < 300; ++i) {
        const float weight = i < 128 ? static_cast<float>(i + 1) / 128.0F : 1.0F;
        const float tap = i < 50 ? 0.0F : 1.0F;
        EXPECT_EQ(data[i], weight * tap + (1.0F - weight)) << "sample " << i;
    }
    EXPECT_GT(data[49], 0.0F) << "sample 49 is still in the fade";
}

TEST(DelayLineTest, The_128th_sample_is_the_first_of_the_new_delay_alone) {
    DelayLine line(300);
    std::vector<float> lead = MakeRamp(300);
    line.Process(lead.data(), 300);
    line.SetDelay(200);
    std::vector<float> data = MakeRamp(200, 301.0F);
    line.Process(data.data(), 200);
    EXPECT_NE(data[126], 301.0F + 126.0F - 200.0F);
    for (std::size_t i = 127; i < 200; ++i) {
        EXPECT_EQ(data[i], 301.0F + static_cast<float>(i) - 200.0F);
    }
}

TEST(DelayLineTest, A_delay_equal_to_the_present_one_changes_nothing) {
    DelayLine line(16);
    line.SetDelay(5);
    std::vector<float> first = MakeRamp(40);
    line.Process(first.data(), 40);
    line.SetDelay(5);
    std::vector<float> second = MakeRamp(40, 41.0F);
    line.Process(second.data(), 40);
    EXPECT_EQ(second, MakeRamp(40, 36.0F));
}

TEST(DelayLineTest, A_change_during_a_fade_waits_for_its_end_and_the_last_one_wins) {
    DelayLine line(64);
    std::vector<float> data(10, 0.0F);
    line.Process(data.data(), 10);
    line.SetDelay(10);
    line.Process(data.data(), 10);
    line.SetDelay(20);
    line.SetDelay(30);
    EXPECT_EQ(line.GetDelay(), 30U);
    std::vector<float> rest(118 + 128, 0.0F);
    line.Process(rest.data(), 118);
    EXPECT_EQ(line.GetDelay(), 30U);
    line.Process(rest.data(), 128);
    std::vector<float> ramp = MakeRamp(64);
    line.Process(ramp.data(), 64);
    EXPECT_EQ(ramp[30], 1.0F);
    EXPECT_EQ(ramp[29], 0.0F);
}

TEST(DelayLineTest, Reset_silences_and_keeps_the_delay_asked_for_last) {
    DelayLine line(32);
    line.SetDelay(4);
    std::vector<float> data = MakeRamp(50);
    line.Process(data.data(), 50);
    line.SetDelay(9);
    line.Reset();
    EXPECT_EQ(line.GetDelay(), 9U);
    data = MakeRamp(20);
    line.Process(data.data(), 20);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(data[i], i < 9 ? 0.0F : static_cast<float>(i - 8));
    }
}

TEST(DelayLineTest, After_Reset_the_delay_is_set_at_once_again) {
    DelayLine line(32);
    std::vector<float> data = MakeRamp(50);
    line.Process(data.data(), 50);
    line.Reset();
    line.SetDelay(2);
    data = MakeRamp(4);
    line.Process(data.data(), 4);
    EXPECT_EQ(data, (std::vector<float>{0, 0, 1, 2}));
}

TEST(DelayLineTest, An_empty_block_does_not_count_as_played) {
    DelayLine line(32);
    line.Process(nullptr, 0);
    line.SetDelay(1);
    std::vector<float> data = MakeRamp(2);
    line.Process(data.data(), 2);
    EXPECT_EQ(data, (std::vector<float>{0, 1}));
}

TEST(DelayLineTest, Random_delays_and_blocks_agree_with_a_slow_model) {
    auto random = [engine = std::mt19937(20)]() mutable { return static_cast<std::uint32_t>(engine()); };
    for (const std::uint32_t capacity : {1U, 2U, 3U, 17U, 64U, 500U, 513U, 2000U}) {
        DelayLine inPlace(capacity);
        DelayLine apart(capacity);
        SlowDelay slow(capacity);
        float value = 0.0F;
        for (int step = 0; step < 400; ++step) {
            if (random() % 3 == 0) {
                const std::uint32_t delay = random() % (capacity + 2);
                inPlace.SetDelay(delay);
                apart.SetDelay(delay);
                slow.SetDelay(delay);
            }
            if (random() % 60 == 0) {
                inPlace.Reset();
                apart.Reset();
                slow.Reset();
            }
            const std::uint32_t frames = random() % 5 == 0 ? random() % 1500 : random() % 40;
            std::vector<float> in(frames);
            std::vector<float> wanted(frames);
            for (std::uint32_t i = 0; i < frames; ++i) {
                in[i] = value += 1.0F;
                wanted[i] = slow.Process(in[i]);
            }
            std::vector<float> out(frames);
            apart.ProcessBlock(in, out);
            inPlace.Process(in.data(), frames);
            for (std::uint32_t i = 0; i < frames; ++i) {
                // The compiler may fuse the fade's products and sum differently on the two sides.
                ASSERT_NEAR(out[i], wanted[i], 1e-6F * value) << "capacity " << capacity << " step " << step;
                ASSERT_EQ(in[i], out[i]) << "capacity " << capacity << " step " << step;
            }
        }
    }
}

TEST(DelayLineTest, Nothing_but_construction_allocates) {
    DelayLine line(100);
    std::vector<float> data(2000, 1.0F);
    std::vector<float> out(2000);
    const std::size_t before = AllocationCount();
    line.SetDelay(10);
    line.Process(data.data(), 2000);
    line.SetDelay(20);
    line.ProcessBlock(data, out);
    line.Reset();
    EXPECT_EQ(AllocationCount(), before);
}

} // namespace
} // namespace DSP::Testing
