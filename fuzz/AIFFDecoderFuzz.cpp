// Any bytes as an AIFF file: what sync makes of them, every accessor, reads and seeks. The last bytes of the
// input choose the operations, those before them are the file.

#include "StreamOperations.h"

#include "audio/decode/AIFFDecoder.h"

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    FuzzedDataProvider input(data, size);
    const auto operationBytes = input.ConsumeIntegral<std::uint8_t>() % 64U;
    const std::vector<std::uint8_t> bytes =
        input.ConsumeBytes<std::uint8_t>(size > operationBytes ? size - operationBytes : size);
    file.setBytes(bytes.data(), bytes.size());

    Audio::Decode::AIFF::Decoder decoder(file.path());
    StreamOperations(decoder).run(input, file, bytes.size());
    REQUIRE(decoder.format().channels <= 50);
    REQUIRE(decoder.transients().size() <= 49999);
    return 0;
}
