#pragma once

#include "dsp/DataTail.h"

namespace DSP {

/// The ring form of DataTail: consuming moves no samples. Asking for pointers rotates the content to the
/// front when it wraps, so copying in and out is the cheap way.
class DataTailCirc final : public DataTail {
public:
    void Grow(std::uint32_t frames) override;
    void Init(std::uint32_t numChannels, std::uint32_t offset, std::uint32_t capacity, std::uint32_t padding)
        override;
    void Append(const float* const* in, std::uint32_t frames) override;
    void CopyOut(float* const* out, std::uint32_t frames) const override;
    void Consume(std::uint32_t frames) override;
    float* const* GetPointers() override;
    float* const* GetWritePointers(std::uint32_t frames) override;
    void Commit(std::uint32_t frames) override;

private:
    std::uint32_t GetStart() const noexcept;
    void Straighten();

    std::uint32_t writeIndex = 0;
};

} // namespace DSP
