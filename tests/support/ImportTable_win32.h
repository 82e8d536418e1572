#pragma once

#include "svbase/util/Noncopyable.h"

#include <string>
#include <vector>

/// What this program takes of the system's libraries. Each call that its own code makes of them, and none
/// that they make of one another, goes through the table that is meant here.
struct ImportedFunction {
    std::string name;
    /// Where its address stands.
    void** place;
};

/// Functions alone: what is imported by a number has no name, and data are not called.
std::vector<ImportedFunction> ImportedFunctions();

/// Has the program's calls of an imported function go to another one of the same type, for as long as the
/// object lives. [any], but the two ends of its life while no other thread makes such a call.
class ReplacedImport : private noncopyable {
public:
    /// Throws std::runtime_error where the program imports no function of this name.
    ReplacedImport(const char* name, void* replacement);
    ReplacedImport(const ImportedFunction& function, void* replacement);
    ~ReplacedImport();

    /// What the replacement stands for.
    void* Original() const { return original; }

private:
    void** place;
    void* original;
};
