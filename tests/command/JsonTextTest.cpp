#include "command/JsonText.h"

#include <gtest/gtest.h>

namespace {

using Json::PrecisionType;

std::string documentOf(const Json::Value& value) {
    return jsonDocument(value, 3, PrecisionType::decimalPlaces);
}

Json::Value with(std::string_view text) {
    Json::Value object;
    setText(object, "name", text);
    return object;
}

TEST(JsonText, Text_of_any_script_stands_as_it_is) {
    const Json::Value object = with("Gr\xC3\xB6\xC3\x9F \xE9\x9F\xB3");
    EXPECT_EQ(object["name"].asString(), "Gr\xC3\xB6\xC3\x9F \xE9\x9F\xB3");
    EXPECT_FALSE(object.isMember("nameBytes"));
    EXPECT_NE(documentOf(object).find("\"Gr\xC3\xB6\xC3\x9F \xE9\x9F\xB3\""), std::string::npos);
}

TEST(JsonText, Text_that_is_no_utf_8_has_its_bytes_beside_it) {
    const Json::Value object = with(std::string_view("Caf\xE9\0\x0F", 6));
    EXPECT_EQ(object["name"].asString(), std::string("Caf\xEF\xBF\xBD\0\x0F", 8));
    EXPECT_EQ(object["nameBytes"].asString(), "436166e9000f");
}

TEST(JsonText, Control_characters_are_escaped) {
    const std::string json =
        documentOf(with(std::string_view("\0\x07\x1b\x7f\xC2\x80\xC2\x9F\xC2\xA0\"\\", 12)));
    EXPECT_NE(json.find("\"\\u0000\\u0007\\u001b\\u007f\\u0080\\u009f\xC2\xA0\\\"\\\\\""), std::string::npos)
        << json;
}

TEST(JsonText, Numbers_have_the_digits_that_were_asked_for) {
    EXPECT_EQ(jsonDocument(Json::Value(1.23456), 3, PrecisionType::decimalPlaces), "1.235\n");
    EXPECT_EQ(jsonDocument(Json::Value(0.00123456), 3, PrecisionType::significantDigits), "0.00123\n");
    EXPECT_EQ(
        jsonDocument(Json::Value(Json::UInt64{1} << 63U), 3, PrecisionType::decimalPlaces),
        "9223372036854775808\n");
}

} // namespace
