#pragma once

#include <cstdint>
#include <vector>

namespace DSP {

/// A multichannel sample FIFO that can hold more than a block: what a block-based algorithm has produced and
/// not yet handed on. Content is kept from the start of each channel; consuming shifts the rest down. Nothing
/// but Init and growing allocates. [any one thread]
class DataTail {
public:
    DataTail() = default;
    DataTail(const DataTail&) = delete;
    DataTail& operator=(const DataTail&) = delete;
    virtual ~DataTail();

    /// Makes room for `frames` frames beyond the padding (at least one in all) and keeps the content, as much
    /// of its beginning as fits.
    virtual void Grow(std::uint32_t frames);

    /// Empties the FIFO to `padding` frames of silence.
    /// offset: frames below the read position that stay readable after they have been consumed.
    /// capacity: frames beyond the padding.
    virtual void
    Init(std::uint32_t numChannels, std::uint32_t offset, std::uint32_t capacity, std::uint32_t padding);

    /// Puts frames of all channels behind the content; grows when they do not fit.
    virtual void Append(const float* const* in, std::uint32_t frames);

    /// Copies frames from the read position. frames: 0..GetAvailable(). Nothing is consumed.
    virtual void CopyOut(float* const* out, std::uint32_t frames) const;

    /// Moves the read position past frames. frames: 0..GetAvailable().
    virtual void Consume(std::uint32_t frames);

    /// One pointer per channel to the frame at the read position, GetAvailable() frames ahead of it and
    /// GetOffset() behind it; valid until the next change.
    virtual float* const* GetPointers();

    /// One pointer per channel to `frames` frames of room behind the content (grows when there is less);
    /// Commit makes what was written there content. Until then nothing else may change the FIFO.
    virtual float* const* GetWritePointers(std::uint32_t frames);
    virtual void Commit(std::uint32_t frames);

    std::uint32_t GetNumChannels() const noexcept { return numChannels; }
    std::uint32_t GetOffset() const noexcept { return offset; }
    std::uint32_t GetCapacity() const noexcept { return capacity; }
    std::uint32_t GetPadding() const noexcept { return padding; }
    /// Frames held, those below the read position included.
    std::uint32_t GetLength() const noexcept { return length; }
    /// Frames from the read position on.
    std::uint32_t GetAvailable() const noexcept { return length > offset ? length - offset : 0; }
    /// Frames that fit without growing.
    std::uint32_t GetFree() const noexcept { return capacity + padding - length; }

protected:
    std::uint32_t GetStorageFrames() const noexcept { return capacity + padding; }
    void EnsureFree(std::uint32_t frames);

    std::vector<float*> channelPointers;
    std::vector<std::vector<float>> channels;
    std::vector<float*> pointerScratch;
    std::uint32_t padding = 0;
    std::uint32_t length = 0;
    std::uint32_t capacity = 0;
    std::uint32_t numChannels = 0;
    std::uint32_t offset = 0;
};

} // namespace DSP
