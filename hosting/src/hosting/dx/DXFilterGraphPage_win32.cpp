// The plug-in's state and its property page.

#include "hosting/dx/DXFilterGraph_win32.h"
#include "hosting/dx/VectorStream_win32.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Tarvik {

namespace {

std::uint32_t extentOf(LONG extent) {
    return static_cast<std::uint32_t>(std::max<LONG>(extent, 0));
}

LONG coordinateOf(std::uint32_t extent) {
    return static_cast<LONG>(std::min<std::uint32_t>(extent, std::numeric_limits<LONG>::max()));
}

} // namespace

bool DXFilterGraph::SaveState(std::vector<std::uint8_t>& state) const {
    const auto stream = ComPointer<VectorStream>::Share(new VectorStream);
    if (FAILED(guardedCall([&] { return persistStream->Save(stream.Get(), TRUE); }))) {
        return false;
    }
    state = stream->Bytes();
    return true;
}

bool DXFilterGraph::LoadState(std::vector<std::uint8_t> state) {
    const auto stream = ComPointer<VectorStream>::Share(new VectorStream(std::move(state)));
    return SUCCEEDED(guardedCall([&] { return persistStream->Load(stream.Get()); }));
}

bool DXFilterGraph::MakePropertyPage() {
    if (propertyPage) {
        return true;
    }
    if (pageClasses.empty()) {
        return false;
    }
    const CLSID first = pageClasses.front();
    if (FAILED(guardedCall([&] { return createInstance(first, IID_IPropertyPage, propertyPage); }))) {
        return false;
    }
    if (!SetUpPropertyPage()) {
        propertyPage.Reset();
        pageSite.Reset();
        return false;
    }
    return true;
}

bool DXFilterGraph::SetUpPropertyPage() {
    pageSite = ComPointer<DXPropertyPageSite>::Share(new DXPropertyPageSite);
    IUnknown* object = filter.Get();
    PROPPAGEINFO info{};
    info.cb = sizeof info;
    if (FAILED(guardedCall([&] { return propertyPage->SetPageSite(pageSite.Get()); })) ||
        FAILED(guardedCall([&] { return propertyPage->SetObjects(1, &object); })) ||
        FAILED(guardedCall([&] { return propertyPage->GetPageInfo(&info); }))) {
        return false;
    }
    CoTaskMemFree(info.pszTitle);
    CoTaskMemFree(info.pszDocString);
    CoTaskMemFree(info.pszHelpFile);
    pageWidth = extentOf(info.size.cx);
    pageHeight = extentOf(info.size.cy);
    return true;
}

bool DXFilterGraph::ShowPropertyPage(HWND window, std::uint32_t width, std::uint32_t height) {
    if (!MakePropertyPage()) {
        return false;
    }
    const RECT place{0, 0, coordinateOf(width), coordinateOf(height)};
    if (FAILED(guardedCall([&] { return propertyPage->Activate(window, &place, FALSE); }))) {
        return false;
    }
    if (FAILED(guardedCall([&] { return propertyPage->Show(SW_SHOWNORMAL); }))) {
        HidePropertyPage();
        return false;
    }
    return true;
}

void DXFilterGraph::HidePropertyPage() noexcept {
    if (propertyPage) {
        guardedCall([&] { return propertyPage->Deactivate(); });
    }
}

} // namespace Tarvik
