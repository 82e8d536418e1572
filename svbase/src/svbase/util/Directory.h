#pragma once

#include "svbase/util/File.h"

namespace Util {

/// A directory by its path.
class Directory {
public:
    /// Takes any form of path; creates nothing.
    explicit Directory(String path);

    const String& path() const { return path_; }
    bool exists() const;

    /// Creates the directory; withParents: also every directory on the way, and one that is there already is
    /// a success. The errors have the code General.
    expected<void, File::Error> create(bool withParents) const;

private:
    expected<void, File::Error> make(const String& path) const;

    String path_;
};

} // namespace Util
