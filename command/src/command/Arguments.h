#pragma once

#include <string>
#include <vector>

/// The program's arguments in UTF-8, without the program's name, in the order given.
std::vector<std::string> commandLineArguments(int count, char** arguments);

/// The folder that this program's file stands in.
std::string programFolder();

/// True where standard error is a terminal.
bool standardErrorIsTerminal();
