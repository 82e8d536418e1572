#pragma once

#include "dsp/Transport.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace DSP {
class RandomAccessHost;
}

namespace Tarvik {

struct PluginIdentifier;

/// A window of the platform: an HWND on Windows. Null for none.
using NativeWindow = void*;

/// The range of a parameter. minimum above maximum says that there is no such parameter.
struct ParameterInfo {
    std::uint32_t kind = 0;
    float minimum = 0.0f;
    float maximum = 0.0f;
    /// 0: continuous.
    std::uint32_t steps = 0;
};

/// A yes or no that may not be known yet. `value` counts only while `known`.
struct OptionalBool {
    bool value = false;
    bool known = false;
};

/// One MIDI-like event of the next block.
struct ProcessEvent {
    /// Milliseconds from the block's start.
    double timeMs = 0.0;
    /// The upper four bits of the MIDI status byte; `channel` is its lower four.
    std::uint8_t status = 0;
    std::uint8_t channel = 0;
    std::uint8_t data1 = 0;
    std::uint8_t data2 = 0;
    /// Not 0: played live rather than read from a recording.
    std::uint8_t realtime = 0;
};

/// Told the new size, in pixels, when an editor resizes itself.
using EditorResizeCallback = void (*)(void* context, std::uint32_t width, std::uint32_t height);

/// The one interface behind which all plug-in formats stand: identity, programs, editor, parameters, state,
/// audio and transport. Constructed with everything it needs; an object whose load failed exists with
/// IsValid() false and is deleted by its creator at once. Its sample rate and layout never change: a change
/// means a new object.
///
/// What is marked [audio], and Reset, throws nothing: an adapter drops what its plug-in's code throws there,
/// and leaves the block as it was.
///
/// The class takes no lock. Who replaces the object while audio runs holds a lock of his own around both.
/// Unless an operation says otherwise it belongs to the control side: [main].
class Plugin : private noncopyable {
public:
    virtual bool IsValid() const = 0;

    /// The place of this class's format among the formats: the numbers of PluginFormat are not used by all.
    virtual std::uint32_t GetFormat() const = 0;

    /// From what the plug-in says of itself, not from what was asked for.
    virtual PluginIdentifier GetIdentifier() const = 0;

    /// The display name.
    virtual String GetName() const = 0;

    virtual std::uint32_t GetNumPrograms() const { return 0; }
    /// The empty String past the end.
    virtual String GetProgramName(std::uint32_t index) const;
    /// False when there is no such program.
    virtual bool SelectProgram(std::uint32_t index);

    /// In sample frames.
    virtual std::uint32_t GetLatency() const = 0;

    /// To be called regularly.
    virtual void Idle() {}

    /// Whether the library is built for this process.
    virtual bool IsArchitectureSupported() const { return true; }

    virtual OptionalBool HasEditor() const = 0;
    /// In pixels. Without an answer both arguments stay as they were.
    virtual void GetEditorSize(std::uint32_t& width, std::uint32_t& height) = 0;
    virtual bool IsEditorOpen() const { return false; }
    /// Opens the editor as a child of parent, at (x, y) in its client area. True also when already open.
    virtual bool OpenEditor(NativeWindow parent, std::int32_t x, std::int32_t y) = 0;
    virtual void CloseEditor() = 0;
    virtual bool HasEditorResizeCallback() const { return false; }
    /// context is handed back as it is. A null callback ends the telling.
    virtual void SetEditorResizeCallback(EditorResizeCallback callback, void* context);
    /// Kept for the order of the slots.
    virtual void Reserved() {}

    virtual std::uint32_t GetNumParameters() const = 0;
    virtual String GetParameterName(std::uint32_t index) const = 0;
    virtual ParameterInfo GetParameterInfo(std::uint32_t index) const = 0;
    virtual String GetParameterUnits(std::uint32_t index) const = 0;
    virtual bool IsParameterQuantised(std::uint32_t index) const = 0;
    virtual String GetParameterDisplay(std::uint32_t index, std::uint32_t value) const = 0;
    virtual float GetParameterValue(std::uint32_t stream, std::uint32_t index) const = 0;
    virtual void SetParameterValue(std::uint32_t stream, std::uint32_t index, float value) = 0;

    /// The plug-in's whole state replaces what `state` holds.
    virtual void GetState(std::int32_t stream, std::vector<std::uint8_t>& state) const = 0;
    /// False when the bytes are known to be no state of this plug-in; then nothing has changed. What only the
    /// plug-in can tell, as with chunks of a form of its own, is handed to it and true.
    virtual bool SetState(std::uint32_t stream, std::uint32_t size, const void* data) = 0;

    /// Clears the internal audio state. Never while Process runs.
    virtual void Reset() = 0;

    virtual bool SupportsRealTime() const = 0;

    /// In place, 32-bit float, one pointer per channel; the pointers need no alignment. `buffers` are the
    /// caller's. Allocates only for a larger block or more channels than any before. [audio]
    virtual void Process(std::uint32_t frames, std::uint32_t channels, float** buffers) = 0;

    /// A delay measured while processing, in sample frames; invalid when none was. Also while a block is
    /// processed. [control]
    virtual checked_value<std::uint32_t> GetReportedDelay() const { return {}; }

    /// Events of the next block, in the order of their times. [audio]
    virtual void ProcessEvents(std::uint32_t count, const ProcessEvent* events);

    /// Follows the host's playback: told before each block. A change of mode resets the plug-in (see
    /// OnTransportChanged), then the position is passed on through UpdateTransport. [audio]
    virtual void SetTransport(const DSP::TransportRecord& transport) final;

    virtual bool SupportsRandomAccess(DSP::RandomAccessHost* host) const;
    virtual bool ProcessRandomAccess(DSP::RandomAccessHost* host);

    virtual ~Plugin() = default;

    float GetSampleRate() const { return sampleRate; }
    std::uint32_t GetChannelLayout() const { return channelLayout; }
    std::uint32_t GetNumChannels() const { return numChannels; }

    /// Whether a stop after playing resets; it does until told otherwise.
    void SetResetOnStop(bool reset) { resetOnStop = reset; }

    /// Set by a plug-in that changes a parameter of its own accord; whoever has read it clears it.
    /// [any]
    bool IsDirty() const { return dirty.load(std::memory_order_relaxed); }
    void ClearDirty() { dirty.store(false, std::memory_order_relaxed); }

protected:
    /// layout: a channel layout code; the channel count comes from it.
    Plugin(float rate, std::uint32_t layout);

    float sampleRate;
    std::uint32_t channelLayout;
    std::uint32_t numChannels;
    /// The last mode seen.
    std::uint32_t transportMode = 0;
    bool transportModeSet = false;
    bool resetOnStop = true;
    /// Set on whatever thread the plug-in tells it.
    std::atomic<bool> dirty = false;

private:
    /// Resets, except for a stop after playing when resetOnStop is off.
    virtual void OnTransportChanged(const DSP::TransportRecord& transport) final;

    /// Passes the position on to the plug-in.
    virtual void UpdateTransport(const DSP::TransportRecord& transport);
};

} // namespace Tarvik
