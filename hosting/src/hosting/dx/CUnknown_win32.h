#pragma once

#include "hosting/dx/CBaseObject_win32.h"
#include "hosting/dx/INonDelegatingUnknown_win32.h"

#include <atomic>

namespace Tarvik {

/// A COM object with its count of references, in the form of DirectShow's published class library. A derived
/// class adds its interfaces, answers for them in NonDelegatingQueryInterface, and hands the three operations
/// of each to GetOwner().
///
/// Made with new and no reference; the last Release destroys it. References are counted on any thread.
class CUnknown : public INonDelegatingUnknown, public CBaseObject {
public:
    /// name: a literal. outer: who aggregates the object, and outlives it; null for none.
    CUnknown(const char* name, IUnknown* outer) noexcept;
    virtual ~CUnknown();

    /// Whose identity the object has: the aggregating one's, or its own.
    IUnknown* GetOwner() noexcept { return owner; }

    /// IUnknown is the object's own, whoever its owner is; out is null for an interface that it has not.
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE NonDelegatingAddRef() override;
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() override;

protected:
    /// Gives out one of the object's interfaces. A null out is E_POINTER.
    static HRESULT GetInterface(IUnknown* which, void** out);

private:
    /// The object's own IUnknown. The published library takes the three operations above for it, as they
    /// happen to lie in memory the same; no compiler promises that.
    class OwnUnknown final : public IUnknown {
    public:
        explicit OwnUnknown(CUnknown& of) noexcept : object(of) {}
        virtual ~OwnUnknown() = default;

        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
            return object.NonDelegatingQueryInterface(iid, out);
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return object.NonDelegatingAddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return object.NonDelegatingRelease(); }

    private:
        CUnknown& object;
    };

    OwnUnknown ownUnknown;
    IUnknown* owner;
    std::atomic<ULONG> references = 0;
};

} // namespace Tarvik
