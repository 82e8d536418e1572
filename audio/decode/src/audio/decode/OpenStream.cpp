#include "audio/decode/OpenStream.h"

#include "audio/decode/AIFFDecoder.h"
#include "audio/decode/Bytes.h"
#include "audio/decode/FourCC.h"
#include "audio/decode/PlatformDecoders.h"
#include "audio/decode/WAVDecoder.h"
#include "svbase/util/File.h"
#include "svbase/util/Path.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace Audio::Decode {

namespace {

constexpr std::size_t headBytes = 2048;
constexpr std::size_t leastHeadBytes = 12;

bool isOneOf(const String& text, std::initializer_list<const char*> list) {
    return std::any_of(list.begin(), list.end(), [&](const char* item) { return text == item; });
}

/// By the four bytes at the start and those at 8.
std::uint32_t typeByContent(std::span<const std::uint8_t> head) {
    const std::uint32_t form = big32(head.data());
    const std::uint32_t kind = big32(head.data() + 8);
    if ((form == fourCC("RIFF") || form == fourCC("RF64")) && kind == fourCC("WAVE")) {
        return FileTypeWAV;
    }
    if (form == fourCC("FORM") && (kind == fourCC("AIFF") || kind == fourCC("AIFC"))) {
        return FileTypeAIFF;
    }
    if (PlatformDecoders::IsMediaData(head)) {
        return FileTypeMedia;
    }
    return form == fourCC("CAT ") && kind == fourCC("REX2") ? FileTypeREX : FileTypeNone;
}

std::uint32_t typeByName(const String& path) {
    const String name = Util::Path::fileName(path).toLower();
    const std::vector<String> pieces = name.split('.');
    if (pieces.size() < 2) {
        return FileTypeNone;
    }
    const String& extension = pieces.back();
    if (isOneOf(extension, {"wav", "bwf"})) {
        return FileTypeWAV;
    }
    if (isOneOf(extension, {"aif", "aiff"})) {
        return FileTypeAIFF;
    }
    if (PlatformDecoders::HasMediaLibrary() && isOneOf(extension, {"wma", "mp3", "wmv", "asf"})) {
        return FileTypeMedia;
    }
    return isOneOf(extension, {"rc2", "rcy"}) ? FileTypeREX : FileTypeNone;
}

std::uint32_t typeByTrying(const String& path) {
    for (std::uint32_t type = FileTypeNone; type <= FileTypeLast; ++type) {
        const std::shared_ptr<Stream> decoder = createDecoder(path, type);
        if (decoder != nullptr && decoder->sync()) {
            return type;
        }
    }
    return FileTypeNone;
}

} // namespace

bool detectFileType(const String& path, bool& isCompressed, std::uint32_t& type) {
    isCompressed = false;
    type = FileTypeNone;
    std::array<std::uint8_t, headBytes> buffer{};
    std::span<const std::uint8_t> head;
    {
        // Closed again before decoders try the file.
        Util::File file(path);
        if (!file.open(Util::File::Read)) {
            return false;
        }
        head = std::span(buffer).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(headBytes, file.size().value)));
        if (head.size() < leastHeadBytes || !file.read(buffer.data(), head.size())) {
            return false;
        }
    }
    type = typeByContent(head);
    if (type == FileTypeNone) {
        type = typeByName(path);
    }
    if (type == FileTypeNone) {
        type = typeByTrying(path);
    }
    isCompressed = type != FileTypeNone && type != FileTypeWAV && type != FileTypeAIFF && type != FileTypeREX;
    return type != FileTypeNone;
}

std::shared_ptr<Stream> createDecoder(const String& path, std::uint32_t type) {
    switch (type) {
    case FileTypeWAV:
        return std::make_shared<WAV::Decoder>(path);
    case FileTypeAIFF:
        return std::make_shared<AIFF::Decoder>(path);
    default:
        return PlatformDecoders::Create(path, type);
    }
}

std::shared_ptr<Stream> openStream(const String& path) {
    bool isCompressed = false;
    std::uint32_t type = FileTypeNone;
    return detectFileType(path, isCompressed, type) ? createDecoder(path, type) : nullptr;
}

} // namespace Audio::Decode
