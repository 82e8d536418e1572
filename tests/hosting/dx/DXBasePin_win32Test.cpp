// What the pins of both directions do alike.

#include "hosting/dx/DXBasePin_win32.h"

#include "hosting/dx/DXPins_win32.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace Tarvik {
namespace {

/// By the direction of the pin.
class DXBasePinTest : public testing::TestWithParam<PIN_DIRECTION> {
protected:
    bool IsOutput() const { return GetParam() == PINDIR_OUTPUT; }

    StereoPins pins;
    DXBasePin* pin = IsOutput() ? static_cast<DXBasePin*>(pins.out) : pins.in;
    DXBasePin* peer = IsOutput() ? static_cast<DXBasePin*>(pins.in) : pins.out;
};

std::string directionName(const testing::TestParamInfo<PIN_DIRECTION>& info) {
    return info.param == PINDIR_OUTPUT ? "Output" : "Input";
}

INSTANTIATE_TEST_SUITE_P(
    OfEachDirection, DXBasePinTest, testing::Values(PINDIR_OUTPUT, PINDIR_INPUT), directionName);

TEST_P(DXBasePinTest, The_type_of_a_connection_is_a_copy_of_what_was_agreed) {
    const std::string stereo = describe(pins.type.Get());
    ASSERT_EQ(pin->Connect(peer, &pins.type.Get()), S_OK);
    pins.type.Clear();
    AM_MEDIA_TYPE agreed{};
    ASSERT_EQ(pin->ConnectionMediaType(&agreed), S_OK);
    EXPECT_EQ(describe(agreed), stereo);
    AM_MEDIA_TYPE again{};
    ASSERT_EQ(pin->ConnectionMediaType(&again), S_OK);
    EXPECT_NE(again.pbFormat, agreed.pbFormat);
    DXMediaType::Free(agreed);
    DXMediaType::Free(again);
    EXPECT_EQ(pin->ConnectionMediaType(nullptr), E_POINTER);
    pin->Disconnect();
    peer->Disconnect();
}

TEST_P(DXBasePinTest, Whom_it_is_connected_to_is_told_with_a_reference) {
    const ULONG before = referencesOf(peer);
    EXPECT_EQ(pin->ConnectedTo(nullptr), E_POINTER);
    ASSERT_EQ(pin->Connect(peer, &pins.type.Get()), S_OK);
    IPin* told = nullptr;
    EXPECT_EQ(pin->ConnectedTo(nullptr), E_POINTER);
    EXPECT_EQ(pin->ConnectedTo(&told), S_OK);
    EXPECT_EQ(told, static_cast<IPin*>(peer));
    EXPECT_EQ(referencesOf(peer), before + 2);
    told->Release();
    EXPECT_EQ(pin->Disconnect(), S_OK);
    EXPECT_EQ(pin->Disconnect(), S_FALSE);
    EXPECT_EQ(pin->ConnectedTo(&told), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(told, nullptr);
    peer->Disconnect();
    EXPECT_EQ(referencesOf(peer), before);
}

TEST_P(DXBasePinTest, Without_a_connection_a_type_that_is_handed_in_is_freed) {
    AM_MEDIA_TYPE type{};
    ASSERT_EQ(pins.type.CopyTo(&type), S_OK);
    EXPECT_EQ(pin->ConnectionMediaType(&type), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(type.pbFormat, nullptr);
    EXPECT_EQ(type.cbFormat, 0U);
    // With its object.
    const ULONG before = referencesOf(peer);
    ASSERT_EQ(pins.type.CopyTo(&type), S_OK);
    type.pUnk = ComPointer<IPin>::Share(peer).Detach();
    EXPECT_EQ(pin->ConnectionMediaType(&type), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(type.pUnk, nullptr);
    EXPECT_EQ(referencesOf(peer), before);
    // Callers hand in what was never filled in, too.
    std::memset(static_cast<void*>(&type), 0xCD, sizeof type);
    EXPECT_EQ(pin->ConnectionMediaType(&type), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(type.pbFormat, nullptr);
}

TEST_P(DXBasePinTest, It_offers_its_filters_rate_and_channels) {
    const auto source = ComPointer<DXSourceFilter>::Share(new DXSourceFilter(48000.0f, 0));
    const auto sink = ComPointer<DXSinkFilter>::Share(new DXSinkFilter(48000.0f, 0, 16));
    IPin* const offering = IsOutput() ? static_cast<IPin*>(source->GetPin()) : sink->GetPin();
    ComPointer<IEnumMediaTypes> types;
    ASSERT_EQ(
        receiveObject(types, [&](IEnumMediaTypes** out) { return offering->EnumMediaTypes(out); }), S_OK);
    AM_MEDIA_TYPE* type = nullptr;
    ASSERT_EQ(types->Next(1, &type, nullptr), S_OK);
    EXPECT_EQ(describe(*type), mono48000);
    DXMediaType::Free(*type);
    CoTaskMemFree(type);
}

TEST_P(DXBasePinTest, It_accepts_what_it_offers) {
    ComPointer<IEnumMediaTypes> types;
    ASSERT_EQ(receiveObject(types, [&](IEnumMediaTypes** out) { return pin->EnumMediaTypes(out); }), S_OK);
    AM_MEDIA_TYPE* type = nullptr;
    ULONG fetched = 0;
    ASSERT_EQ(types->Next(1, &type, &fetched), S_OK);
    EXPECT_EQ(pin->QueryAccept(type), S_OK);
    DXMediaType::Free(*type);
    CoTaskMemFree(type);
    EXPECT_EQ(pin->QueryAccept(nullptr), E_POINTER);
    EXPECT_EQ(pin->EnumMediaTypes(nullptr), E_POINTER);
}

TEST_P(DXBasePinTest, A_type_with_three_channels_is_turned_down) {
    DXMediaType three;
    ASSERT_EQ(three.SetAudio(44100.0f, 3), S_OK);
    EXPECT_EQ(pin->QueryAccept(&three.Get()), E_INVALIDARG);
}

TEST_P(DXBasePinTest, It_says_what_it_is) {
    const std::wstring name = IsOutput() ? L"DXSourcePin" : L"DXSinkPin";
    IBaseFilter* const filter = IsOutput() ? static_cast<IBaseFilter*>(pins.source.Get()) : pins.sink.Get();
    PIN_INFO info{};
    ASSERT_EQ(pin->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, filter);
    EXPECT_EQ(info.pFilter->Release(), 1U);
    EXPECT_EQ(info.dir, GetParam());
    EXPECT_EQ(std::wstring(info.achName), name);
    EXPECT_EQ(pin->QueryPinInfo(nullptr), E_POINTER);

    PIN_DIRECTION direction = IsOutput() ? PINDIR_INPUT : PINDIR_OUTPUT;
    EXPECT_EQ(pin->QueryDirection(&direction), S_OK);
    EXPECT_EQ(direction, GetParam());
    EXPECT_EQ(pin->QueryDirection(nullptr), E_POINTER);

    LPWSTR id = nullptr;
    EXPECT_EQ(pin->QueryId(&id), S_OK);
    EXPECT_EQ(takeText(id), name);
    EXPECT_EQ(pin->QueryId(nullptr), E_POINTER);
    EXPECT_STREQ(pin->ObjectName(), IsOutput() ? "DXSourcePin" : "DXSinkPin");
}

TEST_P(DXBasePinTest, Without_memory_it_fails) {
    PIN_INFO info{};
    LPWSTR id = nullptr;
    IEnumMediaTypes* types = nullptr;
    {
        const WithoutMemory none;
        EXPECT_EQ(pin->QueryPinInfo(&info), E_OUTOFMEMORY);
        EXPECT_EQ(pin->QueryId(&id), E_OUTOFMEMORY);
        EXPECT_EQ(pin->EnumMediaTypes(&types), E_OUTOFMEMORY);
    }
    EXPECT_EQ(info.pFilter, nullptr);
    EXPECT_EQ(id, nullptr);
    EXPECT_EQ(types, nullptr);
}

TEST_P(DXBasePinTest, It_tells_no_pins_behind_it_and_takes_any_segment) {
    EXPECT_EQ(pin->QueryInternalConnections(nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(pin->NewSegment(0, 0, 1.0), S_OK);
}

TEST_P(DXBasePinTest, It_outlives_its_filter_in_the_hands_of_others) {
    const auto held = ComPointer<IPin>::Share(pin);
    pins.source.Reset();
    pins.sink.Reset();
    PIN_INFO info{};
    EXPECT_EQ(held->QueryPinInfo(&info), S_OK);
    EXPECT_EQ(info.pFilter, nullptr);
}

} // namespace
} // namespace Tarvik
