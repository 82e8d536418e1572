#include "hosting/PlatformCalls_win32.h"
#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPlugin.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace Tarvik {
namespace {

using TestFilters::Behaviour;
using TestFilters::Deed;
using TestFilters::Delivery;
using TestFilters::Place;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

constexpr float gain = 0.5f;
constexpr std::uint32_t sampleBytes = 65536;

/// Audio of some channels, and the pointers to it.
struct Block {
    Block(std::uint32_t channelCount, std::uint32_t frames)
        : channels(channelCount, std::vector<float>(frames)) {}

    std::vector<float*> Pointers() {
        std::vector<float*> pointers;
        for (auto& channel : channels) {
            pointers.push_back(channel.data());
        }
        return pointers;
    }

    std::vector<std::vector<float>> channels;
};

class DXPluginAudioTest : public testing::Test {
protected:
    /// layout 0 and 1 are one channel and two.
    void Load(Behaviour behaviour, std::uint32_t channelCount = 2) {
        filter = std::make_unique<RegisteredFilter>(std::move(behaviour));
        plugin = std::make_unique<DXPlugin>(filter->Text(), 44100.0f, channelCount - 1);
        ASSERT_TRUE(plugin->IsValid());
        channels = channelCount;
    }

    static Behaviour Delivering(Delivery delivery, std::uint32_t delayFrames = 0) {
        Behaviour behaviour;
        behaviour.delivery = delivery;
        behaviour.delayFrames = delayFrames;
        return behaviour;
    }

    Block Random(std::uint32_t frames) {
        Block block(channels, frames);
        std::uniform_real_distribution<float> value(-1.0f, 1.0f);
        for (auto& channel : block.channels) {
            std::generate(channel.begin(), channel.end(), [&] { return value(random); });
        }
        return block;
    }

    Block Process(Block block) {
        plugin->Process(
            static_cast<std::uint32_t>(block.channels[0].size()), channels, block.Pointers().data());
        return block;
    }

    ComApartment com;
    std::unique_ptr<RegisteredFilter> filter;
    std::unique_ptr<DXPlugin> plugin;
    std::uint32_t channels = 2;
    std::mt19937 random{3};
};

/// What comes out of a filter that holds back the first frames of everything, worked out frame by frame.
class Model {
public:
    Model(std::uint32_t channels, std::uint32_t delayFrames) : history(channels), delay(delayFrames) {}

    /// How many frames the filter gives back for this block.
    std::uint32_t Feed(const Block& block) {
        const std::size_t before = history[0].size();
        for (std::size_t channel = 0; channel < history.size(); ++channel) {
            history[channel].insert(
                history[channel].end(), block.channels[channel].begin(), block.channels[channel].end());
        }
        const auto out = [this](std::size_t in) { return in > delay ? in - delay : 0; };
        return static_cast<std::uint32_t>(out(history[0].size()) - out(before));
    }

    /// The last frames of the output.
    Block Output(std::uint32_t frames) const {
        Block block(static_cast<std::uint32_t>(history.size()), frames);
        const std::size_t first = history[0].size() - frames;
        for (std::size_t channel = 0; channel < history.size(); ++channel) {
            for (std::size_t frame = 0; frame < frames; ++frame) {
                const std::size_t at = first + frame;
                block.channels[channel][frame] = at >= delay ? gain * history[channel][at - delay] : 0.0f;
            }
        }
        return block;
    }

private:
    std::vector<std::vector<float>> history;
    std::size_t delay;
};

TEST_F(DXPluginAudioTest, Blocks_of_any_length_come_out_as_a_plain_model_has_them) {
    for (const Behaviour& behaviour :
         {Delivering(Delivery::copied), Delivering(Delivery::inPlace), Delivering(Delivery::inTwoPieces),
          Delivering(Delivery::ownThread), Delivering(Delivery::late, 1), Delivering(Delivery::late, 100),
          Delivering(Delivery::late, 5000)}) {
        for (const std::uint32_t channelCount : {1U, 2U}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(behaviour.delivery) << " " << channelCount);
            Load(behaviour, channelCount);
            Model model(channels, behaviour.delayFrames);
            const auto longest = static_cast<std::uint32_t>(sampleBytes / sizeof(float) / channels);
            std::uniform_int_distribution<std::uint32_t> anyLength(1, longest);
            std::uniform_int_distribution<std::uint32_t> shortLength(1, 64);
            for (int block = 0; block < 60; ++block) {
                const std::uint32_t frames = block == 0       ? 10
                                             : block == 1     ? longest
                                             : block % 4 == 0 ? anyLength(random)
                                                              : shortLength(random);
                const Block in = Random(frames);
                const std::uint32_t delivered = model.Feed(in);
                const Block out = Process(in);
                ASSERT_EQ(out.channels, model.Output(frames).channels) << block;
                ASSERT_EQ(plugin->GetReportedDelay(), checked_value(delivered)) << block;
            }
        }
    }
}

TEST_F(DXPluginAudioTest, Fewer_frames_than_given_stand_at_the_end_behind_silence) {
    Load(Delivering(Delivery::late, 2));
    Block block(2, 5);
    block.channels = {{1.0f, 2.0f, 3.0f, 4.0f, 5.0f}, {10.0f, 20.0f, 30.0f, 40.0f, 50.0f}};
    block = Process(block);
    EXPECT_THAT(block.channels[0], ElementsAre(0.0f, 0.0f, 0.5f, 1.0f, 1.5f));
    EXPECT_THAT(block.channels[1], ElementsAre(0.0f, 0.0f, 5.0f, 10.0f, 15.0f));
    EXPECT_EQ(plugin->GetReportedDelay(), checked_value(3U));
}

TEST_F(DXPluginAudioTest, Nothing_in_return_is_silence) {
    Load(Delivering(Delivery::nothing));
    const Block out = Process(Random(32));
    EXPECT_THAT(out.channels[0], Each(0.0f));
    EXPECT_THAT(out.channels[1], Each(0.0f));
    EXPECT_EQ(plugin->GetReportedDelay(), checked_value(0U));
}

TEST_F(DXPluginAudioTest, More_frames_than_given_leave_the_block_and_the_delay_as_they_were) {
    Load(Delivering(Delivery::more));
    const Block in = Random(32);
    EXPECT_EQ(Process(in).channels, in.channels);
    EXPECT_FALSE(plugin->GetReportedDelay().valid);
    // What came too much is not part of the next block.
    const Block next = Random(16);
    EXPECT_EQ(Process(next).channels, next.channels);
}

TEST_F(DXPluginAudioTest, A_filter_that_fails_to_receive_has_given_nothing_back) {
    Behaviour behaviour;
    behaviour.acts[Place::receive] = {Deed::answer, E_FAIL};
    Load(behaviour);
    EXPECT_THAT(Process(Random(32)).channels[1], Each(0.0f));
    EXPECT_EQ(plugin->GetReportedDelay(), checked_value(0U));
}

TEST_F(DXPluginAudioTest, A_filter_that_throws_leaves_the_block_as_it_was) {
    for (const Deed deed : {Deed::throwOwn, Deed::throwOfAnother}) {
        Behaviour behaviour;
        behaviour.acts[Place::receive] = {deed, E_FAIL};
        Load(behaviour);
        const Block in = Random(32);
        EXPECT_EQ(Process(in).channels, in.channels);
        EXPECT_FALSE(plugin->GetReportedDelay().valid);
    }
}

TEST_F(DXPluginAudioTest, A_block_that_does_not_go_into_the_sample_stays_as_it_was) {
    for (const std::uint32_t channelCount : {1U, 2U}) {
        Load(Delivering(Delivery::copied), channelCount);
        const auto longest = static_cast<std::uint32_t>(sampleBytes / sizeof(float) / channels);
        const Block in = Random(longest + 1);
        EXPECT_EQ(Process(in).channels, in.channels);
        EXPECT_FALSE(plugin->GetReportedDelay().valid);
        Process(Random(longest));
        EXPECT_EQ(plugin->GetReportedDelay(), checked_value(longest));
    }
}

TEST_F(DXPluginAudioTest, A_block_of_no_frames_or_no_channels_is_none) {
    Load(Delivering(Delivery::copied));
    plugin->Process(0, 2, nullptr);
    plugin->Process(32, 0, nullptr);
    plugin->Process(0xFFFFFFFF, 0xFFFFFFFF, nullptr);
    EXPECT_FALSE(plugin->GetReportedDelay().valid);
}

TEST_F(DXPluginAudioTest, Resetting_starts_over) {
    Load(Delivering(Delivery::late, 3));
    Process(Random(8));
    Process(Random(8));
    EXPECT_EQ(plugin->GetReportedDelay(), checked_value(8U));
    plugin->Reset();
    EXPECT_FALSE(plugin->GetReportedDelay().valid);
    Process(Random(8));
    EXPECT_EQ(plugin->GetReportedDelay(), checked_value(5U));
}

TEST_F(DXPluginAudioTest, Stopping_the_transport_resets) {
    Load(Delivering(Delivery::late, 3));
    DSP::TransportRecord transport;
    transport.mode = 1;
    plugin->SetTransport(transport);
    Process(Random(8));
    transport.mode = 0;
    plugin->SetTransport(transport);
    EXPECT_FALSE(plugin->GetReportedDelay().valid);
}

TEST_F(DXPluginAudioTest, A_reset_that_the_filter_fails_leaves_it_usable) {
    for (const Deed deed : {Deed::throwOwn, Deed::throwOfAnother}) {
        Load(Delivering(Delivery::copied));
        Process(Random(8));
        // From the second time on: the first was the load.
        filter = nullptr;
        Behaviour behaviour;
        int runs = 0;
        behaviour.onArrival = [&](Place place) {
            if (place == Place::run && ++runs == 2) {
                TestFilters::Behaviour throws;
                throws.acts[Place::run] = {deed, S_OK};
                static_cast<void>(arriveAt(throws, Place::run));
            }
        };
        Load(behaviour);
        EXPECT_NO_THROW(plugin->Reset());
        EXPECT_EQ(runs, 2);
        plugin->Reset();
        Process(Random(8));
        EXPECT_EQ(plugin->GetReportedDelay(), checked_value(8U));
    }
}

TEST_F(DXPluginAudioTest, The_gain_of_a_block_is_the_one_that_was_set_before_it) {
    Load(Delivering(Delivery::copied), 1);
    filter->SetGain(2.0f);
    Block block(1, 2);
    block.channels[0] = {1.0f, -3.0f};
    EXPECT_THAT(Process(block).channels[0], ElementsAre(2.0f, -6.0f));
}

TEST_F(DXPluginAudioTest, Channels_may_lie_anywhere) {
    Load(Delivering(Delivery::copied));
    std::vector<float> memory(64, 1.0f);
    float* pointers[] = {memory.data() + 33, memory.data() + 2};
    plugin->Process(7, 2, pointers);
    EXPECT_EQ(std::count(memory.begin(), memory.end(), gain), 14);
    EXPECT_EQ(memory[33], gain);
    EXPECT_EQ(memory[2], gain);
    EXPECT_EQ(memory[40], 1.0f);
}

TEST_F(DXPluginAudioTest, A_block_allocates_nothing) {
    Load(Delivering(Delivery::inPlace));
    Block block = Random(512);
    Block longest = Random(sampleBytes / sizeof(float) / 2);
    const std::vector<float*> pointers = block.Pointers();
    std::vector<float*> longestPointers = longest.Pointers();
    std::vector<float*> shortPointers = pointers;
    const std::uint64_t before = AllocationCount();
    plugin->Process(512, 2, shortPointers.data());
    plugin->Process(sampleBytes / sizeof(float) / 2, 2, longestPointers.data());
    plugin->Process(1, 2, shortPointers.data());
    EXPECT_EQ(AllocationCount() - before, 0U);
    EXPECT_EQ(plugin->GetReportedDelay(), checked_value(1U));
}

TEST_F(DXPluginAudioTest, A_block_locks_nothing_and_asks_the_system_for_nothing_but_copies) {
    PlatformCalls calls;
    for (const std::uint32_t channelCount : {1U, 2U}) {
        Load(Delivering(Delivery::inPlace), channelCount);
        for (const std::uint32_t frames :
             {1U, 512U, static_cast<std::uint32_t>(sampleBytes / sizeof(float) / channels)}) {
            Block block = Random(frames);
            const std::vector<float*> pointers = block.Pointers();
            std::vector<float*> buffers = pointers;
            const auto counted = calls.Of([&] { plugin->Process(frames, channels, buffers.data()); });
            EXPECT_THAT(counted, Each(Key(AnyOf("memcpy", "memmove", "memset"))));
            EXPECT_EQ(plugin->GetReportedDelay(), checked_value(frames));
        }
    }
}

TEST_F(DXPluginAudioTest, The_delay_is_asked_for_without_a_lock) {
    PlatformCalls calls;
    Load(Delivering(Delivery::inPlace));
    Process(Random(8));
    checked_value<std::uint32_t> delay;
    EXPECT_THAT(calls.Of([&] { delay = plugin->GetReportedDelay(); }), IsEmpty());
    EXPECT_EQ(delay, checked_value(8U));
}

TEST_F(DXPluginAudioTest, The_delay_may_be_asked_for_while_blocks_are_processed) {
    Load(Delivering(Delivery::copied), 1);
    std::atomic<bool> done = false;
    std::atomic<bool> odd = false;
    std::thread control([&] {
        while (!done) {
            const auto delay = plugin->GetReportedDelay();
            if (delay.valid ? delay.value < 1 || delay.value > 100 : delay.value != 0) {
                odd = true;
            }
        }
    });
    for (std::uint32_t block = 0; block < 2000; ++block) {
        Process(Random(1 + block % 100));
        if (block % 7 == 0) {
            plugin->Reset();
        }
    }
    done = true;
    control.join();
    EXPECT_FALSE(odd);
}

TEST_F(DXPluginAudioTest, A_filter_that_delivers_all_the_time_from_its_own_thread_harms_nobody) {
    Load(Delivering(Delivery::flood));
    std::uint32_t most = 0;
    for (int block = 0; block < 2000; ++block) {
        const Block in = Random(64);
        const Block out = Process(in);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            for (std::size_t frame = 0; frame < 64; ++frame) {
                const float value = out.channels[channel][frame];
                // A flood of more than the block, a frame of it, or the silence before it.
                ASSERT_TRUE(value == in.channels[channel][frame] || value == gain || value == 0.0f);
            }
        }
        most = std::max(most, plugin->GetReportedDelay().value);
    }
    EXPECT_LE(most, 64U);
    plugin->Reset();
    plugin.reset();
}

} // namespace
} // namespace Tarvik
