#include "dsp/ChannelLayout.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

struct Row {
    std::int32_t code;
    const char* name;
    std::int32_t channels;
};

constexpr Row named[] = {
    {0, "Mono", 1},      {1, "Stereo", 2},    {2, "Mid-Side", 2},     {3, "LRC", 3},
    {4, "LRS", 3},       {5, "LCRS", 4},      {6, "Quad", 4},         {7, "5.0", 5},
    {8, "5.1", 6},       {9, "7.0", 7},       {10, "7.0 SDDS", 7},    {11, "7.0.2", 9},
    {12, "7.1", 8},      {13, "7.1 SDDS", 8}, {14, "7.1.2", 10},      {38, "LCR", 3},
    {39, "5.0 FILM", 5}, {40, "5.1", 6},      {41, "5.1 DTS", 6},     {42, "5.1 FILM", 6},
    {43, "7.0 FILM", 7}, {44, "7.1 FILM", 8}, {45, "7.1.2 FILM", 10}, {46, "7.0.2 FILM", 9},
};

TEST(ChannelLayout, Each_named_code_has_its_name_and_channel_count) {
    for (const Row& row : named) {
        EXPECT_EQ(DSP::getChannelCount(row.code), row.channels) << row.code;
        EXPECT_EQ(DSP::getLayoutName(row.code).toStdString(), row.name) << row.code;
    }
}

TEST(ChannelLayout, Codes_15_to_36_are_plain_counts_of_code_minus_12) {
    for (std::int32_t code = 15; code <= 36; ++code) {
        const std::string count = std::to_string(code - 12);
        EXPECT_EQ(DSP::getChannelCount(code), code - 12);
        EXPECT_EQ(DSP::getLayoutName(code).toStdString(), count + "->" + count);
    }
    EXPECT_EQ(DSP::getLayoutName(15).toStdString(), "3->3");
    EXPECT_EQ(DSP::getLayoutName(36).toStdString(), "24->24");
}

TEST(ChannelLayout, Codes_8_and_40_share_a_name) {
    EXPECT_TRUE(DSP::getLayoutName(8) == DSP::getLayoutName(40));
    EXPECT_EQ(DSP::getLayoutName(40).toStdString(), "5.1");
}

TEST(ChannelLayout, Height_layouts_count_their_height_channels) {
    EXPECT_EQ(DSP::getChannelCount(11), 9);
    EXPECT_EQ(DSP::getChannelCount(14), 10);
}

TEST(ChannelLayout, Codes_without_meaning_have_no_channels_and_a_question_mark) {
    for (const std::int32_t code :
         {37, 47, -1, 48, 1000, std::numeric_limits<std::int32_t>::max(),
          std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(DSP::getChannelCount(code), 0) << code;
        EXPECT_EQ(DSP::getLayoutName(code).toStdString(), "?") << code;
    }
}

TEST(ChannelLayout, No_code_has_more_than_24_channels) {
    for (std::int32_t code = -100; code <= 100; ++code) {
        EXPECT_GE(DSP::getChannelCount(code), 0);
        EXPECT_LE(DSP::getChannelCount(code), 24);
    }
}

} // namespace
