#pragma once

#include "support/ImportTable_win32.h"
#include "svbase/util/Noncopyable.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Counts what this program's own code asks of the system: each function of the system's libraries that it
/// calls, and the locks of its own runtime library, which ask the system for nothing unless they have to
/// wait. What those libraries do among themselves is not counted. One at a time; made and used on one thread,
/// whose calls alone count.
class PlatformCalls : private noncopyable {
public:
    PlatformCalls();
    ~PlatformCalls();

    /// How often the action called what, by name, without what it did not call.
    template<class Action>
    std::map<std::string, std::size_t> Of(Action action) {
        Begin();
        action();
        return End();
    }

private:
    /// Executable, and gone with the object.
    struct FreePages {
        void operator()(void* pages) const;
    };

    void Begin();
    std::map<std::string, std::size_t> End();

    std::vector<ImportedFunction> functions;
    std::vector<std::uint64_t> counts;
    std::unique_ptr<void, FreePages> code;
    std::vector<std::unique_ptr<ReplacedImport>> replaced;
};
