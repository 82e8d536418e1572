#pragma once

#include "audio/decode/REXLibrary.h"
#include "audio/decode/SyncedStream.h"

#include "svbase/util/File.h"
#include "svbase/util/String.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Audio::Decode::REX {

/// Reads REX loops through their vendor's library: sync renders all slices, each mixed in where it begins at
/// the loop's original tempo, into floats that are read from then on. The loop ends where its last slice
/// does; what an earlier slice has beyond that is cut.
class Decoder final : public SyncedStream {
public:
    /// Longest loop, and most that its slices may have together: a damaged file must not ask for more memory
    /// and time than a machine has. 25 minutes at 44.1 kHz.
    static constexpr std::uint64_t mostFrames = std::uint64_t{1} << 26U;
    static constexpr std::int32_t mostSlices = 1 << 16;

    /// library: loaded by sync, and held from here on.
    Decoder(String path, std::shared_ptr<Library> library);

    std::uint32_t fileType() const override { return FileTypeREX; }
    /// Errors, %2 or a lone %1 being the library's (REXError.h): "Can't create REX handle: %1", also where
    /// there is no library; "Can't get file info: %1"; "Invalid file info"; "No active slices"; "Can't get
    /// slice %1 info: %2"; "Can't get info for slice %1: %2"; "Can't render slice %1: %2". Of what no sound
    /// file has: "File of %1 bytes, at most %2", "%1 slices, at most %2", "Slices of more than %1 frames",
    /// "Invalid slice %1 info", "Slice %1 has changed". The file's own; "Not enough memory for what the file
    /// holds".
    Result sync() override;
    bool isTruncated() const override { return false; }

    using Stream::ReadFloatInterleaved;
    Result ReadFloatInterleaved(std::uint64_t count, float* buffer, std::uint64_t& framesRead) override;
    Result
    ReadFloatDeinterleaved(std::uint64_t count, float* const* channels, std::uint64_t& framesRead) override;
    Result ReadInt16Deinterleaved(
        std::uint64_t count, std::int16_t* const* channels, std::uint64_t& framesRead) override;
    Result
    ReadInt16Interleaved(std::uint64_t count, std::int16_t* buffer, std::uint64_t& framesRead) override;
    /// The floats as ReadFloatInterleaved gives them: the file's own bytes are the library's alone.
    Result ReadRawInterleaved(std::uint64_t count, void* buffer, std::uint64_t& framesRead) override;

private:
    struct DeleteLoop {
        Library* library;
        void operator()(Handle handle) const { library->REXDelete(&handle); }
    };
    struct Place {
        std::uint64_t position = 0;
        std::uint64_t frames = 0;
    };

    Result parse();
    Result readFile(std::vector<std::uint8_t>& bytes);
    Result createHandle(const std::vector<std::uint8_t>& bytes);
    Result readInfo(Info& info);
    Result readSlices(const Info& info);
    Result render(const Info& info);
    /// Invalid for what no slice can be.
    static checked_value<Place> placeOf(const Info& info, const SliceInfo& slice);
    void clear();

    /// Has take(frames) called for what there is of count, unless that is nothing, and moves on.
    template<class Take>
    Result read(const char* operation, std::uint64_t count, std::uint64_t& framesRead, Take take);
    /// bytes: of any alignment.
    void interleave(std::size_t count, std::uint8_t* bytes) const;
    const float* samplesOf(std::size_t channel) const { return rendered_[channel].data() + position_; }

    Util::File file_;
    const std::shared_ptr<Library> library_;
    /// In frames.
    std::vector<std::uint64_t> slicePositions_;
    std::vector<std::uint64_t> sliceLengths_;
    /// One array of totalFrames_ per channel.
    std::vector<std::vector<float>> rendered_;
    std::unique_ptr<OpenLoop, DeleteLoop> handle_;
};

} // namespace Audio::Decode::REX
