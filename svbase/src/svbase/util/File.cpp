#include "svbase/util/File.h"

#include "svbase/util/FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <limits>
#include <string>

namespace Util {

namespace {

struct Translation {
    FileSystem::OpenFlags flags;
    std::string streamMode;
};

// Asks in the order of the C library's own modes; a mode without any bit reads.
Translation translate(unsigned mode) {
    const auto has = [mode](unsigned bits) { return (mode & bits) != 0; };
    const bool reads = has(File::Read | File::ReadWrite);
    const bool writes = has(File::Write | File::ReadWrite | File::Append);
    Translation to;
    if (!reads && writes) {
        const bool append = has(File::Append);
        to.streamMode = append ? "a" : "w";
        to.flags.write = to.flags.create = true;
        to.flags.append = append;
        to.flags.truncate = !append;
    } else if (!writes) {
        to.streamMode = "r";
        to.flags.read = true;
    } else {
        to.flags.read = to.flags.write = to.flags.create = true;
        to.flags.truncate = has(File::Truncate);
        to.flags.append = !to.flags.truncate && has(File::Append);
        to.streamMode = to.flags.truncate ? "w+" : to.flags.append ? "a+" : "r+";
    }
    to.flags.text = has(File::Text);
    to.streamMode += to.flags.text ? 't' : 'b';
    if (has(File::CreateNew)) {
        to.flags.create = to.flags.exclusive = true;
    }
    return to;
}

} // namespace

File::Error::Error(std::uint32_t code, String format, String path, checked_value<unsigned> osError)
    : BasicError("File", code, std::move(format)), path_(std::move(path)), osError_(osError) {}

File::File(String path) : path_(std::move(path)) {}

File::~File() {
    static_cast<void>(close());
}

expected<void, File::Error> File::open(unsigned mode) {
    if (expected<void, Error> closed = close(); !closed) {
        return closed;
    }
    const Translation translation = translate(mode);
    handle_ = FileSystem::open(path_, translation.flags, translation.streamMode.c_str());
    if (handle_ == nullptr) {
        return unexpected(failWithErrno(Error::Opening, "Error opening file"));
    }
    openMode_ = mode;
    isOpen_ = true;
    return {};
}

expected<void, File::Error> File::close() {
    if (!isOpen_) {
        return {};
    }
    const bool closed = std::fclose(handle_) == 0;
    handle_ = nullptr;
    openMode_ = 0;
    isOpen_ = false;
    last_ = Last::Nothing;
    if (!closed) {
        return unexpected(failWithErrno(Error::Closing, "Close failed"));
    }
    return {};
}

expected<void, File::Error> File::seek(std::uint64_t position) {
    if (!isOpen_) {
        return unexpected(fail(Error::General, "Attempt to seek to %1 when not open").arg(position));
    }
    if (!FileSystem::seek(handle_, position)) {
        return unexpected(failWithErrno(Error::General, "Seek to %1 failed").arg(position));
    }
    last_ = Last::Nothing;
    return {};
}

expected<void, File::Error> File::read(void* buffer, std::uint64_t count) {
    if (count == 0 || buffer == nullptr) {
        return {};
    }
    if (!isOpen_) {
        return unexpected(fail(Error::Reading, "Attempt to read %1 bytes when not open").arg(count));
    }
    turnTo(Last::Reading);
    const bool text = (openMode_ & Text) != 0;
    const std::uint64_t before = text ? position().value : 0;
    errno = 0;
    const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(count), handle_);
    // Line ends shrink in text mode, so there only the position tells what was consumed.
    const int error = errno;
    const std::uint64_t consumed = text ? position().value - before : got;
    if (consumed != count) {
        errno = error;
        return unexpected(failWithErrno(Error::Reading, "Attempt to read %1 bytes, only read %2 bytes")
                              .arg(count)
                              .arg(consumed));
    }
    auto* const bytes = static_cast<unsigned char*>(buffer);
    std::fill(bytes + got, bytes + count, static_cast<unsigned char>(0));
    return {};
}

expected<void, File::Error> File::write(const void* buffer, std::uint64_t count) {
    if (!isOpen_) {
        return unexpected(fail(Error::Writing, "Attempt to write %1 bytes when not open").arg(count));
    }
    if (count == 0) {
        return {};
    }
    turnTo(Last::Writing);
    errno = 0;
    const std::size_t wrote = std::fwrite(buffer, 1, static_cast<std::size_t>(count), handle_);
    if (wrote != count) {
        return unexpected(failWithErrno(Error::Writing, "Attempt to write %1 bytes, only wrote %2 bytes")
                              .arg(count)
                              .arg(wrote));
    }
    return {};
}

expected<void, File::Error> File::readToEnd(std::vector<std::uint8_t>& bytes) {
    const checked_value<std::uint64_t> remaining = bytesRemaining();
    if (!remaining) {
        return unexpected(fail(Error::General, "Could not get the number of bytes remaining"));
    }
    try {
        bytes.assign(static_cast<std::size_t>(remaining.value), 0);
    } catch (const std::exception&) {
        // The size is what the file system says: sparse and special files name sizes that no memory holds.
        bytes.clear();
        errno = ENOMEM;
        return unexpected(failWithErrno(Error::Reading, "Attempt to read %1 bytes, only read %2 bytes")
                              .arg(remaining.value)
                              .arg(0U));
    }
    return read(bytes.data(), remaining.value);
}

checked_value<std::uint64_t> File::position() const {
    return isOpen_ ? FileSystem::tell(handle_) : checked_value<std::uint64_t>();
}

checked_value<std::uint64_t> File::size() const {
    if (!isOpen_) {
        return FileSystem::size(path_);
    }
    if (last_ == Last::Writing) {
        // What the C library still holds back belongs to the file.
        std::fflush(handle_);
    }
    return FileSystem::size(handle_);
}

checked_value<std::uint64_t> File::bytesRemaining() const {
    const checked_value<std::uint64_t> at = position();
    const checked_value<std::uint64_t> end = at ? size() : at;
    if (!end) {
        return {};
    }
    return end.value - std::min(at.value, end.value);
}

bool File::atEnd() const {
    return bytesRemaining() == checked_value<std::uint64_t>(0);
}

expected<FileTimes, File::Error> File::modificationTime() const {
    const checked_value<FileTimes> times = FileSystem::times(path_);
    if (!times) {
        return unexpected(failWithErrno(Error::General, "Error getting file time"));
    }
    return times.value;
}

bool File::exists() const {
    return FileSystem::exists(path_);
}

File::Error File::fail(std::uint32_t code, const char* format) const {
    return {code, format, path_};
}

File::Error File::failWithErrno(std::uint32_t code, const char* format) const {
    const unsigned error = static_cast<unsigned>(errno);
    return {code, format, path_, error};
}

// The C library wants a seek between reading and writing.
void File::turnTo(Last direction) {
    if (last_ != direction && last_ != Last::Nothing) {
        std::fseek(handle_, 0, SEEK_CUR);
    }
    last_ = direction;
}

} // namespace Util
