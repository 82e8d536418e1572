#pragma once

#include "hosting/ForeignCall.h"
#include "hosting/dx/DirectShow_win32.h"
#include "hosting/dx/GuardedCall_win32.h"

#include <cstddef>
#include <utility>

namespace Tarvik {

/// A counted reference to a COM object, or none: the one place where references are given up. Distinct
/// pointers may be used on distinct threads.
template<class T>
class ComPointer {
public:
    ComPointer() = default;
    ComPointer(std::nullptr_t) {}
    ComPointer(const ComPointer& other) : ComPointer(Share(other.pointer)) {}
    ComPointer(ComPointer&& other) noexcept : pointer(other.Detach()) {}
    ComPointer& operator=(ComPointer other) noexcept {
        std::swap(pointer, other.pointer);
        return *this;
    }
    ~ComPointer() { Reset(); }

    /// Takes over a reference that the caller holds.
    static ComPointer Adopt(T* object) {
        ComPointer result;
        result.pointer = object;
        return result;
    }
    /// Takes a reference of its own.
    static ComPointer Share(T* object) {
        if (object != nullptr) {
            object->AddRef();
        }
        return Adopt(object);
    }

    /// An object that throws while it goes is let go all the same: whoever lets go of several has to come to
    /// the end of them, and the platform's own objects throw anew each time that they touch a broken filter.
    void Reset() noexcept {
        if (T* going = Detach()) {
            guardedCall([going] { return static_cast<HRESULT>(going->Release()); });
        }
    }
    /// Hands the reference to the caller.
    T* Detach() noexcept { return std::exchange(pointer, nullptr); }
    /// What an out argument wants: a reference more.
    T* Give() const { return ComPointer(*this).Detach(); }

    T* Get() const noexcept { return pointer; }
    T* operator->() const noexcept { return pointer; }
    T& operator*() const noexcept { return *pointer; }
    explicit operator bool() const noexcept { return pointer != nullptr; }

private:
    T* pointer = nullptr;
};

/// Calls call(T** out) of a foreign object and keeps what it gives: out holds an object exactly when the
/// answer is a success. Objects that came with a failure are nobody's, and success without an object is
/// E_POINTER. Throws what the foreign code throws.
template<class T, class Call>
HRESULT receiveObject(ComPointer<T>& out, Call call) {
    T* object = nullptr;
    const HRESULT answer = callForeign([&] { return call(&object); });
    out = ComPointer<T>::Adopt(SUCCEEDED(answer) ? object : nullptr);
    return SUCCEEDED(answer) && !out ? E_POINTER : answer;
}

template<class T>
HRESULT queryInterface(IUnknown* object, REFIID iid, ComPointer<T>& out) {
    return receiveObject(
        out, [&](T** result) { return object->QueryInterface(iid, reinterpret_cast<void**>(result)); });
}

/// In the process itself.
template<class T>
HRESULT createInstance(REFCLSID classId, REFIID iid, ComPointer<T>& out) {
    return receiveObject(out, [&](T** result) {
        return CoCreateInstance(
            classId, nullptr, CLSCTX_INPROC_SERVER, iid, reinterpret_cast<void**>(result));
    });
}

/// Answers an out argument with a new object of the class T. For the operations of COM objects, out of which
/// no exception may come.
template<class T, class Interface, class... Arguments>
HRESULT giveNew(Interface** out, Arguments&&... arguments) noexcept {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = nullptr;
    try {
        *out = ComPointer<T>::Share(new T(std::forward<Arguments>(arguments)...)).Detach();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

} // namespace Tarvik
