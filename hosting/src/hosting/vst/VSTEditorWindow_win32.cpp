#include "hosting/vst/VSTEditorWindow.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <string>

namespace Tarvik {

namespace {

// Open editor windows of the process; touched on the control thread only, so unguarded.
unsigned openEditorCount = 0;

LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcW(window, message, wParam, lParam);
}

// The module that this code stands in, which need not be the program.
HINSTANCE ownModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<LPCWSTR>(&windowProcedure), &module);
    return module;
}

int toExtent(std::uint32_t extent) {
    return static_cast<int>(std::min<std::uint32_t>(extent, std::numeric_limits<int>::max()));
}

void registerClass(const std::wstring& name) {
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    if (GetClassInfoExW(ownModule(), name.c_str(), &description) != 0) {
        return;
    }
    description = {};
    description.cbSize = sizeof description;
    description.style = CS_DBLCLKS;
    description.lpfnWndProc = windowProcedure;
    description.hInstance = ownModule();
    description.lpszClassName = name.c_str();
    // Where this fails, so does the creation of the window.
    RegisterClassExW(&description);
}

} // namespace

NativeWindow VSTEditorWindow::Create(
    NativeWindow parent, std::int32_t x, std::int32_t y, std::uint32_t width, std::uint32_t height,
    const String& title, void* owner) {
    const std::wstring name = ClassName().toNativeWide();
    registerClass(name);
    HWND window = CreateWindowExW(
        0, name.c_str(), title.toNativeWide().c_str(), WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, x, y,
        toExtent(width), toExtent(height), static_cast<HWND>(parent), nullptr, ownModule(), nullptr);
    if (window == nullptr) {
        return nullptr;
    }
    ++openEditorCount;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(owner));
    return window;
}

void VSTEditorWindow::Resize(NativeWindow window, std::uint32_t width, std::uint32_t height) {
    SetWindowPos(
        static_cast<HWND>(window), nullptr, 0, 0, toExtent(width), toExtent(height),
        SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void VSTEditorWindow::Destroy(NativeWindow window) {
    DestroyWindow(static_cast<HWND>(window));
    if (--openEditorCount == 0) {
        UnregisterClassW(ClassName().toNativeWide().c_str(), ownModule());
    }
}

String VSTEditorWindow::ClassName() {
    return String("Sv_Tarvik_Win32VSTPluginUI%1").arg(reinterpret_cast<std::uintptr_t>(&windowProcedure), 16);
}

} // namespace Tarvik
