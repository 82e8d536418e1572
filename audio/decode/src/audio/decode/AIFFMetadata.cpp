#include "audio/decode/AIFFDecoder.h"
#include "audio/decode/Bytes.h"
#include "audio/decode/FourCC.h"

#include <array>
#include <string>
#include <unordered_map>
#include <utility>

namespace Audio::Decode::AIFF {

namespace {

constexpr std::uint64_t markerHeaderBytes = 7;
constexpr std::uint32_t instrumentBytes = 20;
constexpr std::size_t firstLoopOffset = 8;
constexpr std::size_t loopBytes = 6;

} // namespace

expected<std::vector<Marker>, Error> Decoder::markers() {
    std::vector<Marker> result;
    const checked_value<ChunkRecord> chunk = find(fourCC("MARK"));
    if (!chunk || chunk.value.size < 2) {
        return result;
    }
    std::array<std::uint8_t, markerHeaderBytes> header{};
    if (const Result got = readAt(chunk.value.position, header.data(), 2); !got) {
        return unexpected(got.error());
    }
    const unsigned count = big16(header.data());
    std::uint64_t position = chunk.value.position + 2;
    const std::uint64_t end = chunk.value.position + chunk.value.size;
    for (unsigned i = 0; i < count && position + markerHeaderBytes <= end; ++i) {
        if (const Result got = readAt(position, header.data(), header.size()); !got) {
            return unexpected(got.error());
        }
        // A name is its length in one byte and its letters, and a byte to make both together even.
        const unsigned length = header[markerHeaderBytes - 1];
        position += markerHeaderBytes;
        if (length > end - position) {
            break;
        }
        std::string name(length, '\0');
        if (const Result got = readAt(position, name.data(), length); !got) {
            return unexpected(got.error());
        }
        position += length + ((length & 1U) == 0 ? 1 : 0);
        result.push_back({big16(header.data()), big32(header.data() + 2), String(name.c_str())});
    }
    return result;
}

expected<std::vector<Region>, Error> Decoder::regions() {
    std::vector<Region> result;
    const checked_value<ChunkRecord> chunk = find(fourCC("INST"));
    if (!chunk || chunk.value.size < instrumentBytes) {
        return result;
    }
    std::array<std::uint8_t, instrumentBytes> body{};
    if (const Result got = readAt(chunk.value.position, body.data(), body.size()); !got) {
        return unexpected(got.error());
    }
    const auto points = markers();
    if (!points) {
        return unexpected(points.error());
    }
    std::unordered_map<std::uint32_t, std::uint64_t> frameOf;
    for (const Marker& marker : *points) {
        frameOf.emplace(marker.identifier, marker.frame);
    }
    constexpr std::array<const char*, 2> names{"sustain", "release"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::uint8_t* const loop = body.data() + firstLoopOffset + i * loopBytes;
        const auto begin = frameOf.find(big16(loop + 2));
        const auto end = frameOf.find(big16(loop + 4));
        const bool plays = big16(loop) != 0;
        if (plays && begin != frameOf.end() && end != frameOf.end() && begin->second < end->second) {
            result.push_back(
                {static_cast<std::uint32_t>(i + 1), begin->second, end->second - begin->second, names[i]});
        }
    }
    return result;
}

} // namespace Audio::Decode::AIFF
