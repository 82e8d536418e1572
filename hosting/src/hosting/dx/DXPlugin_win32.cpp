#include "hosting/dx/DXPlugin.h"

#include "hosting/EditorWindowClass_win32.h"
#include "hosting/dx/DXFilterGraph_win32.h"

#include <utility>

namespace Tarvik {

namespace {

// Of the plug-in's state: the side that the host edits.
constexpr std::uint32_t controlStream = 1;

EditorWindowClass windowClass("Sv_Tarvik_Win32DXPluginUI%1");

} // namespace

DXPlugin::DXPlugin(const String& classIdText, float rate, std::uint32_t layout) : Plugin(rate, layout) {
    try {
        graph = std::make_unique<DXFilterGraph>(rate, layout);
        valid = graph->Open(classIdText);
    } catch (...) {
        valid = false;
    }
}

DXPlugin::~DXPlugin() {
    destructing = true;
    CloseEditor();
}

bool DXPlugin::IsClassNotFound() const {
    return graph != nullptr && graph->IsClassNotFound();
}

bool DXPlugin::IsValid() const {
    return valid;
}

std::uint32_t DXPlugin::GetFormat() const {
    return static_cast<std::uint32_t>(PluginFormat::DirectX);
}

PluginIdentifier DXPlugin::GetIdentifier() const {
    PluginIdentifier identifier;
    identifier.format = PluginFormat::DirectX;
    if (graph != nullptr && graph->GetClassId().length() > 2) {
        const String& braced = graph->GetClassId();
        identifier.dxClassId = ClassIdFromString(braced.mid(1, braced.length() - 2));
    }
    return identifier;
}

String DXPlugin::GetName() const {
    return graph != nullptr ? graph->GetFriendlyName() : String("");
}

std::uint32_t DXPlugin::GetLatency() const {
    return 0;
}

OptionalBool DXPlugin::HasEditor() const {
    return graph != nullptr ? OptionalBool{graph->HasPropertyPages(), true} : OptionalBool{};
}

void DXPlugin::GetEditorSize(std::uint32_t& width, std::uint32_t& height) {
    const OptionalBool editor = HasEditor();
    if (!editor.known || !editor.value || !graph->MakePropertyPage()) {
        return;
    }
    width = graph->GetPageWidth().value_or(width);
    height = graph->GetPageHeight().value_or(height);
}

bool DXPlugin::IsEditorOpen() const {
    return editorParent != nullptr;
}

bool DXPlugin::OpenEditor(NativeWindow parent, std::int32_t x, std::int32_t y) {
    if (IsEditorOpen()) {
        return true;
    }
    const OptionalBool editor = HasEditor();
    if (!editor.known || !editor.value) {
        return false;
    }
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    GetEditorSize(width, height);
    editorWindow = windowClass.Create(parent, x, y, width, height, String("%1").arg(GetName()), this);
    if (editorWindow == nullptr) {
        return false;
    }
    if (!graph->ShowPropertyPage(static_cast<HWND>(editorWindow), width, height)) {
        windowClass.Destroy(std::exchange(editorWindow, nullptr));
        return false;
    }
    editorParent = parent;
    return true;
}

void DXPlugin::CloseEditor() {
    if (!IsEditorOpen()) {
        return;
    }
    // Closed before anything goes: the page may wait for messages, and the parent window is told that its
    // child goes. Whoever closes the editor in answer to that must find nothing left to do.
    editorParent = nullptr;
    const NativeWindow going = std::exchange(editorWindow, nullptr);
    graph->HidePropertyPage();
    windowClass.Destroy(going);
}

String DXPlugin::EditorClassName() {
    return windowClass.Name();
}

std::uint32_t DXPlugin::GetNumParameters() const {
    return 0;
}

String DXPlugin::GetParameterName(std::uint32_t) const {
    return "";
}

ParameterInfo DXPlugin::GetParameterInfo(std::uint32_t) const {
    return {0, 1.0f, 0.0f, 0};
}

String DXPlugin::GetParameterUnits(std::uint32_t) const {
    return "";
}

bool DXPlugin::IsParameterQuantised(std::uint32_t) const {
    return false;
}

String DXPlugin::GetParameterDisplay(std::uint32_t, std::uint32_t) const {
    return "";
}

float DXPlugin::GetParameterValue(std::uint32_t, std::uint32_t) const {
    return 0.0f;
}

void DXPlugin::SetParameterValue(std::uint32_t, std::uint32_t, float) {}

void DXPlugin::GetState(std::int32_t stream, std::vector<std::uint8_t>& state) const {
    if (stream != static_cast<std::int32_t>(controlStream) || graph == nullptr || !graph->HasState()) {
        state.clear();
        return;
    }
    static_cast<void>(graph->SaveState(state));
}

bool DXPlugin::SetState(std::uint32_t stream, std::uint32_t size, const void* data) {
    if (stream != controlStream || graph == nullptr || !graph->HasState()) {
        return false;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    return graph->LoadState(size == 0 ? std::vector<std::uint8_t>() : std::vector(bytes, bytes + size));
}

void DXPlugin::Reset() {
    if (graph != nullptr) {
        graph->Restart();
    }
}

bool DXPlugin::SupportsRealTime() const {
    return true;
}

void DXPlugin::Process(std::uint32_t frames, std::uint32_t channels, float** buffers) {
    if (graph != nullptr && frames != 0) {
        graph->Process(frames, channels, buffers);
    }
}

checked_value<std::uint32_t> DXPlugin::GetReportedDelay() const {
    return graph != nullptr ? graph->GetLastDeliveredFrames() : checked_value<std::uint32_t>();
}

} // namespace Tarvik
