#pragma once

#include "audio/decode/REXDecoder.h"

#include "audio/REXLoop.h"
#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A decoder of one file, with the stand-in for the vendor's library behind it.
class REXDecoderFixture : public testing::Test {
protected:
    REXDecoderFixture() { StandIn::TakeCalls(); }

    Audio::Decode::REX::Decoder& rex(const std::string& bytes) {
        decoder = std::make_unique<Audio::Decode::REX::Decoder>(directory.file(u8"a.rx2", bytes), library);
        return *decoder;
    }
    std::string syncing(const REXLoop& loop) { return SoundFile::told(rex(loop.bytes()).sync()); }
    Audio::Decode::Stream& synced(const REXLoop& loop) {
        EXPECT_EQ(syncing(loop), "success");
        return *decoder;
    }
    /// The whole loop, one array per channel.
    std::vector<std::vector<float>> samples() {
        std::vector<std::vector<float>> all(
            decoder->format().channels, std::vector<float>(decoder->totalFrames(), 9.0F));
        std::vector<float*> arrays;
        for (std::vector<float>& channel : all) {
            arrays.push_back(channel.data());
        }
        EXPECT_EQ(
            SoundFile::told(
                decoder->ReadFloatDeinterleaved(decoder->totalFrames(), arrays.data(), framesRead)),
            "success");
        EXPECT_EQ(framesRead, decoder->totalFrames());
        return all;
    }

    TemporaryDirectory directory;
    std::shared_ptr<Audio::Decode::REX::Library> library = libraryOf(standInFunctions());
    std::unique_ptr<Audio::Decode::REX::Decoder> decoder;
    std::uint64_t framesRead = 99;
};
