#pragma once

#include "dsp/BlockPositions.h"
#include "svbase/util/Noncopyable.h"

#include <cstdint>
#include <vector>

namespace DSP {

/// Stands between the host's block sizes and a fixed internal block of an element. With a block size of n,
/// the input is collected until n frames are there; the output leads by n - 1 frames of silence, so that a
/// call always finds as many frames as it gave. With n = 0 blocks pass straight through, in place.
///
/// One call is Give, Next until it answers false, Hand. Channels are counted over all sets: the main one
/// first, then the sidechains or the auxiliary outputs. [audio, under the audio lock]
class BlockAdapter : noncopyable {
public:
    /// One internal block.
    struct Block {
        std::uint32_t frames = 0;
        BlockPositions positions;
    };

    /// numInputs, numOutputs: channels of all sets, numChannels or more.
    BlockAdapter(std::uint32_t numChannels, std::uint32_t numInputs, std::uint32_t numOutputs);

    /// Room for calls of up to maxCallFrames; a change of either value resets the adapter. Allocates.
    /// [control, under the audio lock]
    void SetBlockSize(std::uint32_t blockFrames, std::uint32_t maxCallFrames);
    std::uint32_t GetBlockSize() const { return blockSize; }
    std::uint32_t GetMaxCallFrames() const { return maxCall; }

    /// Silence in all queues. Free while nothing was given since the last time.
    void Reset();
    /// Lets the next Reset do its work in any case.
    void ClearResetMark() { atReset = false; }

    /// inputs: numInputs pointers; those past the main set may be null, which is silence. outputs: numOutputs
    /// pointers; those past the main set may be null and are then not wanted. Both sets of pointers are used
    /// until Hand. positions: of this call. More than maxCallFrames frames are taken in as well, but
    /// allocate.
    void Give(
        std::uint32_t numFrames, float* const* inputs, float* const* outputs,
        const BlockPositions& positions);

    /// The next internal block, in `block`; false when fewer frames than that are there. inputs: numInputs
    /// pointers to what came in. outputs: numOutputs pointers to what goes out: the main set holds the main
    /// input, the others are silent. With n = 0 these are the caller's own pointers, null ones included.
    bool Next(Block& block, float** inputs, float** outputs);

    /// Copies to the caller's outputs what is ready for him, and keeps the rest. copyMain: false leaves the
    /// main set as it was given, and lets its output go.
    void Hand(bool copyMain);

private:
    using Channels = std::vector<std::vector<float>>;

    void Resize(std::uint32_t capacity);
    void HandOut(Channels& ready, Channels& filled, float* const* destinations, bool copy);
    checked_value<std::uint32_t> Inside(const checked_value<std::uint32_t>& position) const;

    std::uint32_t numMain;

    Channels input;
    Channels mainReady;
    Channels mainFilled;
    Channels auxReady;
    Channels auxFilled;
    std::uint32_t queued = 0;
    std::uint32_t ready = 0;
    std::uint32_t filled = 0;

    std::uint32_t blockSize = 0;
    std::uint32_t maxCall = 0;
    std::uint32_t readIndex = 0;
    bool atReset = true;

    // The running call.
    std::uint32_t callFrames = 0;
    bool passed = true;
    float* const* callInputs = nullptr;
    float* const* callOutputs = nullptr;
    BlockPositions callPositions;
};

} // namespace DSP
