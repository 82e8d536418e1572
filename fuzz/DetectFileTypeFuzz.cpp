// Any bytes: a type is found by them or not, and then there is a stream or not.

#include "MemoryFile.h"
#include "Require.h"

#include "audio/decode/OpenStream.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    file.setBytes(data, size);
    bool isCompressed = true;
    std::uint32_t type = 99;
    const bool isFound = Audio::Decode::detectFileType(file.path(), isCompressed, type);
    REQUIRE(isFound == (type != 0));
    REQUIRE(isFound || !isCompressed);
    REQUIRE(!isFound || size >= 12);
    const auto stream = Audio::Decode::openStream(file.path());
    REQUIRE(
        (stream != nullptr) == (type == Audio::Decode::FileTypeWAV || type == Audio::Decode::FileTypeAIFF));
    if (stream != nullptr) {
        REQUIRE(stream->fileType() == type);
        static_cast<void>(stream->sync());
    }
    return 0;
}
