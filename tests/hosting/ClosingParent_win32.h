#pragma once

#include "hosting/ParentWindow_win32.h"
#include "hosting/Plugin.h"
#include "svbase/util/Noncopyable.h"

#include <windows.h>

/// Closes an editor from within whatever its parent is told.
class ClosingParent : private noncopyable {
public:
    explicit ClosingParent(Tarvik::Plugin& which) : plugin(which) {
        SetWindowLongPtrW(parent.Get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        before = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(parent.Get(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure)));
    }

    HWND Get() const { return parent.Get(); }
    HWND Child() const { return parent.Child(); }

    int closings = 0;

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* self = reinterpret_cast<ClosingParent*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message == WM_PARENTNOTIFY && LOWORD(wParam) == WM_DESTROY) {
            ++self->closings;
            self->plugin.CloseEditor();
        }
        return CallWindowProcW(self->before, window, message, wParam, lParam);
    }

    Tarvik::Plugin& plugin;
    WNDPROC before;
    ParentWindow parent;
};
