#include "dsp/MultichannelBufferView.h"

#include "support/AllocationCount.h"
#include "support/VirtualSlot.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

using View = MultichannelBufferView<float>;

struct Channels {
    explicit Channels(std::size_t count) : samples(count, std::vector<float>(16)) {
        for (std::vector<float>& channel : samples) {
            spans.push_back({channel.data(), channel.size()});
        }
    }
    std::vector<std::vector<float>> samples;
    std::vector<View::Span> spans;
};

/// The bytes of an object's first word, its vtable pointer.
std::array<std::byte, sizeof(void*)> GetMark(const void* memory) {
    std::array<std::byte, sizeof(void*)> mark;
    std::memcpy(mark.data(), memory, mark.size());
    return mark;
}

TEST(MultichannelBufferViewTest, Spans_and_pointers_say_the_same) {
    Channels channels(3);
    const View view(channels.spans, 16);
    EXPECT_EQ(view.GetNumChannels(), 3U);
    EXPECT_EQ(view.GetNumFrames(), 16U);
    ASSERT_EQ(view.GetSpans().size(), 3U);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(view.GetSpans()[c].pointer, channels.samples[c].data());
        EXPECT_EQ(view.GetSpans()[c].length, 16U);
        EXPECT_EQ(view.GetPointers()[c], channels.samples[c].data());
    }
    EXPECT_EQ(view.GetPointers()[3], nullptr);
    EXPECT_TRUE(view.IsLive());
}

TEST(MultichannelBufferViewTest, A_span_of_length_0_gives_a_null_pointer_entry) {
    float sample = 0.0F;
    const View view({{&sample, 0}, {&sample, 1}}, 1);
    EXPECT_EQ(view.GetPointers()[0], nullptr);
    EXPECT_EQ(view.GetSpans()[0].pointer, &sample);
    EXPECT_EQ(view.GetPointers()[1], &sample);
    EXPECT_EQ(view.GetNumChannels(), 2U);
}

TEST(MultichannelBufferViewTest, Without_channels_pointers_are_null_and_frames_stay_as_given) {
    const View view({}, 77);
    EXPECT_EQ(view.GetNumFrames(), 77U);
    EXPECT_EQ(view.GetNumChannels(), 0U);
    EXPECT_TRUE(view.GetSpans().empty());
    for (std::size_t c = 0; c < View::maxChannels; ++c) {
        EXPECT_EQ(view.GetPointers()[c], nullptr);
    }
}

TEST(MultichannelBufferViewTest, Twenty_four_channels_are_legal) {
    Channels channels(24);
    const View view(channels.spans, 16);
    EXPECT_EQ(view.GetNumChannels(), 24U);
    EXPECT_EQ(view.GetPointers()[23], channels.samples[23].data());
}

TEST(MultichannelBufferViewTest, A_25th_channel_throws_the_length_error) {
    Channels channels(25);
    try {
        const View view(channels.spans, 16);
        FAIL() << "no exception";
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "get_next_capacity, allocator's max_size reached");
    }
}

TEST(MultichannelBufferViewTest, Copies_are_element_wise_and_leave_the_source) {
    Channels channels(5);
    const View view(channels.spans, 9);
    const View copy(view);
    View assigned({}, 1);
    assigned = view;
    for (const View* each : {&view, &copy, static_cast<const View*>(&assigned)}) {
        EXPECT_EQ(each->GetNumFrames(), 9U);
        ASSERT_EQ(each->GetNumChannels(), 5U);
        for (std::size_t c = 0; c < 5; ++c) {
            EXPECT_EQ(each->GetPointers()[c], channels.samples[c].data());
            EXPECT_EQ(each->GetSpans()[c].length, 16U);
        }
    }
    assigned = View({}, 3);
    EXPECT_EQ(assigned.GetNumChannels(), 0U);
    EXPECT_EQ(assigned.GetPointers()[0], nullptr);
}

// A destroyed view is no object any more: its storage is read as bytes.
class DestroyedView : public testing::Test {
protected:
    DestroyedView() {
        View* view = ::new (static_cast<void*>(storage.data())) View(channels.spans, frames);
        live = storage;
        view->~View();
    }

    /// Counts how often the bytes of `value` stand at an aligned place.
    template<class Value>
    static std::size_t Count(const std::array<std::byte, sizeof(View)>& bytes, Value value) {
        std::size_t count = 0;
        for (std::size_t i = 0; i + sizeof(Value) <= bytes.size(); i += sizeof(Value)) {
            count += std::memcmp(bytes.data() + i, &value, sizeof(Value)) == 0 ? 1 : 0;
        }
        return count;
    }

    static constexpr std::uint32_t frames = 1234567;
    Channels channels{7};
    alignas(View) std::array<std::byte, sizeof(View)> storage{};
    std::array<std::byte, sizeof(View)> live{};
};

TEST_F(DestroyedView, All_channel_pointers_are_gone) {
    for (std::vector<float>& channel : channels.samples) {
        EXPECT_EQ(Count(live, channel.data()), 2U) << "in the span and in the pointer";
        EXPECT_EQ(Count(storage, channel.data()), 0U);
    }
}

TEST_F(DestroyedView, The_spans_are_empty_with_the_views_frames) {
    const std::size_t elsewhere = Count(live, std::uint64_t{frames});
    EXPECT_EQ(Count(storage, std::uint64_t{frames}), elsewhere + View::maxChannels);
}

TEST_F(DestroyedView, The_mark_of_the_base_is_left_behind) {
    class Other final : public multichannel_buffer_detail::view_canary {
    public:
        bool IsLive() const noexcept override { return true; }
    };
    alignas(Other) std::array<std::byte, sizeof(Other)> other;
    Other* object = ::new (static_cast<void*>(other.data())) Other;
    const auto otherLive = GetMark(other.data());
    object->~Other();
    EXPECT_NE(GetMark(storage.data()), GetMark(live.data()));
    EXPECT_NE(otherLive, GetMark(live.data()));
    EXPECT_EQ(GetMark(storage.data()), GetMark(other.data())) << "both are the base's now";
}

TEST_F(DestroyedView, A_copy_of_more_than_24_entries_ends_the_process) {
    ::new (static_cast<void*>(storage.data())) View(channels.spans, frames);
    // What a stray write could do: find the two counts of seven and raise them.
    for (std::size_t i = 0; i + 8 <= storage.size(); i += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, storage.data() + i, 8);
        if (word == 7) {
            word = 25;
            std::memcpy(storage.data() + i, &word, 8);
        }
    }
    const View* broken = std::launder(reinterpret_cast<const View*>(storage.data()));
    EXPECT_DEATH(View{*broken}, "");
    EXPECT_EQ(broken->GetNumChannels(), 25U);
    broken->~View();
}

TEST(MultichannelBufferViewTest, Its_one_operation_stands_before_the_destructor) {
    struct Extended : multichannel_buffer_detail::view_canary {
        virtual void Added() {}
    };
    EXPECT_EQ(virtualSlot(&View::IsLive), 0);
    EXPECT_EQ(virtualSlot(&Extended::Added), 1 + destructorSlots);
}

TEST(MultichannelBufferViewTest, Nothing_allocates) {
    Channels channels(24);
    const std::size_t before = AllocationCount();
    const View view(channels.spans, 16);
    View copy(view);
    copy = view;
    EXPECT_EQ(AllocationCount(), before);
}

} // namespace
} // namespace DSP::Testing
