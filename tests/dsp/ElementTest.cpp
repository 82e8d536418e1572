#include "dsp/Element.h"

#include "TestElement.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace DSP {
namespace {

template<class Result, class... Arguments>
std::ptrdiff_t slotOf(Result (Element::*operation)(Arguments...)) {
    return virtualSlot(operation);
}

template<class Result, class... Arguments>
std::ptrdiff_t slotOfConst(Result (Element::*operation)(Arguments...) const) {
    return virtualSlot(operation);
}

TEST(Element, Its_operations_stand_in_their_published_order) {
    const std::vector<std::ptrdiff_t> slots{
        virtualSlot(&Element::GetName),
        virtualSlot(&Element::SupportsRealTime),
        virtualSlot(&Element::SupportsRandomAccess),
        virtualSlot(&Element::Idle),
        virtualSlot(&Element::DispatchParamChanges),
        virtualSlot(&Element::GetNumChildren),
        slotOf<Element*, std::uint32_t>(&Element::GetChild),
        slotOfConst<const Element*, std::uint32_t>(&Element::GetChild),
        virtualSlot(&Element::ReservedQuery),
        virtualSlot(&Element::Configure),
        virtualSlot(&Element::GetSampleRate),
        virtualSlot(&Element::GetChannelLayout),
        virtualSlot(&Element::GetNumChannels),
        virtualSlot(&Element::GetLatency),
        virtualSlot(&Element::GetMaxLatency),
        virtualSlot(&Element::GetTailLength),
        virtualSlot(&Element::GetFixedBlockSize),
        virtualSlot(&Element::SetUserTag),
        virtualSlot(&Element::GetUserTag),
        virtualSlot(&Element::GetNumStreams),
        virtualSlot(&Element::GetNumParams),
        virtualSlot(&Element::GetParamsVersion),
        virtualSlot(&Element::OnParamsVersionChanged),
        virtualSlot(&Element::GetParam),
        virtualSlot(&Element::ConnectParam),
        slotOf<ParamMap&>(&Element::GetParamMap),
        slotOfConst<const ParamMap&>(&Element::GetParamMap),
        virtualSlot(&Element::GetParamInfo),
        virtualSlot(&Element::GetControllerSet),
        virtualSlot(&Element::BeginParamChange),
        virtualSlot(&Element::EndParamChange),
        virtualSlot(&Element::HasExtraBytes),
        virtualSlot(&Element::GetExtraBytesSize),
        virtualSlot(&Element::GetDefaultExtraBytes),
        virtualSlot(&Element::GetDefaultExtraBytesSize),
        virtualSlot(&Element::GetExtraBytes),
        virtualSlot(&Element::SetExtraBytes),
        virtualSlot(&Element::GetDescription),
        virtualSlot(&Element::GetDetails),
        virtualSlot(&Element::Reset),
        slotOf<void, std::uint32_t, float**>(&Element::Process),
        slotOf<void, std::uint32_t, std::uint32_t, float**>(&Element::Process),
        virtualSlot(&Element::ProcessRandomAccess),
        virtualSlot(&Element::PostCommand),
        virtualSlot(&Element::Notify),
        virtualSlot(&Element::IsEnabled),
        virtualSlot(&Element::GetAttributes),
        virtualSlot(&Element::GetAttributesRef),
        virtualSlot(&Element::EnableDryPath),
        virtualSlot(&Element::OnProcessed),
        virtualSlot(&Element::OnDrySignal),
        virtualSlot(&Element::ForceReset),
        virtualSlot(&Element::GetScratchBytes),
        virtualSlot(&Element::ClearState),
        virtualSlot(&Element::GetRegions),
        virtualSlot(&Element::SetSidechainView),
        slotOfConst<void, Element::ParamVisitor&, std::uint32_t, std::uint32_t>(&Element::VisitParams),
        virtualSlot(&Element::GetMaxBlockSize),
    };
    EXPECT_EQ(slots, slotsFrom(destructorSlots, 58));
}

using View = MultichannelBufferView<float>;

TEST(Element, A_sidechain_view_is_dropped_without_a_trace) {
    Testing::TestElementHost host;
    Testing::TestElement element(host, Testing::mono, {.numSidechains = 1});
    Testing::TestAudio side(1, 4, 1.0F);
    const View view({{side.channels[0].data(), 4}}, 4);
    element.SetSidechainView(view);
    EXPECT_TRUE(view.IsLive());
    EXPECT_EQ(view.GetPointers()[0], side.channels[0].data()) << "the caller's own stays";
    int blocks = 0;
    element.dsp = [&](std::uint32_t, std::uint32_t, float**) {
        ++blocks;
        EXPECT_EQ(element.GetCurrentInputs()[1], nullptr);
    };
    Testing::TestAudio audio(1, 4);
    element.Process(4, audio.GetPointers());
    EXPECT_EQ(blocks, 1);
}

TEST(Element, A_sidechain_view_reaches_an_element_that_wants_it_by_value) {
    struct Listening : Testing::TestElement {
        using TestElement::TestElement;
        void SetSidechainView(View view) override { seen = view; }
        View seen{{}, 0};
    };
    Testing::TestElementHost host;
    Listening element(host);
    Element& asElement = element;
    Testing::TestAudio side(2, 4);
    asElement.SetSidechainView(View({{side.channels[0].data(), 4}, {side.channels[1].data(), 4}}, 4));
    EXPECT_EQ(element.seen.GetNumChannels(), 2U);
    EXPECT_EQ(element.seen.GetNumFrames(), 4U);
    EXPECT_EQ(element.seen.GetPointers()[1], side.channels[1].data()) << "though the one given is gone";
}

TEST(Element, A_sidechain_of_more_than_24_channels_is_no_view) {
    Testing::TestElementHost host;
    Testing::TestElement element(host);
    float sample = 0.0F;
    const std::vector<View::Span> spans(25, {&sample, 1});
    EXPECT_THROW(element.SetSidechainView(View(spans, 1)), std::length_error);
}

} // namespace
} // namespace DSP
