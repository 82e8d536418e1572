#pragma once

#include "hosting/dx/DXMediaType_win32.h"
#include "hosting/dx/DXSinkFilter_win32.h"
#include "hosting/dx/DXSourceFilter_win32.h"

#include <gtest/gtest.h>

#include <string>

/// A stereo source and a stereo sink, and the type that they speak.
struct StereoPins {
    Tarvik::ComPointer<Tarvik::DXSourceFilter> source =
        Tarvik::ComPointer<Tarvik::DXSourceFilter>::Share(new Tarvik::DXSourceFilter(44100.0f, 1));
    Tarvik::ComPointer<Tarvik::DXSinkFilter> sink =
        Tarvik::ComPointer<Tarvik::DXSinkFilter>::Share(new Tarvik::DXSinkFilter(44100.0f, 1, 16));
    Tarvik::DXSourcePin* out = source->GetPin();
    Tarvik::DXSinkPin* in = sink->GetPin();
    Tarvik::DXMediaType type;

    StereoPins() { EXPECT_EQ(type.SetAudio(44100.0f, 1), S_OK); }
};

/// How many references an object has.
template<class Object>
ULONG referencesOf(Object* object) {
    object->AddRef();
    return object->Release();
}

inline std::wstring takeText(LPWSTR text) {
    std::wstring result = text != nullptr ? text : L"(null)";
    CoTaskMemFree(text);
    return result;
}
