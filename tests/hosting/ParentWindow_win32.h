#pragma once

#include "svbase/util/Noncopyable.h"

#include <windows.h>

/// A top-level window for editors to stand in.
class ParentWindow : private noncopyable {
public:
    ParentWindow()
        : window_(CreateWindowExW(
              0, L"STATIC", L"Parent", WS_OVERLAPPEDWINDOW, 0, 0, 800, 600, nullptr, nullptr,
              GetModuleHandleW(nullptr), nullptr)) {}
    ~ParentWindow() { Destroy(); }

    void Destroy() {
        if (window_ != nullptr) {
            DestroyWindow(window_);
        }
        window_ = nullptr;
    }

    HWND Get() const { return window_; }
    HWND Child() const { return GetWindow(window_, GW_CHILD); }

private:
    HWND window_;
};

/// In the client area of its parent.
inline RECT placeInParent(HWND window) {
    RECT place{};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, GetParent(window), reinterpret_cast<POINT*>(&place), 2);
    return place;
}
