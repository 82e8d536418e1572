#include "hosting/vst/VSTEditorWindow.h"

#include "hosting/EditorWindowClass_win32.h"

namespace Tarvik {

namespace {

EditorWindowClass windowClass("Sv_Tarvik_Win32VSTPluginUI%1");

} // namespace

NativeWindow VSTEditorWindow::Create(
    NativeWindow parent, std::int32_t x, std::int32_t y, std::uint32_t width, std::uint32_t height,
    const String& title, void* owner) {
    return windowClass.Create(parent, x, y, width, height, title, owner);
}

void VSTEditorWindow::Resize(NativeWindow window, std::uint32_t width, std::uint32_t height) {
    EditorWindowClass::Resize(window, width, height);
}

void VSTEditorWindow::Destroy(NativeWindow window) {
    windowClass.Destroy(window);
}

String VSTEditorWindow::ClassName() {
    return windowClass.Name();
}

} // namespace Tarvik
