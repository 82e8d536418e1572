#include "audio/decode/Stream.h"

namespace Audio::Decode {

Result Stream::resync() {
    return sync();
}

Result Stream::ReadFloatInterleaved(std::uint64_t, double*, std::uint64_t& framesRead) {
    framesRead = 0;
    return {};
}

checked_value<ChunkRecord> Stream::chunk(std::size_t) const {
    return {};
}

expected<std::vector<Marker>, Error> Stream::markers() {
    return std::vector<Marker>();
}

expected<std::vector<Region>, Error> Stream::regions() {
    return std::vector<Region>();
}

expected<std::vector<CueText>, Error> Stream::notes() {
    return std::vector<CueText>();
}

std::vector<ApplicationChunk> Stream::applicationChunks() const {
    return {};
}

LoopInfo Stream::loopInfo() const {
    return {};
}

std::vector<String> Stream::diagnostics() const {
    return {};
}

expected<String, Error> Stream::originatorReference() {
    return String();
}

} // namespace Audio::Decode
