#include "audio/decode/WAVDecoder.h"

#include "audio/decode/Bytes.h"
#include "audio/decode/FourCC.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace Audio::Decode::WAV {

namespace {

constexpr std::uint64_t riffHeaderBytes = 12;
constexpr std::uint64_t chunkHeaderBytes = 8;
/// Stands in RF64 for a size that does not fit into 32 bits.
constexpr std::uint32_t sizeElsewhere = 0xFFFFFFFF;

constexpr std::uint32_t largestDs64 = 996;

constexpr std::uint32_t formatBytes = 16;
constexpr std::uint32_t extensibleBytes = 40;
constexpr std::uint32_t extensionBytes = 22;
constexpr std::uint32_t tagInteger = 1;
constexpr std::uint32_t tagFloat = 3;
constexpr std::uint32_t tagExtensible = 0xFFFE;

constexpr std::uint64_t bextBytes = 602;
constexpr std::size_t originatorReferenceOffset = 256 + 32;

/// What follows the tag in the GUIDs that stand for one.
constexpr std::array<std::uint8_t, 8> guidTail{0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

} // namespace

Decoder::Decoder(String path)
    : SampleFileDecoder(
          std::move(path), "ReadFloatInterleaved %1 called, unsupported conversion",
          "ReadInt16Interleaved %1 called, unsupported conversion") {}

void Decoder::forget() {
    hasFormat_ = false;
    bextData_.clear();
}

Result Decoder::parse() {
    if (file().size() < riffHeaderBytes) {
        return unexpected(
            bad("File size too small to contain a valid RIFF header: %1 bytes").arg(file().size()));
    }
    std::array<std::uint8_t, riffHeaderBytes> header{};
    if (Result got = readAt(0, header.data(), header.size()); !got) {
        return got;
    }
    const std::uint32_t form = big32(header.data());
    if ((form != fourCC("RIFF") && form != fourCC("RF64")) || big32(header.data() + 8) != fourCC("WAVE")) {
        return unexpected(bad("Invalid RIFF header"));
    }
    std::uint64_t position = riffHeaderBytes;
    if (form == fourCC("RF64")) {
        if (Result got = parseDataSize(position); !got) {
            return got;
        }
    }
    if (Result walked = walk(position); !walked) {
        return walked;
    }
    if (!hasFormat_) {
        return unexpected(bad("Didn't find 'format' chunk", BadFormatError::NoFormat));
    }
    if (!dataStart_) {
        return unexpected(bad("Didn't find 'data' chunk", BadFormatError::NoData));
    }
    // The extensible format may say that a sample has no bits.
    totalFrames_ = frameBytes() == 0 ? 0 : dataSize_.value / frameBytes();
    return {};
}

/// Reads the "ds64" chunk and leaves the position behind it.
Result Decoder::parseDataSize(std::uint64_t& position) {
    if (file().remaining(position) < chunkHeaderBytes) {
        return unexpected(
            bad("File size too small to contain a valid RF64 header: %1 bytes").arg(file().size()));
    }
    std::array<std::uint8_t, largestDs64> bytes{};
    if (Result got = readAt(position, bytes.data(), chunkHeaderBytes); !got) {
        return got;
    }
    if (big32(bytes.data()) != fourCC("ds64")) {
        return unexpected(bad("Invalid RF64 WAVE file: missing 'ds64' chunk"));
    }
    const std::uint32_t size = little32(bytes.data() + 4);
    if (size > largestDs64) {
        return unexpected(bad("Invalid RF64 WAVE file: invalid size of 'ds64' chunk"));
    }
    position += chunkHeaderBytes;
    // What the chunk is too short for reads as zeros, and not as whatever follows it.
    bytes.fill(0);
    if (Result got = readAt(position, bytes.data(), size); !got) {
        return got;
    }
    dataSize_ = little64(bytes.data() + 8);
    position += size + (size & 1U);
    return {};
}

Result Decoder::walk(std::uint64_t position) {
    // Half a header at the end is as good as none.
    Result result;
    while (file().remaining(position) >= chunkHeaderBytes) {
        const std::uint8_t* const header = bytesAt(position, chunkHeaderBytes, result);
        if (header == nullptr) {
            return result;
        }
        const std::uint32_t identifier = big32(header);
        const std::uint32_t storedSize = little32(header + 4);
        const bool isData = identifier == fourCC("data");
        position += chunkHeaderBytes;

        std::uint64_t length = storedSize;
        if (storedSize == sizeElsewhere && isData && dataSize_) {
            length = dataSize_.value;
        }
        const std::uint64_t remaining = file().remaining(position);
        if (length > remaining) {
            if (!isData) {
                break;
            }
            length = remaining;
            truncated_ = true;
        }

        const auto record = [&] { addOtherChunk({identifier, storedSize, position, dataStart_.valid}); };
        if (isData) {
            if (!dataStart_) {
                dataStart_ = position;
                if (length != sizeElsewhere || !dataSize_) {
                    dataSize_ = length;
                }
            }
        } else if (identifier == fourCC("fmt ")) {
            if (!hasFormat_) {
                if (Result parsed = parseFormat(position, length); !parsed) {
                    return parsed;
                }
                hasFormat_ = true;
            }
        } else if (identifier == fourCC("bext")) {
            record();
            if (Result got = readBext(position, length); !got) {
                return got;
            }
        } else {
            record();
        }
        position += length + (length & 1U);
    }
    return {};
}

Result Decoder::parseFormat(std::uint64_t position, std::uint64_t size) {
    if (size < formatBytes) {
        return unexpected(
            bad("Format chunk is %1 bytes, expected at least %2 bytes").arg(size).arg(formatBytes));
    }
    // What a chunk is too short for reads as zeros, and not as whatever follows the chunk.
    std::array<std::uint8_t, extensibleBytes> body{};
    if (Result got = readAt(position, body.data(), std::min<std::size_t>(size, body.size())); !got) {
        return got;
    }
    const std::uint32_t tag = little16(body.data());
    const std::uint32_t bits = little16(body.data() + 14);
    format_.channels = little16(body.data() + 2);
    format_.sampleRate = little32(body.data() + 4);
    format_.bytesPerSample = (bits + 7) / 8;
    if (format_.channels == 0) {
        return unexpected(bad("Bad number of channels: %1").arg(format_.channels));
    }
    if (format_.sampleRate == 0) {
        return unexpected(bad("Bad sampling rate: %1").arg(format_.sampleRate));
    }
    return tag == tagExtensible ? parseExtensible(body) : parsePlain(tag, bits);
}

Result Decoder::parseExtensible(std::span<const std::uint8_t> body) {
    const std::uint32_t extra = little16(body.data() + 16);
    if (extra < extensionBytes) {
        return unexpected(bad("Expected wave format extensible chunk, only %1 extra bytes").arg(extra));
    }
    format_.channelMask = little32(body.data() + 20);
    const std::uint8_t* const guid = body.data() + 24;
    const std::uint32_t first = little32(guid);
    const std::uint32_t second = little16(guid + 4);
    const std::uint32_t third = little16(guid + 6);
    const bool isTag = second == 0 && third == 0x10 && std::equal(guidTail.begin(), guidTail.end(), guid + 8);
    if (!isTag || (first != tagInteger && first != tagFloat)) {
        String text =
            String("%1/%2/%3/%4%4%4%4%4%4%4%4").arg(first, 16, 8U).arg(second, 16, 4U).arg(third, 16, 4U);
        for (std::size_t i = 8; i < 16; ++i) {
            text = text.arg(unsigned{guid[i]}, 16, 2U);
        }
        return unexpected(bad("Invalid wave format extensible subtype GUID %1").arg(text));
    }
    format_.isFloat = first == tagFloat ? 1 : 0;
    return {};
}

Result Decoder::parsePlain(std::uint32_t tag, std::uint32_t bits) {
    if (tag != tagInteger && tag != tagFloat) {
        return unexpected(bad("Bad wave format tag: %1").arg(tag));
    }
    const bool supported = bits == 32 || (tag == tagInteger && (bits == 8 || bits == 16 || bits == 24));
    if (!supported) {
        return unexpected(bad("Unsupported bit depth / wave format combination: %1/%2").arg(bits).arg(tag));
    }
    format_.isFloat = tag == tagFloat ? 1 : 0;
    return {};
}

Result Decoder::readBext(std::uint64_t position, std::uint64_t size) {
    bool fits = size >= bextBytes;
    if (fits) {
        try {
            bextData_.resize(static_cast<std::size_t>(size));
        } catch (const std::bad_alloc&) {
            fits = false;
        }
    }
    if (!fits) {
        return unexpected(bad("Invalid size for BWF bext chunk"));
    }
    std::uint64_t copied = 0;
    if (const auto got = file().read(position, bextData_.data(), size, copied); !got) {
        return unexpected(Error(got.error()));
    }
    return {};
}

Result Decoder::GetOriginatorReference(std::span<char, 32> bytes) const {
    if (!isSynced()) {
        return unexpected(bad("GetOriginatorReference %1 when not sync'd").arg(bytes.size()));
    }
    std::fill(bytes.begin(), bytes.end(), '\0');
    if (!bextData_.empty()) {
        std::copy_n(bextData_.data() + originatorReferenceOffset, bytes.size(), bytes.data());
    }
    return {};
}

expected<String, Error> Decoder::originatorReference() {
    std::array<char, 32> bytes{};
    if (const Result got = GetOriginatorReference(bytes); !got) {
        return unexpected(got.error());
    }
    return bextData_.empty() ? String() : String(bytes.data(), 32);
}

} // namespace Audio::Decode::WAV
