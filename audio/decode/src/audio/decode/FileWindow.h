#pragma once

#include "svbase/util/File.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/expected.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Audio::Decode {

/// A file that is looked at by position, through one window of memory. Where the next look begins inside the
/// window or right behind it, the file is taken to be read in order, and the window moves on by a step, which
/// grows while that goes on; anywhere else only what is wanted is read, in whole pages.
///
/// Steps end at multiples of a page, so that the C library reads straight into the window and keeps no rest
/// of a page in a buffer of its own. The bytes stand in memory at the offset from a page that they have in
/// the file.
///
/// Files that change while they are open are seen as they were when the window last read them.
class FileWindow : private noncopyable {
public:
    using Error = Util::File::Error;

    explicit FileWindow(String path);

    const String& path() const { return file_.path(); }
    bool isOpen() const { return file_.isOpen(); }

    /// For reading, with nothing in the window. Allocates the window.
    expected<void, Error> open();
    void close();

    /// Allocates for views of at least so many bytes. Empties the window.
    void reserveFor(std::uint64_t least);

    /// When it was opened; 0 where the system does not tell, and when closed.
    std::uint64_t size() const { return size_; }
    /// Bytes from position to the end; 0 past the end.
    std::uint64_t remaining(std::uint64_t position) const { return position < size_ ? size_ - position : 0; }

    /// The bytes at position: at least `least`, and as many more as the window holds. wanted: how many the
    /// caller can use. Valid until the next call. Allocates only where `least` is larger than it has been,
    /// than a page and than what was reserved. Fewer bytes than `least` are an error; it is the file's own.
    expected<std::span<const std::uint8_t>, Error>
    view(std::uint64_t position, std::uint64_t least, std::uint64_t wanted) {
        const std::uint64_t offset = position - begin_;
        if (offset <= filled_ && filled_ - offset >= least) {
            return std::span<const std::uint8_t>(bytes_ + offset, filled_ - static_cast<std::size_t>(offset));
        }
        return load(position, least, wanted);
    }

    /// Copies count bytes from position on. copied: how many came before an error.
    expected<void, Error>
    read(std::uint64_t position, void* buffer, std::uint64_t count, std::uint64_t& copied);

    /// Makes sure that the file can be read at position: moves the file there unless the window holds it.
    expected<void, Error> seek(std::uint64_t position);

private:
    expected<std::span<const std::uint8_t>, Error>
    load(std::uint64_t position, std::uint64_t least, std::uint64_t wanted);
    /// How many bytes to read at a place of the file where `needed` must come.
    std::uint64_t bytesToRead(std::uint64_t from, std::uint64_t needed, std::uint64_t wanted) const;
    /// Memory of which so much lies before a page and in it. Nothing of the old memory is kept.
    void reserve(std::size_t front, std::size_t back);
    /// Makes the window its own last `kept` bytes, which end at offset `at` of the page, with room for
    /// `count` more behind them.
    void makeRoom(std::size_t kept, std::size_t at, std::size_t count);
    void empty();

    Util::File file_;
    std::uint64_t size_ = 0;

    std::unique_ptr<std::uint8_t[]> memory_;
    /// The start of a page, with `front_` bytes of the memory before it and `back_` from it on.
    std::uint8_t* page_ = nullptr;
    std::size_t front_ = 0;
    std::size_t back_ = 0;

    /// The window: its first byte's position in the file, its bytes.
    std::uint64_t begin_ = 0;
    const std::uint8_t* bytes_ = nullptr;
    std::size_t filled_ = 0;
    std::uint64_t step_ = 0;
    /// Where the file itself stands; invalid after a failure.
    checked_value<std::uint64_t> fileAt_;
};

} // namespace Audio::Decode
