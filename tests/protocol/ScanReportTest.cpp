#include "protocol/ScanReport.h"
#include "Hex.h"
#include "protocol/MessagePackText.h"

#include <msgpack/adaptor/check_container_size.hpp>
#include <msgpack/unpack.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

using namespace Tarvik;

namespace {

PluginIdentifier identifierOf(const char* text) {
    PluginIdentifier identifier;
    EXPECT_TRUE(identifier.FromString(text));
    return identifier;
}

std::string encode(const ScanReport& report) {
    const msgpack::sbuffer buffer = EncodeScanReport(report);
    return std::string(buffer.data(), buffer.size());
}

checked_value<ScanReport> decodeHex(std::string_view hex) {
    const std::string bytes = fromHex(hex);
    return DecodeScanReport(bytes.data(), bytes.size());
}

} // namespace

// The expected bytes are recorded from Python's msgpack.packb.

TEST(ScanReport, Encoding_gives_the_recorded_bytes) {
    const ScanReport report{ScanResultEffect, "Name", identifierOf("VST: 'abcd',C:\\A.dll")};
    EXPECT_EQ(toHex(encode(report)), "9302a44e616d6591b45653543a202761626364272c433a5c412e646c6c");
    EXPECT_EQ(toHex(encode({ScanResultUnconfirmed, "", {}})), "9304a091a44e6f6e65");
}

TEST(ScanReport, Codes_take_the_smallest_integer_form) {
    const std::pair<std::int32_t, const char*> forms[] = {
        {0, "00"},        {127, "7f"},        {128, "cc80"},          {255, "ccff"},
        {256, "cd0100"},  {65535, "cdffff"},  {65536, "ce00010000"},  {2147483647, "ce7fffffff"},
        {-1, "ff"},       {-32, "e0"},        {-33, "d0df"},          {-128, "d080"},
        {-129, "d1ff7f"}, {-32768, "d18000"}, {-32769, "d2ffff7fff"}, {-40000, "d2ffff63c0"},
    };
    for (const auto& [code, form] : forms) {
        EXPECT_EQ(toHex(encode({code, "", {}})), "93" + std::string(form) + "a091a44e6f6e65") << code;
    }
}

TEST(ScanReport, Texts_take_the_shortest_header) {
    const std::pair<std::size_t, const char*> headers[] = {
        {0, "a0"},       {31, "bf"},        {32, "d920"},          {255, "d9ff"},
        {256, "da0100"}, {65535, "daffff"}, {65536, "db00010000"},
    };
    for (const auto& [length, header] : headers) {
        const std::string name(length, 'n');
        EXPECT_EQ(
            encode({ScanResultEffect, String(name), {}}),
            fromHex("9302" + std::string(header)) + name + fromHex("91a44e6f6e65"))
            << length;
    }
}

TEST(ScanReport, A_text_whose_length_does_not_fit_32_bits_is_a_container_size_overflow) {
    const char bytes[] = "never read";
    msgpack::sbuffer buffer;
    BufferPacker packer(buffer);
    if constexpr (sizeof(std::size_t) > 4) {
        const auto tooLong = std::size_t{std::numeric_limits<std::uint32_t>::max()} + 1;
        EXPECT_THROW(PackText(packer, std::string_view(bytes, tooLong)), msgpack::container_size_overflow);
    }
    EXPECT_EQ(buffer.size(), 0u);
}

TEST(ScanReport, Bytes_of_a_name_travel_unchanged) {
    const std::string name("\xFF\x80\0\xC3\xA4", 5);
    EXPECT_EQ(toHex(encode({ScanResultEffect, String(name), {}})), "9302a5ff8000c3a491a44e6f6e65");
}

TEST(ScanReport, Recorded_bytes_decode_to_every_field) {
    const auto report = decodeHex("9302a44e616d6591b45653543a202761626364272c433a5c412e646c6c");
    ASSERT_TRUE(report);
    EXPECT_EQ(report.value.result, ScanResultEffect);
    EXPECT_EQ(report.value.pluginName, "Name");
    EXPECT_EQ(report.value.identifier.ToString(), "VST: 'abcd',C:\\A.dll");
}

TEST(ScanReport, The_text_of_an_identifier_is_kept_beside_what_was_read_from_it) {
    const auto none = decodeHex("9304a091a44e6f6e65");
    EXPECT_EQ(none.value.identifier.format, PluginFormat::None);
    EXPECT_EQ(none.value.identifierText, "None");
    EXPECT_TRUE(decodeHex("9202a0").value.identifierText.isEmpty());
    EXPECT_TRUE(decodeHex("90").value.identifierText.isEmpty());

    // What a plug-in of the code 'A,B1' is reported as has three fields, and reads as none.
    const ScanReport report{ScanResultEffect, "", PluginIdentifier::ForVST("C:/x.dll", 0x31422C41)};
    const std::string bytes = encode(report);
    const auto read = DecodeScanReport(bytes.data(), bytes.size());
    EXPECT_EQ(read.value.identifier.format, PluginFormat::None);
    EXPECT_EQ(read.value.identifierText, "VST: 'A,B1',C:\\x.dll");
}

TEST(ScanReport, An_empty_body_is_a_report_that_could_not_be_built) {
    EXPECT_FALSE(DecodeScanReport("", 0));
    EXPECT_FALSE(DecodeScanReport(nullptr, 0));
}

TEST(ScanReport, Reading_is_tolerant) {
    EXPECT_EQ(decodeHex("90").value.result, ScanResultUnconfirmed);
    EXPECT_EQ(decodeHex("9106").value.result, ScanResultShell);
    EXPECT_EQ(decodeHex("9302c4044e616d6591c4044e6f6e65").value.pluginName, "Name");
    EXPECT_EQ(decodeHex("9402a091a44e6f6e65c3").value.result, ScanResultEffect);
    EXPECT_EQ(decodeHex("93d1ff7fa091a44e6f6e65").value.result, -129);
}

TEST(ScanReport, Malformed_reports_end_in_msgpacks_exceptions) {
    for (const char* hex :
         {"c0", "80", "a0", "93c0a091a0", "93a0a091a0", "930200", "9302a090", "9302a0a0", "9302a092a0a0",
          "930200 91a0", "93ce80000000a091a0"}) {
        if (hex == std::string("930200")) {
            EXPECT_THROW(decodeHex(hex), msgpack::unpack_error) << hex;
        } else {
            EXPECT_THROW(decodeHex(hex), msgpack::type_error) << hex;
        }
    }
    EXPECT_THROW(decodeHex("ddffffffff"), msgpack::unpack_error);
}
