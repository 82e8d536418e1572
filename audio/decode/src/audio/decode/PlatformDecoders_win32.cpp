#include "audio/decode/PlatformDecoders.h"

#include "audio/decode/MediaLibrary_win32.h"
#include "audio/decode/REXDecoder.h"
#include "audio/decode/REXLibrary_win32.h"
#include "audio/decode/WMADecoder_win32.h"

namespace Audio::Decode::PlatformDecoders {

bool HasMediaLibrary() {
    return WMA::MediaLibrary::system() != nullptr;
}

bool IsMediaData(std::span<const std::uint8_t> bytes) {
    const auto library = WMA::MediaLibrary::system();
    return library != nullptr && library->IsMediaData(bytes);
}

std::shared_ptr<Stream> Create(const String& path, std::uint32_t type) {
    switch (type) {
    case FileTypeMedia:
    case FileTypeOtherMedia:
        return std::make_shared<WMA::Decoder>(path);
    case FileTypeREX:
        return std::make_shared<REX::Decoder>(path, REX::ProcessLibrary());
    default:
        return nullptr;
    }
}

} // namespace Audio::Decode::PlatformDecoders
