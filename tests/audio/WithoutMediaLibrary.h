#pragma once

#include <memory>

/// While it lives, the platform has no media library. For tests of what the room reads by itself: a library
/// would try its luck with whatever is too damaged for anybody else, and what comes of that is its own
/// affair. Wine's moreover keeps files open that it could not read, and hangs over some.
class WithoutMediaLibrary {
public:
    WithoutMediaLibrary();
    ~WithoutMediaLibrary();

private:
    struct Hidden;
    std::unique_ptr<Hidden> hidden;
};
