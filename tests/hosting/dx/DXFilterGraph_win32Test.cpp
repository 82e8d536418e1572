#include "hosting/dx/DXFilterGraph_win32.h"

#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPins_win32.h"
#include "hosting/dx/WatchedPlatform_win32.h"

#include "directx/Ledger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Tarvik {
namespace {

using TestFilters::Behaviour;
using TestFilters::Deed;
using TestFilters::Ledger;
using TestFilters::Place;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t mono = 0;
constexpr std::uint32_t stereo = 1;

/// What went wrong with the references of any object, in words.
std::vector<std::string> unsettledAccounts() {
    std::vector<std::string> unsettled;
    for (const auto& [name, account] : Ledger::Instance().Accounts()) {
        if (!account.IsSettled()) {
            unsettled.push_back(
                name + ": made " + std::to_string(account.made) + ", destroyed " +
                std::to_string(account.destroyed) + ", added " + std::to_string(account.addRefs) +
                ", released " + std::to_string(account.releases));
        }
    }
    return unsettled;
}

class DXFilterGraphTest : public testing::Test {
protected:
    DXFilterGraphTest() { Ledger::Instance().Clear(); }

    /// What was called, without what the platform has a plug-in do on the way from one state to another.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls = platform->calls;
        std::erase_if(calls, [](const std::string& call) {
            return call == "allocator 2: Commit" || call == "allocator 2: Decommit";
        });
        return calls;
    }

    /// Every object of everybody has gone, with all its references.
    void ExpectAllSettled() {
        EXPECT_THAT(unsettledAccounts(), IsEmpty());
        EXPECT_EQ(platform->unsettled, 0);
        EXPECT_EQ(CBaseObject::ObjectsActive(), ownObjectsBefore);
    }

    ComApartment com;
    std::optional<WatchedPlatform> platform = std::make_optional<WatchedPlatform>();
    long ownObjectsBefore = CBaseObject::ObjectsActive();
};

TEST_F(DXFilterGraphTest, It_is_opened_step_by_step) {
    Behaviour behaviour;
    behaviour.hasPage = true;
    const auto note = [this](const char* what) { platform->calls.emplace_back(what); };
    behaviour.onArrival = [&](Place place) {
        switch (place) {
        case Place::creation:
            return note("filter: creation");
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
        Calls(), ElementsAre(
                     "graph: creation", "graph: IMediaControl", "filter: creation", "graph: AddFilter",
                     "graph: AddFilter", "graph: AddFilter", "input: IMemInputPin", "input: QueryAccept",
                     "graph: ConnectDirect by type", "input: ReceiveConnection", "allocator 1: creation",
                     "allocator 1: SetProperties", "allocator 1: Commit", "allocator 1: GetBuffer",
                     "input: NotifyAllocator", "graph: ConnectDirect", "output: Connect",
                     "allocator 2: creation", "allocator 2: SetProperties", "graph: Run",
                     "filter: IPersistStream", "filter: ISpecifyPropertyPages", "filter: GetPages"));
    EXPECT_FALSE(graph.IsClassNotFound());
    EXPECT_STREQ(graph.GetFriendlyName().c_str(), "Test filter");
    EXPECT_EQ(graph.GetClassId(), String("{%1}").arg(filter.Text()));
    EXPECT_TRUE(graph.HasState());
    EXPECT_TRUE(graph.HasPropertyPages());
    EXPECT_FALSE(graph.GetLastDeliveredFrames().valid);
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
    graph.reset();
    EXPECT_THAT(
        Calls(), ElementsAre(
                     "page: SetPageSite(null)", "page: SetObjects(0)", "graph: Stop", "sample 1: end",
                     "allocator 1: Decommit", "graph: Disconnect", "graph: Disconnect", "graph: Disconnect",
                     "graph: Disconnect", "graph: RemoveFilter", "graph: RemoveFilter", "graph: RemoveFilter",
                     "filter: end", "allocator 1: end", "graph: end", "allocator 2: end"));
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

/// A way to fail, and which step it ends.
struct Failure {
    int step;
    const char* what;
    std::function<void(WatchedPlatform&, Behaviour&)> arrange;
    bool classNotFound = false;
};

Failure platformFails(int step, const char* call, HRESULT code = E_FAIL) {
    return {step, call, [=](WatchedPlatform& platform, Behaviour&) { platform.failures[call] = code; }};
}

Failure filterFails(int step, const char* what, Place place, HRESULT code = E_FAIL) {
    return {step, what, [=](WatchedPlatform&, Behaviour& behaviour) {
                behaviour.acts[place] = {Deed::answer, code};
            }};
}

Failure filterThrows(int step, const char* what, Place place) {
    return {step, what, [=](WatchedPlatform&, Behaviour& behaviour) {
                behaviour.acts[place] = {Deed::throwOwn, S_OK};
            }};
}

/// Once: the platform asks again when it removes the filter, and could not be rid of it otherwise.
Failure throwsFirstTime(int step, const char* what, Place where) {
    return {step, what, [=](WatchedPlatform&, Behaviour& behaviour) {
                behaviour.onArrival = [where, thrown = false](Place place) mutable {
                    if (place == where && !std::exchange(thrown, true)) {
                        throw std::runtime_error("thrown by a filter");
                    }
                };
            }};
}

Failure allocatorGives(const char* what, void (*change)(ALLOCATOR_PROPERTIES&)) {
    return {12, what, [=](WatchedPlatform& platform, Behaviour&) { platform.changeActual = change; }};
}

TEST_F(DXFilterGraphTest, A_failure_at_any_step_ends_the_opening_and_gives_every_reference_back) {
    std::vector<Failure> failures = {
        platformFails(1, "graph: creation"),
        platformFails(2, "graph: IMediaControl", E_NOINTERFACE),
        filterFails(4, "creation fails", Place::creation),
        filterFails(4, "no IBaseFilter", Place::queryFilter, E_NOINTERFACE),
        platformFails(6, "graph: AddFilter 1"),
        platformFails(6, "graph: AddFilter 2"),
        platformFails(6, "graph: AddFilter 3"),
        filterFails(6, "JoinFilterGraph fails", Place::joinFilterGraph),
        filterFails(7, "EnumPins fails", Place::enumPins),
        filterFails(7, "Next fails", Place::nextPin),
        filterFails(7, "QueryDirection fails", Place::queryDirection),
        {7, "no input", [](WatchedPlatform&, Behaviour& behaviour) { behaviour.inputPins = 0; }},
        {7, "no output", [](WatchedPlatform&, Behaviour& behaviour) { behaviour.outputPins = 0; }},
        filterFails(8, "no IMemInputPin", Place::queryMemInputPin, E_NOINTERFACE),
        filterFails(9, "QueryAccept answers S_FALSE", Place::queryAccept, S_FALSE),
        filterFails(9, "QueryAccept fails", Place::queryAccept),
        {9, "only integers", [](WatchedPlatform&, Behaviour& behaviour) { behaviour.integersOnly = true; }},
        filterFails(10, "ReceiveConnection fails", Place::receiveConnection),
        platformFails(10, "graph: ConnectDirect by type"),
        platformFails(11, "allocator 1: creation"),
        platformFails(12, "allocator 1: SetProperties"),
        allocatorGives("another count", [](ALLOCATOR_PROPERTIES& actual) { ++actual.cBuffers; }),
        allocatorGives("another size", [](ALLOCATOR_PROPERTIES& actual) { actual.cbBuffer *= 2; }),
        allocatorGives("another alignment", [](ALLOCATOR_PROPERTIES& actual) { actual.cbAlign = 16; }),
        platformFails(13, "allocator 1: Commit"),
        platformFails(13, "allocator 1: GetBuffer"),
        filterFails(14, "NotifyAllocator fails", Place::notifyAllocator),
        filterFails(15, "Connect fails", Place::connectOutput),
        platformFails(15, "graph: ConnectDirect"),
        platformFails(15, "allocator 2: creation"),
        platformFails(16, "graph: Run"),
    };
    for (Failure& failure : failures) {
        failure.classNotFound = failure.step == 4;
        SCOPED_TRACE(std::to_string(failure.step) + ": " + failure.what);
        Ledger::Instance().Clear();
        platform.emplace();
        Behaviour behaviour;
        failure.arrange(*platform, behaviour);
        const RegisteredFilter filter(behaviour);
        {
            DXFilterGraph graph(44100.0f, stereo);
            EXPECT_FALSE(graph.Open(filter.Text()));
            EXPECT_EQ(graph.IsClassNotFound(), failure.classNotFound);
            EXPECT_FALSE(graph.HasState());
            EXPECT_FALSE(graph.HasPropertyPages());
        }
        ExpectAllSettled();
    }
}

TEST_F(DXFilterGraphTest, What_a_plug_in_throws_comes_out_of_the_opening_and_leaves_no_reference) {
    for (const Failure& failure :
         {filterThrows(4, "creation", Place::creation), throwsFirstTime(7, "EnumPins", Place::enumPins),
          filterThrows(8, "IMemInputPin", Place::queryMemInputPin),
          filterThrows(9, "QueryAccept", Place::queryAccept),
          filterThrows(14, "NotifyAllocator", Place::notifyAllocator),
          filterThrows(18, "IPersistStream", Place::queryPersistStream),
          filterThrows(19, "ISpecifyPropertyPages", Place::querySpecifyPages),
          filterThrows(19, "GetPages", Place::getPages)}) {
        SCOPED_TRACE(failure.what);
        Ledger::Instance().Clear();
        platform.emplace();
        Behaviour behaviour;
        behaviour.hasPage = true;
        failure.arrange(*platform, behaviour);
        const RegisteredFilter filter(behaviour);
        {
            DXFilterGraph graph(44100.0f, stereo);
            EXPECT_ANY_THROW(graph.Open(filter.Text()));
        }
        ExpectAllSettled();
    }
}

TEST_F(DXFilterGraphTest, A_text_that_is_no_class_identifier_is_not_looked_for) {
    for (const char* text :
         {"", "nonsense", "12345678-1234-1234-1234-12345678901", "12345678-1234-1234-1234-1234567890123",
          "{12345678-1234-1234-1234-123456789012}", "XX345678-1234-1234-1234-123456789012"}) {
        DXFilterGraph graph(44100.0f, stereo);
        EXPECT_FALSE(graph.Open(text)) << text;
        EXPECT_FALSE(graph.IsClassNotFound()) << text;
    }
    ExpectAllSettled();
}

TEST_F(DXFilterGraphTest, A_class_that_nobody_has_is_not_found) {
    {
        DXFilterGraph graph(44100.0f, stereo);
        EXPECT_FALSE(graph.Open(classIdText(newClassId())));
        EXPECT_TRUE(graph.IsClassNotFound());
    }
    ExpectAllSettled();
}

TEST_F(DXFilterGraphTest, A_filter_without_a_name_is_none_though_it_was_created) {
    for (const auto& name : {std::optional<std::wstring>(), std::optional<std::wstring>(L"")}) {
        const RegisteredFilter filter({}, name);
        {
            DXFilterGraph graph(44100.0f, stereo);
            EXPECT_FALSE(graph.Open(filter.Text()));
            EXPECT_FALSE(graph.IsClassNotFound());
        }
        EXPECT_EQ(Ledger::Instance().Accounts().at("filter").destroyed, 1);
        ExpectAllSettled();
        Ledger::Instance().Clear();
    }
}

TEST_F(DXFilterGraphTest, A_name_may_be_of_any_alphabet) {
    const RegisteredFilter filter({}, L"Verst\u00E4rker \u5897\u5E45 \U0001F39A");
    DXFilterGraph graph(44100.0f, stereo);
    ASSERT_TRUE(graph.Open(filter.Text()));
    EXPECT_STREQ(
        graph.GetFriendlyName().c_str(), "Verst\xC3\xA4rker \xE5\xA2\x97\xE5\xB9\x85 \xF0\x9F\x8E\x9A");
}

TEST_F(DXFilterGraphTest, A_layout_of_more_than_two_channels_fails_at_the_source_and_not_before) {
    const RegisteredFilter filter;
    {
        DXFilterGraph graph(44100.0f, 8);
        EXPECT_FALSE(graph.Open(filter.Text()));
        EXPECT_EQ(platform->calls.back(), "graph: ConnectDirect by type");
    }
    ExpectAllSettled();
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

TEST_F(DXFilterGraphTest, A_plug_in_that_throws_while_it_is_taken_down_does_not_keep_the_rest) {
    for (const Place place : {Place::stop, Place::destruction}) {
        Ledger::Instance().Clear();
        platform.emplace();
        Behaviour behaviour;
        behaviour.acts[place] = {Deed::throwOwn, S_OK};
        const RegisteredFilter filter(behaviour);
        {
            DXFilterGraph graph(44100.0f, stereo);
            ASSERT_TRUE(graph.Open(filter.Text()));
        }
        EXPECT_EQ(CBaseObject::ObjectsActive(), ownObjectsBefore);
        EXPECT_EQ(Ledger::Instance().Accounts().at("graph").destroyed, 1);
    }
}

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
