#include "dsp/ChannelLayout.h"

#include <array>
#include <cstddef>

namespace DSP {

namespace {

struct Layout {
    const char* name;
    std::int32_t channels;
};

// Indexed by code. The codes from 15 to 36 are plain channel counts; their names share one format.
constexpr Layout unknown{"?", 0};
constexpr const char* plainName = "%1->%1";
constexpr std::int32_t firstPlain = 15;
constexpr std::int32_t lastPlain = 36;
constexpr std::int32_t plainOffset = 12;

constexpr std::array<Layout, 15> surround{{
    {"Mono", 1},
    {"Stereo", 2},
    {"Mid-Side", 2},
    {"LRC", 3},
    {"LRS", 3},
    {"LCRS", 4},
    {"Quad", 4},
    {"5.0", 5},
    {"5.1", 6},
    {"7.0", 7},
    {"7.0 SDDS", 7},
    {"7.0.2", 9},
    {"7.1", 8},
    {"7.1 SDDS", 8},
    {"7.1.2", 10},
}};
static_assert(surround.size() == firstPlain);

constexpr std::array<Layout, 10> film{{
    unknown,
    {"LCR", 3},
    {"5.0 FILM", 5},
    {"5.1", 6},
    {"5.1 DTS", 6},
    {"5.1 FILM", 6},
    {"7.0 FILM", 7},
    {"7.1 FILM", 8},
    {"7.1.2 FILM", 10},
    {"7.0.2 FILM", 9},
}};

constexpr Layout find(std::int32_t code) {
    if (code < 0) {
        return unknown;
    }
    if (code < firstPlain) {
        return surround[static_cast<std::size_t>(code)];
    }
    if (code <= lastPlain) {
        return {plainName, code - plainOffset};
    }
    const auto index = static_cast<std::size_t>(code - lastPlain - 1);
    return index < film.size() ? film[index] : unknown;
}

} // namespace

std::int32_t getChannelCount(std::int32_t layout) noexcept {
    return find(layout).channels;
}

String getLayoutName(std::int32_t layout) {
    const Layout found = find(layout);
    if (found.name == plainName) {
        // arg fills one placeholder at a time, so the count is given once for each side.
        return String(plainName).arg(found.channels).arg(found.channels);
    }
    return found.name;
}

} // namespace DSP
