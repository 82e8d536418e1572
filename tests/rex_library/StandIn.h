#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Stands in for the vendor's library, whose files nobody but it can make or read: a library of our own, with
/// the published records, for loops in a kind of file of our own. Strict where the vendor may be lenient, and
/// made for one thread at a time. Compiled into the tests, and into a library that is loaded by its name.
///
/// Its file, in 32-bit integers, the least byte first, behind "CAT ", four bytes and "REX2": the nine of the
/// info record; how many slices follow, with position, length and seed each; how many orders to fail follow,
/// with call, index, time and error number each.
namespace StandIn {

/// The calls that may be ordered to fail.
enum Call : std::int32_t { CallCreate, CallGetInfo, CallGetSliceInfo, CallRenderSlice };

/// A sample of a slice as it is rendered. Sums of some are exact. Seed 0 renders nothing at all.
inline float sample(std::int32_t seed, std::size_t channel, std::size_t frame) {
    return static_cast<float>(seed) / 64 + static_cast<float>(channel) / 128 +
           static_cast<float>(frame % 50) / 8192;
}

void Open();
void Close();
std::int32_t Create(void** handle, const char* buffer, std::int32_t size);
void Delete(void** handle);
std::int32_t GetInfo(void* handle, std::int32_t size, void* info);
std::int32_t GetSliceInfo(void* handle, std::int32_t index, std::int32_t size, void* info);
std::int32_t RenderSlice(void* handle, std::int32_t index, std::int32_t bufferFrames, float** outputs);

/// What has been called, in order, since the last time of asking: "Open", "Create 120", "RenderSlice 3"...
std::string TakeCalls();
/// How many loops are open.
std::size_t OpenLoops();

} // namespace StandIn
