#include "command/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::ElementsAreArray;

class CommandLineTest : public testing::Test {
protected:
    CommandLineTest() {
        // As it is on Windows.
        app.allow_windows_style_options(true);
        makeUniform(app);
        addPaths(app, "path", paths, "Paths");
        app.add_flag("--json", json, "A flag");
        app.add_option("--vendor", vendor, "A value");
    }

    void expectPaths(const std::vector<std::string>& arguments) {
        for (const bool isBehindDashes : {false, true}) {
            std::vector<std::string> line = arguments;
            if (isBehindDashes) {
                line.insert(line.begin(), "--");
            }
            paths.clear();
            parseArguments(app, line);
            EXPECT_THAT(paths, ElementsAreArray(arguments));
            EXPECT_FALSE(json);
        }
    }

    CLI::App app{"A program.", "program"};
    std::vector<std::string> paths;
    bool json = false;
    std::string vendor;
};

TEST_F(CommandLineTest, Names_in_brackets_and_braces_are_names) {
    for (const char* name : {"[a,b]", "[a]", "[]", "{}", "{a}", "a,b", "\"a\"", "%%"}) {
        expectPaths({name});
        expectPaths({"a", name, name});
    }
}

TEST_F(CommandLineTest, A_value_in_brackets_is_a_value) {
    parseArguments(app, {"--vendor", "[a]", "[b]"});
    EXPECT_EQ(vendor, "[a]");
    EXPECT_THAT(paths, ElementsAreArray({"[b]"}));
}

TEST_F(CommandLineTest, Paths_that_begin_with_a_slash_are_paths) {
    expectPaths({"/json"});
    expectPaths({"/sounds/a.wav", "/b"});
}

TEST_F(CommandLineTest, Options_stand_anywhere) {
    parseArguments(app, {"a", "--json", "b"});
    EXPECT_THAT(paths, ElementsAreArray({"a", "b"}));
    EXPECT_TRUE(json);
}

TEST_F(CommandLineTest, An_error_cannot_steer_the_terminal) {
    std::ostringstream out;
    std::ostringstream errors;
    try {
        parseArguments(app, {"--\x1b[2Jx"});
        FAIL();
    } catch (const CLI::ParseError& error) {
        EXPECT_NE(app.exit(error, out, errors), 0);
    }
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(errors.str().find('\x1b'), std::string::npos);
    EXPECT_NE(errors.str().find("\xEF\xBF\xBD[2Jx"), std::string::npos) << errors.str();
}

} // namespace
