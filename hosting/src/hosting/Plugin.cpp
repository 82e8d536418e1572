#include "hosting/Plugin.h"

#include "dsp/ChannelLayout.h"

namespace Tarvik {

namespace {

constexpr std::uint32_t stopped = 0;
constexpr std::uint32_t playing = 1;

} // namespace

Plugin::Plugin(float rate, std::uint32_t layout)
    : sampleRate(rate), channelLayout(layout),
      numChannels(static_cast<std::uint32_t>(DSP::getChannelCount(static_cast<std::int32_t>(layout)))) {}

String Plugin::GetProgramName(std::uint32_t) const {
    return "";
}

bool Plugin::SelectProgram(std::uint32_t) {
    return false;
}

void Plugin::SetEditorResizeCallback(EditorResizeCallback, void*) {}

void Plugin::ProcessEvents(std::uint32_t, const ProcessEvent*) {}

void Plugin::SetTransport(const DSP::TransportRecord& transport) {
    const bool present = transport.mode.valid;
    const bool changed = present != transportModeSet || (present && transport.mode.value != transportMode);
    if (changed) {
        OnTransportChanged(transport);
    }
    transportMode = transport.mode.value;
    transportModeSet = present;
    UpdateTransport(transport);
}

bool Plugin::SupportsRandomAccess(DSP::RandomAccessHost*) const {
    return false;
}

bool Plugin::ProcessRandomAccess(DSP::RandomAccessHost*) {
    return false;
}

void Plugin::OnTransportChanged(const DSP::TransportRecord& transport) {
    const bool stopsAfterPlay = transportModeSet && transportMode == playing && transport.mode.valid &&
                                transport.mode.value == stopped;
    if (stopsAfterPlay && !resetOnStop) {
        return;
    }
    Reset();
}

void Plugin::UpdateTransport(const DSP::TransportRecord&) {}

} // namespace Tarvik
