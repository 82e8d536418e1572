#pragma once

#include "hosting/Plugin.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <cstdint>

namespace Tarvik {

/// The window class of one plug-in format's editors: child windows that do nothing of their own. Exists in
/// the system while one of its windows does. Sizes in pixels. [main]
class EditorWindowClass : private noncopyable {
public:
    /// nameFormat: a literal with one place, for what tells two copies of this code in one process apart.
    explicit EditorWindowClass(const char* nameFormat);

    /// A visible child of parent at (x, y). `owner` stays with the window as its user data. Null on failure.
    NativeWindow Create(
        NativeWindow parent, std::int32_t x, std::int32_t y, std::uint32_t width, std::uint32_t height,
        const String& title, void* owner);

    /// Neither moves, raises nor activates the window.
    static void Resize(NativeWindow window, std::uint32_t width, std::uint32_t height);

    /// Also when the window has gone with its parent: each Create that succeeded is paired with one Destroy.
    void Destroy(NativeWindow window);

    String Name() const;

private:
    void Register() const;

    const char* nameFormat;
    /// Of the process; touched on the control thread only, so unguarded.
    unsigned openEditorCount = 0;
};

} // namespace Tarvik
