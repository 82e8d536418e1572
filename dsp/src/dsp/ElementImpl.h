#pragma once

#include "dsp/BlockPositions.h"
#include "dsp/DSPCommandMailbox.h"
#include "dsp/Element.h"
#include "dsp/ElementConfig.h"
#include "dsp/Transport.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace DSP {

class ElementHost;

/// What all elements share: the command mailbox, block adapters, the dry path with its bypass crossfade.
/// Concrete elements override the operations below and leave Process alone.
///
/// Threads. Process, Reset, ForceReset, Configure, ClearState, EnableDryPath and ProcessRandomAccess hold the
/// host's audio lock for their whole length and so exclude each other; adapters, dry lines, crossfader, the
/// list of children and everything a block uses are touched under it alone. PostCommand and Idle only try
/// the lock. Accessors of what Configure changes belong to the control thread or to the lock.
class ElementImpl : public Element, public DSPCommandMailbox {
public:
    /// host: borrowed, outlives the element. sampleRate in hertz. channelLayout: a code of ChannelLayout.h.
    ElementImpl(
        ElementHost* host, String name, float sampleRate, std::uint32_t channelLayout,
        const ElementConfig& config = {});

    /// Destroys the commands that are still on their way. Audio no longer runs through the element.
    ~ElementImpl() override;

    String GetName() const override;
    void Idle() override;
    std::uint32_t GetNumChildren() const override;
    Element* GetChild(std::uint32_t index) override;
    const Element* GetChild(std::uint32_t index) const override;
    void Configure(float sampleRate, std::uint32_t channelLayout) override;
    float GetSampleRate() const override;
    std::uint32_t GetChannelLayout() const override;
    std::uint32_t GetNumChannels() const override;
    std::uint32_t GetLatency(std::uint32_t stream) const override;
    std::uint32_t GetMaxLatency() const override;
    std::uint32_t GetTailLength() const override;
    std::uint32_t GetFixedBlockSize() const override;
    void SetUserTag(std::uint32_t tag) override;
    std::uint32_t GetUserTag() const override;
    std::uint32_t GetNumStreams() const override;
    void BeginParamChange() override;
    void EndParamChange() override;
    void Reset() override;
    void Process(std::uint32_t numFrames, float** channels) override;
    void Process(std::uint32_t stream, std::uint32_t numFrames, float** channels) override;

    /// The frame of offline rendering: lock, commands, then ProcessRegions, whose answer it is.
    bool ProcessRandomAccess(RandomAccessHost* host) override;

    void PostCommand(DSPCommand* command) override;
    void Notify() override;
    void EnableDryPath(bool enable) override;
    void OnProcessed(std::uint32_t numFrames, float** output) override;
    void OnDrySignal(std::uint32_t numFrames, float** dry) override;
    void ForceReset() override;
    std::uint32_t GetScratchBytes() const override;
    void ClearState() override;
    void GetRegions(
        std::vector<std::unique_ptr<Region>>& regions, const Region& region, std::uint64_t distance) override;
    using Element::VisitParams;
    void VisitParams(ParamVisitor& visitor, std::uint32_t first, std::uint32_t count) const override;
    std::uint32_t GetMaxBlockSize() const override;

    /// The host given at construction. [any]
    ElementHost* GetHost() const;

    /// The name for people: the display name where one was set, else the name. [control]
    String GetDisplayName() const;
    void SetDisplayName(const checked_value<String>& displayName);

    /// The mark of the configuration. [control]
    bool GetFlag() const;

    /// While frozen, commands stay queued. [audio, or under the audio lock]
    void SetCommandsFrozen(bool frozen);
    /// While locked, EnableDryPath does nothing. [control]
    void SetDryPathLocked(bool locked);
    bool IsDryPathEnabled() const;

protected:
    virtual std::uint32_t DoGetLatency(std::uint32_t stream) const;
    virtual std::uint32_t DoGetMaxLatency() const;
    virtual std::uint32_t DoGetTailLength() const;
    /// The concrete element clears its own state here. [control, under the audio lock]
    virtual void OnReset();
    /// The DSP of the concrete element, in place. [audio]
    virtual void ProcessAudio(std::uint32_t numFrames, float** channels);
    /// ProcessAudio for stream 0, nothing for the others. [audio]
    virtual void ProcessStream(std::uint32_t stream, std::uint32_t numFrames, float** channels);
    /// For elements whose streams come and go; the framework does not call it.
    virtual void OnStreamsChanged();
    /// numSidechains times numChannels arrays beside those given to Process, or null. [audio]
    virtual float** GetSidechainChannels();
    /// numAuxOutputs times numChannels arrays to fill, or null. [audio]
    virtual float** GetAuxChannels();
    /// For elements whose extra channels come and go; the framework does not call it.
    virtual void OnExtraChannelsChanged();
    /// False for an analyser: what it was given goes on as it came.
    virtual bool ModifiesAudio() const;
    /// Between two regions: true, Reset; false, ClearState.
    virtual bool ResetBetweenRegions() const;
    /// [under the audio lock]
    virtual void OnClearState();
    /// False skips the DSP for this call. [audio]
    virtual bool WantsAudio() const;
    /// True keeps Process from draining commands. [audio]
    virtual bool DefersCommands() const;
    /// The audio side's changes have been polled but not yet told. [control]
    virtual void OnParamsChanged(bool anyChanged);
    virtual void OnIdle();
    /// The commands for this block have run. [audio]
    virtual void OnCommandsDrained();
    virtual void OnNotify();
    virtual void OnParamChangeBegin();
    virtual void OnParamChangeEnd();
    virtual std::uint32_t DoGetFixedBlockSize() const;
    virtual void GetSampleFormat(std::uint32_t& bits, bool& isFloat) const;
    /// Renders the host's selection region by region. The base form answers false: nothing was rendered.
    virtual bool ProcessRegions(RandomAccessHost* host);
    /// Widens `out` by the fade that `region` needs. The base form leaves it as it is.
    virtual void AdjustRegion(Region& out, const Region& region, std::uint64_t length);
    /// Renders one region; suffix: for the progress text. The base form answers false: nothing was rendered.
    virtual bool ProcessRegion(RandomAccessHost* host, const Region& region, const String& suffix);
    /// In frames: two seconds of audio and the latency.
    virtual std::uint64_t GetRegionMergeDistance() const;
    /// Scratch memory that the concrete element's own DSP takes.
    virtual std::uint32_t GetOwnScratchBytes() const;

    /// Children are borrowed, pumped and drained with their parent; who owns one removes it first. A null or
    /// known child is ignored. Waits for the running block. [control]
    void AddChild(Element* child);
    void RemoveChild(Element* child);

    /// Gives the adapters the present fixed block size and reserves scratch memory. Reset and the end of the
    /// parameters' registration call it; call it when one of them changed in between. [control]
    void PrepareBuffers();

    void SetFlag();

    /// During a block: numChannels pointers to what came in, then those of the sidechains; null during none.
    /// The sidechains' are null in a call without them. Without a fixed block size what came in is worked
    /// upon in place. [audio]
    float** GetCurrentInputs() const;
    /// During a block: numChannels pointers to what goes out, then those of the auxiliary outputs, which are
    /// null in a call that does not want them. [audio]
    float** GetCurrentOutputs() const;
    /// During a block: where the material starts and ends in it. [audio]
    const BlockPositions& GetBlockPositions() const;
    /// For the whole call that follows. [audio, or under the audio lock]
    void SetBlockPositions(const BlockPositions& positions);

    /// Own transport of offline rendering; valid only then. [audio, or under the audio lock]
    TransportRecord& GetOwnTransport();
    const TransportRecord& GetOwnTransport() const;

private:
    struct State;

    /// Runs what was posted to the children, then what was posted here. [audio, or under the audio lock]
    void DrainCommands();
    void ServeStoppedAudio();
    void PostToAudio(std::unique_ptr<DSPCommand> command);
    void Finish(std::unique_ptr<DSPCommand> command);

    void MakeAdapters();
    void MakeDryLines();
    void RunBlocks(std::uint32_t stream, std::uint32_t numFrames, float** channels, bool wantsAudio);
    void FollowBypass();

    std::unique_ptr<State> state;
};

} // namespace DSP
