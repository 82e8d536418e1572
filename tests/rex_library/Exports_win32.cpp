#include "rex_library/StandIn.h"

#include <array>
#include <string>
#include <windows.h>

/// The stand-in as a library. The file that the environment variable TARVIK_REX_LOG names gets a line for
/// each step of the library's life: "attach NAME MODE" with the library's file name and the thread's error
/// mode, "Open", "Close", "detach".
namespace {

void log(const std::wstring& line) {
    std::array<wchar_t, 1024> path{};
    if (GetEnvironmentVariableW(L"TARVIK_REX_LOG", path.data(), static_cast<DWORD>(path.size())) == 0) {
        return;
    }
    const HANDLE file = CreateFileW(
        path.data(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    std::string bytes;
    for (const wchar_t c : line) {
        bytes += static_cast<char>(c);
    }
    bytes += '\n';
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

std::wstring fileName(HINSTANCE library) {
    std::array<wchar_t, 1024> path{};
    GetModuleFileNameW(library, path.data(), static_cast<DWORD>(path.size()));
    const std::wstring text = path.data();
    return text.substr(text.find_last_of(L'\\') + 1);
}

/// What the tests never call answers so.
constexpr std::int32_t undefined = 666;

} // namespace

extern "C" {

__declspec(dllexport) void Open() {
    log(L"Open");
    StandIn::Open();
}
__declspec(dllexport) void Close() {
    log(L"Close");
    StandIn::Close();
}
__declspec(dllexport) std::int32_t
REXCreate(void** handle, const char* buffer, std::int32_t size, void*, void*) {
    return StandIn::Create(handle, buffer, size);
}
__declspec(dllexport) void REXDelete(void** handle) {
    StandIn::Delete(handle);
}
__declspec(dllexport) std::int32_t REXGetInfo(void* handle, std::int32_t size, void* info) {
    return StandIn::GetInfo(handle, size, info);
}
__declspec(dllexport) std::int32_t REXGetInfoFromBuffer(std::int32_t, const char*, std::int32_t, void*) {
    return undefined;
}
__declspec(dllexport) std::int32_t REXGetCreatorInfo(void*, std::int32_t, void*) {
    return undefined;
}
__declspec(dllexport) std::int32_t
REXGetSliceInfo(void* handle, std::int32_t index, std::int32_t size, void* info) {
    return StandIn::GetSliceInfo(handle, index, size, info);
}
__declspec(dllexport) std::int32_t REXSetOutputSampleRate(void*, std::int32_t) {
    return undefined;
}
__declspec(dllexport) std::int32_t
REXRenderSlice(void* handle, std::int32_t index, std::int32_t bufferFrames, float** outputs) {
    return StandIn::RenderSlice(handle, index, bufferFrames, outputs);
}
__declspec(dllexport) std::int32_t REXStartPreview(void*) {
    return undefined;
}
__declspec(dllexport) std::int32_t REXStopPreview(void*) {
    return undefined;
}
__declspec(dllexport) std::int32_t REXRenderPreviewBatch(void*, std::int32_t, float**) {
    return undefined;
}
__declspec(dllexport) std::int32_t REXSetPreviewTempo(void*, std::int32_t) {
    return undefined;
}

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        log(L"attach " + fileName(library) + L" " + std::to_wstring(GetThreadErrorMode()));
    } else if (reason == DLL_PROCESS_DETACH) {
        log(L"detach");
    }
    return TRUE;
}
}
