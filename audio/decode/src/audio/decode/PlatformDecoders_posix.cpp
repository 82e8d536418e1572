#include "audio/decode/PlatformDecoders.h"

namespace Audio::Decode::PlatformDecoders {

bool HasMediaLibrary() {
    return false;
}

bool IsMediaData(std::span<const std::uint8_t>) {
    return false;
}

std::shared_ptr<Stream> Create(const String&, std::uint32_t) {
    return nullptr;
}

} // namespace Audio::Decode::PlatformDecoders
