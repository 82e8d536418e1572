#include "audio/decode/BadFormatError.h"

#include <utility>

namespace Audio::Decode {

BadFormatError::BadFormatError(std::uint32_t code, String format, String path)
    : BasicError("Audio::Decode::BadFormatError", code, std::move(format)), path_(std::move(path)) {}

} // namespace Audio::Decode
