#pragma once

#include "svbase/util/Error.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/checked_value.h"
#include "svbase/util/expected.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace Util {

/// Two times of a file's status, only good for telling whether the file is still the one of before.
struct FileTimes {
    std::int64_t modifiedSeconds = 0;
    std::int64_t statusSeconds = 0;

    friend bool operator==(const FileTimes&, const FileTimes&) = default;
};

/// A file by its path, open or closed. Failures are values; nothing here throws. Closed at destruction, where
/// a failure is ignored. Not shared between threads.
class File : private noncopyable {
public:
    /// Bits of open's mode. Without Text the file is binary.
    enum Mode : unsigned {
        Read = 2,
        Write = 4,
        ReadWrite = 8,
        Append = 16,
        Truncate = 32,
        Text = 64,
        CreateNew = 128, ///< Fail if the file exists.
    };

    class Error;

    /// Takes any form of path; opens nothing.
    explicit File(String path);
    ~File();

    const String& path() const { return path_; }
    bool isOpen() const { return isOpen_; }
    /// Zero when closed.
    unsigned openMode() const { return openMode_; }

    /// mode: bits of Mode. An open file is closed first. Writing modes create the file; Write alone empties
    /// it. Nobody else is kept from opening it.
    expected<void, Error> open(unsigned mode);
    /// Closing a closed file succeeds.
    expected<void, Error> close();
    /// From the start; past the end is allowed.
    expected<void, Error> seek(std::uint64_t position);
    /// All of count bytes or an error; then the buffer holds what was there. A count of 0 and a null buffer
    /// succeed even on a closed file. In text mode count is in bytes of the file; where line ends shrink,
    /// the rest of the buffer is zero.
    expected<void, Error> read(void* buffer, std::uint64_t count);
    expected<void, Error> write(const void* buffer, std::uint64_t count);
    /// Replaces the bytes by everything from the position to the end.
    expected<void, Error> readToEnd(std::vector<std::uint8_t>& bytes);

    /// Invalid when closed.
    checked_value<std::uint64_t> position() const;
    /// Of the open file, else of the one at the path; invalid when there is none.
    checked_value<std::uint64_t> size() const;
    /// 0 past the end; invalid when closed.
    checked_value<std::uint64_t> bytesRemaining() const;
    /// False on a closed file.
    bool atEnd() const;

    /// By the path, open or not.
    expected<FileTimes, Error> modificationTime() const;
    bool exists() const;

private:
    enum class Last : unsigned char { Nothing, Reading, Writing };

    Error fail(std::uint32_t code, const char* format) const;
    Error failWithErrno(std::uint32_t code, const char* format) const;
    void turnTo(Last direction);

    String path_;
    std::FILE* handle_ = nullptr;
    unsigned openMode_ = 0;
    bool isOpen_ = false;
    Last last_ = Last::Nothing;
};

/// What went wrong with which file.
class File::Error : public BasicError<File::Error> {
public:
    enum Code : std::uint32_t { General = 0, Opening = 2, Reading = 3, Writing = 4, Closing = 5 };

    Error(std::uint32_t code, String format, String path, checked_value<unsigned> osError = {});

    const String& path() const { return path_; }
    /// errno, when the failure came from the C library.
    checked_value<unsigned> osError() const { return osError_; }

private:
    String path_;
    checked_value<unsigned> osError_;
    // Always empty; copied with the object.
    std::vector<String> details_;
};

} // namespace Util
