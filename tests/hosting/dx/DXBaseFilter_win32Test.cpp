#include "hosting/dx/DXBaseFilter_win32.h"

#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPins_win32.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <string>

namespace Tarvik {
namespace {

TEST(DXBaseFilter, It_is_a_filter_by_each_of_its_interfaces_names) {
    const StereoPins pins;
    for (const IID& iid : {IID_IBaseFilter, IID_IMediaFilter, IID_IPersist}) {
        ComPointer<IUnknown> out;
        EXPECT_EQ(queryInterface(static_cast<IBaseFilter*>(pins.source.Get()), iid, out), S_OK);
        EXPECT_EQ(out.Get(), static_cast<IBaseFilter*>(pins.source.Get()));
    }
    ComPointer<IUnknown> out;
    EXPECT_EQ(
        queryInterface(static_cast<IBaseFilter*>(pins.source.Get()), IID_IPersistStream, out), E_NOINTERFACE);
    EXPECT_STREQ(pins.source->ObjectName(), "DXBaseFilter");
    EXPECT_STREQ(pins.sink->ObjectName(), "DXBaseFilter");
}

TEST(DXBaseFilter, Both_filters_have_one_class) {
    const StereoPins pins;
    for (IBaseFilter* filter :
         {static_cast<IBaseFilter*>(pins.source.Get()), static_cast<IBaseFilter*>(pins.sink.Get())}) {
        CLSID id{};
        EXPECT_EQ(filter->GetClassID(&id), S_OK);
        EXPECT_STREQ(classIdText(id).c_str(), "442E1913-EB3A-4A30-A710-6E6780A131BD");
        EXPECT_EQ(filter->GetClassID(nullptr), E_POINTER);
    }
}

TEST(DXBaseFilter, It_is_in_the_state_that_it_was_put_in) {
    const StereoPins pins;
    FILTER_STATE state = State_Running;
    EXPECT_EQ(pins.source->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Stopped);
    EXPECT_EQ(pins.source->Run(0), S_OK);
    EXPECT_EQ(pins.source->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Running);
    EXPECT_EQ(pins.source->Pause(), S_OK);
    EXPECT_EQ(pins.source->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Paused);
    EXPECT_EQ(pins.source->Stop(), S_OK);
    EXPECT_EQ(pins.source->GetState(0, &state), S_OK);
    EXPECT_EQ(state, State_Stopped);
    EXPECT_EQ(pins.source->GetState(0, nullptr), E_POINTER);
}

TEST(DXBaseFilter, It_holds_the_clock_that_it_is_given) {
    const ComApartment com;
    StereoPins pins;
    ComPointer<IReferenceClock> clock;
    ASSERT_EQ(createInstance(CLSID_SystemClock, IID_IReferenceClock, clock), S_OK);
    const ULONG before = referencesOf(clock.Get());
    EXPECT_EQ(pins.source->SetSyncSource(clock.Get()), S_OK);
    EXPECT_EQ(pins.source->SetSyncSource(clock.Get()), S_OK);
    EXPECT_EQ(referencesOf(clock.Get()), before + 1);
    ComPointer<IReferenceClock> out;
    EXPECT_EQ(receiveObject(out, [&](IReferenceClock** to) { return pins.source->GetSyncSource(to); }), S_OK);
    EXPECT_EQ(out.Get(), clock.Get());
    out.Reset();
    EXPECT_EQ(pins.source->GetSyncSource(nullptr), E_POINTER);
    EXPECT_EQ(pins.source->SetSyncSource(nullptr), S_OK);
    EXPECT_EQ(referencesOf(clock.Get()), before);
    IReferenceClock* none = clock.Get();
    EXPECT_EQ(pins.source->GetSyncSource(&none), S_OK);
    EXPECT_EQ(none, nullptr);

    EXPECT_EQ(pins.source->SetSyncSource(clock.Get()), S_OK);
    pins.source.Reset();
    EXPECT_EQ(referencesOf(clock.Get()), before);
}

TEST(DXBaseFilter, Its_one_pin_is_enumerated_and_found) {
    const StereoPins pins;
    ComPointer<IEnumPins> list;
    ASSERT_EQ(receiveObject(list, [&](IEnumPins** out) { return pins.sink->EnumPins(out); }), S_OK);
    IPin* found[2] = {};
    ULONG fetched = 0;
    EXPECT_EQ(list->Next(2, found, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 1U);
    EXPECT_EQ(found[0], static_cast<IPin*>(pins.in));
    found[0]->Release();
    EXPECT_EQ(pins.sink->EnumPins(nullptr), E_POINTER);

    IPin* pin = nullptr;
    EXPECT_EQ(pins.sink->FindPin(L"DXSinkPin", &pin), S_OK);
    EXPECT_EQ(pin, static_cast<IPin*>(pins.in));
    pin->Release();
    EXPECT_EQ(pins.source->FindPin(L"DXSourcePin", &pin), S_OK);
    EXPECT_EQ(pin, static_cast<IPin*>(pins.out));
    pin->Release();
    EXPECT_EQ(pins.source->FindPin(L"DXSinkPin", &pin), VFW_E_NOT_FOUND);
    EXPECT_EQ(pin, nullptr);
    EXPECT_EQ(pins.source->FindPin(nullptr, &pin), E_POINTER);
    EXPECT_EQ(pins.source->FindPin(L"DXSourcePin", nullptr), E_POINTER);
}

TEST(DXBaseFilter, It_knows_its_graph_without_holding_it) {
    const ComApartment com;
    const StereoPins pins;
    ComPointer<IFilterGraph> graph;
    ASSERT_EQ(createInstance(CLSID_FilterGraph, IID_IFilterGraph, graph), S_OK);
    const ULONG before = referencesOf(graph.Get());
    EXPECT_EQ(pins.source->JoinFilterGraph(graph.Get(), L"Quelle \u00E4"), S_OK);
    EXPECT_EQ(referencesOf(graph.Get()), before);
    FILTER_INFO info{};
    EXPECT_EQ(pins.source->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(std::wstring(info.achName), L"Quelle \u00E4");
    EXPECT_EQ(info.pGraph, graph.Get());
    EXPECT_EQ(referencesOf(graph.Get()), before + 1);
    info.pGraph->Release();
    EXPECT_EQ(pins.source->JoinFilterGraph(nullptr, nullptr), S_OK);
    EXPECT_EQ(pins.source->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(std::wstring(info.achName), L"");
    EXPECT_EQ(info.pGraph, nullptr);
    EXPECT_EQ(pins.source->QueryFilterInfo(nullptr), E_POINTER);
}

TEST(DXBaseFilter, A_long_name_is_cut_to_what_the_record_holds) {
    const StereoPins pins;
    EXPECT_EQ(pins.source->JoinFilterGraph(nullptr, std::wstring(300, L'n').c_str()), S_OK);
    FILTER_INFO info{};
    EXPECT_EQ(pins.source->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(std::wstring(info.achName), std::wstring(127, L'n'));
}

TEST(DXBaseFilter, Without_memory_it_fails_and_stays_as_it_was) {
    const StereoPins pins;
    const std::wstring longName(100, L'n');
    ASSERT_EQ(pins.source->JoinFilterGraph(nullptr, longName.c_str()), S_OK);
    FILTER_INFO info{};
    IEnumPins* list = nullptr;
    IPin* pin = nullptr;
    {
        const WithoutMemory none;
        EXPECT_EQ(pins.source->JoinFilterGraph(nullptr, longName.c_str()), E_OUTOFMEMORY);
        EXPECT_EQ(pins.source->QueryFilterInfo(&info), E_OUTOFMEMORY);
        EXPECT_EQ(pins.source->EnumPins(&list), E_OUTOFMEMORY);
        EXPECT_EQ(pins.source->FindPin(L"DXSourcePin", &pin), E_OUTOFMEMORY);
    }
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(pin, nullptr);
    EXPECT_EQ(pins.source->QueryFilterInfo(&info), S_OK);
    EXPECT_EQ(std::wstring(info.achName), longName);
}

TEST(DXBaseFilter, It_has_no_vendor) {
    const StereoPins pins;
    LPWSTR vendor = nullptr;
    EXPECT_EQ(pins.source->QueryVendorInfo(&vendor), E_NOTIMPL);
}

TEST(DXBaseFilter, A_filter_and_its_pin_go_with_the_last_reference) {
    const long before = CBaseObject::ObjectsActive();
    {
        const StereoPins pins;
        EXPECT_EQ(CBaseObject::ObjectsActive(), before + 4);
        EXPECT_EQ(referencesOf(pins.source.Get()), 1U);
        EXPECT_EQ(referencesOf(pins.out), 1U);
    }
    EXPECT_EQ(CBaseObject::ObjectsActive(), before);
}

} // namespace
} // namespace Tarvik
