#pragma once

#include "directx/Behaviour.h"
#include "directx/Counted.h"
#include "directx/Interfaces.h"

namespace TestFilters {

/// A property page of a TestFilter: a child window that shows the gain as text. As large as `width` and
/// `height`.
class TestPage final : public IPropertyPage {
public:
    static constexpr LONG width = 320;
    static constexpr LONG height = 200;

    explicit TestPage(Behaviour whatItDoes);
    virtual ~TestPage();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE SetPageSite(IPropertyPageSite* newSite) override;
    HRESULT STDMETHODCALLTYPE Activate(HWND parent, LPCRECT place, BOOL modal) override;
    HRESULT STDMETHODCALLTYPE Deactivate() override;
    HRESULT STDMETHODCALLTYPE GetPageInfo(PROPPAGEINFO* out) override;
    HRESULT STDMETHODCALLTYPE SetObjects(ULONG count, IUnknown** objects) override;
    HRESULT STDMETHODCALLTYPE Show(UINT command) override;
    HRESULT STDMETHODCALLTYPE Move(LPCRECT place) override;
    HRESULT STDMETHODCALLTYPE IsPageDirty() override;
    HRESULT STDMETHODCALLTYPE Apply() override;
    HRESULT STDMETHODCALLTYPE Help(LPCOLESTR directory) override;
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG* message) override;

private:
    Counted counted{"page"};
    Behaviour behaviour;
    IPropertyPageSite* site = nullptr;
    IGain* gain = nullptr;
    HWND window = nullptr;
};

} // namespace TestFilters
