#include "audio/decode/SampleConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/decode/SampleConversion.cpp"
#include "svbase/util/HighwayTargets.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// The parts that are the same for all variants.
#ifndef AUDIO_DECODE_SAMPLE_CONVERSION_ONCE
#define AUDIO_DECODE_SAMPLE_CONVERSION_ONCE

namespace Audio::Decode {

/// The kernels from one encoding to one type.
template<class T>
struct ConversionKernels {
    void (*mono)(const std::uint8_t* source, std::size_t count, T* destination) noexcept;
    void (*stereo)(const std::uint8_t* source, std::size_t frames, T* left, T* right) noexcept;
};

struct ConversionTable {
    std::array<ConversionKernels<float>, sampleEncodings> toFloat;
    std::array<ConversionKernels<std::int16_t>, sampleEncodings> toInt16;
};

} // namespace Audio::Decode

#endif

HWY_BEFORE_NAMESPACE();
namespace Audio::Decode {
namespace HWY_NAMESPACE {

// Every encoding is taken apart into lanes of 32 bits: integers with their highest bit in the highest bit of
// the lane, so that all have one scale, and floats as they are. A destination makes its samples of that.

constexpr float laneScale = 1.0F / 2147483648.0F;
constexpr float int16Scale = 32768.0F;

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Lanes = hn::ScalableTag<std::int32_t>;
using VBytes = hn::Vec<Bytes>;
using VLanes = hn::Vec<Lanes>;
using HalfBytes = hn::Half<Bytes>;

constexpr std::size_t lanes = hn::MaxLanes(Lanes());
constexpr std::size_t vectorBytes = hn::MaxLanes(Bytes());
constexpr std::size_t blocks = vectorBytes / 16;

using Pattern = std::array<std::uint8_t, 16>;

/// The bytes of each block of 16, put in the order of the pattern; 0x80 stands for a zero.
HWY_INLINE VBytes Rearranged(VBytes bytes, const Pattern& pattern) {
    return hn::TableLookupBytesOr0(bytes, hn::LoadDup128(Bytes(), pattern.data()));
}

HWY_INLINE VLanes AsLanes(VBytes bytes) {
    return hn::BitCast(Lanes(), bytes);
}

/// A vector of blocks that begin `stride` bytes apart.
HWY_INLINE VBytes LoadBlocks(const std::uint8_t* source, [[maybe_unused]] std::size_t stride) {
#if HWY_TARGET == HWY_AVX2
    return hn::Combine(Bytes(), hn::LoadU(HalfBytes(), source + stride), hn::LoadU(HalfBytes(), source));
#else
    return hn::LoadU(Bytes(), source);
#endif
}

#endif

// An encoding: Sample takes one sample. Mono takes as many as there are lanes, Stereo as many frames; Reach
// is how many bytes from the first on they touch.

template<bool big>
struct Int16 {
    static constexpr std::size_t bytes = 2;
    static constexpr bool isFloat = false;

    static std::uint32_t Sample(const std::uint8_t* source) {
        return big ? std::uint32_t{source[0]} << 24U | std::uint32_t{source[1]} << 16U
                   : std::uint32_t{source[1]} << 24U | std::uint32_t{source[0]} << 16U;
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t monoReach = 2 * lanes;
    static constexpr std::size_t stereoReach = 4 * lanes;

    static HWY_INLINE VLanes Mono(const std::uint8_t* source) {
        const hn::Rebind<std::int16_t, Lanes> narrow;
        const auto loaded = hn::LoadU(HalfBytes(), source);
        const VLanes wide = hn::PromoteTo(Lanes(), hn::BitCast(narrow, loaded));
        if constexpr (big) {
            return AsLanes(Rearranged(hn::BitCast(Bytes(), wide), monoFromBig));
        } else {
            return hn::ShiftLeft<16>(wide);
        }
    }

    static HWY_INLINE void Stereo(const std::uint8_t* source, VLanes& left, VLanes& right) {
        const VBytes loaded = hn::LoadU(Bytes(), source);
        if constexpr (big) {
            left = AsLanes(Rearranged(loaded, leftFromBig));
            right = AsLanes(Rearranged(loaded, rightFromBig));
        } else {
            left = hn::ShiftLeft<16>(AsLanes(loaded));
            right = hn::And(AsLanes(loaded), hn::Set(Lanes(), static_cast<std::int32_t>(0xFFFF0000U)));
        }
    }

private:
    static constexpr std::uint8_t no = 0x80;
    static constexpr Pattern monoFromBig{no, no, 1, 0, no, no, 5, 4, no, no, 9, 8, no, no, 13, 12};
    static constexpr Pattern leftFromBig = monoFromBig;
    static constexpr Pattern rightFromBig{no, no, 3, 2, no, no, 7, 6, no, no, 11, 10, no, no, 15, 14};
#endif
};

template<bool big>
struct Int24 {
    static constexpr std::size_t bytes = 3;
    static constexpr bool isFloat = false;

    static std::uint32_t Sample(const std::uint8_t* source) {
        return std::uint32_t{source[big ? 0 : 2]} << 24U | std::uint32_t{source[1]} << 16U |
               std::uint32_t{source[big ? 2 : 0]} << 8U;
    }

#if HWY_TARGET != HWY_SCALAR
    // A block takes 12 bytes, four samples, of the 16 that it loads.
    static constexpr std::size_t monoReach = 12 * (blocks - 1) + 16;
    static constexpr std::size_t stereoReach = 24 * (blocks - 1) + 12 + 16;

    static HWY_INLINE VLanes Mono(const std::uint8_t* source) {
        return AsLanes(Rearranged(LoadBlocks(source, 12), big ? inOrderFromBig : inOrder));
    }

    static HWY_INLINE void Stereo(const std::uint8_t* source, VLanes& left, VLanes& right) {
        const hn::ScalableTag<std::uint64_t> pairs;
        const Pattern& pattern = big ? apartFromBig : apart;
        // Two frames in each block, left and right in a half each.
        const auto first = hn::BitCast(pairs, Rearranged(LoadBlocks(source, 24), pattern));
        const auto second = hn::BitCast(pairs, Rearranged(LoadBlocks(source + 12, 24), pattern));
        left = hn::BitCast(Lanes(), hn::InterleaveLower(pairs, first, second));
        right = hn::BitCast(Lanes(), hn::InterleaveUpper(pairs, first, second));
    }

private:
    static constexpr std::uint8_t no = 0x80;
    static constexpr Pattern inOrder{no, 0, 1, 2, no, 3, 4, 5, no, 6, 7, 8, no, 9, 10, 11};
    static constexpr Pattern inOrderFromBig{no, 2, 1, 0, no, 5, 4, 3, no, 8, 7, 6, no, 11, 10, 9};
    static constexpr Pattern apart{no, 0, 1, 2, no, 6, 7, 8, no, 3, 4, 5, no, 9, 10, 11};
    static constexpr Pattern apartFromBig{no, 2, 1, 0, no, 8, 7, 6, no, 5, 4, 3, no, 11, 10, 9};
#endif
};

template<bool big, bool floats>
struct Word32 {
    static constexpr std::size_t bytes = 4;
    static constexpr bool isFloat = floats;

    static std::uint32_t Sample(const std::uint8_t* source) {
        return std::uint32_t{source[big ? 0 : 3]} << 24U | std::uint32_t{source[big ? 1 : 2]} << 16U |
               std::uint32_t{source[big ? 2 : 1]} << 8U | std::uint32_t{source[big ? 3 : 0]};
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t monoReach = 4 * lanes;
    static constexpr std::size_t stereoReach = 8 * lanes;

    static HWY_INLINE VLanes Mono(const std::uint8_t* source) {
        const VBytes loaded = hn::LoadU(Bytes(), source);
        if constexpr (big) {
            return AsLanes(Rearranged(loaded, fromBig));
        } else {
            return AsLanes(loaded);
        }
    }

    static HWY_INLINE void Stereo(const std::uint8_t* source, VLanes& left, VLanes& right) {
        const VLanes first = Mono(source);
        const VLanes second = Mono(source + vectorBytes);
        left = hn::ConcatEven(Lanes(), second, first);
        right = hn::ConcatOdd(Lanes(), second, first);
    }

private:
    static constexpr Pattern fromBig{3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
#endif
};

// A destination: what it makes of a sample, and of a vector of them.

struct FloatSink {
    using Type = float;

    template<class Encoding>
    static float Sample(std::uint32_t bits) {
        if constexpr (Encoding::isFloat) {
            return std::bit_cast<float>(bits);
        } else {
            return static_cast<float>(static_cast<std::int32_t>(bits)) * laneScale;
        }
    }

#if HWY_TARGET != HWY_SCALAR
    template<class Encoding>
    static HWY_INLINE void Store(VLanes samples, float* destination) {
        const hn::ScalableTag<float> d;
        if constexpr (Encoding::isFloat) {
            hn::StoreU(hn::BitCast(d, samples), d, destination);
        } else {
            hn::StoreU(hn::Mul(hn::ConvertTo(d, samples), hn::Set(d, laneScale)), d, destination);
        }
    }
#endif
};

struct Int16Sink {
    using Type = std::int16_t;

    template<class Encoding>
    static std::int16_t Sample(std::uint32_t bits) {
        if constexpr (Encoding::isFloat) {
            const float scaled = std::bit_cast<float>(bits) * int16Scale;
            // Not a number fails every comparison.
            const float cut = !(scaled == scaled) ? 0.0F : std::clamp(scaled, -int16Scale, int16Scale - 1);
            return static_cast<std::int16_t>(std::lrint(cut));
        } else {
            return static_cast<std::int16_t>(static_cast<std::int32_t>(bits) >> 16);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    template<class Encoding>
    static HWY_INLINE void Store(VLanes samples, std::int16_t* destination) {
        const hn::Rebind<std::int16_t, Lanes> narrow;
        if constexpr (Encoding::isFloat) {
            const hn::ScalableTag<float> d;
            const auto scaled = hn::Mul(hn::BitCast(d, samples), hn::Set(d, int16Scale));
            const auto numbers = hn::IfThenElseZero(hn::Eq(scaled, scaled), scaled);
            const auto cut = hn::Min(hn::Max(numbers, hn::Set(d, -int16Scale)), hn::Set(d, int16Scale - 1));
            hn::StoreU(hn::DemoteTo(narrow, hn::NearestInt(cut)), narrow, destination);
        } else {
            hn::StoreU(hn::DemoteTo(narrow, hn::ShiftRight<16>(samples)), narrow, destination);
        }
    }
#endif
};

template<class Encoding, class Sink>
void Mono(const std::uint8_t* source, std::size_t count, typename Sink::Type* destination) noexcept {
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    // The last samples whose vector stays within the source.
    const std::size_t all = count * Encoding::bytes;
    for (std::size_t at = 0; at + Encoding::monoReach <= all; at += lanes * Encoding::bytes) {
        Sink::template Store<Encoding>(Encoding::Mono(source + at), destination + i);
        i += lanes;
    }
#endif
    for (; i < count; ++i) {
        destination[i] = Sink::template Sample<Encoding>(Encoding::Sample(source + i * Encoding::bytes));
    }
}

template<class Encoding, class Sink>
void Stereo(
    const std::uint8_t* source, std::size_t frames, typename Sink::Type* left,
    typename Sink::Type* right) noexcept {
    constexpr std::size_t frameBytes = 2 * Encoding::bytes;
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const std::size_t all = frames * frameBytes;
    for (std::size_t at = 0; at + Encoding::stereoReach <= all; at += lanes * frameBytes) {
        VLanes first;
        VLanes second;
        Encoding::Stereo(source + at, first, second);
        Sink::template Store<Encoding>(first, left + i);
        Sink::template Store<Encoding>(second, right + i);
        i += lanes;
    }
#endif
    for (; i < frames; ++i) {
        const std::uint8_t* const frame = source + i * frameBytes;
        left[i] = Sink::template Sample<Encoding>(Encoding::Sample(frame));
        right[i] = Sink::template Sample<Encoding>(Encoding::Sample(frame + Encoding::bytes));
    }
}

template<class Sink, class... Encodings>
constexpr std::array<ConversionKernels<typename Sink::Type>, sizeof...(Encodings)> MakeKernels() {
    return {ConversionKernels<typename Sink::Type>{&Mono<Encodings, Sink>, &Stereo<Encodings, Sink>}...};
}

/// In the order of SampleEncoding.
template<class Sink>
constexpr auto MakeAllKernels() {
    return MakeKernels<
        Sink, Int16<false>, Int16<true>, Int24<false>, Int24<true>, Word32<false, false>, Word32<true, false>,
        Word32<false, true>, Word32<true, true>>();
}

const ConversionTable* GetConversionTable() {
    static constexpr ConversionTable table{MakeAllKernels<FloatSink>(), MakeAllKernels<Int16Sink>()};
    return &table;
}

} // namespace HWY_NAMESPACE
} // namespace Audio::Decode
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Audio::Decode {

HWY_EXPORT(GetConversionTable);

namespace {

const ConversionKernels<float>& kernels(SampleEncoding encoding, const float*) {
    return HWY_DYNAMIC_DISPATCH(GetConversionTable)()->toFloat[static_cast<std::size_t>(encoding)];
}

const ConversionKernels<std::int16_t>& kernels(SampleEncoding encoding, const std::int16_t*) {
    return HWY_DYNAMIC_DISPATCH(GetConversionTable)()->toInt16[static_cast<std::size_t>(encoding)];
}

/// More channels than two are converted a first-level cache's worth at a time, and taken apart there.
template<class T>
void deinterleaveMany(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t frames, std::size_t channelCount,
    T* const* channels, std::size_t offset) {
    std::array<T, 2048> block;
    const ConversionKernels<T>& kernel = kernels(encoding, block.data());
    if (channelCount > block.size()) {
        for (std::size_t frame = 0; frame < frames; ++frame) {
            for (std::size_t channel = 0; channel < channelCount; ++channel) {
                kernel.mono(source, 1, channels[channel] + offset + frame);
                source += bytesOf(encoding);
            }
        }
        return;
    }
    const std::size_t blockFrames = block.size() / channelCount;
    for (std::size_t done = 0; done < frames;) {
        const std::size_t now = std::min(blockFrames, frames - done);
        kernel.mono(source, now * channelCount, block.data());
        for (std::size_t channel = 0; channel < channelCount; ++channel) {
            T* const destination = channels[channel] + offset + done;
            const T* sample = block.data() + channel;
            for (std::size_t i = 0; i < now; ++i, sample += channelCount) {
                destination[i] = *sample;
            }
        }
        source += now * channelCount * bytesOf(encoding);
        done += now;
    }
}

template<class T>
void deinterleave(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t frames, std::size_t channelCount,
    T* const* channels, std::size_t offset) {
    if (channelCount == 1) {
        kernels(encoding, channels[0]).mono(source, frames, channels[0] + offset);
    } else if (channelCount == 2) {
        kernels(encoding, channels[0]).stereo(source, frames, channels[0] + offset, channels[1] + offset);
    } else {
        deinterleaveMany(encoding, source, frames, channelCount, channels, offset);
    }
}

} // namespace

void Convert(SampleEncoding encoding, const std::uint8_t* source, std::size_t count, float* destination) {
    kernels(encoding, destination).mono(source, count, destination);
}

void Convert(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t count, std::int16_t* destination) {
    kernels(encoding, destination).mono(source, count, destination);
}

void Deinterleave(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t frames, std::size_t channelCount,
    float* const* channels, std::size_t offset) {
    deinterleave(encoding, source, frames, channelCount, channels, offset);
}

void Deinterleave(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t frames, std::size_t channelCount,
    std::int16_t* const* channels, std::size_t offset) {
    deinterleave(encoding, source, frames, channelCount, channels, offset);
}

} // namespace Audio::Decode

#endif
