#pragma once

#include "audio/decode/Stream.h"

#include <cstdint>
#include <string>

/// Sound files as bytes, put together piece by piece. Nothing here is shared with the decoders.
namespace SoundFile {

/// The value in so many bytes.
inline std::string little(std::uint64_t value, unsigned bytes) {
    std::string text(bytes, '\0');
    for (unsigned i = 0; i < bytes && i < 8; ++i) {
        text[i] = static_cast<char>(value >> (8 * i));
    }
    return text;
}
inline std::string big(std::uint64_t value, unsigned bytes) {
    const std::string reversed = little(value, bytes);
    return {reversed.rbegin(), reversed.rend()};
}

/// A chunk as it should be: with a byte behind an odd body.
inline std::string wavChunk(const std::string& identifier, const std::string& body) {
    return identifier + little(body.size(), 4) + body + std::string(body.size() % 2, '\0');
}
inline std::string aiffChunk(const std::string& identifier, const std::string& body) {
    return identifier + big(body.size(), 4) + body + std::string(body.size() % 2, '\0');
}

inline std::string riff(const std::string& chunks) {
    return "RIFF" + little(chunks.size() + 4, 4) + "WAVE" + chunks;
}
inline std::string form(const std::string& kind, const std::string& chunks) {
    return "FORM" + big(chunks.size() + 4, 4) + kind + chunks;
}

/// The body of a "fmt " chunk of 16 bytes.
inline std::string
plainFormat(unsigned tag, unsigned channels, unsigned bits, std::uint32_t sampleRate = 44100) {
    const unsigned block = channels * ((bits + 7) / 8);
    return little(tag, 2) + little(channels, 2) + little(sampleRate, 4) +
           little(std::uint64_t{sampleRate} * block, 4) + little(block, 2) + little(bits, 2);
}

/// The last 14 bytes of the GUIDs that stand for a tag.
inline const std::string guidTail("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 14);

inline std::string extensibleFormat(
    unsigned subFormat, unsigned channels, unsigned bits, std::uint32_t mask = 0,
    const std::string& tail = guidTail) {
    return plainFormat(0xFFFE, channels, bits) + little(22, 2) + little(bits, 2) + little(mask, 4) +
           little(subFormat, 2) + tail;
}

/// 16 bits, mono.
inline std::string smallWav(const std::string& samples, const std::string& chunksBehind = {}) {
    return riff(wavChunk("fmt ", plainFormat(1, 1, 16)) + wavChunk("data", samples) + chunksBehind);
}

inline const std::string rate44100("\x40\x0E\xAC\x44\x00\x00\x00\x00\x00\x00", 10);

/// The body of a "COMM" chunk, with the compression type if there is one.
inline std::string common(
    int channels, std::uint32_t frames, int bits, const std::string& sampleRate = rate44100,
    const std::string& compression = {}) {
    return big(static_cast<std::uint16_t>(channels), 2) + big(frames, 4) +
           big(static_cast<std::uint16_t>(bits), 2) + sampleRate + compression;
}

/// The body of an "SSND" chunk.
inline std::string sound(const std::string& samples, std::uint32_t offset = 0) {
    return big(offset, 4) + big(0, 4) + std::string(offset, '-') + samples;
}

/// 16 bits, mono; one frame for two bytes.
inline std::string smallAiff(const std::string& samples, const std::string& chunksBehind = {}) {
    return form(
        "AIFF", aiffChunk("COMM", common(1, static_cast<std::uint32_t>(samples.size() / 2), 16)) +
                    aiffChunk("SSND", sound(samples)) + chunksBehind);
}

/// What a result says, in one line: "success", or category, code and message.
template<class Result>
std::string told(const Result& result) {
    if (result) {
        return "success";
    }
    const Util::Error& error = result.error();
    return error.category().toStdString() + " " + std::to_string(error.code()) + ": " +
           error.message().toStdString();
}

/// The same for a failure that the file's contents are to blame for.
inline std::string badFormat(const std::string& message, unsigned code = 0) {
    return "Audio::Decode::BadFormatError " + std::to_string(code) + ": " + message;
}

} // namespace SoundFile
