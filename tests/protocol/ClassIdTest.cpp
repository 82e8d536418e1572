#include "protocol/ClassId.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace Tarvik;

namespace {

constexpr ClassId counting{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                           0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
constexpr const char* countingText = "00112233-4455-6677-8899-AABBCCDDEEFF";

} // namespace

TEST(ClassId, Text_shows_the_bytes_in_memory_order_in_upper_case) {
    EXPECT_EQ(ClassIdToString(counting), countingText);
    EXPECT_EQ(ClassIdToString({}), "00000000-0000-0000-0000-000000000000");
}

TEST(ClassId, Text_reads_in_either_case) {
    EXPECT_EQ(ClassIdFromString(countingText), counting);
    EXPECT_EQ(ClassIdFromString("00112233-4455-6677-8899-aabbccddeeff"), counting);
}

TEST(ClassId, What_stands_in_place_of_the_dashes_is_not_looked_at) {
    EXPECT_EQ(
        ClassIdFromString("00112233*4455\x7F"
                          "6677Z8899 AABBCCDDEEFF"),
        counting);
}

TEST(ClassId, Another_length_reads_as_zeros) {
    EXPECT_EQ(ClassIdFromString(""), ClassId{});
    EXPECT_EQ(ClassIdFromString("00112233-4455-6677-8899-AABBCCDDEEF"), ClassId{});
    EXPECT_EQ(ClassIdFromString("00112233-4455-6677-8899-AABBCCDDEEFF0"), ClassId{});
    EXPECT_EQ(ClassIdFromString("{00112233-4455-6677-8899-AABBCCDDEEFF}"), ClassId{});
    EXPECT_EQ(ClassIdFromString("00112233445566778899AABBCCDDEEFF"), ClassId{});
}

TEST(ClassId, A_character_that_is_not_hexadecimal_in_any_place_zeroes_all_bytes) {
    const std::string text = countingText;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '-') {
            continue;
        }
        for (const char wrong : {'g', 'G', ' ', '-', '/', ':', '@', '`', '\0', '\xA0'}) {
            std::string broken = text;
            broken[i] = wrong;
            EXPECT_EQ(ClassIdFromString(String(broken)), ClassId{}) << i << " " << int(wrong);
        }
    }
}

TEST(ClassId, Random_identifiers_read_back_from_their_text) {
    std::mt19937 random(7);
    for (int round = 0; round < 1000; ++round) {
        ClassId id;
        for (auto& byte : id) {
            byte = static_cast<std::uint8_t>(random());
        }
        EXPECT_EQ(ClassIdFromString(ClassIdToString(id)), id);
    }
}
