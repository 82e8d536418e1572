// Any bytes are a list of filters or a failure with a reason, the same whether they come whole or in pieces;
// what was read is written and read again.

#include "Require.h"

#include "parent/FilterListText.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using Tarvik::FilterListReader;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    FilterListReader whole;
    whole.feed(input);

    // The first byte says how long the pieces are.
    const std::size_t piece = size == 0 ? 1 : data[0] % 16 + 1;
    FilterListReader pieces;
    for (std::size_t from = 0; from < size; from += piece) {
        pieces.feed(input.substr(from, piece));
    }
    REQUIRE(pieces.state() == whole.state());
    REQUIRE(pieces.error() == whole.error());
    REQUIRE(whole.error().isEmpty() == (whole.state() != FilterListReader::State::failed));
    if (whole.state() != FilterListReader::State::complete) {
        return 0;
    }

    const std::string text = filterListText(whole.list());
    REQUIRE(filterListText(pieces.list()) == text);
    FilterListReader again;
    REQUIRE(again.feed(text) == FilterListReader::State::complete);
    REQUIRE(filterListText(again.list()) == text);
    for (std::size_t i = 1; i < again.list().filters.size(); ++i) {
        REQUIRE(again.list().filters[i - 1].classId < again.list().filters[i].classId);
    }
    return 0;
}
