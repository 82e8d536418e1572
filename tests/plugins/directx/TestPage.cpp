#include "directx/TestPage.h"

#include <cwchar>
#include <string>
#include <string_view>
#include <utility>

namespace TestFilters {

namespace {

LPOLESTR blockOf(std::wstring_view text) {
    auto* block = static_cast<LPOLESTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(WCHAR)));
    if (block != nullptr) {
        block[text.copy(block, text.size())] = L'\0';
    }
    return block;
}

} // namespace

TestPage::TestPage(Behaviour whatItDoes) : behaviour(std::move(whatItDoes)) {}

TestPage::~TestPage() {
    releaseAndClear(site);
    releaseAndClear(gain);
}

HRESULT STDMETHODCALLTYPE TestPage::QueryInterface(REFIID iid, void** out) {
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IPropertyPage)) {
        return give(static_cast<IPropertyPage*>(this), out);
    }
    *out = nullptr;
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE TestPage::AddRef() {
    return counted.Add();
}

ULONG STDMETHODCALLTYPE TestPage::Release() {
    const ULONG left = counted.Release();
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT STDMETHODCALLTYPE TestPage::SetPageSite(IPropertyPageSite* newSite) {
    const HRESULT answer = arriveAt(
        behaviour, newSite != nullptr ? Place::pageSetSite : Place::pageClearSite, {.site = newSite});
    if (FAILED(answer)) {
        return answer;
    }
    if (newSite != nullptr) {
        newSite->AddRef();
    }
    releaseAndClear(site);
    site = newSite;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPage::Activate(HWND parent, LPCRECT place, BOOL modal) {
    const HRESULT answer = arriveAt(behaviour, Place::pageActivate, {.argument = static_cast<UINT>(modal)});
    if (FAILED(answer)) {
        return answer;
    }
    if (gain == nullptr) {
        return E_UNEXPECTED;
    }
    float value = 0.0f;
    gain->GetGain(&value);
    wchar_t text[64];
    std::swprintf(text, 64, L"Gain %.3f", static_cast<double>(value));
    window = CreateWindowExW(
        0, L"STATIC", text, WS_CHILD, place->left, place->top, place->right - place->left,
        place->bottom - place->top, parent, nullptr, nullptr, nullptr);
    return window != nullptr ? S_OK : E_FAIL;
}

HRESULT STDMETHODCALLTYPE TestPage::Deactivate() {
    const HRESULT answer = arriveAt(behaviour, Place::pageDeactivate);
    if (FAILED(answer)) {
        return answer;
    }
    if (window == nullptr) {
        return E_UNEXPECTED;
    }
    DestroyWindow(std::exchange(window, nullptr));
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPage::GetPageInfo(PROPPAGEINFO* out) {
    const HRESULT answer = arriveAt(behaviour, Place::pageGetInfo);
    if (FAILED(answer)) {
        return answer;
    }
    if (out->cb != sizeof *out) {
        return E_INVALIDARG;
    }
    out->pszTitle = blockOf(L"Gain");
    out->pszDocString = blockOf(L"How loud");
    out->pszHelpFile = nullptr;
    out->dwHelpContext = 0;
    out->size = {width, height};
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPage::SetObjects(ULONG count, IUnknown** objects) {
    const HRESULT answer = arriveAt(behaviour, count != 0 ? Place::pageSetObjects : Place::pageClearObjects);
    releaseAndClear(gain);
    if (FAILED(answer) || count == 0) {
        return answer;
    }
    return count == 1 ? objects[0]->QueryInterface(gainInterface, reinterpret_cast<void**>(&gain))
                      : E_UNEXPECTED;
}

HRESULT STDMETHODCALLTYPE TestPage::Show(UINT command) {
    const HRESULT answer = arriveAt(behaviour, Place::pageShow, {.argument = command});
    if (SUCCEEDED(answer)) {
        ShowWindow(window, static_cast<int>(command));
    }
    return answer;
}

HRESULT STDMETHODCALLTYPE TestPage::Move(LPCRECT) {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPage::IsPageDirty() {
    return S_FALSE;
}

HRESULT STDMETHODCALLTYPE TestPage::Apply() {
    return S_OK;
}

HRESULT STDMETHODCALLTYPE TestPage::Help(LPCOLESTR) {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE TestPage::TranslateAccelerator(MSG*) {
    return E_NOTIMPL;
}

} // namespace TestFilters
