#pragma once

#include <cstdint>

namespace DSP {

/// Base of signal processing that is not an element: it knows its channel counts and the largest block that
/// it can be given. Setting up is for the control side, while no block runs.
class AudioProcessor {
public:
    virtual ~AudioProcessor();

    /// Stores the three values.
    virtual void Init(std::uint32_t numInputs, std::uint32_t numOutputs, std::uint32_t maxBlock);

    /// Makes room for larger blocks; never less room than before.
    virtual void Resize(std::uint32_t maxBlock);

    /// The room itself, called by Resize.
    virtual void DoResize(std::uint32_t maxBlock);

    /// Init with the channel counts that stand, also for smaller blocks.
    virtual void SetMaxBlock(std::uint32_t maxBlock);

    std::uint32_t GetNumInputs() const { return numInputs; }
    std::uint32_t GetNumOutputs() const { return numOutputs; }
    std::uint32_t GetMaxBlock() const { return largestBlock; }

private:
    std::uint32_t numInputs = 0;
    std::uint32_t numOutputs = 0;
    std::uint32_t largestBlock = 0;
};

} // namespace DSP
