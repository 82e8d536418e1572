// The editor of an effect and the regular calls that keep it alive.

#include "hosting/vst/VSTEditorWindow.h"
#include "hosting/vst/VSTPlugin.h"
#include "hosting/vst/VstAbi.h"

#include <algorithm>
#include <utility>

namespace Tarvik {

namespace {

// Effects that deny having given a rectangle are believed up to this size, in pixels.
constexpr std::uint32_t largestDoubtfulExtent = 1500;
constexpr std::uint32_t defaultExtent = 500;

std::uint32_t extent(VstInt16 from, VstInt16 to) {
    return static_cast<std::uint32_t>(std::max(0, to - from));
}

} // namespace

OptionalBool VSTPlugin::HasEditor() const {
    return {hasEditor, hasEditorKnown};
}

void VSTPlugin::GetEditorSize(std::uint32_t& width, std::uint32_t& height) {
    if (!hasEditorKnown || !hasEditor) {
        return;
    }
    const ERect* rectangle = nullptr;
    const bool certain = Dispatch(effEditGetRect, 0, 0, static_cast<void*>(&rectangle)) != 0;
    if (rectangle == nullptr) {
        width = defaultExtent;
        height = defaultExtent;
        return;
    }
    const std::uint32_t rectangleWidth = extent(rectangle->left, rectangle->right);
    const std::uint32_t rectangleHeight = extent(rectangle->top, rectangle->bottom);
    if (certain || (rectangleWidth < largestDoubtfulExtent && rectangleHeight < largestDoubtfulExtent)) {
        width = rectangleWidth;
        height = rectangleHeight;
    }
}

bool VSTPlugin::IsEditorOpen() const {
    return editorParent.load(std::memory_order_acquire) != nullptr;
}

bool VSTPlugin::OpenEditor(NativeWindow parent, std::int32_t x, std::int32_t y) {
    if (IsEditorOpen()) {
        return true;
    }
    if (!hasEditorKnown || !hasEditor) {
        return false;
    }
    try {
        if (OpenEditorWindow(parent, x, y)) {
            editorParent.store(parent, std::memory_order_release);
            return true;
        }
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // An effect that throws does not open either.
    }
    DestroyEditorWindow();
    return false;
}

bool VSTPlugin::OpenEditorWindow(NativeWindow parent, std::int32_t x, std::int32_t y) {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    GetEditorSize(width, height);
    editorWidth = width;
    editorHeight = height;
    editorWindow = VSTEditorWindow::Create(parent, x, y, width, height, String("%1").arg(GetName()), this);
    if (editorWindow == nullptr) {
        return false;
    }
    Dispatch(effEditOpen, 0, 0, editorWindow);
    return true;
}

void VSTPlugin::CloseEditor() {
    // The effect may call back while it closes, and the parent window is told that its child goes. Whoever
    // closes the editor in answer to that finds it closing.
    if (!IsEditorOpen() || std::exchange(isEditorClosing, true)) {
        return;
    }
    DispatchQuietly(effEditClose);
    DestroyEditorWindow();
    editorParent.store(nullptr, std::memory_order_release);
    isEditorClosing = false;
}

void VSTPlugin::DestroyEditorWindow() {
    editorWidth = {};
    editorHeight = {};
    if (editorWindow != nullptr) {
        VSTEditorWindow::Destroy(editorWindow);
        editorWindow = nullptr;
    }
}

bool VSTPlugin::HasEditorResizeCallback() const {
    return resizeCallback != nullptr;
}

void VSTPlugin::SetEditorResizeCallback(EditorResizeCallback callback, void* context) {
    resizeCallback = callback;
    resizeContext = context;
}

void VSTPlugin::Idle() {
    if (needsIdle.load(std::memory_order_relaxed) && Dispatch(effIdle) == 0) {
        needsIdle.store(false, std::memory_order_relaxed);
    }
    if (!IsEditorOpen()) {
        return;
    }
    Dispatch(effEditIdle);
    if (resizeCallback == nullptr) {
        return;
    }
    std::uint32_t width = editorWidth.value;
    std::uint32_t height = editorHeight.value;
    GetEditorSize(width, height);
    if (editorWidth == checked_value(width) && editorHeight == checked_value(height)) {
        return;
    }
    editorWidth = width;
    editorHeight = height;
    VSTEditorWindow::Resize(editorWindow, width, height);
    resizeCallback(resizeContext, width, height);
}

} // namespace Tarvik
