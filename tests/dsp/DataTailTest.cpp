#include "dsp/DataTail.h"

#include "dsp/DataTailCirc.h"
#include "support/AllocationCount.h"
#include "support/VirtualSlot.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

constexpr std::uint32_t numChannels = 2;

/// Two channels of consecutive numbers, the second negative.
class Feed {
public:
    const float* const* Next(std::uint32_t frames) {
        for (std::uint32_t c = 0; c < numChannels; ++c) {
            data[c].resize(std::max(frames, 1U));
            pointers[c] = data[c].data();
        }
        for (std::uint32_t i = 0; i < frames; ++i) {
            data[0][i] = ++value;
            data[1][i] = -value;
        }
        return pointers;
    }

private:
    std::vector<float> data[numChannels];
    const float* pointers[numChannels] = {};
    float value = 0.0F;
};

std::vector<float> Take(DataTail& tail, std::uint32_t frames) {
    std::vector<float> left(frames);
    std::vector<float> right(frames);
    float* const pointers[numChannels] = {left.data(), right.data()};
    tail.CopyOut(pointers, frames);
    tail.Consume(frames);
    for (std::uint32_t i = 0; i < frames; ++i) {
        EXPECT_EQ(right[i], -left[i]);
    }
    return left;
}

template<class Tail>
class DataTailTest : public testing::Test {
protected:
    Tail tail;
    Feed feed;
};

using Forms = testing::Types<DataTail, DataTailCirc>;
TYPED_TEST_SUITE(DataTailTest, Forms);

TYPED_TEST(DataTailTest, Init_leaves_the_padding_as_silence) {
    this->tail.Init(numChannels, 0, 10, 3);
    EXPECT_EQ(this->tail.GetNumChannels(), 2U);
    EXPECT_EQ(this->tail.GetCapacity(), 10U);
    EXPECT_EQ(this->tail.GetPadding(), 3U);
    EXPECT_EQ(this->tail.GetOffset(), 0U);
    EXPECT_EQ(this->tail.GetLength(), 3U);
    EXPECT_EQ(this->tail.GetFree(), 10U);
    EXPECT_EQ(Take(this->tail, 3), (std::vector<float>{0, 0, 0}));
}

TYPED_TEST(DataTailTest, What_goes_in_comes_out_in_order) {
    this->tail.Init(numChannels, 0, 10, 0);
    this->tail.Append(this->feed.Next(6), 6);
    EXPECT_EQ(Take(this->tail, 4), (std::vector<float>{1, 2, 3, 4}));
    this->tail.Append(this->feed.Next(5), 5);
    EXPECT_EQ(this->tail.GetLength(), 7U);
    EXPECT_EQ(Take(this->tail, 7), (std::vector<float>{5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(this->tail.GetAvailable(), 0U);
}

TYPED_TEST(DataTailTest, Copying_out_consumes_nothing) {
    this->tail.Init(numChannels, 0, 4, 0);
    this->tail.Append(this->feed.Next(4), 4);
    std::vector<float> data(4);
    float* const pointers[numChannels] = {data.data(), data.data()};
    this->tail.CopyOut(pointers, 4);
    EXPECT_EQ(this->tail.GetAvailable(), 4U);
    EXPECT_EQ(Take(this->tail, 4), (std::vector<float>{1, 2, 3, 4}));
}

TYPED_TEST(DataTailTest, Grow_keeps_the_content) {
    this->tail.Init(numChannels, 0, 6, 2);
    this->tail.Append(this->feed.Next(5), 5);
    Take(this->tail, 4);
    this->tail.Append(this->feed.Next(4), 4);
    this->tail.Grow(20);
    EXPECT_EQ(this->tail.GetCapacity(), 20U);
    EXPECT_EQ(this->tail.GetPadding(), 2U);
    EXPECT_EQ(this->tail.GetLength(), 7U);
    EXPECT_EQ(this->tail.GetFree(), 15U);
    EXPECT_EQ(Take(this->tail, 7), (std::vector<float>{3, 4, 5, 6, 7, 8, 9}));
}

TYPED_TEST(DataTailTest, Growing_to_nothing_without_padding_leaves_one_frame) {
    this->tail.Init(numChannels, 0, 5, 0);
    this->tail.Grow(0);
    EXPECT_EQ(this->tail.GetCapacity(), 1U);
    this->tail.Append(this->feed.Next(1), 1);
    EXPECT_EQ(Take(this->tail, 1), (std::vector<float>{1}));
}

TYPED_TEST(DataTailTest, Growing_to_nothing_with_padding_leaves_the_padding) {
    this->tail.Init(numChannels, 0, 5, 3);
    this->tail.Grow(0);
    EXPECT_EQ(this->tail.GetCapacity(), 0U);
    EXPECT_EQ(this->tail.GetFree(), 0U);
    EXPECT_EQ(Take(this->tail, 3), (std::vector<float>{0, 0, 0}));
    this->tail.Append(this->feed.Next(3), 3);
    EXPECT_EQ(Take(this->tail, 3), (std::vector<float>{1, 2, 3}));
}

TYPED_TEST(DataTailTest, Growing_below_the_content_keeps_its_beginning) {
    this->tail.Init(numChannels, 0, 8, 0);
    this->tail.Append(this->feed.Next(8), 8);
    this->tail.Grow(3);
    EXPECT_EQ(this->tail.GetLength(), 3U);
    EXPECT_EQ(Take(this->tail, 3), (std::vector<float>{1, 2, 3}));
}

TYPED_TEST(DataTailTest, Appending_more_than_fits_grows) {
    this->tail.Init(numChannels, 0, 4, 1);
    this->tail.Append(this->feed.Next(9), 9);
    EXPECT_EQ(this->tail.GetLength(), 10U);
    EXPECT_EQ(Take(this->tail, 10), (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TYPED_TEST(DataTailTest, Frames_below_the_offset_stay_readable) {
    this->tail.Init(numChannels, 2, 8, 2);
    EXPECT_EQ(this->tail.GetAvailable(), 0U);
    this->tail.Append(this->feed.Next(6), 6);
    EXPECT_EQ(this->tail.GetAvailable(), 6U);
    EXPECT_EQ(this->tail.GetPointers()[0][-1], 0.0F);
    EXPECT_EQ(Take(this->tail, 3), (std::vector<float>{1, 2, 3}));
    const float* left = this->tail.GetPointers()[0];
    EXPECT_EQ(left[-2], 2.0F);
    EXPECT_EQ(left[-1], 3.0F);
    EXPECT_EQ(left[0], 4.0F);
    EXPECT_EQ(this->tail.GetPointers()[1][2], -6.0F);
}

TYPED_TEST(DataTailTest, Written_frames_become_content_by_Commit) {
    this->tail.Init(numChannels, 0, 6, 0);
    for (int round = 0; round < 5; ++round) {
        float* const* pointers = this->tail.GetWritePointers(4);
        const float* const* source = this->feed.Next(4);
        for (std::uint32_t c = 0; c < numChannels; ++c) {
            std::copy_n(source[c], 4, pointers[c]);
        }
        this->tail.Commit(4);
        const float first = static_cast<float>(4 * round);
        EXPECT_EQ(Take(this->tail, 4), (std::vector<float>{first + 1, first + 2, first + 3, first + 4}));
    }
}

TYPED_TEST(DataTailTest, Random_use_agrees_with_a_queue) {
    auto random = [engine = std::mt19937(5)]() mutable { return static_cast<std::uint32_t>(engine()); };
    for (int run = 0; run < 60; ++run) {
        const std::uint32_t padding = random() % 5;
        const std::uint32_t offset = random() % (padding + 1);
        this->tail.Init(numChannels, offset, random() % 20, padding);
        std::deque<float> queue(padding - offset, 0.0F);
        for (int step = 0; step < 300; ++step) {
            const std::uint32_t frames = random() % 9;
            switch (random() % 6) {
            case 0:
            case 1: {
                const float* const* source = this->feed.Next(frames);
                queue.insert(queue.end(), source[0], source[0] + frames);
                this->tail.Append(source, frames);
                break;
            }
            case 2: {
                const float* const* source = this->feed.Next(frames);
                queue.insert(queue.end(), source[0], source[0] + frames);
                float* const* pointers = this->tail.GetWritePointers(frames);
                for (std::uint32_t c = 0; c < numChannels; ++c) {
                    std::copy_n(source[c], frames, pointers[c]);
                }
                this->tail.Commit(frames);
                break;
            }
            case 3:
            case 4: {
                const std::uint32_t count = std::min(frames, this->tail.GetAvailable());
                const std::vector<float> wanted(queue.begin(), queue.begin() + count);
                queue.erase(queue.begin(), queue.begin() + count);
                ASSERT_EQ(Take(this->tail, count), wanted);
                break;
            }
            default:
                if (random() % 10 == 0) {
                    this->tail.Grow(this->tail.GetLength() + random() % 30);
                }
                if (this->tail.GetAvailable() != 0) {
                    ASSERT_EQ(this->tail.GetPointers()[0][0], queue.front());
                }
            }
            ASSERT_EQ(this->tail.GetAvailable(), queue.size());
        }
    }
}

TYPED_TEST(DataTailTest, Within_the_capacity_nothing_allocates) {
    this->tail.Init(numChannels, 0, 64, 0);
    const float* const* source = this->feed.Next(40);
    std::vector<float> data(40);
    float* const pointers[numChannels] = {data.data(), data.data()};
    const std::size_t before = AllocationCount();
    for (int round = 0; round < 10; ++round) {
        this->tail.Append(source, 40);
        this->tail.CopyOut(pointers, 40);
        this->tail.GetPointers();
        this->tail.Consume(40);
        this->tail.GetWritePointers(50);
    }
    EXPECT_EQ(AllocationCount(), before);
}

TEST(DataTail, Grow_stands_right_behind_the_destructor) {
    EXPECT_EQ(virtualSlot(&DataTail::Grow), destructorSlots);
}

} // namespace
} // namespace DSP::Testing
