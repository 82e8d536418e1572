#pragma once

#include "audio/decode/WMADecoder_win32.h"

#include "audio/SoundFileBytes.h"
#include "audio/StandInMediaLibrary_win32.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

/// Frames of 16-bit stereo, each sample another.
inline std::string countedSamples(std::size_t frames) {
    std::string bytes;
    for (std::size_t i = 0; i < 2 * frames; ++i) {
        bytes += SoundFile::little(i * 7919, 2);
    }
    return bytes;
}

/// A decoder's test with a library of its own: a file of 3000 frames in 16-bit stereo, 3 seconds by its
/// header. Whatever the library gave has to be given back rightly.
class WMADecoderTest : public testing::Test {
protected:
    WMADecoderTest() {
        library.bytes = countedSamples(3000);
        library.duration = 30'000'000; // 3 s
    }
    void TearDown() override {
        EXPECT_EQ(library.mistakes, 0U);
        EXPECT_EQ(library.sampleReferences(), 0);
    }

    /// The format of the one output that there is.
    void setFormat(const std::string& wave) {
        library.outputs[0].type.wave = wave;
        library.outputs[0].formats = {library.outputs[0].type};
    }

    /// All that is left, in reads of so many frames; raw.
    std::string readRest(Audio::Decode::WMA::Decoder& decoder, std::uint64_t step) const {
        std::string all;
        std::string piece(static_cast<std::size_t>(step) * library.frameBytes, '\0');
        std::uint64_t got = 0;
        do {
            EXPECT_EQ(SoundFile::told(decoder.ReadRawInterleaved(step, piece.data(), got)), "success");
            all += piece.substr(0, static_cast<std::size_t>(got) * library.frameBytes);
        } while (got != 0);
        return all;
    }

    const String path{"C:/Music/a.mp3"};
    StandInMediaLibrary library;
};

/// The same with a decoder that has asked the library all that it asks before it reads.
class SyncedWMADecoderTest : public WMADecoderTest {
protected:
    void SetUp() override {
        ASSERT_EQ(SoundFile::told(decoder.sync()), "success");
        library.calls.clear();
    }

    Audio::Decode::WMA::Decoder decoder{path};
};
