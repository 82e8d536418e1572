#include "hosting/vst/VSTEditorWindow.h"

namespace Tarvik {

// Effects of this platform are loaded for what is portable of them; their editors are not.

NativeWindow VSTEditorWindow::Create(
    NativeWindow, std::int32_t, std::int32_t, std::uint32_t, std::uint32_t, const String&, void*) {
    return nullptr;
}

void VSTEditorWindow::Resize(NativeWindow, std::uint32_t, std::uint32_t) {}

void VSTEditorWindow::Destroy(NativeWindow) {}

String VSTEditorWindow::ClassName() {
    return "";
}

} // namespace Tarvik
