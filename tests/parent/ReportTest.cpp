#include "Report.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

ScanOutcome reported(const char* name) {
    ScanOutcome outcome;
    outcome.asked = PluginIdentifier::ForVST("C:/p/a.dll", 0);
    outcome.identifier = PluginIdentifier::ForVST("C:/p/a.dll", 0x64636261);
    outcome.verdict = ScanVerdict::reported;
    outcome.result = ScanResultEffect;
    outcome.name = name;
    outcome.exit = ExitStatus{0, false};
    outcome.duration = std::chrono::milliseconds(1234);
    return outcome;
}

ScanOutcome ended(ScanVerdict verdict, std::uint32_t code) {
    ScanOutcome outcome = reported("");
    outcome.verdict = verdict;
    outcome.identifier = outcome.asked;
    outcome.exit = ExitStatus{code, false};
    return outcome;
}

TEST(Report, The_table_lines_up_result_name_identifier_and_seconds) {
    EXPECT_EQ(
        tableText({reported("Reverb"), ended(ScanVerdict::crashed, 0xC0000005)}),
        "Result                Name    Identifier                  Seconds\n"
        "effect                Reverb  VST: 'abcd',C:\\p\\a.dll         1.23\n"
        "crashed (0xC0000005)          VST: 0x00000000,C:\\p\\a.dll     1.23\n");
}

TEST(Report, Letters_beyond_ascii_take_one_column) {
    const std::string table = tableText({reported("Gr\xC3\xB6\xC3\x9F"), reported("Grau")});
    EXPECT_NE(table.find("Gr\xC3\xB6\xC3\x9F  VST"), std::string::npos);
    EXPECT_NE(table.find("Grau  VST"), std::string::npos);
}

TEST(Report, A_long_name_loses_its_end_in_the_table_and_widens_no_other_line_further) {
    const std::string umlaut = "\xC3\xA4";
    const auto times = [](std::size_t count, const std::string& text) {
        std::string all;
        for (std::size_t i = 0; i < count; ++i) {
            all += text;
        }
        return all;
    };
    const std::string identifier = "  VST: 'abcd',C:\\p\\a.dll     1.23\n";
    const auto table = [&](const std::string& name) {
        return tableText({reported(name.c_str()), reported("Short")});
    };
    const std::string heading = "Result  Name" + times(60, " ") + "  Identifier              Seconds\n";
    const std::string other = "effect  Short" + times(59, " ") + identifier;
    EXPECT_EQ(table(times(64, umlaut)), heading + "effect  " + times(64, umlaut) + identifier + other);
    for (const std::size_t length : {65U, 1000U, 1'000'000U}) {
        EXPECT_EQ(
            table(times(length, umlaut)),
            heading + "effect  " + times(63, umlaut) + "\xE2\x80\xA6" + identifier + other)
            << length;
    }
    EXPECT_NE(jsonText({reported(times(1000, umlaut).c_str())}).find(times(1000, umlaut)), std::string::npos);
}

TEST(Report, A_name_cannot_steer_the_terminal) {
    const std::string table = tableText({reported("a\x1b[2Jb\xC2\x9B\x07")});
    EXPECT_EQ(table.find('\x1b'), std::string::npos);
    EXPECT_EQ(table.find('\x07'), std::string::npos);
    EXPECT_EQ(table.find("\xC2\x9B"), std::string::npos);
    EXPECT_NE(table.find("a\xEF\xBF\xBD[2Jb"), std::string::npos);
}

TEST(Report, A_name_that_is_no_utf_8_keeps_its_bytes_in_json) {
    const std::string json = jsonText({reported("\xFF\xE9x")});
    EXPECT_NE(json.find("\"nameBytes\" : \"ffe978\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"name\" : \"\xEF\xBF\xBD\xEF\xBF\xBDx\""), std::string::npos) << json;
}

TEST(Report, A_name_with_control_characters_is_exact_in_json) {
    using namespace std::string_literals;
    const std::string json = jsonText({reported("a\x07\x1b\x7f\xC2\x80\xC2\x9F\xC2\xA0\"\\")});
    EXPECT_NE(
        json.find("\"name\" : \"a\\u0007\\u001b\\u007f\\u0080\\u009f\xC2\xA0\\\"\\\\\""), std::string::npos)
        << json;
    EXPECT_EQ(json.find("nameBytes"), std::string::npos);

    ScanOutcome outcome = reported("");
    outcome.name = String("a\0b"s);
    EXPECT_NE(jsonText({outcome}).find("\"name\" : \"a\\u0000b\""), std::string::npos) << jsonText({outcome});
}

TEST(Report, A_nul_in_a_name_takes_its_place_in_the_table) {
    using namespace std::string_literals;
    ScanOutcome outcome = reported("");
    outcome.name = String("a\0b"s);
    EXPECT_NE(
        tableText({outcome}).find("a\xEF\xBF\xBD"
                                  "b"),
        std::string::npos);
}

TEST(Report, An_identifier_that_is_no_utf_8_keeps_its_bytes_in_json) {
    ScanOutcome outcome = reported("");
    outcome.asked = PluginIdentifier::ForVST("C:/a.dll", 0xA0E9E4F6);
    outcome.identifier = PluginIdentifier::ForVST("C:/a.dll", 0xFFE9E4F6);
    const std::string json = jsonText({outcome});
    // VST: '....',C:\a.dll
    EXPECT_NE(
        json.find("\"identifierBytes\" : \"5653543a2027f6e4e9ff272c433a5c612e646c6c\""), std::string::npos)
        << json;
    EXPECT_NE(json.find("\"askedBytes\" : \"5653543a2027f6e4e9a0272c433a5c612e646c6c\""), std::string::npos);
    EXPECT_NE(
        json.find("\"identifier\" : \"VST: '\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD',C:"),
        std::string::npos);
    EXPECT_EQ(jsonText({reported("")}).find("Bytes"), std::string::npos);
}

TEST(Report, An_identifier_that_cannot_be_read_is_shown_as_it_came) {
    ScanOutcome outcome = reported("Odd");
    outcome.unreadIdentifier = "VST: 'A,B1',C:\\p\\a.dll";
    EXPECT_EQ(identifierText(outcome), "VST: 'A,B1',C:\\p\\a.dll");
    EXPECT_NE(tableText({outcome}).find("VST: 'A,B1',C:\\p\\a.dll"), std::string::npos);
    EXPECT_NE(jsonText({outcome}).find("\"VST: 'A,B1',C:\\\\p\\\\a.dll\""), std::string::npos);
}

TEST(Report, Json_tells_verdict_blame_and_code) {
    const std::string json = jsonText({ended(ScanVerdict::hung, 2)});
    EXPECT_NE(json.find("\"verdict\" : \"hung\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"blamed\" : true"), std::string::npos);
    EXPECT_NE(json.find("\"exitCode\" : 2"), std::string::npos);
    EXPECT_EQ(json.find("\"result\""), std::string::npos);
}

/// Of a filter, with its registration.
ScanOutcome filter(DirectXFilter::Registration registration, const char* registeredName, const char* name) {
    ScanOutcome outcome = reported(name);
    DirectXFilter registered;
    registered.classId = ClassIdFromString("0A000000-0000-4000-8000-00000000AFFE");
    registered.name = registeredName;
    registered.registration = registration;
    registered.module = "C:\\no.dll";
    outcome.asked = outcome.identifier = registered.identifier();
    outcome.registration = registered;
    return outcome;
}

TEST(Report, What_a_filters_registration_lacks_stands_beside_its_name_or_in_its_place) {
    using Registration = DirectXFilter::Registration;
    ScanOutcome listed = filter(Registration::complete, "", "");
    listed.registration.value.listedName = "L\x1b";
    const std::string identifier = "  DX: 0A000000-0000-4000-8000-00000000AFFE     1.23\n";
    EXPECT_EQ(
        tableText(
            {filter(Registration::complete, "Gain", "Gain"), filter(Registration::complete, "", ""), listed,
             filter(Registration::moduleMissing, "Gain", ""), filter(Registration::noModule, "Gain", ""),
             filter(Registration::noClass, "", "")}),
        "Result  Name                                     Identifier                                Seconds\n"
        "effect  Gain                                   " +
            identifier + "effect  no name registered                     " + identifier +
            "effect  no name registered, listed as \"L\xEF\xBF\xBD\"     " + identifier +
            "effect  Gain (module missing: C:\\no.dll)       " + identifier +
            "effect  Gain (class without a module)          " + identifier +
            "effect  no name registered; no class registered" + identifier);
}

TEST(Report, A_long_registration_loses_its_end_in_the_table_and_not_in_json) {
    ScanOutcome outcome = filter(DirectXFilter::Registration::moduleMissing, "Gain", "");
    const std::string path = "C:\\" + std::string(1000, 'p') + ".dll";
    outcome.registration.value.module = String(path);
    const std::string told = ("module missing: " + path).substr(0, 159) + "\xE2\x80\xA6";
    EXPECT_NE(tableText({outcome}).find("Gain (" + told + ")  DX: "), std::string::npos)
        << tableText({outcome});
    EXPECT_NE(jsonText({outcome}).find(std::string(1000, 'p') + ".dll"), std::string::npos);
    // A long name does not take the place of what is lacking.
    outcome.registration.value.name = String(std::string(5000, 'n'));
    EXPECT_NE(tableText({outcome}).find(std::string(63, 'n') + "\xE2\x80\xA6 (" + told), std::string::npos);
}

TEST(Report, What_stood_in_the_way_and_what_is_lacking_are_both_told) {
    ScanOutcome outcome = filter(DirectXFilter::Registration::noModule, "Gain", "");
    outcome.verdict = ScanVerdict::notStarted;
    outcome.detail = "No Wine";
    EXPECT_EQ(detailText(outcome), "No Wine; class without a module");
    outcome.registration.value.registration = DirectXFilter::Registration::complete;
    EXPECT_EQ(detailText(outcome), "No Wine");
    EXPECT_NE(tableText({outcome}).find("Gain (No Wine)"), std::string::npos);
}

TEST(Report, Json_tells_a_filters_registration) {
    ScanOutcome outcome = filter(DirectXFilter::Registration::moduleMissing, "G\xE9", "");
    outcome.registration.value.listedName = "Listed";
    const std::string json = jsonText({outcome});
    EXPECT_NE(json.find("\"registration\" : \"module missing\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"registeredName\" : \"G\xEF\xBF\xBD\""), std::string::npos);
    EXPECT_NE(json.find("\"registeredNameBytes\" : \"47e9\""), std::string::npos);
    EXPECT_NE(json.find("\"listedName\" : \"Listed\""), std::string::npos);
    EXPECT_NE(json.find("\"module\" : \"C:\\\\no.dll\""), std::string::npos);
    EXPECT_NE(json.find("\"detail\" : \"module missing: C:\\\\no.dll\""), std::string::npos);
    EXPECT_EQ(jsonText({reported("")}).find("regist"), std::string::npos);
}

TEST(Report, No_outcome_is_an_empty_array) {
    EXPECT_EQ(jsonText({}), "[]\n");
}

TEST(Report, An_empty_report_says_so) {
    ScanOutcome outcome = reported("");
    outcome.emptyReport = true;
    EXPECT_EQ(outcomeText(outcome), "empty report");
}

} // namespace
} // namespace Tarvik
