#pragma once

#include "hosting/dx/DXMediaType_win32.h"
#include "hosting/dx/DXSinkFilter_win32.h"
#include "hosting/dx/DXSourceFilter_win32.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

/// All of a media type, in hexadecimal and in the order of its bytes; the object as whether there is one.
inline std::string describe(const AM_MEDIA_TYPE& type) {
    std::string text;
    const auto add = [&](const void* bytes, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            text += "0123456789ABCDEF"[static_cast<const BYTE*>(bytes)[i] >> 4];
            text += "0123456789ABCDEF"[static_cast<const BYTE*>(bytes)[i] & 0xF];
        }
        text += ' ';
    };
    add(&type.majortype, sizeof type.majortype);
    add(&type.subtype, sizeof type.subtype);
    add(&type.bFixedSizeSamples, sizeof type.bFixedSizeSamples);
    add(&type.bTemporalCompression, sizeof type.bTemporalCompression);
    add(&type.lSampleSize, sizeof type.lSampleSize);
    add(&type.formattype, sizeof type.formattype);
    text += type.pUnk != nullptr ? "object " : "no object ";
    add(type.pbFormat, type.pbFormat != nullptr ? type.cbFormat : 0);
    return text;
}

/// One channel of floats, 48000 a second, written by hand.
inline constexpr const char* mono48000 =
    "6175647300001000800000AA00389B71 0100000000001000800000AA00389B71 01000000 00000000 04000000 "
    "819F580556C3CE11BF0100AA0055595A no object 0300010080BB000000EE0200040020001200 ";

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
