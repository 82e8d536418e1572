#include "command/CommandLine.h"

#include "command/PrintableText.h"

#include <algorithm>
#include <utility>

namespace {

/// Behind names in brackets, which the library would take for lists. No argument can have it of its own.
constexpr char mark = '\0';

/// Whether the next argument is this one's value.
bool takesValue(const CLI::App& app, const std::string& argument) {
    const CLI::Option* const option =
        argument.starts_with("--") && argument.size() > 2 ? app.get_option_no_throw(argument) : nullptr;
    return option != nullptr && option->get_items_expected_max() > 0;
}

} // namespace

void makeUniform(CLI::App& app) {
    // On Windows, paths may begin with a slash too.
    app.allow_windows_style_options(false);
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return printable(error.what()) + "\nRun with --help for more information.\n";
    });
}

CLI::Option* addPaths(
    CLI::App& app, const std::string& name, std::vector<std::string>& paths, const std::string& description) {
    // By a function: the library's own lists leave "{}" out.
    return app
        .add_option(
            name,
            [&paths](const CLI::results_t& given) {
                paths = given;
                for (std::string& path : paths) {
                    path.resize(path.size() - (path.ends_with(mark) ? 1 : 0));
                }
                return true;
            },
            description)
        ->type_name("TEXT")
        ->expected(1, -1)
        ->allow_extra_args();
}

void parseArguments(CLI::App& app, std::vector<std::string> arguments) {
    bool isValue = false;
    for (std::string& argument : arguments) {
        const bool wasValue = std::exchange(isValue, takesValue(app, argument));
        if (!wasValue && argument.starts_with('[') && argument.ends_with(']')) {
            argument += mark;
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    app.parse(std::move(arguments));
}
