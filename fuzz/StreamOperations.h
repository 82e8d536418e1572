#pragma once

#include "MemoryFile.h"
#include "Require.h"

#include "audio/decode/Stream.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

/// What a sound-file decoder promises whatever the file holds, operation by operation.
class StreamOperations {
public:
    explicit StreamOperations(Audio::Decode::Stream& decoder) : stream(decoder) {}

    /// framesRead, position and result agree; false where there was an error.
    template<class Read>
    bool read(std::uint64_t count, Read readFrames) {
        const std::uint64_t position = stream.position();
        const std::uint64_t remaining = stream.framesRemaining();
        std::uint64_t framesRead = ~std::uint64_t{0};
        const Audio::Decode::Result result = readFrames(framesRead);
        REQUIRE(framesRead <= std::min(count, remaining));
        REQUIRE(stream.position() == position + framesRead);
        REQUIRE(stream.framesRemaining() == remaining - framesRead);
        REQUIRE(!result || framesRead == std::min(count, remaining));
        REQUIRE(result || !result.error().message().isEmpty());
        return result.has_value();
    }

    void seek(std::uint64_t frame) {
        const bool allowed = frame <= stream.totalFrames();
        const std::uint64_t before = stream.position();
        const bool moved = stream.seek(frame).has_value();
        REQUIRE(moved ? stream.position() == frame : !allowed || stream.position() == frame);
        REQUIRE(allowed || stream.position() == before);
    }

    /// The same frames in every form, from the same position.
    void readInEveryForm(std::uint64_t count) {
        const std::uint64_t position = stream.position();
        const std::size_t channels = stream.format().channels;
        const std::size_t bytes = stream.format().bytesPerSample;
        // Not more memory than is sensible here, whatever the format claims.
        if (channels * std::max<std::size_t>(bytes, 4) * count > (1U << 22U)) {
            return;
        }
        const auto frames = static_cast<std::size_t>(count);
        std::vector<float> floats(frames * channels);
        std::vector<std::int16_t> shorts(frames * channels);
        std::vector<std::uint8_t> raw(frames * channels * bytes);
        std::vector<std::vector<float>> floatsApart(channels, std::vector<float>(frames));
        std::vector<std::vector<std::int16_t>> shortsApart(channels, std::vector<std::int16_t>(frames));
        std::vector<float*> floatArrays;
        std::vector<std::int16_t*> shortArrays;
        for (std::size_t i = 0; i < channels; ++i) {
            floatArrays.push_back(floatsApart[i].data());
            shortArrays.push_back(shortsApart[i].data());
        }
        const bool isRead = read(
            count, [&](std::uint64_t& n) { return stream.ReadFloatInterleaved(count, floats.data(), n); });
        const std::uint64_t got = stream.position() - position;
        seek(position);
        const bool isReadApart = read(count, [&](std::uint64_t& n) {
            return stream.ReadFloatDeinterleaved(count, floatArrays.data(), n);
        });
        const std::uint64_t gotApart = stream.position() - position;
        // What has been read of a file may be read once more after it has been cut off the file, or not.
        REQUIRE(isChanged || (isRead == isReadApart && gotApart == got));
        seek(position);
        read(count, [&](std::uint64_t& n) { return stream.ReadInt16Interleaved(count, shorts.data(), n); });
        seek(position);
        read(count, [&](std::uint64_t& n) {
            return stream.ReadInt16Deinterleaved(count, shortArrays.data(), n);
        });
        for (std::size_t frame = 0; frame < got && !isChanged; ++frame) {
            for (std::size_t channel = 0; channel < channels; ++channel) {
                const std::size_t i = frame * channels + channel;
                // By their bits: what is no number equals nothing.
                REQUIRE(
                    std::bit_cast<std::uint32_t>(floats[i]) ==
                    std::bit_cast<std::uint32_t>(floatsApart[channel][frame]));
                REQUIRE(shorts[i] == shortsApart[channel][frame]);
            }
        }
        seek(position);
        read(count, [&](std::uint64_t& n) { return stream.ReadRawInterleaved(count, raw.data(), n); });
    }

    void askForEverything() {
        REQUIRE(!stream.chunk(stream.chunkCount()).valid);
        if (stream.chunkCount() != 0) {
            REQUIRE(stream.chunk(stream.chunkCount() - 1).valid);
        }
        const std::uint64_t position = stream.position();
        static_cast<void>(stream.markers());
        static_cast<void>(stream.regions());
        static_cast<void>(stream.notes());
        static_cast<void>(stream.originatorReference());
        static_cast<void>(stream.applicationChunks());
        static_cast<void>(stream.loopInfo());
        static_cast<void>(stream.diagnostics());
        REQUIRE(stream.position() == position);
    }

    /// Operations as the input has them, on a file that may shrink and grow meanwhile.
    void run(FuzzedDataProvider& input, MemoryFile& file, std::size_t fileSize) {
        askForEverything();
        readInEveryForm(1);
        const bool isSynced = stream.sync().has_value();
        REQUIRE(isSynced || stream.totalFrames() == 0);
        REQUIRE(stream.position() == 0);
        readInEveryForm(64);
        askForEverything();
        for (int i = 0; i < 16 && input.remaining_bytes() != 0; ++i) {
            switch (input.ConsumeIntegralInRange(0, 5)) {
            case 0:
                seek(input.ConsumeIntegral<std::uint64_t>());
                break;
            case 1:
                seek(input.ConsumeIntegral<std::uint16_t>() % (stream.totalFrames() + 2));
                break;
            case 2:
                readInEveryForm(input.ConsumeIntegral<std::uint8_t>());
                break;
            case 3:
                file.setSize(std::min<std::size_t>(input.ConsumeIntegral<std::uint16_t>(), fileSize));
                isChanged = true;
                break;
            case 4:
                static_cast<void>(stream.resync());
                break;
            default:
                askForEverything();
                break;
            }
        }
    }

private:
    Audio::Decode::Stream& stream;
    bool isChanged = false;
};
