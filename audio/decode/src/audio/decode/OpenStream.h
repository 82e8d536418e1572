#pragma once

#include "audio/decode/Stream.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <memory>

/// From a path to the decoder that reads it. [any]
namespace Audio::Decode {

/// Finds out what kind of file it is: by its first bytes, or else by its name, or else by trying. type: a
/// FileType. isCompressed: whether the samples went through a codec. False, and both outputs zero, for what
/// no decoder is known for, what cannot be opened, and files below 12 bytes.
///
/// A type by the name alone may be wrong: then the decoder's sync says so.
bool detectFileType(const String& path, bool& isCompressed, std::uint32_t& type);

/// An unsynced decoder for the type; null where there is none, for the type or on this platform.
std::shared_ptr<Stream> createDecoder(const String& path, std::uint32_t type);

/// Both in one. Whoever gets null reports "Could not determine the filetype of " and the quoted path.
std::shared_ptr<Stream> openStream(const String& path);

} // namespace Audio::Decode
