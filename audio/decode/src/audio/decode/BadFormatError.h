#pragma once

#include "svbase/util/Error.h"
#include "svbase/util/File.h"
#include "svbase/util/expected.h"

#include <cstdint>

namespace Audio::Decode {

/// The file was read, and what it holds cannot be used.
class BadFormatError : public Util::BasicError<BadFormatError> {
public:
    enum Code : std::uint32_t { General = 0, NoData = 1, NoFormat = 2 };

    BadFormatError(std::uint32_t code, String format, String path);

    /// Of the file that was read.
    const String& path() const { return path_; }

private:
    String path_;
};

/// What can go wrong with a sound file: its contents, or the file itself.
using Error = Util::ErrorVariant<BadFormatError, Util::File::Error>;
using Result = expected<void, Error>;

} // namespace Audio::Decode
