#include "hosting/dx/CUnknown_win32.h"

#include "hosting/dx/ComPointer_win32.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

/// Has an interface beside IUnknown, and tells of its end.
class Object final : public CUnknown, public IPropertyPageSite {
public:
    explicit Object(bool& goneFlag, IUnknown* outer = nullptr) : CUnknown("Object", outer), gone(goneFlag) {}
    ~Object() override {
        gone = true;
        // As objects do that let go of something which knows them.
        GetOwner()->AddRef();
        GetOwner()->Release();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override {
        return IsEqualIID(iid, IID_IPropertyPageSite)
                   ? GetInterface(static_cast<IPropertyPageSite*>(this), out)
                   : CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE OnStatusChange(DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetLocaleID(LCID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG*) override { return E_NOTIMPL; }

private:
    bool& gone;
};

/// Who aggregates: answers everything itself.
class Outer final : public IUnknown {
public:
    virtual ~Outer() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
        ++queries;
        *out = nullptr;
        return E_NOTIMPL;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

    int queries = 0;
    ULONG references = 1;
};

TEST(CUnknown, An_object_begins_without_a_reference_and_ends_with_its_last) {
    bool gone = false;
    auto* object = new Object(gone);
    EXPECT_EQ(object->AddRef(), 1U);
    EXPECT_EQ(object->AddRef(), 2U);
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_FALSE(gone);
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_TRUE(gone);
}

TEST(CUnknown, Every_interface_leads_to_the_same_IUnknown) {
    bool gone = false;
    const auto object = ComPointer<Object>::Share(new Object(gone));
    ComPointer<IPropertyPageSite> site;
    ComPointer<IUnknown> first;
    ComPointer<IUnknown> second;
    ASSERT_EQ(queryInterface(object->GetOwner(), IID_IPropertyPageSite, site), S_OK);
    ASSERT_EQ(queryInterface(object->GetOwner(), IID_IUnknown, first), S_OK);
    ASSERT_EQ(queryInterface(site.Get(), IID_IUnknown, second), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
}

TEST(CUnknown, An_interface_that_it_has_not_is_a_null_pointer) {
    bool gone = false;
    const auto object = ComPointer<Object>::Share(new Object(gone));
    void* out = &gone;
    EXPECT_EQ(object->QueryInterface(IID_IStream, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(object->QueryInterface(IID_IPropertyPageSite, nullptr), E_POINTER);
    // None of them has left a reference behind.
    object->AddRef();
    EXPECT_EQ(object->Release(), 1U);
}

TEST(CUnknown, An_aggregated_object_hands_its_interfaces_to_its_owner_and_keeps_its_own_life) {
    Outer outer;
    bool gone = false;
    auto* object = new Object(gone, &outer);
    EXPECT_EQ(object->NonDelegatingAddRef(), 1U);
    EXPECT_EQ(object->AddRef(), 2U);
    EXPECT_EQ(outer.references, 2U);
    void* out = nullptr;
    EXPECT_EQ(object->QueryInterface(IID_IPropertyPageSite, &out), E_NOTIMPL);
    EXPECT_EQ(outer.queries, 1);
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_FALSE(gone);

    // The owner reaches the object's own IUnknown, which counts for the object.
    ASSERT_EQ(object->NonDelegatingQueryInterface(IID_IUnknown, &out), S_OK);
    auto* inner = static_cast<IUnknown*>(out);
    EXPECT_EQ(inner->Release(), 1U);
    void* again = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IUnknown, &again), S_OK);
    EXPECT_EQ(again, inner);
    EXPECT_EQ(inner->Release(), 1U);
    EXPECT_EQ(inner->Release(), 0U);
    EXPECT_TRUE(gone);
    EXPECT_EQ(outer.references, 1U);
}

TEST(CBaseObject, Living_objects_are_counted_and_named) {
    const long before = CBaseObject::ObjectsActive();
    bool gone = false;
    {
        const auto object = ComPointer<Object>::Share(new Object(gone));
        EXPECT_EQ(CBaseObject::ObjectsActive(), before + 1);
        EXPECT_STREQ(object->ObjectName(), "Object");
    }
    EXPECT_EQ(CBaseObject::ObjectsActive(), before);
}

} // namespace
} // namespace Tarvik
