#pragma once

#include <windows.h>

#include <mmreg.h>
#include <nserror.h>
#include <wmsdk.h>

#include <cstdint>

/// The library's names that the cross compiler's headers and import libraries lack: its functions, which are
/// found at run time, and its constants.
namespace Audio::Decode::WMA {

inline constexpr char mediaLibraryName[] = "WMVCore.DLL";

using CreateSyncReader = HRESULT(WINAPI*)(IUnknown* certificate, DWORD rights, IWMSyncReader** reader);
/// size: of the data, and afterwards how much of it the library wants to see.
using ValidateData = HRESULT(WINAPI*)(BYTE* data, DWORD* size);

inline constexpr GUID audioMajorType{
    0x73647561, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
inline constexpr GUID pcmSubType{
    0x00000001, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
inline constexpr GUID waveFormatType{
    0x05589F81, 0xC356, 0x11CE, {0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A}};

inline constexpr wchar_t durationAttribute[] = L"Duration";
inline constexpr wchar_t discreteOutputSetting[] = L"EnableDiscreteOutput";
inline constexpr wchar_t speakerConfigSetting[] = L"SpeakerConfig";

/// The library counts time in units of 100 nanoseconds.
inline constexpr std::uint64_t timeUnitsPerSecond = 10'000'000;

} // namespace Audio::Decode::WMA
