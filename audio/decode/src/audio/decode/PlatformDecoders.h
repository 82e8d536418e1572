#pragma once

#include "audio/decode/Stream.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <memory>
#include <span>

/// The decoders that a platform brings along. Duties of a platform: say what it has, and make it.
namespace Audio::Decode::PlatformDecoders {

/// Whether there is a media library, so that files of FileTypeMedia and FileTypeOtherMedia can be read. [any]
bool HasMediaLibrary();

/// Whether the media library takes a file for one of its own by its first bytes; false without one. bytes:
/// 12..2048 of them.
bool IsMediaData(std::span<const std::uint8_t> bytes);

/// An unsynced decoder of the types FileTypeMedia, FileTypeOtherMedia and FileTypeREX; null where the
/// platform has none, and for every other type.
std::shared_ptr<Stream> Create(const String& path, std::uint32_t type);

} // namespace Audio::Decode::PlatformDecoders
