#include "audio/decode/FileWindow.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Audio::Decode {

namespace {

constexpr std::uint64_t pageBytes = 4096;

/// What is read at first when a file is read in order, and what that grows to. From the page cache, steps of
/// 1 MiB take three quarters of the time of steps of 64 KiB, and longer ones gain no more.
constexpr std::uint64_t firstStep = std::uint64_t{1} << 16U;
constexpr std::uint64_t lastStep = std::uint64_t{1} << 20U;

constexpr std::uint64_t roundedUp(std::uint64_t bytes) {
    return (bytes + pageBytes - 1) / pageBytes * pageBytes;
}

} // namespace

FileWindow::FileWindow(String path) : file_(std::move(path)) {}

expected<void, FileWindow::Error> FileWindow::open() {
    close();
    if (expected<void, Error> opened = file_.open(Util::File::Read); !opened) {
        return opened;
    }
    size_ = file_.size().value;
    fileAt_ = 0;
    reserve(pageBytes, static_cast<std::size_t>(std::min(lastStep, size_) + pageBytes));
    return {};
}

void FileWindow::reserveFor(std::uint64_t least) {
    if (least > pageBytes) {
        empty();
        reserve(
            static_cast<std::size_t>(least),
            static_cast<std::size_t>(std::min(std::max(least, lastStep), size_) + pageBytes));
    }
}

void FileWindow::close() {
    // Nothing was written that closing could lose.
    static_cast<void>(file_.close());
    size_ = 0;
    empty();
    fileAt_ = {};
}

void FileWindow::empty() {
    begin_ = 0;
    filled_ = 0;
    step_ = firstStep;
}

expected<void, FileWindow::Error> FileWindow::seek(std::uint64_t position) {
    if (position >= begin_ && position - begin_ < filled_) {
        return {};
    }
    empty();
    fileAt_ = {};
    if (expected<void, Error> moved = file_.seek(position); !moved) {
        return moved;
    }
    fileAt_ = position;
    return {};
}

std::uint64_t FileWindow::bytesToRead(std::uint64_t from, std::uint64_t needed, std::uint64_t wanted) const {
    const std::uint64_t there = remaining(from);
    if (needed > there) {
        return needed;
    }
    return std::min(roundedUp(from + std::max(needed, std::min(wanted, lastStep))) - from, there);
}

void FileWindow::reserve(std::size_t front, std::size_t back) {
    front_ = std::max<std::size_t>(front_, roundedUp(front));
    back_ = std::max<std::size_t>(back_, roundedUp(back));
    // Not filled: most files do not need all of it, and what nobody touches costs nothing.
    memory_ = std::make_unique_for_overwrite<std::uint8_t[]>(front_ + pageBytes + back_);
    const auto address = reinterpret_cast<std::uintptr_t>(memory_.get() + front_);
    page_ = memory_.get() + front_ + (roundedUp(address) - address);
}

void FileWindow::makeRoom(std::size_t kept, std::size_t at, std::size_t count) {
    const std::uint8_t* const from = bytes_ + (filled_ - kept);
    std::unique_ptr<std::uint8_t[]> old;
    if (front_ < kept || back_ < at + count) {
        old = std::move(memory_);
        reserve(kept, at + count);
    }
    std::uint8_t* const to = page_ + at - kept;
    if (kept != 0) {
        std::memmove(to, from, kept);
    }
    bytes_ = to;
    filled_ = kept;
}

expected<std::span<const std::uint8_t>, FileWindow::Error>
FileWindow::load(std::uint64_t position, std::uint64_t least, std::uint64_t wanted) {
    const bool isThere = least <= remaining(position);
    // What is not there is asked for in one piece, so that the failure tells how much of it there is.
    const bool goesOn = isThere && filled_ != 0 && position >= begin_ && position - begin_ <= filled_;
    const std::size_t kept = goesOn ? filled_ - static_cast<std::size_t>(position - begin_) : 0;
    const std::uint64_t from = position + kept;
    const std::uint64_t count = bytesToRead(from, least - kept, goesOn ? step_ : wanted);
    step_ = goesOn ? std::min(step_ * 2, lastStep) : firstStep;
    makeRoom(kept, static_cast<std::size_t>(from % pageBytes), static_cast<std::size_t>(count));
    begin_ = position;

    if (!(fileAt_ == checked_value<std::uint64_t>(from))) {
        fileAt_ = {};
        if (const expected<void, Error> moved = file_.seek(from); !moved) {
            return unexpected(moved.error());
        }
    }
    fileAt_ = {};
    const expected<void, Error> got = file_.read(page_ + static_cast<std::size_t>(from % pageBytes), count);
    if (got) {
        fileAt_ = from + count;
        filled_ += static_cast<std::size_t>(count);
    } else {
        // The file has become shorter than it was. What is left of it is still read.
        filled_ += static_cast<std::size_t>(file_.position().value_or(from) - from);
        if (filled_ < least) {
            return unexpected(got.error());
        }
    }
    return std::span<const std::uint8_t>(bytes_, filled_);
}

expected<void, FileWindow::Error>
FileWindow::read(std::uint64_t position, void* buffer, std::uint64_t count, std::uint64_t& copied) {
    copied = 0;
    while (copied < count) {
        const auto bytes = view(position + copied, 1, count - copied);
        if (!bytes) {
            return unexpected(bytes.error());
        }
        const auto now = static_cast<std::size_t>(std::min<std::uint64_t>(bytes->size(), count - copied));
        std::memcpy(static_cast<std::uint8_t*>(buffer) + copied, bytes->data(), now);
        copied += now;
    }
    return {};
}

} // namespace Audio::Decode
