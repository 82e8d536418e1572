#include "hosting/dx/DXFilterGraphFixture_win32.h"
#include "hosting/dx/DXFilterGraph_win32.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace Tarvik {
namespace {

using TestFilters::Behaviour;
using TestFilters::Place;
using testing::ElementsAre;

TEST_F(DXFilterGraphTest, A_sample_is_marked_before_each_block) {
    const RegisteredFilter filter;
    DXFilterGraph graph(44100.0f, mono);
    ASSERT_TRUE(graph.Open(filter.Text()));
    std::array<float, 4> audio{};
    float* channel = audio.data();
    platform->calls.clear();
    graph.Process(4, 1, &channel);
    EXPECT_THAT(
        platform->calls, ElementsAre(
                             "sample 1: SetActualDataLength", "sample 1: SetDiscontinuity false",
                             "sample 1: SetPreroll false", "sample 1: SetSyncPoint true",
                             "allocator 2: GetBuffer", "sample 2: SetActualDataLength", "sample 2: end"));
}

TEST_F(DXFilterGraphTest, A_delivery_under_way_leaves_the_block_and_the_delay_as_they_were) {
    DXSinkPin* sink = nullptr;
    std::optional<DXSinkPin::Received> delivery;
    bool beginsInBlock = false;
    Behaviour behaviour;
    behaviour.onArrival = [&](Place place) {
        if (place == Place::receive && beginsInBlock) {
            delivery.emplace(*sink);
        }
    };
    const RegisteredFilter filter(behaviour);
    platform->onAddFilter = [&](IBaseFilter* each) {
        if (auto* ours = dynamic_cast<DXSinkFilter*>(each)) {
            sink = ours->GetPin();
        }
    };
    DXFilterGraph graph(44100.0f, mono);
    ASSERT_TRUE(graph.Open(filter.Text()));
    ASSERT_NE(sink, nullptr);
    const auto process = [&](std::vector<float> audio) {
        float* channel = audio.data();
        graph.Process(static_cast<std::uint32_t>(audio.size()), 1, &channel);
        return audio;
    };
    EXPECT_THAT(process({2.0f, 4.0f, 6.0f}), ElementsAre(1.0f, 2.0f, 3.0f));
    const auto before = graph.GetLastDeliveredFrames();
    EXPECT_EQ(before, checked_value(3U));

    delivery.emplace(*sink);
    EXPECT_THAT(process({2.0f, 4.0f}), ElementsAre(2.0f, 4.0f)) << "it began before the block";
    EXPECT_EQ(graph.GetLastDeliveredFrames(), before);
    delivery.reset();

    beginsInBlock = true;
    EXPECT_THAT(process({2.0f, 4.0f}), ElementsAre(2.0f, 4.0f)) << "it began in the middle of the block";
    EXPECT_EQ(graph.GetLastDeliveredFrames(), before);
    delivery.reset();

    beginsInBlock = false;
    EXPECT_THAT(process({2.0f, 4.0f}), ElementsAre(1.0f, 2.0f));
    EXPECT_EQ(graph.GetLastDeliveredFrames(), checked_value(2U));
}

TEST_F(DXFilterGraphTest, Restarting_stops_and_runs) {
    const RegisteredFilter filter;
    DXFilterGraph graph(44100.0f, mono);
    graph.Restart();
    ASSERT_TRUE(graph.Open(filter.Text()));
    platform->calls.clear();
    graph.Restart();
    EXPECT_THAT(Calls(), ElementsAre("graph: Stop", "graph: Run"));
}

} // namespace
} // namespace Tarvik
