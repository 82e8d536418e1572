#include "AdapterQueue.h"
#include "AudioPathCount.h"
#include "TestElement.h"
#include "dsp/AudioProcessor.h"
#include "support/VirtualSlot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

class ElementImplTest : public ::testing::Test {
protected:
    TestElementHost host;
};

TEST_F(ElementImplTest, Is_what_it_was_made_with) {
    TestElement element(host, 8, {.numStreams = 3}, 44100.0F);
    EXPECT_EQ(element.GetName(), "TestElement");
    EXPECT_EQ(element.GetSampleRate(), 44100.0F);
    EXPECT_EQ(element.GetChannelLayout(), 8U);
    EXPECT_EQ(element.GetNumChannels(), 6U);
    EXPECT_EQ(element.GetNumStreams(), 3U);
    EXPECT_EQ(element.GetHost(), &host);
    EXPECT_EQ(element.GetMaxBlockSize(), 8192U);
    EXPECT_EQ(element.GetUserTag(), 0U);
    element.SetUserTag(7);
    EXPECT_EQ(element.GetUserTag(), 7U);
}

TEST_F(ElementImplTest, The_default_configuration_is_ten_milliseconds_of_fade_and_one_plain_stream) {
    const ElementConfig config;
    EXPECT_EQ(config.fadeTime, 0.01F);
    EXPECT_EQ(config.numSidechains, 0U);
    EXPECT_EQ(config.numAuxOutputs, 0U);
    EXPECT_EQ(config.numStreams, 1U);
    EXPECT_FALSE(config.flag);
}

/// Overrides nothing but what is pure: the defaults show.
class PlainElement : public ElementDispatcher {
public:
    explicit PlainElement(TestElementHost& host) : ElementDispatcher(&host, "Plain", 48000.0F, mono) {}
    using ElementDispatcher::GetRegionMergeDistance;
    using ElementDispatcher::GetSampleFormat;
    using ElementDispatcher::ModifiesAudio;
    using ElementDispatcher::ResetBetweenRegions;
};

TEST_F(ElementImplTest, Defaults) {
    PlainElement element(host);
    EXPECT_TRUE(element.SupportsRealTime());
    EXPECT_TRUE(element.SupportsRandomAccess());
    EXPECT_FALSE(element.ReservedQuery());
    EXPECT_EQ(element.GetLatency(0), 0U);
    EXPECT_EQ(element.GetMaxLatency(), 0U);
    EXPECT_EQ(element.GetTailLength(), 0U);
    EXPECT_EQ(element.GetFixedBlockSize(), 0U);
    EXPECT_EQ(element.GetParamsVersion(), 0U);
    EXPECT_FALSE(element.HasExtraBytes());
    EXPECT_EQ(element.GetExtraBytesSize(), 0U);
    EXPECT_EQ(element.GetDefaultExtraBytesSize(), 0U);
    EXPECT_TRUE(element.GetDescription().isEmpty());
    EXPECT_TRUE(element.GetDetails().isEmpty());
    EXPECT_TRUE(element.IsEnabled(0));
    EXPECT_TRUE(element.ModifiesAudio());
    EXPECT_TRUE(element.ResetBetweenRegions());
    EXPECT_EQ(element.GetScratchBytes(), 0U);
    EXPECT_EQ(element.GetNumChildren(), 0U);
    EXPECT_EQ(element.GetChild(0), nullptr);
    EXPECT_TRUE(element.GetAttributes().empty());
    std::uint32_t bits = 0;
    bool isFloat = false;
    element.GetSampleFormat(bits, isFloat);
    EXPECT_EQ(bits, 32U);
    EXPECT_TRUE(isFloat);
    EXPECT_FALSE(element.GetFlag());
    std::vector<std::uint8_t> bytes{1, 2};
    element.GetExtraBytes(bytes);
    element.GetDefaultExtraBytes(bytes);
    EXPECT_THAT(bytes, ElementsAre(1, 2));
    EXPECT_FALSE(element.ProcessRandomAccess(nullptr)) << "nothing is rendered";
}

class ExtraBytes : public PlainElement {
public:
    using PlainElement::PlainElement;
    bool HasExtraBytes() const override {
        ++asked;
        return false;
    }
    std::uint32_t GetExtraBytesSize() const override { return 12; }
    mutable int asked = 0;
};

TEST_F(ElementImplTest, The_default_extra_bytes_have_the_size_of_the_extra_bytes) {
    const ExtraBytes element(host);
    EXPECT_EQ(element.GetDefaultExtraBytesSize(), 12U);
    EXPECT_EQ(element.asked, 1);
}

TEST_F(ElementImplTest, Attributes_are_handed_out_by_copy_and_by_reference) {
    struct Attributed : PlainElement {
        using PlainElement::PlainElement;
        using PlainElement::SetAttribute;
    } element(host);
    Trackable listener;
    int told = 0;
    element.GetAttributesChanged().connect(listener, [&told] { ++told; });
    element.SetAttribute("a", "1");
    EXPECT_EQ(element.GetAttributes().at("a"), "1");
    element.GetAttributesRef()["b"] = "2";
    EXPECT_EQ(element.GetAttributesRef().at("b"), "2");
    EXPECT_EQ(element.GetAttributes().count("b"), 0U);
    EXPECT_EQ(told, 1);
}

TEST_F(ElementImplTest, The_display_name_is_the_name_until_one_is_set) {
    TestElement element(host);
    EXPECT_EQ(element.GetDisplayName(), "TestElement");
    element.SetDisplayName(String("Shown"));
    EXPECT_EQ(element.GetDisplayName(), "Shown");
    EXPECT_EQ(element.GetName(), "TestElement");
    element.SetDisplayName({});
    EXPECT_EQ(element.GetDisplayName(), "TestElement");
}

TEST_F(ElementImplTest, Children_are_found_by_index_and_null_past_the_end) {
    TestElement element(host);
    TestElement a(host);
    TestElement b(host);
    element.AddChild(&a);
    element.AddChild(&b);
    element.AddChild(&a);
    element.AddChild(nullptr);
    EXPECT_EQ(element.GetNumChildren(), 2U);
    EXPECT_EQ(element.GetChild(1), &b);
    EXPECT_EQ(element.GetChild(2), nullptr);
    EXPECT_EQ(static_cast<const Element&>(element).GetChild(0), &a);
    EXPECT_EQ(static_cast<const Element&>(element).GetChild(2), nullptr);
    element.RemoveChild(&a);
    EXPECT_EQ(element.GetChild(0), &b);
}

TEST_F(ElementImplTest, Only_the_first_Begin_and_the_last_End_are_told_to_element_and_children) {
    TestElement element(host);
    TestElement child(host);
    element.AddChild(&child);
    element.BeginParamChange();
    element.BeginParamChange();
    element.EndParamChange();
    EXPECT_EQ(element.begins, 1U);
    EXPECT_EQ(child.begins, 1U);
    EXPECT_EQ(element.ends, 0U);
    element.EndParamChange();
    EXPECT_EQ(element.ends, 1U);
    EXPECT_EQ(child.ends, 1U);
}

TEST_F(ElementImplTest, An_EndParamChange_without_a_Begin_is_harmless) {
    TestElement element(host);
    element.EndParamChange();
    EXPECT_EQ(element.ends, 1U);
    element.BeginParamChange();
    EXPECT_EQ(element.begins, 1U);
    element.EndParamChange();
    EXPECT_EQ(element.ends, 2U);
}

TEST_F(ElementImplTest, Notify_calls_the_hook) {
    TestElement element(host);
    element.Notify();
    EXPECT_EQ(element.notifies, 1U);
}

TEST_F(ElementImplTest, Reset_twice_in_a_row_resets_the_element_once_and_ForceReset_each_time) {
    TestElement element(host);
    element.Reset();
    element.Reset();
    EXPECT_EQ(element.resets, 1U);
    element.ForceReset();
    element.ForceReset();
    EXPECT_EQ(element.resets, 3U);
}

TEST_F(ElementImplTest, ForceReset_silences_adapters_that_say_they_are_silent) {
    TestElement element(host);
    element.fixedBlock = 4;
    element.Reset();
    float& first = readyOf(firstAdapterOf(element))[0][0];
    first = 7.0F;
    element.Reset();
    EXPECT_EQ(first, 7.0F);
    element.ForceReset();
    EXPECT_EQ(first, 0.0F);
}

TEST_F(ElementImplTest, Latency_tail_and_block_size_are_what_the_concrete_element_says) {
    struct Asked : PlainElement {
        using PlainElement::PlainElement;
        std::uint32_t DoGetLatency(std::uint32_t stream) const override { return 10 + stream; }
        std::uint32_t DoGetMaxLatency() const override { return 20; }
        std::uint32_t DoGetTailLength() const override { return 30; }
        std::uint32_t DoGetFixedBlockSize() const override { return 40; }
    } const element(host);
    EXPECT_EQ(element.GetLatency(0), 10U);
    EXPECT_EQ(element.GetLatency(2), 12U);
    EXPECT_EQ(element.GetMaxLatency(), 20U);
    EXPECT_EQ(element.GetTailLength(), 30U);
    EXPECT_EQ(element.GetFixedBlockSize(), 40U);
}

TEST_F(ElementImplTest, Audio_makes_the_next_Reset_do_its_work) {
    TestElement element(host);
    TestAudio audio(1, 4);
    element.Reset();
    element.Process(4, audio.GetPointers());
    element.Reset();
    EXPECT_EQ(element.resets, 2U);
    element.wantsAudio = false;
    element.Process(4, audio.GetPointers());
    element.Process(0, audio.GetPointers());
    element.Reset();
    EXPECT_EQ(element.resets, 2U) << "nothing reached the element";
}

TEST_F(ElementImplTest, ClearState_empties_the_adapters_and_calls_the_hook_alone) {
    TestElement element(host);
    element.fixedBlock = 4;
    element.Reset();
    TestAudio audio(1, 3, 1.0F);
    element.Process(3, audio.GetPointers());
    element.ClearState();
    EXPECT_EQ(element.clears, 1U);
    EXPECT_EQ(element.resets, 1U);
    TestAudio more(1, 4, 2.0F);
    element.Process(4, more.GetPointers());
    EXPECT_THAT(more.channels[0], ElementsAre(0, 0, 0, 2));
}

TEST_F(ElementImplTest, Configure_with_the_same_rate_and_layout_leaves_adapters_and_delay_lines_alone) {
    TestElement element(host);
    element.fixedBlock = 4;
    element.latency = 3;
    element.enabled = false;
    element.EnableDryPath(true);
    element.Reset();
    TestAudio audio(1, 3);
    audio.channels[0] = {1, 2, 3};
    element.Process(3, audio.GetPointers());
    element.Configure(48000.0F, mono);
    audio.channels[0] = {4, 5, 6};
    element.logHooks = true;
    element.Process(3, audio.GetPointers());
    EXPECT_THAT(element.dry, ElementsAre(1, 2, 3));
    EXPECT_THAT(element.processed, ElementsAre(1, 2, 3));
}

TEST_F(ElementImplTest, Configure_changes_rate_layout_and_channel_count) {
    TestElement element(host, mono, {.numSidechains = 1, .numAuxOutputs = 2});
    element.Reset();
    element.Configure(96000.0F, stereo);
    EXPECT_EQ(element.GetSampleRate(), 96000.0F);
    EXPECT_EQ(element.GetChannelLayout(), stereo);
    EXPECT_EQ(element.GetNumChannels(), 2U);
    element.Reset();
    TestAudio audio(2, 4, 1.0F);
    element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
        std::fill_n(channels[1], frames, 5.0F);
    };
    element.Process(4, audio.GetPointers());
    EXPECT_THAT(audio.channels[0], Each(1.0F));
    EXPECT_THAT(audio.channels[1], Each(5.0F));
}

TEST_F(ElementImplTest, Configure_keeps_the_block_size_and_empties_the_adapters) {
    TestElement element(host);
    element.fixedBlock = 4;
    element.Reset();
    TestAudio audio(1, 3, 1.0F);
    element.Process(3, audio.GetPointers());
    element.Configure(96000.0F, mono);
    TestAudio more(1, 5, 2.0F);
    element.Process(5, more.GetPointers());
    EXPECT_THAT(more.channels[0], ElementsAre(0, 0, 0, 2, 2));
}

TEST_F(ElementImplTest, Configure_with_the_dry_path_on_keeps_it_working_for_more_channels) {
    TestElement element(host);
    element.enabled = false;
    element.EnableDryPath(true);
    element.Reset();
    element.Configure(48000.0F, 7);
    element.Reset();
    element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
        std::fill_n(channels[4], frames, 0.0F);
    };
    TestAudio audio(5, 4, 1.0F);
    element.Process(4, audio.GetPointers());
    EXPECT_THAT(audio.channels[4], Each(1.0F));
}

TEST_F(ElementImplTest, Configure_and_AddChild_reserve_what_the_next_block_takes) {
    TestElement element(host, mono);
    TestElement child(host, mono);
    element.EnableDryPath(true);
    element.Reset();
    std::uint32_t used = 0;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) { used = host.GetScratchUsed(); };
    const auto allocationsOfABlock = [&](std::size_t channels) {
        TestAudio audio(channels, host.maxBlockSize, 0.5F);
        float** const pointers = audio.GetPointers();
        const AudioPathCounts before = GetAudioPathCounts();
        element.Process(host.maxBlockSize, pointers);
        return GetAudioPathCounts().allocations - before.allocations;
    };

    constexpr std::uint32_t surround = 8;
    element.Configure(48000.0F, surround);
    EXPECT_EQ(allocationsOfABlock(element.GetNumChannels()), 0U);
    EXPECT_EQ(used, element.GetScratchBytes());
    EXPECT_EQ(host.GetScratchUsed(), 0U);

    child.ownScratch = 1000000;
    element.AddChild(&child);
    EXPECT_GT(element.GetScratchBytes(), used);
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) {
        host.FreeScratch(host.AllocScratch(child.ownScratch), child.ownScratch);
    };
    EXPECT_EQ(allocationsOfABlock(element.GetNumChannels()), 0U);
    EXPECT_EQ(host.GetScratchUsed(), 0U);
}

TEST_F(ElementImplTest, A_layout_without_meaning_has_no_channels_and_processes_nothing) {
    TestElement element(host, 37, {.numSidechains = 1, .numAuxOutputs = 1});
    element.EnableDryPath(true);
    element.Reset();
    EXPECT_EQ(element.GetNumChannels(), 0U);
    bool called = false;
    element.dsp = [&called](std::uint32_t, std::uint32_t, float**) { called = true; };
    TestAudio audio(1, 4, 1.0F);
    element.Process(4, audio.GetPointers());
    EXPECT_FALSE(called);
    EXPECT_THAT(audio.channels[0], Each(1.0F));
}

TEST_F(ElementImplTest, A_fade_time_of_zero_is_a_fade_of_one_sample) {
    TestElement element(host, mono, {.fadeTime = 0.0F});
    element.EnableDryPath(true);
    element.Reset();
    element.dsp = [](std::uint32_t, std::uint32_t frames, float** channels) {
        std::fill_n(channels[0], frames, 5.0F);
    };
    element.enabled = false;
    TestAudio audio(1, 3, 1.0F);
    element.Process(3, audio.GetPointers());
    EXPECT_THAT(audio.channels[0], ElementsAre(5, 1, 1));
}

TEST_F(ElementImplTest, The_scratch_bytes_are_the_largest_childs_the_dry_paths_and_its_own) {
    TestElement element(host, stereo);
    TestElement small(host);
    TestElement large(host);
    small.ownScratch = 10;
    large.ownScratch = 1000;
    element.AddChild(&small);
    element.AddChild(&large);
    element.ownScratch = 5;
    EXPECT_EQ(element.GetScratchBytes(), 1005U);
    element.EnableDryPath(true);
    EXPECT_EQ(element.GetScratchBytes(), 1005U + 2 * 8 + 8 + 2 * 8192 * 4 + 4);
    EXPECT_TRUE(element.IsDryPathEnabled());
}

TEST_F(ElementImplTest, A_locked_dry_path_stays_as_it_is) {
    TestElement element(host);
    element.SetDryPathLocked(true);
    element.EnableDryPath(true);
    EXPECT_FALSE(element.IsDryPathEnabled());
    element.SetDryPathLocked(false);
    element.EnableDryPath(true);
    element.SetDryPathLocked(true);
    element.EnableDryPath(false);
    EXPECT_TRUE(element.IsDryPathEnabled());
}

TEST_F(ElementImplTest, Regions_merge_within_two_seconds_and_the_latency) {
    TestElement element(host, mono, {}, 44100.25F);
    element.latency = 100;
    EXPECT_EQ(element.GetRegionMergeDistance(), 88301U) << "88200.5 and 100, half up";
}

TEST_F(ElementImplTest, Random_access_drains_the_commands_and_ends_the_own_transport) {
    TestElement element(host);
    element.GetOwnTransport().valid = true;
    element.Reset();
    EXPECT_FALSE(element.ProcessRandomAccess(nullptr));
    EXPECT_EQ(element.drains, 1U);
    EXPECT_FALSE(element.GetOwnTransport().valid);
    element.Reset();
    EXPECT_EQ(element.resets, 2U);
}

struct OpenElement : ElementImpl {
    using ElementImpl::AdjustRegion;
    using ElementImpl::DefersCommands;
    using ElementImpl::DoGetFixedBlockSize;
    using ElementImpl::DoGetLatency;
    using ElementImpl::DoGetMaxLatency;
    using ElementImpl::DoGetTailLength;
    using ElementImpl::GetAuxChannels;
    using ElementImpl::GetOwnScratchBytes;
    using ElementImpl::GetRegionMergeDistance;
    using ElementImpl::GetSampleFormat;
    using ElementImpl::GetSidechainChannels;
    using ElementImpl::ModifiesAudio;
    using ElementImpl::OnClearState;
    using ElementImpl::OnCommandsDrained;
    using ElementImpl::OnExtraChannelsChanged;
    using ElementImpl::OnIdle;
    using ElementImpl::OnNotify;
    using ElementImpl::OnParamChangeBegin;
    using ElementImpl::OnParamChangeEnd;
    using ElementImpl::OnParamsChanged;
    using ElementImpl::OnReset;
    using ElementImpl::OnStreamsChanged;
    using ElementImpl::ProcessAudio;
    using ElementImpl::ProcessRegion;
    using ElementImpl::ProcessRegions;
    using ElementImpl::ProcessStream;
    using ElementImpl::ResetBetweenRegions;
    using ElementImpl::WantsAudio;
};

TEST(ElementImpl, Its_operations_stand_in_their_published_order_behind_those_of_an_element) {
    using Open = OpenElement;
    EXPECT_EQ(
        virtualSlots(
            &Open::DoGetLatency, &Open::DoGetMaxLatency, &Open::DoGetTailLength, &Open::OnReset,
            &Open::ProcessAudio, &Open::ProcessStream, &Open::OnStreamsChanged, &Open::GetSidechainChannels,
            &Open::GetAuxChannels, &Open::OnExtraChannelsChanged, &Open::ModifiesAudio,
            &Open::ResetBetweenRegions, &Open::OnClearState, &Open::WantsAudio, &Open::DefersCommands,
            &Open::OnParamsChanged, &Open::OnIdle, &Open::OnCommandsDrained, &Open::OnNotify,
            &Open::OnParamChangeBegin, &Open::OnParamChangeEnd, &Open::DoGetFixedBlockSize,
            &Open::GetSampleFormat, &Open::ProcessRegions, &Open::AdjustRegion, &Open::ProcessRegion,
            &Open::GetRegionMergeDistance, &Open::GetOwnScratchBytes),
        slotsFrom(virtualSlot(&Element::GetMaxBlockSize) + 1, 28));
}

class Resized : public AudioProcessor {
public:
    void DoResize(std::uint32_t maxBlock) override { sizes.push_back(maxBlock); }
    std::vector<std::uint32_t> sizes;
};

TEST(AudioProcessorTest, Init_stores_and_Resize_only_grows) {
    Resized processor;
    processor.Init(2, 3, 100);
    EXPECT_EQ(processor.GetNumInputs(), 2U);
    EXPECT_EQ(processor.GetNumOutputs(), 3U);
    processor.Resize(100);
    processor.Resize(50);
    EXPECT_TRUE(processor.sizes.empty());
    processor.Resize(200);
    processor.Resize(200);
    EXPECT_THAT(processor.sizes, ElementsAre(200));
    processor.SetMaxBlock(10);
    EXPECT_EQ(processor.GetMaxBlock(), 10U);
    EXPECT_EQ(processor.GetNumInputs(), 2U);
    EXPECT_EQ(processor.GetNumOutputs(), 3U);
}

TEST(AudioProcessorTest, Its_operations_stand_in_their_published_order) {
    using Processor = AudioProcessor;
    EXPECT_EQ(
        virtualSlots(&Processor::Init, &Processor::Resize, &Processor::DoResize, &Processor::SetMaxBlock),
        slotsFrom(destructorSlots, 4));
}

} // namespace
} // namespace DSP::Testing
