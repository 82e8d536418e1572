// How the graph is built and taken down.

#include "hosting/dx/DXFilterGraph_win32.h"

#include "svbase/util/ConfigFile.h"

#include <new>

namespace Tarvik {

namespace {

// The one sample that each block travels in.
constexpr long sampleBytes = 65536;

} // namespace

DXFilterGraph::DXFilterGraph(float rate, std::uint32_t layout) : sampleRate(rate), channelLayout(layout) {
    if (FAILED(mediaType.SetAudio(rate, layout))) {
        throw std::bad_alloc();
    }
    sourceFilter = ComPointer<DXSourceFilter>::Share(new DXSourceFilter(rate, layout));
    sinkFilter = ComPointer<DXSinkFilter>::Share(
        new DXSinkFilter(rate, layout, static_cast<std::uint32_t>(sampleBytes / sizeof(float))));
}

bool DXFilterGraph::Open(const String& classIdText) {
    if (!CreateGraph() || !CreateFilter(classIdText) || !ReadFriendlyName() || !AddFilters() || !FindPins() ||
        !ConnectInput() || !MakeSample() || !ConnectOutput() || !Run()) {
        return false;
    }
    lastDeliveredFrames.Clear();
    AskForState();
    AskForPropertyPages();
    return true;
}

bool DXFilterGraph::CreateGraph() {
    return SUCCEEDED(createInstance(CLSID_FilterGraph, IID_IFilterGraph, filterGraph)) &&
           SUCCEEDED(queryInterface(filterGraph.Get(), IID_IMediaControl, mediaControl));
}

bool DXFilterGraph::CreateFilter(const String& classIdText) {
    classId = String("{%1}").arg(classIdText);
    IID id{};
    if (FAILED(IIDFromString(classId.toNativeWide().c_str(), &id))) {
        return false;
    }
    classNotFound = FAILED(createInstance(id, IID_IBaseFilter, filter));
    return !classNotFound;
}

// Every class that happens to be a filter can be created; the ones that are plug-ins have a name here.
bool DXFilterGraph::ReadFriendlyName() {
    const Util::ConfigFile registration(
        String("Filter/%1").arg(classId), Util::ConfigFile::Hive::ClassesRoot);
    friendlyName = registration.readString("", "");
    return !friendlyName.isEmpty();
}

bool DXFilterGraph::AddFilters() {
    for (IBaseFilter* each :
         {static_cast<IBaseFilter*>(sourceFilter.Get()), filter.Get(),
          static_cast<IBaseFilter*>(sinkFilter.Get())}) {
        if (FAILED(callForeign([&] { return filterGraph->AddFilter(each, nullptr); }))) {
            return false;
        }
    }
    return true;
}

bool DXFilterGraph::FindPins() {
    ComPointer<IEnumPins> pins;
    if (FAILED(receiveObject(pins, [&](IEnumPins** out) { return filter->EnumPins(out); }))) {
        return false;
    }
    while (!inputPin || !outputPin) {
        ComPointer<IPin> pin;
        ULONG fetched = 0;
        if (receiveObject(pin, [&](IPin** out) { return pins->Next(1, out, &fetched); }) != S_OK) {
            return false;
        }
        PIN_DIRECTION direction{};
        if (FAILED(callForeign([&] { return pin->QueryDirection(&direction); }))) {
            return false;
        }
        ComPointer<IPin>& place = direction == PINDIR_INPUT ? inputPin : outputPin;
        if (!place) {
            place = std::move(pin);
        }
    }
    return SUCCEEDED(queryInterface(inputPin.Get(), IID_IMemInputPin, memInputPin));
}

bool DXFilterGraph::ConnectInput() {
    const AM_MEDIA_TYPE* type = &mediaType.Get();
    return callForeign([&] { return inputPin->QueryAccept(type); }) == S_OK && SUCCEEDED(callForeign([&] {
               return filterGraph->ConnectDirect(sourceFilter->GetPin(), inputPin.Get(), type);
           }));
}

bool DXFilterGraph::MakeSample() {
    ALLOCATOR_PROPERTIES request{};
    request.cBuffers = 1;
    request.cbBuffer = sampleBytes;
    request.cbAlign = 1;
    ALLOCATOR_PROPERTIES actual{};
    if (FAILED(createInstance(CLSID_MemoryAllocator, IID_IMemAllocator, allocator)) ||
        FAILED(allocator->SetProperties(&request, &actual)) || actual.cBuffers != request.cBuffers ||
        actual.cbBuffer != request.cbBuffer || actual.cbAlign != request.cbAlign) {
        return false;
    }
    return SUCCEEDED(allocator->Commit()) && SUCCEEDED(receiveObject(sample, [&](IMediaSample** out) {
               return allocator->GetBuffer(out, nullptr, nullptr, 0);
           }));
}

bool DXFilterGraph::ConnectOutput() {
    return SUCCEEDED(callForeign([&] { return memInputPin->NotifyAllocator(allocator.Get(), FALSE); })) &&
           SUCCEEDED(callForeign(
               [&] { return filterGraph->ConnectDirect(outputPin.Get(), sinkFilter->GetPin(), nullptr); }));
}

bool DXFilterGraph::Run() {
    return SUCCEEDED(callForeign([&] { return mediaControl->Run(); }));
}

void DXFilterGraph::AskForState() {
    static_cast<void>(queryInterface(filter.Get(), IID_IPersistStream, persistStream));
}

// Like the state, the pages may be missing, and may fail to be told: a filter without an editor plays as well
// as any other, and whoever asks for the editor is told that there is none. Taken for a failure to load, it
// would turn away every filter that has no page at all.
void DXFilterGraph::AskForPropertyPages() {
    ComPointer<ISpecifyPropertyPages> pages;
    CAUUID list{};
    if (FAILED(queryInterface(filter.Get(), IID_ISpecifyPropertyPages, pages)) ||
        FAILED(callForeign([&] { return pages->GetPages(&list); })) || list.pElems == nullptr) {
        return;
    }
    struct FreeList {
        CLSID* elements;
        ~FreeList() { CoTaskMemFree(elements); }
    } const freeing{list.pElems};
    pageClasses.assign(list.pElems, list.pElems + list.cElems);
}

// Comes to its end whatever the plug-in does: nobody is left to be told.
DXFilterGraph::~DXFilterGraph() {
    if (propertyPage) {
        guardedCall([&] { return propertyPage->SetPageSite(nullptr); });
        guardedCall([&] { return propertyPage->SetObjects(0, nullptr); });
    }
    if (mediaControl) {
        guardedCall([&] { return mediaControl->Stop(); });
    }
    sample.Reset();
    if (allocator) {
        guardedCall([&] { return allocator->Decommit(); });
    }
    if (filterGraph) {
        for (IPin* pin :
             {static_cast<IPin*>(sourceFilter->GetPin()), inputPin.Get(), outputPin.Get(),
              static_cast<IPin*>(sinkFilter->GetPin())}) {
            if (pin != nullptr) {
                guardedCall([&] { return filterGraph->Disconnect(pin); });
            }
        }
        for (IBaseFilter* each :
             {static_cast<IBaseFilter*>(sourceFilter.Get()), filter.Get(),
              static_cast<IBaseFilter*>(sinkFilter.Get())}) {
            if (each != nullptr) {
                guardedCall([&] { return filterGraph->RemoveFilter(each); });
            }
        }
    }
    // From the last one made to the first.
    pageSite.Reset();
    propertyPage.Reset();
    persistStream.Reset();
    allocator.Reset();
    memInputPin.Reset();
    outputPin.Reset();
    inputPin.Reset();
    filter.Reset();
    mediaControl.Reset();
    filterGraph.Reset();
    sinkFilter.Reset();
    sourceFilter.Reset();
}

} // namespace Tarvik
