// The path on which audio goes through an element.

#include "dsp/ElementHost.h"
#include "dsp/ElementImpl.h"
#include "dsp/ElementImplState.h"
#include "dsp/ScratchArray.h"
#include "svbase/util/CriticalSection.h"

#include <algorithm>
#include <mutex>
#include <optional>

namespace DSP {

namespace {

using AudioLock = std::lock_guard<Util::CriticalSection>;

/// The unprocessed signal of one call, in the host's scratch memory.
class DrySignal : noncopyable {
public:
    DrySignal(ProcessingMemoryPool& pool, std::uint32_t numChannels, std::uint32_t numFrames)
        : samples(pool, numChannels * numFrames), pointers(pool, numChannels) {
        for (std::uint32_t channel = 0; channel < numChannels; ++channel) {
            pointers[channel] = samples.data() + std::size_t{channel} * numFrames;
        }
    }

    void Fill(std::vector<DelayLine>& lines, std::uint32_t delay, std::uint32_t numFrames, float** input) {
        for (std::uint32_t channel = 0; channel < pointers.size(); ++channel) {
            lines[channel].SetDelay(delay);
            lines[channel].ProcessBlock({input[channel], numFrames}, {pointers[channel], numFrames});
        }
    }

    float** GetChannels() { return pointers.data(); }

private:
    ScratchArray<float> samples;
    ScratchArray<float*> pointers;
};

/// What stands only during a block, and is taken back however the block ends.
class RunningBlock : noncopyable {
public:
    RunningBlock(ElementHost& elementHost, float**& in, float**& aux)
        : host(elementHost), base(elementHost.GetBlockOffset()), currentIn(in), currentAux(aux) {}
    ~RunningBlock() {
        currentIn = nullptr;
        currentAux = nullptr;
        host.SetBlockOffset(base);
    }

    /// offset: inside the call. The call may itself be part of an outer element's block.
    void SetOffset(std::uint32_t offset) { host.SetBlockOffset(base + offset); }

private:
    ElementHost& host;
    const std::uint32_t base;
    float**& currentIn;
    float**& currentAux;
};

checked_value<std::uint32_t> inPiece(
    const checked_value<std::uint32_t>& position, std::uint32_t first, std::uint32_t numFrames, bool last) {
    if (!position.valid || position.value < first || (!last && position.value - first >= numFrames)) {
        return {};
    }
    return position.value - first;
}

void advance(std::vector<float*>& pointers, std::uint32_t frames) {
    for (float*& pointer : pointers) {
        if (pointer) {
            pointer += frames;
        }
    }
}

void gather(std::vector<float*>& pointers, std::uint32_t numMain, float** main, float** others) {
    std::copy_n(main, numMain, pointers.begin());
    const auto rest = pointers.begin() + numMain;
    if (others) {
        std::copy_n(others, pointers.end() - rest, rest);
    } else {
        std::fill(rest, pointers.end(), nullptr);
    }
}

} // namespace

void ElementImpl::Process(std::uint32_t numFrames, float** channels) {
    Process(0, numFrames, channels);
}

void ElementImpl::Process(std::uint32_t stream, std::uint32_t numFrames, float** channels) {
    State& s = *state;
    if (stream >= GetNumStreams()) {
        return;
    }
    // The lock comes before the scratch memory: EnableDryPath and the end of a registration move the pool
    // under it.
    const AudioLock lock(s.host->GetAudioLock());
    std::optional<DrySignal> dry;
    if (s.dryEnabled) {
        dry.emplace(*s.host, s.numChannels, numFrames);
    }
    if (!DefersCommands()) {
        DrainCommands();
    }
    if (numFrames == 0 || !channels) {
        if (dry) {
            FollowBypass();
        }
        return;
    }
    const bool wantsAudio = WantsAudio();
    if (wantsAudio) {
        s.resetDone = false;
    }
    if (s.host->ForcesLivePositions()) {
        s.callPositions = {0U, 0U};
    }
    if (dry) {
        dry->Fill(s.dryDelay[stream], GetLatency(0), numFrames, channels);
    }
    RunBlocks(stream, numFrames, channels, wantsAudio);
    if (dry) {
        OnProcessed(numFrames, channels);
        OnDrySignal(numFrames, dry->GetChannels());
        FollowBypass();
        s.bypass->Process(numFrames, dry->GetChannels(), channels);
    }
}

void ElementImpl::RunBlocks(
    std::uint32_t stream, std::uint32_t numFrames, float** channels, bool wantsAudio) {
    State& s = *state;
    gather(s.sidechainPointers, s.numChannels, channels, s.numSidechains ? GetSidechainChannels() : nullptr);
    gather(s.auxPointers, s.numChannels, channels, s.numAuxOutputs ? GetAuxChannels() : nullptr);

    BlockAdapter& adapter = *s.adapters[stream];
    const bool fixedSize = adapter.GetBlockSize() != 0;
    adapter.Give(numFrames, s.sidechainPointers.data(), s.auxPointers.data(), s.callPositions);
    s.samplesDone = 0;
    {
        RunningBlock running(*s.host, s.currentIn, s.currentAux);
        BlockAdapter::Block block;
        while (adapter.Next(block, s.inputPointers.data(), s.outputPointers.data())) {
            s.currentIn = s.inputPointers.data();
            s.currentAux = s.outputPointers.data();
            const std::uint32_t longest = fixedSize ? block.frames : std::max(GetMaxBlockSize(), 1U);
            for (std::uint32_t done = 0; done < block.frames;) {
                const std::uint32_t frames = std::min(block.frames - done, longest);
                const bool last = done + frames == block.frames;
                s.blockPositions = {
                    inPiece(block.positions.start, done, frames, last),
                    inPiece(block.positions.end, done, frames, last)};
                running.SetOffset(s.samplesDone);
                if (wantsAudio) {
                    ProcessStream(stream, frames, s.outputPointers.data());
                }
                if (s.transport.valid && s.transport.position.valid) {
                    s.transport.position.value += frames;
                }
                advance(s.inputPointers, frames);
                advance(s.outputPointers, frames);
                done += frames;
                s.samplesDone += frames;
            }
        }
    }
    adapter.Hand(ModifiesAudio());
}

void ElementImpl::FollowBypass() {
    State& s = *state;
    const bool enabled = IsEnabled(0);
    if (enabled != s.lastEnabled) {
        s.lastEnabled = enabled;
        s.bypass->SetTarget(!enabled);
    }
}

bool ElementImpl::ProcessRandomAccess(RandomAccessHost* host) {
    State& s = *state;
    const AudioLock lock(s.host->GetAudioLock());
    DrainCommands();
    if (WantsAudio()) {
        s.resetDone = false;
    }
    const bool done = ProcessRegions(host);
    s.transport.valid = false;
    return done;
}

} // namespace DSP
