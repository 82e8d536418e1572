#include "hosting/dx/DXSourcePin_win32.h"

#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPins_win32.h"
#include "hosting/dx/TaskMemory_win32.h"
#include "support/AllocationCount.h"

#include "directx/TestFactory.h"
#include "directx/TestFilter.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

using TestFilters::Behaviour;
using TestFilters::Deed;
using TestFilters::Place;

TEST(DXSourcePin, Connecting_calls_the_receiver_back_and_holds_it) {
    StereoPins pins;
    const ULONG before = referencesOf(pins.in);
    ASSERT_EQ(pins.out->Connect(pins.in, &pins.type.Get()), S_OK);
    // One of the pin that is held, none of anything else.
    EXPECT_EQ(referencesOf(pins.in), before + 1);
    ComPointer<IPin> peer;
    EXPECT_EQ(receiveObject(peer, [&](IPin** out) { return pins.out->ConnectedTo(out); }), S_OK);
    EXPECT_EQ(peer.Get(), static_cast<IPin*>(pins.in));
    EXPECT_EQ(receiveObject(peer, [&](IPin** out) { return pins.in->ConnectedTo(out); }), S_OK);
    EXPECT_EQ(peer.Get(), static_cast<IPin*>(pins.out));
    peer.Reset();
    EXPECT_EQ(pins.out->Disconnect(), S_OK);
    EXPECT_EQ(pins.in->Disconnect(), S_OK);
    EXPECT_EQ(referencesOf(pins.in), before);
}

TEST(DXSourcePin, A_second_connection_is_turned_down) {
    StereoPins pins;
    const StereoPins others;
    ASSERT_EQ(pins.out->Connect(pins.in, &pins.type.Get()), S_OK);
    EXPECT_EQ(pins.out->Connect(others.in, &pins.type.Get()), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(pins.out->Connect(pins.in, &pins.type.Get()), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(pins.out->Disconnect(), S_OK);
    EXPECT_EQ(pins.in->Disconnect(), S_OK);
    EXPECT_EQ(pins.out->Connect(pins.in, &pins.type.Get()), S_OK);
    EXPECT_EQ(pins.out->Disconnect(), S_OK);
    EXPECT_EQ(pins.in->Disconnect(), S_OK);
}

TEST(DXSourcePin, A_connection_needs_a_receiver_and_a_type) {
    StereoPins pins;
    EXPECT_EQ(pins.out->Connect(nullptr, &pins.type.Get()), E_POINTER);
    EXPECT_EQ(pins.out->Connect(pins.in, nullptr), E_POINTER);
}

TEST(DXSourcePin, A_type_that_is_not_accepted_connects_nothing) {
    StereoPins pins;
    DXMediaType surround;
    ASSERT_EQ(surround.SetAudio(44100.0f, 8), S_OK);
    EXPECT_EQ(pins.out->Connect(pins.in, &surround.Get()), VFW_E_NO_ACCEPTABLE_TYPES);
    IPin* peer = pins.in;
    EXPECT_EQ(pins.out->ConnectedTo(&peer), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(peer, nullptr);
}

TEST(DXSourcePin, An_output_is_no_receiver) {
    StereoPins pins;
    const StereoPins others;
    EXPECT_EQ(pins.out->Connect(others.out, &pins.type.Get()), E_FAIL);
}

/// The first input of a test filter, which goes with the object.
struct ForeignInput {
    explicit ForeignInput(Behaviour behaviour)
        : filter(ComPointer<TestFilters::TestFilter>::Adopt(
              new TestFilters::TestFilter(std::move(behaviour), {}))) {}
    IPin* operator*() const { return &filter->Input(); }

    ComPointer<TestFilters::TestFilter> filter;
};

TEST(DXSourcePin, A_receiver_that_does_not_tell_its_direction_is_none) {
    StereoPins pins;
    Behaviour silent;
    silent.acts[Place::queryDirection] = {Deed::answer, E_NOTIMPL};
    const ForeignInput foreign(silent);
    EXPECT_EQ(pins.out->Connect(*foreign, &pins.type.Get()), E_FAIL);
    Behaviour throws;
    throws.acts[Place::queryDirection] = {Deed::throwOwn, S_OK};
    const ForeignInput thrower(throws);
    EXPECT_EQ(pins.out->Connect(*thrower, &pins.type.Get()), E_FAIL);
}

TEST(DXSourcePin, A_receiver_that_refuses_is_not_held) {
    StereoPins pins;
    Behaviour refuses;
    refuses.acts[Place::receiveConnection] = {Deed::answer, VFW_E_TYPE_NOT_ACCEPTED};
    const ForeignInput foreign(refuses);
    EXPECT_EQ(pins.out->Connect(*foreign, &pins.type.Get()), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(referencesOf(foreign.filter.Get()), 1U);
    EXPECT_EQ(pins.out->Disconnect(), S_FALSE);
}

TEST(DXSourcePin, A_receiver_that_throws_has_failed) {
    for (const Deed deed : {Deed::throwOwn, Deed::throwOfAnother}) {
        StereoPins pins;
        Behaviour throws;
        throws.acts[Place::receiveConnection] = {deed, S_OK};
        const ForeignInput foreign(throws);
        HRESULT answer = S_OK;
        EXPECT_NO_THROW(answer = pins.out->Connect(*foreign, &pins.type.Get()));
        EXPECT_TRUE(FAILED(answer));
        EXPECT_EQ(pins.out->Disconnect(), S_FALSE);
    }
}

TEST(DXSourcePin, A_connection_that_there_is_no_memory_for_is_none_on_either_side) {
    StereoPins pins;
    const ULONG before = referencesOf(pins.in);
    TaskMemory memory;
    // The receiver's copy of the type is the first.
    memory.FailAllocation(2);
    EXPECT_EQ(pins.out->Connect(pins.in, &pins.type.Get()), E_OUTOFMEMORY);
    EXPECT_TRUE(memory.AllocationFailed());
    IPin* peer = nullptr;
    EXPECT_EQ(pins.out->ConnectedTo(&peer), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(pins.in->ConnectedTo(&peer), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(referencesOf(pins.in), before);
    EXPECT_EQ(memory.Left(), 0U);
    EXPECT_EQ(pins.out->Connect(pins.in, &pins.type.Get()), S_OK);
    pins.out->Disconnect();
    pins.in->Disconnect();
}

TEST(DXSourcePin, Of_several_reasons_not_to_connect_the_first_one_is_told) {
    StereoPins pins;
    const StereoPins others;
    DXMediaType surround;
    ASSERT_EQ(surround.SetAudio(44100.0f, 8), S_OK);
    EXPECT_EQ(pins.out->Connect(others.out, &surround.Get()), VFW_E_NO_ACCEPTABLE_TYPES);
    ASSERT_EQ(pins.out->Connect(pins.in, &pins.type.Get()), S_OK);
    EXPECT_EQ(pins.out->Connect(others.out, &surround.Get()), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(pins.out->Connect(nullptr, &surround.Get()), E_POINTER);
    EXPECT_EQ(pins.out->Connect(others.out, nullptr), E_POINTER);
    pins.out->Disconnect();
    pins.in->Disconnect();
}

TEST(DXSourcePin, Nobody_connects_to_an_output) {
    StereoPins pins;
    EXPECT_EQ(pins.out->ReceiveConnection(pins.in, &pins.type.Get()), E_UNEXPECTED);
}

TEST(DXSourcePin, What_comes_downstream_never_comes_here) {
    const StereoPins pins;
    EXPECT_EQ(pins.out->EndOfStream(), E_UNEXPECTED);
    EXPECT_EQ(pins.out->BeginFlush(), E_UNEXPECTED);
    EXPECT_EQ(pins.out->EndFlush(), E_UNEXPECTED);
}

TEST(DXSourcePin, It_is_a_pin_and_no_input) {
    const StereoPins pins;
    ComPointer<IPin> pin;
    ComPointer<IMemInputPin> input;
    EXPECT_EQ(queryInterface(static_cast<IPin*>(pins.out), IID_IPin, pin), S_OK);
    EXPECT_EQ(queryInterface(static_cast<IPin*>(pins.out), IID_IMemInputPin, input), E_NOINTERFACE);
}

TEST(DXSourcePin, Without_its_filter_it_offers_nothing) {
    StereoPins pins;
    const auto pin = ComPointer<DXSourcePin>::Share(pins.out);
    pins.source.Reset();
    IEnumMediaTypes* types = nullptr;
    EXPECT_EQ(pin->EnumMediaTypes(&types), E_UNEXPECTED);
}

} // namespace
} // namespace Tarvik
