#include "protocol/PluginFormat.h"

#include <gtest/gtest.h>

using namespace Tarvik;

namespace {

void expectNames(int value, const char* shortName, const char* displayName) {
    const auto format = static_cast<PluginFormat>(value);
    EXPECT_STREQ(GetPluginFormatShortName(format).c_str(), shortName) << value;
    EXPECT_STREQ(GetPluginFormatDisplayName(format).c_str(), displayName) << value;
}

} // namespace

TEST(PluginFormat, Each_format_has_a_short_and_a_display_name) {
    expectNames(0, "None", "None");
    expectNames(1, "AU", "Audio Unit");
    expectNames(2, "VST", "VST");
    expectNames(3, "DX", "DirectX");
    expectNames(4, "TDSP", "TestableDSP");
}

TEST(PluginFormat, A_value_that_names_no_format_displays_as_a_question_mark_and_has_no_short_name) {
    expectNames(5, "", "?");
    expectNames(6, "", "?");
    expectNames(0x7FFFFFFF, "", "?");
    expectNames(-1, "", "?");
}
