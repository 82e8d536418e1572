#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace DSP {

namespace multichannel_buffer_detail {

/// Tells a stale view from a live one in a debugger: the destructor leaves this class's vtable pointer
/// behind, so that the memory of a destroyed view still says what happened to it.
class view_canary {
public:
    virtual bool IsLive() const noexcept = 0;
    virtual ~view_canary();

protected:
    view_canary() = default;
    view_canary(const view_canary&) = default;
    view_canary& operator=(const view_canary&) = default;
};

} // namespace multichannel_buffer_detail

/// Audio handed around as a set of channels without owning it: at most 24 channels in fixed arrays, no heap.
/// The samples must outlive the view. Instantiated for float alone. [any one thread]
template<class Sample>
class MultichannelBufferView final : public multichannel_buffer_detail::view_canary {
public:
    static constexpr std::size_t maxChannels = 24;

    struct Span {
        Sample* pointer = nullptr;
        std::uint64_t length = 0;
    };

    /// No channels, no frames.
    MultichannelBufferView() noexcept = default;

    /// list: one entry per channel; an entry of length 0 gives a null channel pointer. frames: the common
    /// count that the receiver works with, taken as given. Throws std::length_error "get_next_capacity,
    /// allocator's max_size reached" at the 25th entry.
    MultichannelBufferView(std::span<const Span> list, std::uint32_t frameCount);
    MultichannelBufferView(std::initializer_list<Span> list, std::uint32_t frameCount)
        : MultichannelBufferView(std::span<const Span>(list.begin(), list.size()), frameCount) {}

    /// Element-wise. A source with more than 24 entries is overwritten memory: the process ends.
    MultichannelBufferView(const MultichannelBufferView& other) noexcept;
    MultichannelBufferView& operator=(const MultichannelBufferView& other) noexcept;

    /// Overwrites the spans with (null, frames) and the pointers with null, so that a dangling view reads as
    /// empty.
    ~MultichannelBufferView() override;

    bool IsLive() const noexcept override { return true; }

    /// The channels as (pointer, length) pairs.
    std::span<const Span> GetSpans() const noexcept { return {spans.data(), numSpans}; }
    /// The same channels for code that takes float**: GetNumChannels() entries, null past them.
    Sample* const* GetPointers() const noexcept { return pointers.data(); }
    std::uint32_t GetNumChannels() const noexcept { return static_cast<std::uint32_t>(numPointers); }
    std::uint32_t GetNumFrames() const noexcept { return frames; }

private:
    void CopyFrom(const MultichannelBufferView& other) noexcept;

    std::array<Span, maxChannels> spans{};
    std::uint64_t numSpans = 0;
    std::array<Sample*, maxChannels> pointers{};
    std::uint64_t numPointers = 0;
    std::uint32_t frames = 0;
};

extern template class MultichannelBufferView<float>;

} // namespace DSP
