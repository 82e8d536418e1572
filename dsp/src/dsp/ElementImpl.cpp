#include "dsp/ElementImpl.h"

#include "dsp/ChannelLayout.h"
#include "dsp/DSPCommand.h"
#include "dsp/ElementHost.h"
#include "dsp/ElementImplState.h"
#include "svbase/util/CriticalSection.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace DSP {

namespace {

using AudioLock = std::lock_guard<Util::CriticalSection>;

/// Half away from zero; what is below zero afterwards is 0.
std::uint32_t roundFrames(float frames) {
    const float rounded = frames < 0.0F ? frames - 0.5F : frames + 0.5F;
    return rounded < 0.0F ? 0 : static_cast<std::uint32_t>(rounded);
}

std::uint32_t countChannels(std::uint32_t layout) {
    return static_cast<std::uint32_t>(getChannelCount(static_cast<std::int32_t>(layout)));
}

} // namespace

std::uint32_t ElementImpl::State::FadeLength() const {
    return roundFrames(fadeTime * sampleRate);
}

ElementImpl::ElementImpl(
    ElementHost* host, String name, float sampleRate, std::uint32_t channelLayout,
    const ElementConfig& config)
    : state(std::make_unique<State>(host, std::move(name), config)) {
    state->sampleRate = sampleRate;
    state->channelLayout = channelLayout;
    state->numChannels = countChannels(channelLayout);
    state->bypass = std::make_unique<BypassCrossfader>(state->numChannels, state->FadeLength());
    state->dryDelay.resize(state->numStreams);
    state->adapters.resize(state->numStreams);
    MakeAdapters();
}

ElementImpl::~ElementImpl() {
    for (CommandQueue* queue : {&state->commandsToAudio, &state->commandsFromAudio}) {
        while (DSPCommand* command = queue->Dequeue()) {
            delete command;
        }
    }
}

void ElementImpl::MakeAdapters() {
    State& s = *state;
    const auto numInputs = static_cast<std::uint32_t>(s.NumInputs());
    const auto numOutputs = static_cast<std::uint32_t>(s.NumOutputs());
    for (std::unique_ptr<BlockAdapter>& adapter : s.adapters) {
        auto made = std::make_unique<BlockAdapter>(s.numChannels, numInputs, numOutputs);
        if (adapter) {
            made->SetBlockSize(adapter->GetBlockSize(), adapter->GetMaxCallFrames());
        }
        made->Reset();
        adapter = std::move(made);
    }
    for (std::vector<float*>* pointers : {&s.sidechainPointers, &s.inputPointers}) {
        pointers->assign(s.NumInputs(), nullptr);
    }
    for (std::vector<float*>* pointers : {&s.auxPointers, &s.outputPointers}) {
        pointers->assign(s.NumOutputs(), nullptr);
    }
}

void ElementImpl::MakeDryLines() {
    State& s = *state;
    const auto fits = [&s](const auto& lines) { return lines.size() == s.numChannels; };
    if (std::all_of(s.dryDelay.begin(), s.dryDelay.end(), fits)) {
        return;
    }
    const std::uint32_t capacity = GetMaxLatency() + 1;
    for (std::vector<DelayLine>& lines : s.dryDelay) {
        lines.assign(s.numChannels, DelayLine(capacity));
    }
}

void ElementImpl::PrepareBuffers() {
    const AudioLock lock(state->host->GetAudioLock());
    const std::uint32_t blockSize = GetFixedBlockSize();
    const std::uint32_t maxCall = GetMaxBlockSize();
    for (const std::unique_ptr<BlockAdapter>& adapter : state->adapters) {
        adapter->SetBlockSize(blockSize, maxCall);
    }
    state->host->ReserveScratch(GetScratchBytes());
}

void ElementImpl::Configure(float sampleRate, std::uint32_t channelLayout) {
    State& s = *state;
    const AudioLock lock(s.host->GetAudioLock());
    if (sampleRate == s.sampleRate && channelLayout == s.channelLayout) {
        return;
    }
    const std::uint32_t numChannels = countChannels(channelLayout);
    const bool sameCount = numChannels == s.numChannels;
    s.sampleRate = sampleRate;
    s.channelLayout = channelLayout;
    s.numChannels = numChannels;
    if (sameCount) {
        s.bypass->SetLength(s.FadeLength());
    } else {
        s.bypass = std::make_unique<BypassCrossfader>(numChannels, s.FadeLength());
    }
    MakeAdapters();
    if (s.dryEnabled) {
        MakeDryLines();
    }
    // A block may come before the Reset that usually follows.
    s.host->ReserveScratch(GetScratchBytes());
}

void ElementImpl::Reset() {
    State& s = *state;
    const AudioLock lock(s.host->GetAudioLock());
    PrepareBuffers();
    for (const std::unique_ptr<BlockAdapter>& adapter : s.adapters) {
        adapter->Reset();
    }
    s.callPositions = {};
    s.blockPositions = {};
    if (!s.resetDone) {
        OnReset();
    }
    for (std::vector<DelayLine>& lines : s.dryDelay) {
        for (DelayLine& line : lines) {
            line.Reset();
        }
    }
    s.lastEnabled = IsEnabled(0);
    s.bypass->SetTarget(!s.lastEnabled, true);
    s.resetDone = true;
}

void ElementImpl::ForceReset() {
    const AudioLock lock(state->host->GetAudioLock());
    state->resetDone = false;
    for (const std::unique_ptr<BlockAdapter>& adapter : state->adapters) {
        adapter->ClearResetMark();
    }
    Reset();
}

void ElementImpl::ClearState() {
    const AudioLock lock(state->host->GetAudioLock());
    for (const std::unique_ptr<BlockAdapter>& adapter : state->adapters) {
        adapter->Reset();
    }
    state->callPositions = {};
    state->blockPositions = {};
    OnClearState();
}

void ElementImpl::EnableDryPath(bool enable) {
    const AudioLock lock(state->host->GetAudioLock());
    if (state->dryLocked) {
        return;
    }
    state->dryEnabled = enable;
    if (enable) {
        MakeDryLines();
    }
    state->host->ReserveScratch(GetScratchBytes());
}

std::uint32_t ElementImpl::GetScratchBytes() const {
    const State& s = *state;
    std::uint32_t bytes = 0;
    for (const Element* child : s.children) {
        bytes = std::max(bytes, child->GetScratchBytes());
    }
    if (s.dryEnabled) {
        bytes += s.numChannels * 8 + 8;
        bytes += s.numChannels * GetMaxBlockSize() * 4 + 4;
    }
    return bytes + GetOwnScratchBytes();
}

void ElementImpl::AddChild(Element* child) {
    State& s = *state;
    const AudioLock lock(s.host->GetAudioLock());
    if (!child || std::find(s.children.begin(), s.children.end(), child) != s.children.end()) {
        return;
    }
    s.children.push_back(child);
    if (auto* const drained = dynamic_cast<ElementImpl*>(child)) {
        s.drainedChildren.push_back(drained);
    }
    s.host->ReserveScratch(GetScratchBytes());
}

void ElementImpl::RemoveChild(Element* child) {
    const AudioLock lock(state->host->GetAudioLock());
    std::erase(state->children, child);
    std::erase_if(state->drainedChildren, [child](const ElementImpl* drained) { return drained == child; });
}

void ElementImpl::BeginParamChange() {
    if (state->paramBatchDepth++ == 0) {
        OnParamChangeBegin();
        for (Element* child : state->children) {
            child->BeginParamChange();
        }
    }
}

void ElementImpl::EndParamChange() {
    state->paramBatchDepth = std::max<std::uint32_t>(state->paramBatchDepth, 1);
    if (--state->paramBatchDepth == 0) {
        OnParamChangeEnd();
        for (Element* child : state->children) {
            child->EndParamChange();
        }
    }
}

void ElementImpl::VisitParams(ParamVisitor& visitor, std::uint32_t first, std::uint32_t count) const {
    std::uint32_t position = 0;
    for (const auto& [name, entry] : GetParamMap()) {
        if (position >= first && position - first < count) {
            if (const auto* asFloat = std::get_if<ElementParam<float>>(&entry.handle)) {
                visitor.VisitFloat(name, *asFloat);
            } else if (const auto* asBool = std::get_if<ElementParam<bool>>(&entry.handle)) {
                visitor.VisitBool(name, *asBool);
            } else {
                visitor.VisitEnum(name, std::get<ElementParamEnum>(entry.handle));
            }
        }
        ++position;
    }
}

void ElementImpl::GetRegions(std::vector<std::unique_ptr<Region>>&, const Region&, std::uint64_t) {}

std::uint64_t ElementImpl::GetRegionMergeDistance() const {
    const double frames = static_cast<double>(GetLatency(0)) + 2.0 * static_cast<double>(GetSampleRate());
    return static_cast<std::uint64_t>(std::llround(frames));
}

void ElementImpl::GetSampleFormat(std::uint32_t& bits, bool& isFloat) const {
    bits = 32;
    isFloat = true;
}

Element* ElementImpl::GetChild(std::uint32_t index) {
    return index < state->children.size() ? state->children[index] : nullptr;
}

const Element* ElementImpl::GetChild(std::uint32_t index) const {
    return index < state->children.size() ? state->children[index] : nullptr;
}

String ElementImpl::GetDisplayName() const {
    return state->displayName.valid ? state->displayName.value : state->name;
}

void ElementImpl::SetDisplayName(const checked_value<String>& displayName) {
    state->displayName = displayName;
}

void ElementImpl::SetCommandsFrozen(bool frozen) {
    const AudioLock lock(state->host->GetAudioLock());
    state->commandsFrozen = frozen;
}

void ElementImpl::SetDryPathLocked(bool locked) {
    const AudioLock lock(state->host->GetAudioLock());
    state->dryLocked = locked;
}

// clang-format off
String ElementImpl::GetName() const { return state->name; }
std::uint32_t ElementImpl::GetNumChildren() const { return static_cast<std::uint32_t>(state->children.size()); }
float ElementImpl::GetSampleRate() const { return state->sampleRate; }
std::uint32_t ElementImpl::GetChannelLayout() const { return state->channelLayout; }
std::uint32_t ElementImpl::GetNumChannels() const { return state->numChannels; }
std::uint32_t ElementImpl::GetLatency(std::uint32_t stream) const { return DoGetLatency(stream); }
std::uint32_t ElementImpl::GetMaxLatency() const { return DoGetMaxLatency(); }
std::uint32_t ElementImpl::GetTailLength() const { return DoGetTailLength(); }
std::uint32_t ElementImpl::GetFixedBlockSize() const { return DoGetFixedBlockSize(); }
void ElementImpl::SetUserTag(std::uint32_t tag) { state->userTag = tag; }
std::uint32_t ElementImpl::GetUserTag() const { return state->userTag; }
std::uint32_t ElementImpl::GetNumStreams() const { return state->numStreams; }
std::uint32_t ElementImpl::GetMaxBlockSize() const { return state->host->GetMaxBlockSize(); }
ElementHost* ElementImpl::GetHost() const { return state->host; }
bool ElementImpl::GetFlag() const { return state->flag; }
void ElementImpl::SetFlag() { state->flag = true; }
bool ElementImpl::IsDryPathEnabled() const { return state->dryEnabled; }
void ElementImpl::Notify() { OnNotify(); }

float** ElementImpl::GetCurrentInputs() const { return state->currentIn; }
float** ElementImpl::GetCurrentOutputs() const { return state->currentAux; }
const BlockPositions& ElementImpl::GetBlockPositions() const { return state->blockPositions; }
void ElementImpl::SetBlockPositions(const BlockPositions& positions) { state->callPositions = positions; }
TransportRecord& ElementImpl::GetOwnTransport() { return state->transport; }
const TransportRecord& ElementImpl::GetOwnTransport() const { return state->transport; }

void ElementImpl::OnProcessed(std::uint32_t, float**) {}
void ElementImpl::OnDrySignal(std::uint32_t, float**) {}
std::uint32_t ElementImpl::DoGetLatency(std::uint32_t) const { return 0; }
std::uint32_t ElementImpl::DoGetMaxLatency() const { return 0; }
std::uint32_t ElementImpl::DoGetTailLength() const { return 0; }
void ElementImpl::OnReset() {}
void ElementImpl::ProcessAudio(std::uint32_t, float**) {}
void ElementImpl::OnStreamsChanged() {}
float** ElementImpl::GetSidechainChannels() { return nullptr; }
float** ElementImpl::GetAuxChannels() { return nullptr; }
void ElementImpl::OnExtraChannelsChanged() {}
bool ElementImpl::ModifiesAudio() const { return true; }
bool ElementImpl::ResetBetweenRegions() const { return true; }
void ElementImpl::OnClearState() {}
bool ElementImpl::WantsAudio() const { return true; }
bool ElementImpl::DefersCommands() const { return false; }
void ElementImpl::OnParamsChanged(bool) {}
void ElementImpl::OnIdle() {}
void ElementImpl::OnCommandsDrained() {}
void ElementImpl::OnNotify() {}
void ElementImpl::OnParamChangeBegin() {}
void ElementImpl::OnParamChangeEnd() {}
std::uint32_t ElementImpl::DoGetFixedBlockSize() const { return 0; }
bool ElementImpl::ProcessRegions(RandomAccessHost*) { return false; }
void ElementImpl::AdjustRegion(Region&, const Region&, std::uint64_t) {}
bool ElementImpl::ProcessRegion(RandomAccessHost*, const Region&, const String&) { return false; }
std::uint32_t ElementImpl::GetOwnScratchBytes() const { return 0; }
// clang-format on

void ElementImpl::ProcessStream(std::uint32_t stream, std::uint32_t numFrames, float** channels) {
    if (stream == 0) {
        ProcessAudio(numFrames, channels);
    }
}

} // namespace DSP
