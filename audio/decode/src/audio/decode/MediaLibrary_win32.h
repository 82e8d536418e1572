#pragma once

#include "audio/decode/WindowsMedia_win32.h"
#include "svbase/util/Noncopyable.h"

#include <cstdint>
#include <memory>
#include <span>

namespace Util {
class Module;
}

namespace Audio::Decode::WMA {

/// The system's media library, as far as it is used here. Immutable. [any]
class MediaLibrary : noncopyable {
public:
    /// Null where the library has no such function.
    struct EntryPoints {
        CreateSyncReader createSyncReader = nullptr;
        ValidateData validateData = nullptr;
    };

    /// The system's own: loaded by the first call that can, one for the process, and there to its end. Null
    /// where it cannot be loaded. [any]
    static std::shared_ptr<const MediaLibrary> system();

    /// For tests: while it lives, system() gives the library of the test's choice, or null as if there were
    /// none. One at a time.
    class Substitute : noncopyable {
    public:
        explicit Substitute(std::shared_ptr<const MediaLibrary> library);
        ~Substitute();
    };

    explicit MediaLibrary(const EntryPoints& entryPoints);
    ~MediaLibrary();

    const EntryPoints& entryPoints() const { return entryPoints_; }
    /// Whether the library takes a file for one of its own by its first bytes. False where it cannot tell.
    bool IsMediaData(std::span<const std::uint8_t> bytes) const;

private:
    explicit MediaLibrary(std::unique_ptr<Util::Module> module);

    std::unique_ptr<Util::Module> module_;
    EntryPoints entryPoints_;
};

} // namespace Audio::Decode::WMA
