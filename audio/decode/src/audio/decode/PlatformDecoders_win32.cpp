#include "audio/decode/PlatformDecoders.h"

#include "audio/decode/REXDecoder.h"
#include "audio/decode/REXLibrary_win32.h"

namespace Audio::Decode::PlatformDecoders {

bool HasMediaLibrary() {
    return false;
}

bool IsMediaData(std::span<const std::uint8_t>) {
    return false;
}

std::shared_ptr<Stream> Create(const String& path, std::uint32_t type) {
    return type == FileTypeREX ? std::make_shared<REX::Decoder>(path, REX::ProcessLibrary()) : nullptr;
}

} // namespace Audio::Decode::PlatformDecoders
