#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

/// Makes every platform take the same command lines, and every message of a wrong one fit for a terminal. To
/// be called before any option is added.
void makeUniform(CLI::App& app);

/// The arguments that are no options, each exactly as it was given. name: for the help.
CLI::Option* addPaths(
    CLI::App& app, const std::string& name, std::vector<std::string>& paths, const std::string& description);

/// Throws CLI::ParseError. arguments: without the program's name.
void parseArguments(CLI::App& app, std::vector<std::string> arguments);
