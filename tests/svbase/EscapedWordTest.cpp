#include "svbase/util/EscapedWord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using testing::ElementsAre;
using namespace std::string_literals;

TEST(EscapedWord, Words_stand_between_single_blanks) {
    EXPECT_THAT(Util::wordsOf("a bc d"), ElementsAre("a", "bc", "d"));
    EXPECT_THAT(Util::wordsOf(""), ElementsAre(""));
    EXPECT_THAT(Util::wordsOf(" a  b "), ElementsAre("", "a", "", "b", ""));
}

TEST(EscapedWord, What_ends_or_begins_a_word_is_written_in_digits) {
    EXPECT_EQ(Util::escapedWord("Reverb\\3%"), "Reverb\\3%25");
    EXPECT_EQ(Util::escapedWord("a b\tc\nd\x7F\0"s), "a%20b%09c%0ad%7f%00");
    EXPECT_EQ(Util::escapedWord("Verst\xC3\xA4rker"), "Verst\xC3\xA4rker");
}

TEST(EscapedWord, The_empty_text_is_a_dash_and_a_dash_is_not) {
    EXPECT_EQ(Util::escapedWord(""), "-");
    EXPECT_EQ(Util::escapedWord("-"), "%2d");
    EXPECT_EQ(Util::escapedWord("--"), "--");
    EXPECT_EQ(Util::textOfWord("-"), "");
    EXPECT_EQ(Util::textOfWord("%2d"), "-");
}

TEST(EscapedWord, A_text_of_any_bytes_comes_back_and_is_one_word) {
    std::mt19937 random{7};
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> length(0, 20);
    for (int round = 0; round < 1000; ++round) {
        std::string text(static_cast<std::size_t>(length(random)), '\0');
        for (char& c : text) {
            c = static_cast<char>(byte(random));
        }
        const std::string word = Util::escapedWord(text);
        EXPECT_THAT(Util::wordsOf(word), ElementsAre(word));
        EXPECT_EQ(word.find('\n'), std::string::npos);
        EXPECT_EQ(Util::textOfWord(word), text);
    }
}

TEST(EscapedWord, What_is_no_texts_word_gives_nothing) {
    for (const std::string& word :
         {""s, "a b"s, "a\tb"s, "\x7F"s, "\0"s, "%"s, "%2"s, "a%2"s, "%zz"s, "%+1"s, "% 1"s}) {
        EXPECT_FALSE(Util::textOfWord(word)) << word;
    }
}

TEST(EscapedWord, A_byte_is_two_digits_of_either_case) {
    EXPECT_EQ(Util::hexByteOf("0a"), 0x0A);
    EXPECT_EQ(Util::hexByteOf("FF"), 0xFF);
    EXPECT_FALSE(Util::hexByteOf("a"));
    EXPECT_FALSE(Util::hexByteOf("0ab"));
    EXPECT_FALSE(Util::hexByteOf(""));
    EXPECT_FALSE(Util::hexByteOf("-1"));
    std::string out = "x";
    Util::appendHexByte(out, 0xE9);
    EXPECT_EQ(out, "xe9");
}

} // namespace
