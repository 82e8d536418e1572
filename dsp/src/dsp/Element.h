#pragma once

#include "dsp/ElementParam.h"
#include "dsp/MultichannelBufferView.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/Signal.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

namespace Controller {
class ControllerSet;
}

namespace DSP {

class DSPCommand;
class RandomAccessHost;
class Region;

/// The unit of audio processing: a name, a sample rate, a channel layout, parameters, perhaps children, and
/// an operation that turns blocks of audio into blocks of audio. Audio is 32-bit float, one array per
/// channel, processed in place; the caller's arrays need no alignment.
///
/// Made with its host, then a first Reset. From then on Configure, Reset and Idle belong to one control
/// thread and Process to the audio thread; what they share stands under the host's audio lock.
class Element : private noncopyable {
public:
    /// Receives parameters, one call for each, by kind.
    class ParamVisitor {
    public:
        virtual ~ParamVisitor() = default;
        virtual void VisitFloat(const String& name, const ElementParam<float>& param);
        virtual void VisitBool(const String& name, const ElementParam<bool>& param);
        virtual void VisitEnum(const String& name, const ElementParamEnum& param);
    };

    using AttributeMap = std::map<String, String>;

    virtual ~Element();

    /// Fixed at construction. [any]
    virtual String GetName() const = 0;

    virtual bool SupportsRealTime() const { return true; }
    virtual bool SupportsRandomAccess() const { return true; }

    /// The pump of the control side, called at its own pace: takes back commands that ran, then pumps the
    /// children. [control]
    virtual void Idle() = 0;

    /// Brings to the control side what the audio side changed in the parameters, children first. [control]
    virtual void DispatchParamChanges() = 0;

    virtual std::uint32_t GetNumChildren() const = 0;
    /// Null past the end.
    virtual Element* GetChild(std::uint32_t index) = 0;
    virtual const Element* GetChild(std::uint32_t index) const = 0;

    /// Keeps its place for elements of other libraries; nothing calls it.
    virtual bool ReservedQuery() const { return false; }

    /// Changes sample rate (hertz) and layout code; nothing happens when both stay. Waits for the running
    /// block. The caller follows with Reset. [control]
    virtual void Configure(float sampleRate, std::uint32_t channelLayout) = 0;

    virtual float GetSampleRate() const = 0;
    virtual std::uint32_t GetChannelLayout() const = 0;
    /// Always derived from the layout code; 0 for a code without meaning.
    virtual std::uint32_t GetNumChannels() const = 0;

    /// In sample frames. An element of a fixed block size counts the n - 1 frames of its own adapter in.
    virtual std::uint32_t GetLatency(std::uint32_t stream) const = 0;
    /// The most that GetLatency can become.
    virtual std::uint32_t GetMaxLatency() const = 0;
    /// Frames that sound after the input ended.
    virtual std::uint32_t GetTailLength() const = 0;
    /// 0: blocks of any size.
    virtual std::uint32_t GetFixedBlockSize() const = 0;

    /// A number that belongs to the element's owner.
    virtual void SetUserTag(std::uint32_t tag) = 0;
    virtual std::uint32_t GetUserTag() const = 0;

    virtual std::uint32_t GetNumStreams() const = 0;

    virtual std::uint32_t GetNumParams() const = 0;
    /// Of the parameter list, for presets.
    virtual std::uint32_t GetParamsVersion() const { return 0; }
    /// For elements whose parameter list changes; the framework does not call it.
    virtual void OnParamsVersionChanged() {}

    /// The handle of that name, or the empty float handle. [control]
    virtual ParamHandle GetParam(const String& name) const = 0;
    /// Calls the slot after each change of that parameter; false for an unknown name, which leaves
    /// `connection` as it was. [control]
    virtual bool ConnectParam(const String& name, const ParamSlot& slot, Connection& connection) = 0;
    virtual ParamMap& GetParamMap() = 0;
    virtual const ParamMap& GetParamMap() const = 0;
    /// An empty record for an unknown name. [control]
    virtual const ParamInfo& GetParamInfo(const String& name) const = 0;

    /// Made at the first call; owned by the element. Throws std::logic_error when it is called while being
    /// made. [control]
    virtual Controller::ControllerSet* GetControllerSet() = 0;

    /// Brackets around changes that belong together; they nest. An End too many is harmless. [control]
    virtual void BeginParamChange() = 0;
    virtual void EndParamChange() = 0;

    /// State that is not in the parameters. [control]
    virtual bool HasExtraBytes() const { return false; }
    virtual std::uint32_t GetExtraBytesSize() const { return 0; }
    /// buffer: GetDefaultExtraBytesSize() bytes.
    virtual void GetDefaultExtraBytes(std::span<std::uint8_t> buffer) const;
    virtual std::uint32_t GetDefaultExtraBytesSize() const;
    /// buffer: GetExtraBytesSize() bytes; another size leaves it unchanged.
    virtual void GetExtraBytes(std::span<std::uint8_t> buffer) const;
    virtual void SetExtraBytes(const void* bytes, std::uint32_t size, bool flag);

    virtual String GetDescription() const;
    virtual String GetDetails() const;

    /// Clears what sounds, unless nothing was processed since the last time. Waits for the running block.
    /// [control]
    virtual void Reset() = 0;

    /// The main path: Process(0, ...). channels: GetNumChannels() arrays of numFrames samples, in place.
    /// [audio]
    virtual void Process(std::uint32_t numFrames, float** channels) = 0;
    /// numFrames: up to GetMaxBlockSize(). A stream that the element does not have is ignored. A null
    /// `channels` or no frames only looks at the bypass. Holds the audio lock, allocates nothing.
    virtual void Process(std::uint32_t stream, std::uint32_t numFrames, float** channels) = 0;
    /// Renders a selection of the host's audio. False when it could not, or was cancelled. [render]
    virtual bool ProcessRandomAccess(RandomAccessHost* host) = 0;

    /// Ownership passes. [control]
    virtual void PostCommand(DSPCommand* command) = 0;

    virtual void Notify() = 0;

    /// False: bypassed. [audio]
    virtual bool IsEnabled(std::uint32_t stream) const;

    virtual AttributeMap GetAttributes() const { return attributes; }
    virtual AttributeMap& GetAttributesRef() { return ownerAttributes; }

    /// Keeps the unprocessed signal, delayed by the latency, so that the element can be bypassed with a fade.
    /// Waits for the running block. Reserves scratch memory for this element; one that runs inside another's
    /// Process wants the outer one reset afterwards, which reserves for both. [control]
    virtual void EnableDryPath(bool enable) = 0;
    /// After a block, with the dry path on: what the element made, and what went in. [audio]
    virtual void OnProcessed(std::uint32_t numFrames, float** output) = 0;
    virtual void OnDrySignal(std::uint32_t numFrames, float** dry) = 0;

    /// Reset, also when nothing was processed since the last time. [control]
    virtual void ForceReset() = 0;

    /// What Process takes from the host's scratch pool at most.
    virtual std::uint32_t GetScratchBytes() const = 0;

    /// Forgets what is queued and calls the element's OnClearState; delays and fades stay. [control]
    virtual void ClearState() = 0;

    /// Cuts a region where it is silent for longer than `distance` frames. Offline rendering is not here yet:
    /// the base form leaves `regions` empty.
    virtual void GetRegions(
        std::vector<std::unique_ptr<Region>>& regions, const Region& region, std::uint64_t distance) = 0;

    /// The sidechain of the block that follows, in offline rendering. The base form drops it. [render]
    virtual void SetSidechainView(MultichannelBufferView<float> view);

    /// Walks `count` parameters in the order of their names, from the one numbered `first` on; past the end
    /// there are none. [control]
    virtual void VisitParams(ParamVisitor& visitor, std::uint32_t first, std::uint32_t count) const = 0;
    /// All of them.
    void VisitParams(ParamVisitor& visitor) const { VisitParams(visitor, 0, UINT32_MAX); }

    /// The host's.
    virtual std::uint32_t GetMaxBlockSize() const = 0;

    /// Emitted by SetAttribute. [control]
    Signal<>& GetAttributesChanged() { return attributesChanged; }

protected:
    Element();

    /// What GetAttributes hands out. [control]
    void SetAttribute(const String& key, const String& value);

private:
    Signal<> attributesChanged;
    AttributeMap attributes;
    AttributeMap ownerAttributes;
};

} // namespace DSP
