#pragma once

#include <cstddef>
#include <cstdint>

/// From the bytes of sound files to the samples that are worked with. Written on vectors, the variant for the
/// processor being chosen at run time. Pointers need no alignment, bytes behind the samples are not touched,
/// nothing allocates. [any]
///
/// Integers become floats by scaling full scale, 2^(bits - 1), to 1; those of 32 bits are rounded to the
/// nearest float, ties to even. Integers become int16 by their upper 16 bits. Floats become floats bit by
/// bit, and int16 scaled by 32768, rounded to the nearest, ties to even, and cut to the range; what is no
/// number becomes 0.
namespace Audio::Decode {

enum class SampleEncoding : std::uint8_t {
    Int16Little,
    Int16Big,
    Int24Little,
    Int24Big,
    Int32Little,
    Int32Big,
    Float32Little,
    Float32Big
};
constexpr std::size_t sampleEncodings = 8;

/// Of one sample.
constexpr std::size_t bytesOf(SampleEncoding encoding) {
    return encoding <= SampleEncoding::Int16Big ? 2 : encoding <= SampleEncoding::Int24Big ? 3 : 4;
}

/// Interleaved to interleaved. count: samples, of all channels together.
void Convert(SampleEncoding encoding, const std::uint8_t* source, std::size_t count, float* destination);
void Convert(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t count, std::int16_t* destination);

/// Interleaved to one array per channel. The frames go to channels[i][offset] and on.
void Deinterleave(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t frames, std::size_t channelCount,
    float* const* channels, std::size_t offset);
void Deinterleave(
    SampleEncoding encoding, const std::uint8_t* source, std::size_t frames, std::size_t channelCount,
    std::int16_t* const* channels, std::size_t offset);

} // namespace Audio::Decode
