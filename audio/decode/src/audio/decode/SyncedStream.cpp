#include "audio/decode/SyncedStream.h"

#include <utility>

namespace Audio::Decode {

SyncedStream::SyncedStream(String path) : path_(std::move(path)) {}

BadFormatError SyncedStream::bad(const char* format, std::uint32_t code) const {
    return {code, format, path_};
}

void SyncedStream::clearStream() {
    synced_ = false;
    format_ = {};
    totalFrames_ = 0;
    position_ = 0;
}

Result SyncedStream::moved(std::uint64_t) {
    return {};
}

Result SyncedStream::seek(std::uint64_t frame) {
    if (frame == position_) {
        return {};
    }
    if (!synced_) {
        return unexpected(bad("Seek to %1 when not sync'd").arg(frame));
    }
    if (frame > totalFrames_) {
        return unexpected(bad("Seek to %1, total sample frames %2").arg(frame).arg(totalFrames_));
    }
    position_ = frame;
    return moved(frame);
}

} // namespace Audio::Decode
