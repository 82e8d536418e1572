#include "hosting/dx/ComPointer_win32.h"

#include "hosting/dx/ComTest_win32.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <utility>

namespace Tarvik {
namespace {

/// Lives on the stack and counts.
class Object final : public IUnknown {
public:
    virtual ~Object() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (throws) {
            throw std::runtime_error("query");
        }
        *out = answersNothing ? nullptr : this;
        if (FAILED(answer)) {
            return answer;
        }
        queried = iid;
        ++references;
        return answer;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
        --references;
        if (throws) {
            throw std::runtime_error("release");
        }
        return references;
    }

    ULONG references = 1;
    HRESULT answer = S_OK;
    bool answersNothing = false;
    bool throws = false;
    IID queried{};
};

TEST(ComPointer, A_shared_object_has_a_reference_more_for_as_long) {
    Object object;
    {
        const auto first = ComPointer<Object>::Share(&object);
        EXPECT_EQ(object.references, 2U);
        const ComPointer<Object> copy = first;
        EXPECT_EQ(object.references, 3U);
        EXPECT_EQ(copy.Get(), &object);
    }
    EXPECT_EQ(object.references, 1U);
}

TEST(ComPointer, An_adopted_reference_is_given_back_once) {
    Object object;
    object.AddRef();
    {
        auto first = ComPointer<Object>::Adopt(&object);
        ComPointer<Object> moved = std::move(first);
        EXPECT_TRUE(moved);
        EXPECT_EQ(object.references, 2U);
    }
    EXPECT_EQ(object.references, 1U);
}

TEST(ComPointer, Assignment_lets_the_old_object_go) {
    Object one;
    Object two;
    auto pointer = ComPointer<Object>::Share(&one);
    pointer = ComPointer<Object>::Share(&two);
    EXPECT_EQ(one.references, 1U);
    EXPECT_EQ(two.references, 2U);
    pointer = nullptr;
    EXPECT_EQ(two.references, 1U);
    EXPECT_FALSE(pointer);
}

TEST(ComPointer, Assignment_to_itself_keeps_the_object) {
    Object object;
    auto pointer = ComPointer<Object>::Share(&object);
    const ComPointer<Object>& same = pointer;
    pointer = same;
    EXPECT_EQ(pointer.Get(), &object);
    EXPECT_EQ(object.references, 2U);
}

TEST(ComPointer, What_is_given_away_has_a_reference_of_its_own) {
    Object object;
    const auto pointer = ComPointer<Object>::Share(&object);
    EXPECT_EQ(pointer.Give(), &object);
    EXPECT_EQ(object.references, 3U);
    object.references = 2;
    EXPECT_EQ(ComPointer<Object>().Give(), nullptr);
}

TEST(ComPointer, An_object_that_throws_while_it_goes_is_let_go) {
    Object object;
    auto pointer = ComPointer<Object>::Share(&object);
    object.throws = true;
    EXPECT_NO_THROW(pointer.Reset());
    EXPECT_FALSE(pointer);
    EXPECT_EQ(object.references, 1U);
}

TEST(ComPointer, A_query_keeps_what_it_gives) {
    Object object;
    {
        ComPointer<IUnknown> out;
        EXPECT_EQ(queryInterface(&object, IID_IStream, out), S_OK);
        EXPECT_EQ(out.Get(), &object);
        EXPECT_TRUE(IsEqualIID(object.queried, IID_IStream));
    }
    EXPECT_EQ(object.references, 1U);
}

TEST(ComPointer, An_object_that_comes_with_a_failure_is_nobodys) {
    Object object;
    object.answer = E_NOINTERFACE;
    ComPointer<IUnknown> out;
    EXPECT_EQ(queryInterface(&object, IID_IStream, out), E_NOINTERFACE);
    EXPECT_FALSE(out);
    EXPECT_EQ(object.references, 1U);
}

TEST(ComPointer, Success_without_an_object_is_a_failure) {
    Object object;
    object.answersNothing = true;
    ComPointer<IUnknown> out;
    EXPECT_EQ(queryInterface(&object, IID_IStream, out), E_POINTER);
    EXPECT_FALSE(out);
}

TEST(ComPointer, What_a_query_throws_comes_through) {
    Object object;
    object.throws = true;
    ComPointer<IUnknown> out;
    EXPECT_THROW(queryInterface(&object, IID_IStream, out), std::runtime_error);
}

TEST(ComPointer, Another_success_than_the_plain_one_stays_what_it_is) {
    Object object;
    object.answer = S_FALSE;
    ComPointer<IUnknown> out;
    EXPECT_EQ(queryInterface(&object, IID_IStream, out), S_FALSE);
    EXPECT_TRUE(out);
}

TEST(ComPointer, Objects_are_created_in_this_process_and_no_other) {
    const ComApartment com;
    const auto make = [](REFIID iid, void** out) { return TestFilters::makeTestFilter({}, {}, iid, out); };
    const CLSID own = newClassId();
    const CLSID elsewhere = newClassId();
    const ClassObject inProcess(own, make);
    const ClassObject ofAnotherProcess(elsewhere, make, CLSCTX_LOCAL_SERVER);
    ComPointer<IBaseFilter> filter;
    EXPECT_EQ(createInstance(own, IID_IBaseFilter, filter), S_OK);
    EXPECT_EQ(createInstance(elsewhere, IID_IBaseFilter, filter), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(filter);
    // It is there for those who ask for it.
    void* out = nullptr;
    ASSERT_EQ(CoCreateInstance(elsewhere, nullptr, CLSCTX_LOCAL_SERVER, IID_IBaseFilter, &out), S_OK);
    static_cast<IBaseFilter*>(out)->Release();
}

TEST(ComPointer, A_new_object_that_there_is_no_memory_for_is_an_answer) {
    struct Thrower : IUnknown {
        Thrower() { throw std::bad_alloc(); }
        virtual ~Thrower() = default;
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOTIMPL; }
        ULONG STDMETHODCALLTYPE AddRef() override { return 0; }
        ULONG STDMETHODCALLTYPE Release() override { return 0; }
    };
    Object object;
    IUnknown* out = &object;
    EXPECT_EQ(giveNew<Thrower>(&out), E_OUTOFMEMORY);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(giveNew<Thrower>(static_cast<IUnknown**>(nullptr)), E_POINTER);
}

TEST(GuardedCall, What_is_thrown_is_a_failure) {
    EXPECT_EQ(guardedCall([] { return S_FALSE; }), S_FALSE);
    EXPECT_EQ(guardedCall([]() -> HRESULT { throw 42; }), E_UNEXPECTED);
    EXPECT_EQ(
        guardedCall([] {
            // As the Microsoft compiler's run-time library throws.
            RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
            return S_OK;
        }),
        E_UNEXPECTED);
}

} // namespace
} // namespace Tarvik
