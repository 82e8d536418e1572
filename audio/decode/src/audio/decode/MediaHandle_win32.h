#pragma once

#include <windows.h>

#include <memory>

namespace Audio::Decode::WMA {

/// The one place where references to the media library's objects are given up.
struct ReleaseReference {
    template<class T>
    void operator()(T* object) const {
        object->Release();
    }
};

/// A counted reference to an object of the media library, or none.
template<class T>
using MediaHandle = std::unique_ptr<T, ReleaseReference>;

/// Calls call(T** out) and keeps what it gives: out holds an object exactly when the answer is a success.
/// Objects that came with a failure are nobody's, and success without an object is E_POINTER.
template<class T, class Call>
HRESULT receive(MediaHandle<T>& out, Call call) {
    T* object = nullptr;
    const HRESULT answer = call(&object);
    out.reset(SUCCEEDED(answer) ? object : nullptr);
    return SUCCEEDED(answer) && out == nullptr ? E_POINTER : answer;
}

} // namespace Audio::Decode::WMA
