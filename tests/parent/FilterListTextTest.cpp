#include "parent/FilterListText.h"

#include "support/AllocationCount.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

using Registration = DirectXFilter::Registration;
using State = FilterListReader::State;

const std::string head = "DirectX filters, format 1\n";
const std::string first = "filter 00000000-0000-0000-0000-000000000001 complete Reverb - C:\\r.dll\n";
const std::string second = "filter 00000000-0000-0000-0000-000000000002 no-module - - -\n";

ClassId idOf(const char* text) {
    return ClassIdFromString(text);
}

DirectXFilterList everything() {
    return {
        {{idOf("00000000-0000-0000-0000-000000000001"), "Reverb 3%", "Reverb (old)", Registration::complete,
          "C:\\Program Files\\r.dll"},
         {idOf("00000000-0000-0000-0000-0000000000FF"), "", "\xE5\xA2\x97\xE5\xB9\x85",
          Registration::moduleMissing, "C:\\no where.dll"},
         {idOf("0A000000-0000-0000-0000-000000000000"), "a\nend 0\r\t", "-", Registration::noModule, ""},
         {idOf("8F2C0A11-0000-4000-8000-00000000AFFE"), "N", "", Registration::otherProcessor, ""},
         {idOf("FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF"), "N", "", Registration::noClass, ""}},
        "The platform is gone"};
}

void expectSame(const DirectXFilterList& a, const DirectXFilterList& b) {
    EXPECT_EQ(a.problem, b.problem);
    ASSERT_EQ(a.filters.size(), b.filters.size());
    for (std::size_t i = 0; i < a.filters.size(); ++i) {
        EXPECT_EQ(a.filters[i].classId, b.filters[i].classId) << i;
        EXPECT_EQ(a.filters[i].name.view(), b.filters[i].name.view()) << i;
        EXPECT_EQ(a.filters[i].listedName.view(), b.filters[i].listedName.view()) << i;
        EXPECT_EQ(a.filters[i].registration, b.filters[i].registration) << i;
        EXPECT_EQ(a.filters[i].module.view(), b.filters[i].module.view()) << i;
    }
}

std::string errorOf(const std::string& text) {
    FilterListReader reader;
    EXPECT_EQ(reader.feed(text), State::failed) << text;
    return reader.error().toStdString();
}

TEST(FilterListText, A_list_is_a_line_for_each_filter_and_a_last_one_that_counts_them) {
    EXPECT_EQ(filterListText({}), head + "end 0\n");
    EXPECT_EQ(
        filterListText(everything()),
        head + "filter 00000000-0000-0000-0000-000000000001 complete Reverb%203%25 Reverb%20(old) "
               "C:\\Program%20Files\\r.dll\n"
               "filter 00000000-0000-0000-0000-0000000000FF module-missing - \xE5\xA2\x97\xE5\xB9\x85 "
               "C:\\no%20where.dll\n"
               "filter 0A000000-0000-0000-0000-000000000000 no-module a%0aend%200%0d%09 %2d -\n"
               "filter 8F2C0A11-0000-4000-8000-00000000AFFE other-processor N - -\n"
               "filter FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF no-class N - -\n"
               "problem The%20platform%20is%20gone\n"
               "end 5\n");
}

TEST(FilterListText, What_was_written_is_read) {
    FilterListReader reader;
    ASSERT_EQ(reader.feed(filterListText(everything())), State::complete);
    expectSame(reader.list(), everything());
}

TEST(FilterListText, Pieces_of_any_size_read_as_the_whole) {
    const std::string text = filterListText(everything());
    for (std::size_t size = 1; size < text.size(); ++size) {
        FilterListReader reader;
        for (std::size_t from = 0; from < text.size(); from += size) {
            ASSERT_EQ(reader.state(), State::reading);
            reader.feed(std::string_view(text).substr(from, size));
        }
        ASSERT_EQ(reader.state(), State::complete) << size;
        expectSame(reader.list(), everything());
    }
}

TEST(FilterListText, Nothing_is_complete_before_the_last_lines_end) {
    const std::string text = filterListText(everything());
    FilterListReader reader;
    EXPECT_EQ(reader.feed(text.substr(0, text.size() - 1)), State::reading);
    EXPECT_EQ(reader.feed(""), State::reading);
    EXPECT_EQ(reader.feed("\n"), State::complete);
}

TEST(FilterListText, What_follows_the_last_line_is_not_looked_at) {
    FilterListReader reader;
    EXPECT_EQ(reader.feed(head + first + "end 1\nnonsense\n"), State::complete);
    EXPECT_EQ(reader.feed("more of it\n"), State::complete);
    EXPECT_EQ(reader.list().filters.size(), 1U);
}

TEST(FilterListText, A_bad_line_is_named_with_its_number_and_what_is_wrong) {
    const auto error = [](int line, const std::string& what) {
        return "Line " + std::to_string(line) + " of the list of filters: " + what;
    };
    EXPECT_EQ(errorOf("ended 3\n"), error(1, "not the beginning of a list of filters"));
    EXPECT_EQ(errorOf("DirectX filters, format 2\n"), error(1, "not the beginning of a list of filters"));
    EXPECT_EQ(errorOf("\n"), error(1, "not the beginning of a list of filters"));
    const std::string neither = "neither a filter nor a problem nor the end";
    EXPECT_EQ(errorOf(head + first + "\n"), error(3, neither));
    EXPECT_EQ(errorOf(head + head), error(2, neither));
    EXPECT_EQ(
        errorOf(head + "filter 00000000-0000-0000-0000-000000000001 complete a b\n"), error(2, neither));
    EXPECT_EQ(
        errorOf(head + "filter 00000000-0000-0000-0000-000000000001 complete a b c d\n"), error(2, neither));
    EXPECT_EQ(errorOf(head + "end\n"), error(2, neither));
    const std::string kind = "an unknown kind of registration";
    EXPECT_EQ(errorOf(head + "filter 00000000-0000-0000-0000-000000000001 Complete a b c\n"), error(2, kind));
    const std::string text = "no text where one belongs";
    EXPECT_EQ(
        errorOf(head + "filter 00000000-0000-0000-0000-000000000001 complete a%2 b c\n"), error(2, text));
    EXPECT_EQ(errorOf(head + "filter 00000000-0000-0000-0000-000000000001 complete a  c\n"), error(2, text));
    EXPECT_EQ(
        errorOf(head + "filter 00000000-0000-0000-0000-000000000001 complete a b c\r\n"), error(2, text));
    EXPECT_EQ(errorOf(head + "problem -\n"), error(2, text));
    EXPECT_EQ(errorOf(head + "problem %\n"), error(2, text));
}

TEST(FilterListText, Only_the_one_form_of_a_class_identifier_is_read) {
    for (const std::string id :
         {"00000000-0000-0000-0000-000000000000", "0a000000-0000-0000-0000-000000000001",
          "00000000x0000-0000-0000-000000000001", "00000000-0000-0000-0000-00000000000",
          "00000000-0000-0000-0000-0000000000011", "{0000000-0000-0000-0000-000000000001", "nonsense", ""}) {
        EXPECT_EQ(
            errorOf(head + "filter " + id + " complete a b c\n"),
            "Line 2 of the list of filters: no class identifier where one belongs")
            << id;
    }
}

TEST(FilterListText, Filters_stand_in_order_and_once) {
    const std::string order = "Line 3 of the list of filters: not in the order of class identifiers";
    EXPECT_EQ(errorOf(head + second + first), order);
    EXPECT_EQ(errorOf(head + first + first), order);
}

TEST(FilterListText, The_count_is_that_of_the_filters) {
    for (const std::string count : {"0", "2", "01", "+1", "-", "1%20", ""}) {
        EXPECT_EQ(
            errorOf(head + first + "end " + count + "\n"),
            "Line 3 of the list of filters: another number of filters than came")
            << count;
    }
}

TEST(FilterListText, After_the_problem_comes_the_end) {
    const std::string error = "Line 3 of the list of filters: something else than the end after the problem";
    EXPECT_EQ(errorOf(head + "problem a\n" + first), error);
    EXPECT_EQ(errorOf(head + "problem a\nproblem b\n"), error);
}

TEST(FilterListText, A_failure_stays) {
    FilterListReader reader;
    reader.feed("nonsense\n");
    EXPECT_EQ(reader.feed(head + "end 0\n"), State::failed);
    EXPECT_EQ(reader.error(), "Line 1 of the list of filters: not the beginning of a list of filters");
}

constexpr std::size_t mebibyte = std::size_t{1} << 20;

std::string lineOf(const std::string& id, std::size_t length) {
    const std::string begin = "filter " + id + " complete ";
    const std::string end = " - -\n";
    return begin + std::string(length + 1 - begin.size() - end.size(), 'n') + end;
}

TEST(FilterListText, A_line_of_a_mebibyte_is_read_whole) {
    FilterListReader reader;
    const std::string longest = lineOf("00000000-0000-0000-0000-000000000001", mebibyte);
    ASSERT_EQ(reader.feed(head + longest + second + "end 2\n"), State::complete);
    EXPECT_EQ(reader.list().filters.size(), 2U);
    EXPECT_TRUE(reader.list().problem.isEmpty());
}

TEST(FilterListText, A_line_that_is_too_long_costs_its_own_filter_alone) {
    const std::string tooLong = lineOf("00000000-0000-0000-0000-000000000003", mebibyte + 1);
    const std::string third = "filter 00000000-0000-0000-0000-000000000004 no-class N - -\n";
    const std::string told = "Left out of the list of filters, as the texts of its registration are longer "
                             "than any can be: 00000000-0000-0000-0000-000000000003";
    for (const std::size_t pieceSize : {std::size_t{1000}, mebibyte, 4 * mebibyte}) {
        const std::string text = head + first + second + tooLong + third + "end 4\n";
        FilterListReader reader;
        for (std::size_t from = 0; from < text.size(); from += pieceSize) {
            reader.feed(std::string_view(text).substr(from, pieceSize));
        }
        ASSERT_EQ(reader.state(), State::complete) << reader.error().c_str();
        ASSERT_EQ(reader.list().filters.size(), 3U);
        EXPECT_EQ(reader.list().filters[2].name, "N");
        EXPECT_EQ(reader.list().problem, String(told));
    }
    FilterListReader reader;
    ASSERT_EQ(
        reader.feed(
            head + tooLong + lineOf("00000000-0000-0000-0000-000000000004", 2 * mebibyte) +
            lineOf("00000000-0000-0000-0000-000000000005", 2 * mebibyte) + "problem no%20mapper\nend 3\n"),
        State::complete);
    EXPECT_TRUE(reader.list().filters.empty());
    EXPECT_EQ(reader.list().problem, String("no mapper; " + told + " and 2 more"));
}

TEST(FilterListText, A_line_that_is_too_long_stands_in_order_and_counts) {
    const std::string tooLong = lineOf("00000000-0000-0000-0000-000000000001", mebibyte + 1);
    const std::string order = "Line 3 of the list of filters: not in the order of class identifiers";
    EXPECT_EQ(errorOf(head + second + tooLong), order);
    EXPECT_EQ(errorOf(head + tooLong + first), order);
    EXPECT_EQ(
        errorOf(head + tooLong + second + "end 1\n"),
        "Line 4 of the list of filters: another number of filters than came");
}

TEST(FilterListText, What_is_too_long_and_no_filter_ends_the_list) {
    const std::string much(2 * mebibyte, 'a');
    const std::string tooLong = " of the list of filters: longer than any line can be";
    EXPECT_EQ(errorOf(much + "\n"), "Line 1" + tooLong);
    EXPECT_EQ(errorOf(head + much + "\n"), "Line 2" + tooLong);
    EXPECT_EQ(errorOf(head + "problem " + much + "\n"), "Line 2" + tooLong);
    EXPECT_EQ(
        errorOf(head + "filter x complete " + much + "\n"),
        "Line 2 of the list of filters: no class identifier where one belongs");
    EXPECT_EQ(
        errorOf(head + "problem a\n" + lineOf("00000000-0000-0000-0000-000000000001", mebibyte + 1)),
        "Line 3" + tooLong);
}

TEST(FilterListText, A_line_without_an_end_does_not_fill_the_memory) {
    FilterListReader reader;
    reader.feed(head + first);
    const std::string piece(4096, 'a');
    const WithoutMemory fence(4 * mebibyte);
    reader.feed("filter 00000000-0000-0000-0000-000000000002 complete ");
    for (std::size_t fed = 0; fed < 16 * mebibyte; fed += piece.size()) {
        ASSERT_EQ(reader.feed(piece), State::reading);
    }
    EXPECT_EQ(reader.feed("\nend 2\n"), State::complete);
    EXPECT_EQ(reader.list().filters.size(), 1U);
}

} // namespace
} // namespace Tarvik
