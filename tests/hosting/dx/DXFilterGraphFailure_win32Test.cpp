// What becomes of a graph that cannot be opened, or whose plug-in throws.

#include "hosting/dx/DXFilterGraphFixture_win32.h"
#include "hosting/dx/DXFilterGraph_win32.h"

#include "directx/Ledger.h"

#include <gtest/gtest.h>

#include <functional>
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
        bool enumerated = false;
        Behaviour behaviour;
        behaviour.onArrival = [&](Place place) { enumerated = enumerated || place == Place::enumPins; };
        const RegisteredFilter filter(behaviour, name);
        {
            DXFilterGraph graph(44100.0f, stereo);
            EXPECT_FALSE(graph.Open(filter.Text()));
            EXPECT_FALSE(graph.IsClassNotFound());
            EXPECT_FALSE(enumerated);
            // Read before the filter is looked at any closer.
            EXPECT_EQ(platform->calls.back(), "graph: IMediaControl");
        }
        EXPECT_EQ(Ledger::Instance().Accounts().at("filter").destroyed, 1);
        ExpectAllSettled();
        Ledger::Instance().Clear();
    }
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

} // namespace
} // namespace Tarvik
