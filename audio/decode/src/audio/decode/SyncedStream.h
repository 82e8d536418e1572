#pragma once

#include "audio/decode/Stream.h"

#include <cstdint>
#include <new>
#include <stdexcept>

namespace Audio::Decode {

/// What all decoders know of themselves: whether they are synced, what they read, how long it is and where
/// they stand.
class SyncedStream : public Stream {
public:
    const Format& format() const final { return format_; }
    std::uint64_t totalFrames() const final { return totalFrames_; }
    std::uint64_t position() const final { return position_; }
    std::uint64_t framesRemaining() const final { return synced_ ? totalFrames_ - position_ : 0; }
    Result seek(std::uint64_t frame) final;

protected:
    explicit SyncedStream(String path);

    /// The position has become another frame, of 0..totalFrames().
    virtual Result moved(std::uint64_t frame);

    const String& path() const { return path_; }
    bool isSynced() const { return synced_; }
    /// An error of this file, with arguments still to come.
    BadFormatError bad(const char* format, std::uint32_t code = BadFormatError::General) const;
    /// What a step gives that may need as much memory as the file has bytes. Where there is not so much, that
    /// is an error of the file like any other.
    template<class Step>
    auto withinMemory(Step step) const -> decltype(step()) {
        try {
            return step();
        } catch (const std::bad_alloc&) {
            return unexpected(bad("Not enough memory for what the file holds"));
        } catch (const std::length_error&) {
            return unexpected(bad("Not enough memory for what the file holds"));
        }
    }
    /// As it was made.
    void clearStream();

    /// Set at the very end of a sync that succeeds.
    bool synced_ = false;
    Format format_;
    std::uint64_t totalFrames_ = 0;
    std::uint64_t position_ = 0;

private:
    const String path_;
};

} // namespace Audio::Decode
