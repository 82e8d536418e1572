#include "audio/decode/AIFFDecoder.h"

#include "audio/decode/Bytes.h"
#include "audio/decode/FourCC.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace Audio::Decode::AIFF {

namespace {

constexpr std::uint64_t formHeaderBytes = 12;
constexpr std::uint64_t chunkHeaderBytes = 8;
constexpr std::uint32_t commonBytes = 18;
constexpr std::uint32_t soundHeaderBytes = 8;
constexpr std::uint32_t loopBytes = 18;
constexpr std::uint32_t transientsBytes = 76;
constexpr std::uint32_t transientsStart = 24;
constexpr std::uint32_t transientBytes = 8;
constexpr std::uint32_t mostTransients = 49999;

constexpr int mostChannels = 50;
constexpr std::int64_t lowestSampleRate = 1000;
constexpr std::int64_t highestSampleRate = 1000000;

/// An 80-bit float, rounded to the nearest integer; what is beyond 64 bits stays at their end.
std::int64_t extendedToInteger(const std::uint8_t* bytes) {
    const unsigned head = big16(bytes);
    const int exponent = static_cast<int>(head & 0x7FFFU) - 16383 - 31;
    const double magnitude = std::ldexp(static_cast<double>(big32(bytes + 2)), exponent) +
                             std::ldexp(static_cast<double>(big32(bytes + 6)), exponent - 32);
    const double rounded = std::floor(magnitude + 0.5);
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    const std::int64_t value = rounded < 9.2e18 ? static_cast<std::int64_t>(rounded) : most;
    return (head & 0x8000U) != 0 ? -value : value;
}

} // namespace

Decoder::Decoder(String path)
    : SampleFileDecoder(
          std::move(path), "GetNextBlock %1 called, unsupported conversion",
          "GetNextBlock %1 called, unsupported conversion") {}

void Decoder::forget() {
    sampleBits_ = 0;
    hasCommon_ = false;
    hasLoop_ = false;
    hasTransients_ = false;
    loopInfo_ = {};
    transients_.clear();
    applicationChunks_.clear();
}

Result Decoder::parse() {
    if (file().size() < formHeaderBytes) {
        return unexpected(
            bad("File size too small to contain a valid AIFF header: %1 bytes").arg(file().size()));
    }
    std::array<std::uint8_t, formHeaderBytes> header{};
    if (Result got = readAt(0, header.data(), header.size()); !got) {
        return got;
    }
    const std::uint32_t kind = big32(header.data() + 8);
    if (big32(header.data()) != fourCC("FORM") || (kind != fourCC("AIFF") && kind != fourCC("AIFC"))) {
        return unexpected(bad("Invalid AIFF header"));
    }
    if (Result walked = walk(kind == fourCC("AIFC")); !walked) {
        return walked;
    }
    if (!hasCommon_) {
        return unexpected(bad("Didn't find common chunk", BadFormatError::NoFormat));
    }
    if (!dataStart_) {
        return unexpected(bad("Didn't find sound data chunk", BadFormatError::NoData));
    }
    if (truncated_) {
        const std::uint64_t bytes = std::uint64_t{sampleBits_ / 8} * format_.channels;
        totalFrames_ = std::min(totalFrames_, bytes == 0 ? 0 : dataSize_.value / bytes);
    }
    return {};
}

Result Decoder::walk(bool isCompressed) {
    std::uint64_t position = formHeaderBytes;
    // Half a header at the end is as good as none.
    Result result;
    while (file().remaining(position) >= chunkHeaderBytes) {
        const std::uint8_t* const header = bytesAt(position, chunkHeaderBytes, result);
        if (header == nullptr) {
            return result;
        }
        const std::uint32_t identifier = big32(header);
        std::uint32_t size = big32(header + 4);
        const bool isSound = identifier == fourCC("SSND");
        position += chunkHeaderBytes;

        const std::uint64_t remaining = file().remaining(position);
        if (size > remaining) {
            addDiagnostic(
                String("Chunk '%1' has a size (%2 B) that is larger than the remaining file (%3 B).")
                    .arg(fourCCText(identifier))
                    .arg(size)
                    .arg(remaining));
        }
        if ((size & 1U) != 0 && size < remaining) {
            ++size;
        }
        if (size > remaining) {
            if (!isSound) {
                break;
            }
            size = static_cast<std::uint32_t>(remaining);
            truncated_ = true;
        }

        if (identifier == fourCC("APPL")) {
            result = parseApplication(position, size);
        } else if (identifier == fourCC("COMM")) {
            if (!std::exchange(hasCommon_, true)) {
                result = parseCommon(position, size, isCompressed);
            }
        } else if (isSound) {
            if (!dataStart_) {
                result = parseSound(position, size);
            }
        } else if (identifier == fourCC("basc")) {
            if (!std::exchange(hasLoop_, true)) {
                result = parseLoop(position, size);
            }
        } else if (identifier == fourCC("trns")) {
            if (!std::exchange(hasTransients_, true)) {
                result = parseTransients(position, size);
            }
        } else {
            addOtherChunk({identifier, size, position, dataStart_.valid});
        }
        if (!result) {
            return result;
        }
        position += size;
    }
    return {};
}

Result Decoder::parseCommon(std::uint64_t position, std::uint32_t size, bool isCompressed) {
    if (size < commonBytes) {
        return unexpected(
            bad("Common chunk is %1 bytes, expected at least %2 bytes").arg(size).arg(commonBytes));
    }
    // What the chunk is too short for reads as zeros, and not as whatever follows the chunk.
    std::array<std::uint8_t, commonBytes + 4> body{};
    if (Result got = readAt(position, body.data(), std::min<std::size_t>(size, body.size())); !got) {
        return got;
    }
    const int channels = static_cast<std::int16_t>(big16(body.data()));
    const int bits = static_cast<std::int16_t>(big16(body.data() + 6));
    const std::int64_t sampleRate = extendedToInteger(body.data() + 8);
    totalFrames_ = big32(body.data() + 2);
    // A negative number of anything is none of it.
    format_.channels = static_cast<std::uint32_t>(std::max(channels, 0));
    sampleBits_ = static_cast<std::uint32_t>(std::max(bits, 0));
    bigEndian_ = true;
    if (isCompressed) {
        const std::uint32_t compression = big32(body.data() + commonBytes);
        if (compression == fourCC("fl32") || compression == fourCC("FL32")) {
            format_.isFloat = 1;
            sampleBits_ = 32;
        } else if (compression == fourCC("sowt")) {
            bigEndian_ = false;
        } else if (compression != fourCC("NONE")) {
            return unexpected(bad("Bad compression type: %1").arg(fourCCText(compression)));
        }
    }
    if (channels > mostChannels) {
        return unexpected(bad("Bad number of channels: %1").arg(channels));
    }
    format_.bytesPerSample = (sampleBits_ + 7) / 8;
    if (sampleRate < lowestSampleRate || sampleRate > highestSampleRate) {
        return unexpected(bad("Bad sampling rate: %1").arg(sampleRate));
    }
    format_.sampleRate = static_cast<std::uint32_t>(sampleRate);
    return {};
}

Result Decoder::parseSound(std::uint64_t position, std::uint32_t size) {
    std::array<std::uint8_t, soundHeaderBytes> header{};
    if (Result got = readAt(position, header.data(), header.size()); !got) {
        return got;
    }
    const std::uint64_t offset = big32(header.data());
    if (size < offset + soundHeaderBytes) {
        return unexpected(bad("Invalid offset %1, data chunk only contains %2 bytes").arg(offset).arg(size));
    }
    dataStart_ = position + soundHeaderBytes + offset;
    dataSize_ = size - offset - soundHeaderBytes;
    return {};
}

Result Decoder::parseApplication(std::uint64_t position, std::uint32_t size) {
    std::array<std::uint8_t, 4> signature{};
    if (Result got = readAt(position, signature.data(), signature.size()); !got) {
        return got;
    }
    const auto signatureBytes = static_cast<std::uint32_t>(signature.size());
    if (size >= signatureBytes) {
        remember(
            applicationChunks_,
            ApplicationChunk{big32(signature.data()), position + signatureBytes, size - signatureBytes});
    }
    return {};
}

Result Decoder::parseLoop(std::uint64_t position, std::uint32_t size) {
    if (size < loopBytes) {
        return {};
    }
    std::array<std::uint8_t, loopBytes> body{};
    if (Result got = readAt(position, body.data(), body.size()); !got) {
        return got;
    }
    // The number of beats has 32 bits, of which 16 are kept: a loop of more, or of none, is no loop.
    const std::uint32_t beats = big32(body.data() + 4);
    if (beats != 0 && beats <= 0xFFFF) {
        loopInfo_ = {beats, unsigned{big16(body.data() + 12)}, unsigned{big16(body.data() + 14)}};
    }
    return {};
}

Result Decoder::parseTransients(std::uint64_t position, std::uint32_t size) {
    if (size < transientsBytes) {
        return {};
    }
    std::array<std::uint8_t, transientBytes> bytes{};
    if (Result got = readAt(position, bytes.data(), 4); !got) {
        return got;
    }
    const std::uint32_t count = big32(bytes.data());
    if (count > mostTransients || transientsStart + count * transientBytes > size) {
        return {};
    }
    transients_.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (Result got = readAt(
                position + transientsStart + std::uint64_t{i} * transientBytes, bytes.data(), bytes.size());
            !got) {
            return got;
        }
        transients_.push_back({big32(bytes.data()), big32(bytes.data() + 4)});
    }
    return {};
}

checked_value<ChunkRecord> Decoder::find(std::uint32_t identifier) const {
    for (const ChunkRecord& chunk : otherChunks()) {
        if (chunk.identifier == identifier) {
            return chunk;
        }
    }
    return {};
}

} // namespace Audio::Decode::AIFF
