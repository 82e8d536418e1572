// Any bytes as a WAV file: what sync makes of them, every accessor, reads and seeks. The last bytes of the
// input choose the operations, those before them are the file.

#include "StreamOperations.h"

#include "audio/decode/WAVDecoder.h"

#include <array>
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

    Audio::Decode::WAV::Decoder decoder(file.path());
    StreamOperations(decoder).run(input, file, bytes.size());
    std::array<char, 32> reference{};
    static_cast<void>(decoder.GetOriginatorReference(reference));
    static_cast<void>(decoder.cuePoints());
    static_cast<void>(decoder.labels());
    static_cast<void>(decoder.labeledText());
    REQUIRE(decoder.bextData().empty() || decoder.bextData().size() >= 602);
    return 0;
}
