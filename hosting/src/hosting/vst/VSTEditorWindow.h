#pragma once

#include "hosting/Plugin.h"
#include "svbase/util/String.h"

#include <cstdint>

namespace Tarvik {

/// The child windows that effects draw their editors in: the duties of the platform. Sizes in pixels. [main]
class VSTEditorWindow {
public:
    /// A visible child of parent at (x, y). `owner` stays with the window as its user data. Null on failure,
    /// and always on a platform without editors.
    static NativeWindow Create(
        NativeWindow parent, std::int32_t x, std::int32_t y, std::uint32_t width, std::uint32_t height,
        const String& title, void* owner);

    /// Neither moves, raises nor activates the window.
    static void Resize(NativeWindow window, std::uint32_t width, std::uint32_t height);

    /// Also when the window has gone with its parent: each Create that succeeded is paired with one Destroy,
    /// and with the last one the window class goes too.
    static void Destroy(NativeWindow window);

    /// Of the window class; tells two copies of this code in one process apart.
    static String ClassName();
};

} // namespace Tarvik
