// Audio, events and transport of an effect.

#include "hosting/ForeignCall.h"
#include "hosting/vst/VSTEventsBuffer.h"
#include "hosting/vst/VSTPlugin.h"
#include "hosting/vst/VstAbi.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace Tarvik {

namespace {

// An effect that names more is not believed.
constexpr VstInt32 channelsLimit = 2048;

constexpr std::uint32_t playing = 1;
constexpr double defaultTempo = 120.0;

VstInt32 toDeltaFrames(double frames) {
    constexpr double lowest = std::numeric_limits<VstInt32>::min();
    constexpr double highest = std::numeric_limits<VstInt32>::max();
    // Rounds halves away from zero. What is no number is now.
    return std::isnan(frames) ? 0 : static_cast<VstInt32>(std::clamp(std::round(frames), lowest, highest));
}

VstMidiEvent toMidiEvent(const ProcessEvent& event, double rate) {
    VstMidiEvent midi{};
    midi.type = kVstMidiType;
    midi.byteSize = sizeof midi;
    midi.deltaFrames = toDeltaFrames(rate * event.timeMs * 0.001);
    midi.flags = event.realtime != 0 ? kVstMidiEventIsRealtime : 0;
    midi.midiData[0] = static_cast<char>(event.status | event.channel);
    midi.midiData[1] = static_cast<char>(event.data1);
    midi.midiData[2] = static_cast<char>(event.data2);
    return midi;
}

} // namespace

void VSTPlugin::Reset() noexcept {
    DispatchQuietly(effMainsChanged, 0, 0);
    DispatchQuietly(effMainsChanged, 0, 1);
}

bool VSTPlugin::SupportsRealTime() const {
    return true;
}

// Grows in each direction on its own, so that a change of block size and back costs nothing the second time.
void VSTPlugin::GrowBuffers(std::uint32_t channels, std::uint32_t frames) {
    if (bufferChannels && bufferFrames && channels <= bufferChannels.value && frames <= bufferFrames.value) {
        return;
    }
    const std::uint32_t newChannels = std::max(channels, bufferChannels.value);
    const std::uint32_t newFrames = std::max(frames, bufferFrames.value);
    audioBuffer.resize(std::size_t{newChannels} * newFrames);
    channelPointers.resize(newChannels);
    bufferChannels = newChannels;
    bufferFrames = newFrames;
}

float* VSTPlugin::InternalChannel(std::uint32_t channel) {
    return audioBuffer.data() + std::size_t{channel} * bufferFrames.value;
}

void VSTPlugin::Process(std::uint32_t frames, std::uint32_t channels, float** buffers) noexcept {
    if (frames == 0 || effect == nullptr) {
        return;
    }
    const VstInt32 wanted = std::max(effect->numInputs, effect->numOutputs);
    if (wanted <= 0 || wanted > channelsLimit) {
        return;
    }
    const auto internal = static_cast<std::uint32_t>(wanted);
    try {
        ProcessInternally(internal, frames, channels, buffers);
    } catch (...) {
        // Of the effect, or for want of memory. The caller's audio is still as it was.
        return;
    }
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        std::copy_n(InternalChannel(internal >= channels ? channel : 0), frames, buffers[channel]);
    }
}

void VSTPlugin::ProcessInternally(
    std::uint32_t internal, std::uint32_t frames, std::uint32_t channels, const float* const* buffers) {
    GrowBuffers(internal, frames);
    const std::uint32_t copied = IsInstrument() ? 0 : std::min(internal, channels);
    for (std::uint32_t channel = 0; channel < internal; ++channel) {
        float* samples = InternalChannel(channel);
        // Afresh each time: some effects move the pointers that they are given.
        channelPointers[channel] = samples;
        if (channel < copied) {
            std::copy_n(buffers[channel], frames, samples);
        } else {
            std::fill_n(samples, frames, 0.0f);
        }
    }
    callForeign([=, this] {
        float** const pointers = channelPointers.data();
        effect->processReplacing(effect, pointers, pointers, static_cast<VstInt32>(frames));
    });
}

void VSTPlugin::ProcessEvents(std::uint32_t count, const ProcessEvent* events) noexcept {
    while (count > 0) {
        const std::uint32_t batch = std::min(count, EventsBuffer::capacity);
        for (std::uint32_t index = 0; index < batch; ++index) {
            midiEvents[index] = toMidiEvent(events[index], sampleRate);
            eventsBuffer->events[index] = reinterpret_cast<VstEvent*>(&midiEvents[index]);
        }
        eventsBuffer->numEvents = static_cast<VstInt32>(batch);
        eventsBuffer->reserved = 0;
        DispatchQuietly(effProcessEvents, 0, 0, eventsBuffer.get());
        count -= batch;
        events += batch;
    }
}

void VSTPlugin::UpdateTransport(const DSP::TransportRecord& transport) noexcept {
    timeInfo->samplePos = static_cast<double>(transport.position.value_or(0));
    const bool wasPlaying = (timeInfo->flags & kVstTransportPlaying) != 0;
    const bool plays = transport.mode.valid && transport.mode.value == playing;
    if (plays != wasPlaying) {
        // Once set it stays: effects look for a change that they may not have seen.
        timeInfo->flags ^= kVstTransportPlaying;
        timeInfo->flags |= kVstTransportChanged;
    }
    timeInfo->tempo = transport.tempo.valid ? double{transport.tempo.value} : defaultTempo;
    timeInfo->flags |= kVstTempoValid;
}

} // namespace Tarvik
