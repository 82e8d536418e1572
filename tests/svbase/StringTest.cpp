#include "svbase/util/String.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr bool insensitive = false;

bool isEmptyNotNull(const String& text) {
    return text.isEmpty() && !text.isNull();
}

std::vector<std::string> bytes(const std::vector<String>& list) {
    std::vector<std::string> result;
    for (const String& text : list) {
        result.push_back(text.toStdString());
    }
    return result;
}

TEST(String, The_default_is_null_and_empty) {
    EXPECT_TRUE(String().isNull());
    EXPECT_TRUE(String().isEmpty());
    EXPECT_STREQ(String().c_str(), "");
}

TEST(String, A_null_pointer_gives_the_null_String_and_an_empty_text_does_not) {
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isNull());
    EXPECT_TRUE(isEmptyNotNull(String("")));
    EXPECT_TRUE(String(nullptr, 5).isNull());
    EXPECT_TRUE(isEmptyNotNull(String("", 5)));
    EXPECT_TRUE(isEmptyNotNull(String("", 0)));
}

TEST(String, A_limited_construction_stops_at_the_limit_or_the_first_NUL) {
    EXPECT_EQ(String("abcdef", 3).toStdString(), "abc");
    EXPECT_EQ(String("ab\0def", 5).toStdString(), "ab");
    const char unterminated[] = {'x', 'y', 'z'};
    EXPECT_EQ(String(unterminated, 3).toStdString(), "xyz");
}

TEST(String, A_limit_of_zero_is_no_limit) {
    EXPECT_EQ(String("abcdef", 0).toStdString(), "abcdef");
}

TEST(String, Null_equals_empty) {
    EXPECT_EQ(String(), String(""));
    EXPECT_FALSE(String() < String(""));
}

TEST(String, Comparison_stops_at_the_first_NUL) {
    EXPECT_EQ(String(std::string("ab\0c", 4)), String(std::string("ab\0d", 4)));
    EXPECT_EQ(String(std::string("\0x", 2)), String());
}

TEST(String, Order_compares_bytes_as_unsigned) {
    EXPECT_TRUE(String("z") < String("\xC3\xA9"));
    EXPECT_FALSE(String("\xC3\xA9") < String("z"));
    EXPECT_TRUE(String("a") < String("ab"));
}

TEST(String, UTF16_round_trips) {
    const String text("A\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E");
    EXPECT_EQ(text.toWide(), u"A\u00E9\u20AC\U0001D11E");
    EXPECT_EQ(String::fromWide(u"A\u00E9\u20AC\U0001D11E", 5).toStdString(), text.toStdString());
}

TEST(String, Wide_conversion_of_null_and_empty) {
    EXPECT_TRUE(String::fromWide(static_cast<const char16_t*>(nullptr), 3).isNull());
    EXPECT_TRUE(isEmptyNotNull(String::fromWide(u"x", 0)));
    EXPECT_EQ(String().toWide(), u"");
    EXPECT_EQ(String().toWide().c_str()[0], u'\0');
}

TEST(String, Wide_conversion_refuses_lone_surrogates) {
    const char16_t high[] = {u'a', 0xD800, u'b'};
    const char16_t low[] = {u'a', 0xDC00, u'b'};
    const char16_t last[] = {u'a', 0xD800};
    const char16_t swapped[] = {0xDC00, 0xD800};
    EXPECT_TRUE(isEmptyNotNull(String::fromWide(high, 3)));
    EXPECT_TRUE(isEmptyNotNull(String::fromWide(low, 3)));
    EXPECT_TRUE(isEmptyNotNull(String::fromWide(last, 2)));
    EXPECT_TRUE(isEmptyNotNull(String::fromWide(swapped, 2)));
}

TEST(String, Wide_conversion_of_ill_formed_UTF8_gives_the_empty_text) {
    for (const char* text :
         {"\x80", "\xC3", "\xC3(", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xF8\x88\x80\x80\x80",
          "ok\xE2\x82"}) {
        EXPECT_EQ(String(text).toWide(), u"") << text;
    }
}

TEST(String, Left_and_right_are_never_null) {
    EXPECT_EQ(String("abc").left(2).toStdString(), "ab");
    EXPECT_EQ(String("abc").left(7).toStdString(), "abc");
    EXPECT_TRUE(isEmptyNotNull(String("abc").left(0)));
    EXPECT_TRUE(isEmptyNotNull(String().left(3)));
    EXPECT_EQ(String("abc").right(2).toStdString(), "bc");
    EXPECT_EQ(String("abc").right(7).toStdString(), "abc");
    EXPECT_TRUE(isEmptyNotNull(String("abc").right(0)));
    EXPECT_TRUE(isEmptyNotNull(String().right(3)));
}

TEST(String, Mid_from_the_end_or_past_it_is_null) {
    EXPECT_TRUE(String("abc").mid(3).isNull());
    EXPECT_TRUE(String("abc").mid(4, 1).isNull());
    EXPECT_TRUE(String().mid(0).isNull());
}

TEST(String, Mid_takes_the_rest_without_a_count) {
    EXPECT_EQ(String("abc").mid(1).toStdString(), "bc");
    EXPECT_EQ(String("abc").mid(1, 1).toStdString(), "b");
    EXPECT_EQ(String("abc").mid(1, 0xFFFFFFFF).toStdString(), "bc");
    EXPECT_TRUE(isEmptyNotNull(String("abc").mid(1, 0)));
}

TEST(String, Insert_puts_the_text_between_head_and_tail) {
    EXPECT_EQ(String("ad").insert(1, "bc").toStdString(), "abcd");
    EXPECT_EQ(String("ab").insert(0, "x").toStdString(), "xab");
    EXPECT_EQ(String("ab").insert(9, "x").toStdString(), "abx");
    EXPECT_EQ(String("ab").insert(1, String()).toStdString(), "ab");
}

TEST(String, Remove_cuts_a_range_and_clips_it_to_the_end) {
    EXPECT_EQ(String("abcd").remove(1, 2).toStdString(), "ad");
    EXPECT_EQ(String("abcd").remove(1, 9).toStdString(), "a");
    EXPECT_EQ(String("abcd").remove(1, 0xFFFFFFFF).toStdString(), "a");
    EXPECT_EQ(String("abcd").remove(1).toStdString(), "a");
}

TEST(String, Remove_past_the_end_or_of_nothing_leaves_the_text) {
    EXPECT_EQ(String("abcd").remove(4).toStdString(), "abcd");
    EXPECT_EQ(String("abcd").remove(9, 1).toStdString(), "abcd");
    EXPECT_EQ(String("abcd").remove(0, 0).toStdString(), "abcd");
    EXPECT_TRUE(String().remove(0).isNull());
}

TEST(String, Resize_cuts_and_extends_with_NULs) {
    String text("abc");
    text.resize(2);
    EXPECT_EQ(text.toStdString(), "ab");
    text.resize(4);
    EXPECT_EQ(text.toStdString(), std::string("ab\0\0", 4));
}

TEST(String, Resize_clears_the_null_flag) {
    String text;
    text.resize(0);
    EXPECT_TRUE(isEmptyNotNull(text));
}

TEST(String, Resize_into_a_two_byte_letter_leaves_one_NUL) {
    String text("\xC3\xA9");
    text.resize(1);
    EXPECT_EQ(text.toStdString(), std::string(1, '\0'));
    EXPECT_EQ(text.length(), 1U);
    EXPECT_EQ(text, String());
}

TEST(String, Resize_overwrites_a_broken_sequence_and_keeps_the_length) {
    String text("ab\xE2\x82\xAC");
    text.resize(4);
    EXPECT_EQ(text.toStdString(), std::string("ab\0\0", 4));
    String whole("ab\xE2\x82\xAC");
    whole.resize(5);
    EXPECT_EQ(whole.toStdString(), "ab\xE2\x82\xAC");
    String smile("\xF0\x9F\x98\x80!");
    smile.resize(3);
    EXPECT_EQ(smile.toStdString(), std::string(3, '\0'));
}

TEST(String, Resize_counts_at_most_seven_leading_ones) {
    String seven("\xFF\x80\x80\x80\x80\x80\x80\x80");
    seven.resize(7);
    EXPECT_EQ(seven.toStdString(), "\xFF\x80\x80\x80\x80\x80\x80");
    seven.resize(6);
    EXPECT_EQ(seven.toStdString(), std::string(6, '\0'));
}

TEST(String, Resize_of_bytes_without_a_lead_byte_only_cuts) {
    String text("\x80\x81\x82");
    text.resize(2);
    EXPECT_EQ(text.toStdString(), "\x80\x81");
}

TEST(String, StartsWith_and_endsWith) {
    EXPECT_TRUE(String("Hello").startsWith("He"));
    EXPECT_FALSE(String("Hello").startsWith("he"));
    EXPECT_TRUE(String("Hello").startsWith("hE", insensitive));
    EXPECT_FALSE(String("He").startsWith("Hello"));
    EXPECT_TRUE(String("Hello").startsWith(""));
    EXPECT_TRUE(String("Hello").endsWith("lo"));
    EXPECT_FALSE(String("Hello").endsWith("LO"));
    EXPECT_TRUE(String("Hello").endsWith("LO", insensitive));
    EXPECT_FALSE(String("lo").endsWith("Hello"));
    EXPECT_TRUE(String().endsWith(""));
}

TEST(String, Case_folding_touches_A_to_Z_only) {
    EXPECT_FALSE(String("\xC3\x89").startsWith("\xC3\xA9", insensitive));
    EXPECT_FALSE(String("[").startsWith("{", insensitive));
    EXPECT_EQ(String("\xC3\x89Z@[").toLower().toStdString(), "\xC3\x89z@[");
    EXPECT_EQ(String("\xC3\xA9z`{").toUpper().toStdString(), "\xC3\xA9Z`{");
}

TEST(String, Case_conversion_keeps_null_and_empty) {
    EXPECT_TRUE(String().toLower().isNull());
    EXPECT_TRUE(String().toUpper().isNull());
    EXPECT_TRUE(isEmptyNotNull(String("").toLower()));
    EXPECT_TRUE(isEmptyNotNull(String("").toUpper()));
}

TEST(String, IndexOf_a_character) {
    EXPECT_EQ(String("abcabc").indexOf('b'), 1U);
    EXPECT_EQ(String("abcabc").indexOf('b', 2), 4U);
    EXPECT_FALSE(String("abcabc").indexOf('B').valid);
    EXPECT_EQ(String("abcabc").indexOf('B', 0, insensitive), 1U);
    EXPECT_EQ(String("ABC").indexOf('c', 0, insensitive), 2U);
    EXPECT_FALSE(String("abc").indexOf('c', 3).valid);
    EXPECT_FALSE(String("abc").indexOf('c', 99).valid);
    EXPECT_FALSE(String().indexOf('c').valid);
}

TEST(String, IndexOf_a_text) {
    EXPECT_EQ(String("abcabc").indexOf("ca"), 2U);
    EXPECT_FALSE(String("abcabc").indexOf("CA").valid);
    EXPECT_EQ(String("abcabc").indexOf("CA", insensitive), 2U);
    EXPECT_EQ(String("abc").indexOf(""), 0U);
    EXPECT_FALSE(String("").indexOf("").valid);
    EXPECT_FALSE(String().indexOf("a").valid);
}

TEST(String, IndexOf_a_text_sees_nothing_behind_a_NUL) {
    EXPECT_FALSE(String(std::string("ab\0cd", 5)).indexOf("cd").valid);
    EXPECT_EQ(String(std::string("ab\0cd", 5)).indexOf('c'), 3U);
}

TEST(String, Replacing_a_character_stops_at_the_first_NUL) {
    EXPECT_EQ(String("a.b.c").replace('.', '/').toStdString(), "a/b/c");
    EXPECT_EQ(String(std::string("a.\0.", 4)).replace('.', '/').toStdString(), std::string("a/\0.", 4));
    EXPECT_TRUE(String().replace('a', 'b').isNull());
}

TEST(String, Replacing_a_text_goes_left_to_right_without_overlap) {
    EXPECT_EQ(String("aaaaa").replace("aa", "b").toStdString(), "bba");
    EXPECT_EQ(String("abcabc").replace("bc", "").toStdString(), "aa");
    EXPECT_EQ(String("abc").replace("c", "cc").toStdString(), "abcc");
    EXPECT_EQ(String("abc").replace("abcd", "x").toStdString(), "abc");
}

TEST(String, Replacing_in_null_and_empty_texts) {
    EXPECT_TRUE(String().replace("a", "b").isNull());
    EXPECT_TRUE(isEmptyNotNull(String("").replace("a", "b")));
    EXPECT_EQ(String("abc").replace("", "x").toStdString(), "abc");
    EXPECT_EQ(String("abc").replace(String(), "x").toStdString(), "abc");
}

TEST(String, Replacing_the_whole_text_by_nothing_gives_null) {
    EXPECT_TRUE(String("abab").replace("ab", "").isNull());
}

TEST(String, Split_without_a_separator_copies_the_text_with_its_flag) {
    const std::vector<String> null = String().split(',');
    ASSERT_EQ(null.size(), 1U);
    EXPECT_TRUE(null[0].isNull());
    const std::vector<String> empty = String("").split(',');
    ASSERT_EQ(empty.size(), 1U);
    EXPECT_TRUE(isEmptyNotNull(empty[0]));
}

TEST(String, Split_with_a_separator_in_the_last_byte_yields_a_null_last_piece) {
    const std::vector<String> pieces = String("a,b,").split(',');
    EXPECT_EQ(bytes(pieces), (std::vector<std::string>{"a", "b", ""}));
    EXPECT_TRUE(pieces[2].isNull());
}

TEST(String, Split_gives_empty_pieces_in_front_and_in_the_middle) {
    const std::vector<String> pieces = String(",,a").split(',');
    ASSERT_EQ(bytes(pieces), (std::vector<std::string>{"", "", "a"}));
    EXPECT_TRUE(isEmptyNotNull(pieces[0]));
    EXPECT_TRUE(isEmptyNotNull(pieces[1]));
}

TEST(String, Join_skips_empty_elements_but_not_their_separators) {
    EXPECT_EQ(String::join(",", {"a", "", String(), "b"}).toStdString(), "a,,,b");
    EXPECT_EQ(String::join("", {"a", "b"}).toStdString(), "ab");
    EXPECT_EQ(String::join(", ", {"a"}).toStdString(), "a");
}

TEST(String, Join_of_nothing_is_null) {
    EXPECT_TRUE(String::join(",", {}).isNull());
    EXPECT_TRUE(String::join(",", {""}).isNull());
    EXPECT_TRUE(String::join("", {"", ""}).isNull());
}

TEST(String, Splitting_and_joining_gives_the_text_back) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 20, '\0');
        for (char& c : text) {
            c = ",ab "[random() % 4];
        }
        const std::vector<String> pieces = String(text).split(',');
        EXPECT_EQ(pieces.size(), 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')));
        EXPECT_EQ(String::join(",", pieces).toStdString(), text);
    }
}

TEST(String, Trimmed_strips_both_ends) {
    EXPECT_EQ(String(" \t\n\v\f\ra b \xA0").trimmed().toStdString(), "a b");
    EXPECT_EQ(String("ab").trimmed().toStdString(), "ab");
    EXPECT_TRUE(isEmptyNotNull(String(" \t ").trimmed()));
    EXPECT_TRUE(String().trimmed().isNull());
    EXPECT_TRUE(isEmptyNotNull(String("").trimmed()));
}

TEST(String, The_byte_A0_is_whitespace_even_inside_a_sequence) {
    // U+00E0 is C3 A0: its second byte goes.
    EXPECT_EQ(String("\xC3\xA0").trimmed().toStdString(), "\xC3");
    EXPECT_EQ(String("\xC3\xA0x").simplified().toStdString(), "\xC3 x");
}

TEST(String, Bytes_8_and_14_are_no_whitespace) {
    EXPECT_EQ(String("\x08 a \x0E").trimmed().toStdString(), "\x08 a \x0E");
}

TEST(String, Simplified_reduces_inner_runs_to_one_blank) {
    EXPECT_EQ(
        String("  a \t\n b\xA0\xA0"
               "c ")
            .simplified()
            .toStdString(),
        "a b c");
    EXPECT_EQ(String("a b").simplified().toStdString(), "a b");
}

TEST(String, Simplified_keeps_the_null_flag_of_an_empty_source_only) {
    EXPECT_TRUE(String().simplified().isNull());
    EXPECT_TRUE(isEmptyNotNull(String("").simplified()));
    EXPECT_TRUE(isEmptyNotNull(String(" \t").simplified()));
}

TEST(String, Concatenation_keeps_the_null_flag_until_something_is_appended) {
    EXPECT_TRUE((String() + String()).isNull());
    EXPECT_TRUE((String() + "").isNull());
    EXPECT_TRUE(isEmptyNotNull(String("") + String()));
    const String text = String() + "x";
    EXPECT_FALSE(text.isNull());
    EXPECT_EQ(text.toStdString(), "x");
}

} // namespace
