#include "hosting/EditorWindowClass_win32.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <string>

namespace Tarvik {

namespace {

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

} // namespace

EditorWindowClass::EditorWindowClass(const char* format) : nameFormat(format) {}

void EditorWindowClass::Register() const {
    const std::wstring name = Name().toNativeWide();
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

NativeWindow EditorWindowClass::Create(
    NativeWindow parent, std::int32_t x, std::int32_t y, std::uint32_t width, std::uint32_t height,
    const String& title, void* owner) {
    Register();
    HWND window = CreateWindowExW(
        0, Name().toNativeWide().c_str(), title.toNativeWide().c_str(),
        WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, x, y, toExtent(width), toExtent(height),
        static_cast<HWND>(parent), nullptr, ownModule(), nullptr);
    if (window == nullptr) {
        return nullptr;
    }
    ++openEditorCount;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(owner));
    return window;
}

void EditorWindowClass::Resize(NativeWindow window, std::uint32_t width, std::uint32_t height) {
    SetWindowPos(
        static_cast<HWND>(window), nullptr, 0, 0, toExtent(width), toExtent(height),
        SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void EditorWindowClass::Destroy(NativeWindow window) {
    DestroyWindow(static_cast<HWND>(window));
    if (--openEditorCount == 0) {
        UnregisterClassW(Name().toNativeWide().c_str(), ownModule());
    }
}

String EditorWindowClass::Name() const {
    return String(nameFormat).arg(reinterpret_cast<std::uintptr_t>(&windowProcedure), 16);
}

} // namespace Tarvik
