// The headers of a library file, whatever stands in them.

#include "Require.h"
#include "hosting/vst/LibraryImage.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    REQUIRE(Tarvik::readPortableExecutable({data, size}).size() <= 1);
    REQUIRE(Tarvik::readElf({data, size}).size() <= 1);
    return 0;
}
