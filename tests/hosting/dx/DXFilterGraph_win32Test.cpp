#include "hosting/dx/DXFilterGraph_win32.h"

#include "hosting/dx/DXFilterGraphFixture_win32.h"
#include "hosting/dx/DXPins_win32.h"
#include "hosting/dx/TaskMemory_win32.h"

#include "directx/Ledger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace Tarvik {
namespace {

using TestFilters::Behaviour;
using TestFilters::Deed;
using TestFilters::Handed;
using TestFilters::Ledger;
using TestFilters::Place;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(DXFilterGraphTest, It_is_opened_step_by_step) {
    Behaviour behaviour;
    behaviour.hasPage = true;
    const auto note = [this](const char* what) { platform->calls.emplace_back(what); };
    behaviour.onArrival = [&](Place place) {
        switch (place) {
        case Place::creation:
            return note("filter: creation");
        case Place::enumPins:
            // The platform looks, too, while it connects and runs.
            return platform->calls.back() == "graph: ConnectDirect" || platform->calls.back() == "graph: Run"
                       ? void()
                       : note("filter: EnumPins");
        case Place::queryMemInputPin:
            return note("input: IMemInputPin");
        case Place::queryAccept:
            return note("input: QueryAccept");
        case Place::receiveConnection:
            return note("input: ReceiveConnection");
        case Place::notifyAllocator:
            return note("input: NotifyAllocator");
        case Place::connectOutput:
            return note("output: Connect");
        case Place::queryPersistStream:
            return note("filter: IPersistStream");
        case Place::querySpecifyPages:
            return note("filter: ISpecifyPropertyPages");
        case Place::getPages:
            return note("filter: GetPages");
        default:
            return;
        }
    };
    const RegisteredFilter filter(behaviour);
    DXFilterGraph graph(44100.0f, stereo);
    EXPECT_THAT(platform->calls, IsEmpty());
    ASSERT_TRUE(graph.Open(filter.Text()));
    EXPECT_THAT(
        Calls(),
        ElementsAre(
            "graph: creation", "graph: IMediaControl", "filter: creation", "graph: AddFilter source",
            "graph: AddFilter plug-in", "graph: AddFilter sink", "filter: EnumPins", "input: IMemInputPin",
            "input: QueryAccept", "graph: ConnectDirect by type", "input: ReceiveConnection",
            "allocator 1: creation", "allocator 1: SetProperties", "allocator 1: Commit",
            "allocator 1: GetBuffer", "input: NotifyAllocator", "graph: ConnectDirect", "output: Connect",
            "allocator 2: creation", "allocator 2: SetProperties", "graph: Run", "filter: IPersistStream",
            "filter: ISpecifyPropertyPages", "filter: GetPages"));
    EXPECT_FALSE(graph.IsClassNotFound());
    EXPECT_STREQ(graph.GetFriendlyName().c_str(), "Test filter");
    EXPECT_EQ(graph.GetClassId(), String("{%1}").arg(filter.Text()));
    EXPECT_TRUE(graph.HasState());
    EXPECT_TRUE(graph.HasPropertyPages());
    EXPECT_FALSE(graph.GetLastDeliveredFrames().valid);
}

TEST_F(DXFilterGraphTest, One_buffer_is_asked_for_without_times_and_handed_over_to_be_written_to) {
    IMemAllocator* handed = nullptr;
    BOOL readOnly = TRUE;
    Behaviour behaviour;
    behaviour.onHanded = [&](Place place, const Handed& what) {
        if (place == Place::notifyAllocator) {
            handed = what.allocator;
            readOnly = static_cast<BOOL>(what.argument);
        }
    };
    const RegisteredFilter filter(behaviour);
    DXFilterGraph graph(44100.0f, stereo);
    ASSERT_TRUE(graph.Open(filter.Text()));
    ASSERT_TRUE(platform->requested.has_value());
    EXPECT_EQ(platform->requested->cBuffers, 1);
    EXPECT_EQ(platform->requested->cbBuffer, 65536);
    EXPECT_EQ(platform->requested->cbAlign, 1);
    EXPECT_EQ(platform->requested->cbPrefix, 0);
    ASSERT_TRUE(platform->bufferRequested.has_value());
    EXPECT_FALSE(platform->bufferRequested->hasBegin);
    EXPECT_FALSE(platform->bufferRequested->hasEnd);
    EXPECT_EQ(platform->bufferRequested->flags, 0U);
    EXPECT_NE(handed, nullptr);
    EXPECT_EQ(handed, platform->firstAllocator);
    EXPECT_EQ(readOnly, FALSE);
}

TEST_F(DXFilterGraphTest, The_plug_in_is_told_the_graphs_rate_and_channels) {
    std::vector<std::string> seen;
    Behaviour behaviour;
    behaviour.onHanded = [&](Place place, const Handed& what) {
        if (place == Place::queryAccept || place == Place::receiveConnection) {
            EXPECT_EQ(describe(*what.type), mono48000);
            seen.emplace_back(place == Place::queryAccept ? "QueryAccept" : "ReceiveConnection");
        } else if (place == Place::connectOutput) {
            seen.emplace_back(what.type == nullptr ? "Connect to any type" : "Connect by type");
        }
    };
    platform->onConnectDirect = [&](const AM_MEDIA_TYPE* type) {
        if (type != nullptr) {
            EXPECT_EQ(describe(*type), mono48000);
        }
        seen.emplace_back(type != nullptr ? "ConnectDirect by type" : "ConnectDirect");
    };
    const RegisteredFilter filter(behaviour);
    DXFilterGraph graph(48000.0f, mono);
    ASSERT_TRUE(graph.Open(filter.Text()));
    EXPECT_THAT(
        seen, ElementsAre(
                  "QueryAccept", "ConnectDirect by type", "ReceiveConnection", "ConnectDirect",
                  "Connect to any type"));
}

TEST_F(DXFilterGraphTest, Source_plug_in_and_sink_are_added_in_this_order) {
    const RegisteredFilter filter;
    std::vector<IBaseFilter*> added;
    platform->onAddFilter = [&](IBaseFilter* each) { added.push_back(each); };
    DXFilterGraph graph(44100.0f, stereo);
    ASSERT_TRUE(graph.Open(filter.Text()));
    ASSERT_EQ(added.size(), 3U);
    const auto hasPin = [](IBaseFilter* each, const wchar_t* id) {
        ComPointer<IPin> pin;
        return SUCCEEDED(receiveObject(pin, [&](IPin** out) { return each->FindPin(id, out); }));
    };
    EXPECT_TRUE(hasPin(added[0], L"DXSourcePin"));
    EXPECT_TRUE(hasPin(added[1], L"In 0"));
    EXPECT_TRUE(hasPin(added[2], L"DXSinkPin"));
}

TEST_F(DXFilterGraphTest, It_is_taken_down_in_the_opposite_order) {
    Behaviour behaviour;
    behaviour.hasPage = true;
    bool removed = false;
    behaviour.onArrival = [&](Place place) {
        switch (place) {
        case Place::pageClearSite:
            platform->calls.emplace_back("page: SetPageSite(null)");
            break;
        case Place::pageClearObjects:
            platform->calls.emplace_back("page: SetObjects(0)");
            break;
        case Place::destruction:
            platform->calls.emplace_back("filter: end");
            break;
        default:
            break;
        }
    };
    const RegisteredFilter filter(behaviour);
    auto graph = std::make_unique<DXFilterGraph>(44100.0f, stereo);
    ASSERT_TRUE(graph->Open(filter.Text()));
    ASSERT_TRUE(graph->MakePropertyPage());
    platform->calls.clear();
    // Before that, it is the platform that gives back most.
    Ledger::Instance().TellReleases([&](const std::string& name) {
        removed = removed || platform->calls.back() == "graph: RemoveFilter sink";
        if (removed) {
            platform->calls.push_back("- " + name);
        }
    });
    graph.reset();
    Ledger::Instance().TellReleases(nullptr);
    EXPECT_THAT(
        Calls(), ElementsAre(
                     "page: SetPageSite(null)", "page: SetObjects(0)", "graph: Stop", "sample 1: end",
                     "allocator 1: Decommit", "graph: Disconnect DXSourcePin", "graph: Disconnect In 0",
                     "graph: Disconnect Out 0", "graph: Disconnect DXSinkPin", "graph: RemoveFilter source",
                     "graph: RemoveFilter plug-in", "graph: RemoveFilter sink",
                     // The page, the state, the allocator,
                     "- page", "- filter", "- allocator 1",
                     // the pins, each with its filter: memory, output, input,
                     "- input pin 0", "- filter", "- output pin 0", "- filter", "- input pin 0", "- filter",
                     // the filter, which had the allocator too, the control of the graph and the graph.
                     "- filter", "filter: end", "- allocator 1", "allocator 1: end", "- graph", "- graph",
                     "graph: end", "- allocator 2", "allocator 2: end"));
    ExpectAllSettled();
}

TEST_F(DXFilterGraphTest, Its_own_filters_and_pins_go_with_their_last_reference) {
    const RegisteredFilter filter;
    std::vector<ComPointer<IBaseFilter>> added;
    platform->onAddFilter = [&](IBaseFilter* each) { added.push_back(ComPointer<IBaseFilter>::Share(each)); };
    auto graph = std::make_unique<DXFilterGraph>(44100.0f, stereo);
    ASSERT_TRUE(graph->Open(filter.Text()));
    ASSERT_EQ(added.size(), 3U);
    ComPointer<IPin> out;
    ComPointer<IPin> in;
    ASSERT_EQ(receiveObject(out, [&](IPin** to) { return added[0]->FindPin(L"DXSourcePin", to); }), S_OK);
    ASSERT_EQ(receiveObject(in, [&](IPin** to) { return added[2]->FindPin(L"DXSinkPin", to); }), S_OK);
    graph.reset();
    // What is left is the reference taken here, and the pin's of its filter.
    EXPECT_EQ(out.Detach()->Release(), 1U);
    EXPECT_EQ(in.Detach()->Release(), 1U);
    EXPECT_EQ(added[0].Detach()->Release(), 0U);
    EXPECT_EQ(added[1].Detach()->Release(), 0U);
    EXPECT_EQ(added[2].Detach()->Release(), 0U);
    ExpectAllSettled();
}

/// A user of a graph from its load over audio, state and page to its end.
void useFully(DXFilterGraph& graph, const RegisteredFilter& filter, HWND window) {
    ASSERT_TRUE(graph.Open(filter.Text()));
    std::array<float, 64> left{};
    std::array<float, 64> right{};
    std::array<float*, 2> channels = {left.data(), right.data()};
    for (int block = 0; block < 5; ++block) {
        graph.Process(64, 2, channels.data());
    }
    graph.Restart();
    graph.Process(64, 2, channels.data());
    std::vector<std::uint8_t> state;
    EXPECT_TRUE(graph.SaveState(state));
    EXPECT_TRUE(graph.LoadState(state));
    EXPECT_TRUE(graph.ShowPropertyPage(window, 320, 200));
    graph.HidePropertyPage();
}

TEST_F(DXFilterGraphTest, Every_reference_of_a_whole_life_is_given_back) {
    const HWND window = CreateWindowExW(
        0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr, nullptr, nullptr, nullptr);
    for (const auto delivery :
         {TestFilters::Delivery::copied, TestFilters::Delivery::inPlace, TestFilters::Delivery::late,
          TestFilters::Delivery::inTwoPieces, TestFilters::Delivery::ownThread}) {
        Behaviour behaviour;
        behaviour.delivery = delivery;
        behaviour.hasPage = true;
        behaviour.inputPins = 2;
        behaviour.outputPins = 3;
        const RegisteredFilter filter(behaviour);
        {
            DXFilterGraph graph(44100.0f, stereo);
            useFully(graph, filter, window);
            // The books have something to say.
            const auto accounts = Ledger::Instance().Accounts();
            for (const char* name :
                 {"graph", "allocator 1", "sample 1", "filter", "input pin 0", "output pin 0", "page"}) {
                ASSERT_TRUE(accounts.contains(name)) << name;
                EXPECT_GT(accounts.at(name).made, accounts.at(name).destroyed) << name;
            }
            EXPECT_GT(accounts.at("pin enumerator").made, 0);
        }
        ExpectAllSettled();
        platform.emplace();
    }
    DestroyWindow(window);
}

TEST_F(DXFilterGraphTest, Every_block_of_task_memory_of_a_whole_life_is_given_back) {
    const HWND window = CreateWindowExW(
        0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr, nullptr, nullptr, nullptr);
    Behaviour behaviour;
    behaviour.hasPage = true;
    const RegisteredFilter filter(behaviour, L"Test filter", {true, true, true});
    const auto live = [&] {
        DXFilterGraph graph(44100.0f, stereo);
        useFully(graph, filter, window);
    };
    // What the platform keeps for good, it has after the first one.
    live();
    const TaskMemory memory;
    live();
    EXPECT_EQ(memory.Left(), 0U);
    // The list of the pages, two texts of the first one, and the formats of four pin ends and the graph's
    // type.
    EXPECT_GE(memory.Allocated(), 8U);
    DestroyWindow(window);
}

TEST_F(DXFilterGraphTest, A_name_may_be_of_any_alphabet) {
    const RegisteredFilter filter({}, L"Verst\u00E4rker \u5897\u5E45 \U0001F39A");
    DXFilterGraph graph(44100.0f, stereo);
    ASSERT_TRUE(graph.Open(filter.Text()));
    EXPECT_STREQ(
        graph.GetFriendlyName().c_str(), "Verst\xC3\xA4rker \xE5\xA2\x97\xE5\xB9\x85 \xF0\x9F\x8E\x9A");
}

TEST_F(DXFilterGraphTest, Without_a_state_and_without_pages_it_is_as_good) {
    Behaviour behaviour;
    behaviour.persists = false;
    const RegisteredFilter filter(behaviour);
    DXFilterGraph graph(44100.0f, mono);
    ASSERT_TRUE(graph.Open(filter.Text()));
    EXPECT_FALSE(graph.HasState());
    EXPECT_FALSE(graph.HasPropertyPages());
    EXPECT_FALSE(graph.MakePropertyPage());
}

TEST_F(DXFilterGraphTest, A_plug_in_that_does_not_tell_its_pages_has_none) {
    Behaviour behaviour;
    behaviour.hasPage = true;
    behaviour.acts[Place::getPages] = {Deed::answer, E_FAIL};
    const RegisteredFilter filter(behaviour);
    {
        DXFilterGraph graph(44100.0f, stereo);
        ASSERT_TRUE(graph.Open(filter.Text()));
        EXPECT_FALSE(graph.HasPropertyPages());
    }
    ExpectAllSettled();
}

TEST_F(DXFilterGraphTest, The_first_pin_of_each_direction_is_taken) {
    Behaviour behaviour;
    behaviour.inputPins = 2;
    behaviour.outputPins = 3;
    const RegisteredFilter filter(behaviour);
    std::vector<IBaseFilter*> added;
    platform->onAddFilter = [&](IBaseFilter* each) { added.push_back(each); };
    {
        DXFilterGraph graph(44100.0f, stereo);
        ASSERT_TRUE(graph.Open(filter.Text()));
        const auto isConnected = [&](const wchar_t* id) {
            ComPointer<IPin> pin;
            ComPointer<IPin> peer;
            EXPECT_EQ(receiveObject(pin, [&](IPin** out) { return added[1]->FindPin(id, out); }), S_OK);
            return receiveObject(peer, [&](IPin** out) { return pin->ConnectedTo(out); }) == S_OK;
        };
        EXPECT_TRUE(isConnected(L"In 0"));
        EXPECT_TRUE(isConnected(L"Out 0"));
        EXPECT_FALSE(isConnected(L"In 1"));
        EXPECT_FALSE(isConnected(L"Out 1"));
        EXPECT_FALSE(isConnected(L"Out 2"));
    }
    ExpectAllSettled();
}

} // namespace
} // namespace Tarvik
