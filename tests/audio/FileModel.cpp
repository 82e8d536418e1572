#include "audio/FileModel.h"

#include "audio/SoundFileBytes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <utility>

namespace SoundFile {

namespace {

/// The end of a parse, with what is told of it.
struct Stop {
    std::string told;
};

[[noreturn]] void stop(const std::string& message, unsigned code = 0) {
    throw Stop{badFormat(message, code)};
}

std::string text(std::uint64_t number) {
    return std::to_string(number);
}

/// `count` bytes at a place, which a file is asked for: told as the file tells it where they are not there.
std::string demand(const std::string& bytes, std::uint64_t at, std::uint64_t count) {
    const std::uint64_t there = at < bytes.size() ? std::min(count, bytes.size() - at) : 0;
    if (there < count) {
        throw Stop{"File 3: Attempt to read " + text(count) + " bytes, only read " + text(there) + " bytes"};
    }
    return bytes.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(count));
}

std::uint64_t bigAt(const std::string& bytes, std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value * 256 + static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}
std::uint64_t littleAt(const std::string& bytes, std::size_t at, std::size_t count) {
    const std::string part = bytes.substr(at, count);
    return bigAt({part.rbegin(), part.rend()}, 0, count);
}

std::string hex(std::uint64_t value, int digits) {
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%0*llX", digits, static_cast<unsigned long long>(value));
    return buffer;
}

/// The body as it stands, with zeros behind it up to `least`.
std::string padded(std::string body, std::size_t least) {
    body.resize(std::max(body.size(), least), '\0');
    return body;
}

void parseWavFormat(const std::string& chunk, Outcome& outcome) {
    if (chunk.size() < 16) {
        stop("Format chunk is " + text(chunk.size()) + " bytes, expected at least 16 bytes");
    }
    const std::string body = padded(chunk, 40);
    const std::uint64_t tag = littleAt(body, 0, 2);
    const std::uint64_t bits = littleAt(body, 14, 2);
    Audio::Decode::Format& format = outcome.format;
    format.channels = static_cast<std::uint32_t>(littleAt(body, 2, 2));
    format.sampleRate = static_cast<std::uint32_t>(littleAt(body, 4, 4));
    format.bytesPerSample = static_cast<std::uint32_t>((bits + 7) / 8);
    if (format.channels == 0) {
        stop("Bad number of channels: 0");
    }
    if (format.sampleRate == 0) {
        stop("Bad sampling rate: 0");
    }
    std::uint64_t kind = tag;
    if (tag == 0xFFFE) {
        if (littleAt(body, 16, 2) < 22) {
            stop(
                "Expected wave format extensible chunk, only " + text(littleAt(body, 16, 2)) +
                " extra bytes");
        }
        format.channelMask = static_cast<std::uint32_t>(littleAt(body, 20, 4));
        kind = littleAt(body, 24, 4);
        if (body.substr(28, 12) != guidTail.substr(2) || (kind != 1 && kind != 3)) {
            stop(
                "Invalid wave format extensible subtype GUID " + hex(kind, 8) + "/" +
                hex(littleAt(body, 28, 2), 4) + "/" + hex(littleAt(body, 30, 2), 4) + "/" +
                hex(bigAt(body, 32, 8), 16));
        }
    } else if (tag != 1 && tag != 3) {
        stop("Bad wave format tag: " + text(tag));
    } else if (bits != 32 && (tag == 3 || (bits != 8 && bits != 16 && bits != 24))) {
        stop("Unsupported bit depth / wave format combination: " + text(bits) + "/" + text(tag));
    }
    format.isFloat = kind == 3 ? 1 : 0;
}

std::string bodyOf(const std::string& bytes, const OtherChunk& chunk) {
    return bytes.substr(static_cast<std::size_t>(chunk.position), static_cast<std::size_t>(chunk.size));
}

void parseCuePoints(const std::string& bytes, Outcome& outcome) {
    for (const OtherChunk& chunk : outcome.otherChunks) {
        if (chunk.identifier != "cue ") {
            continue;
        }
        const std::string body = bodyOf(bytes, chunk);
        if (body.size() < 4 || (body.size() - 4) % 24 != 0 ||
            (body.size() - 4) / 24 != littleAt(body, 0, 4)) {
            outcome.cuePoints = {badFormat("Invalid size for cue points"), {}};
            return;
        }
        for (std::size_t at = 4; at < body.size(); at += 24) {
            outcome.cuePoints.list.push_back({littleAt(body, at, 4), littleAt(body, at + 20, 4), {}});
        }
    }
}

void parseRemarks(
    const std::string& bytes, const Outcome& outcome, const std::string& kind, std::size_t least,
    const std::string& error, Remarks& remarks) {
    for (const OtherChunk& chunk : outcome.otherChunks) {
        const std::string list = bodyOf(bytes, chunk);
        if (chunk.identifier != "LIST" || list.substr(0, 4) != "adtl") {
            continue;
        }
        std::size_t at = 4;
        while (at + 8 <= list.size()) {
            const std::size_t length = static_cast<std::size_t>(littleAt(list, at + 4, 4));
            if (length > list.size() - at - 8) {
                break;
            }
            if (list.substr(at, 4) == kind) {
                const std::string body = list.substr(at + 8, length);
                if (length < least) {
                    remarks = {badFormat(error), {}};
                    return;
                }
                remarks.list.push_back(
                    {littleAt(body, 0, 4), least == 20 ? littleAt(body, 4, 4) : 0,
                     std::string(body.substr(least).c_str())});
            }
            at += 8 + length + length % 2;
        }
    }
}

void parseWav(const std::string& bytes, Outcome& outcome) {
    if (bytes.size() < 12) {
        stop("File size too small to contain a valid RIFF header: " + text(bytes.size()) + " bytes");
    }
    const std::string form = bytes.substr(0, 4);
    if ((form != "RIFF" && form != "RF64") || bytes.substr(8, 4) != "WAVE") {
        stop("Invalid RIFF header");
    }
    std::uint64_t at = 12;
    std::optional<std::uint64_t> dataSize;
    if (form == "RF64") {
        if (bytes.size() < 20) {
            stop("File size too small to contain a valid RF64 header: " + text(bytes.size()) + " bytes");
        }
        if (bytes.substr(12, 4) != "ds64") {
            stop("Invalid RF64 WAVE file: missing 'ds64' chunk");
        }
        const std::uint64_t size = littleAt(bytes, 16, 4);
        if (size > 996) {
            stop("Invalid RF64 WAVE file: invalid size of 'ds64' chunk");
        }
        dataSize = littleAt(demand(bytes, 20, size) + std::string(16, '\0'), 8, 8);
        at = 20 + size + size % 2;
    }
    bool hasFormat = false;
    bool hasData = false;
    while (at + 8 <= bytes.size()) {
        const std::string identifier = bytes.substr(static_cast<std::size_t>(at), 4);
        std::uint64_t length = littleAt(bytes, static_cast<std::size_t>(at) + 4, 4);
        at += 8;
        if (length == 0xFFFFFFFF && identifier == "data" && dataSize) {
            length = *dataSize;
        }
        if (length > bytes.size() - at) {
            if (identifier != "data") {
                break;
            }
            length = bytes.size() - at;
            outcome.isTruncated = true;
        }
        const std::string body = bytes.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(length));
        if (identifier == "data") {
            if (!hasData) {
                hasData = true;
                outcome.dataStart = at;
                dataSize = length;
            }
        } else if (identifier == "fmt ") {
            if (!hasFormat) {
                hasFormat = true;
                parseWavFormat(body, outcome);
            }
        } else {
            outcome.otherChunks.push_back({identifier, at, length, hasData});
            if (identifier == "bext") {
                if (length < 602) {
                    stop("Invalid size for BWF bext chunk");
                }
                outcome.bext = body;
            }
        }
        at += length + length % 2;
    }
    parseCuePoints(bytes, outcome);
    parseRemarks(bytes, outcome, "labl", 4, "Invalid size for label", outcome.labels);
    parseRemarks(bytes, outcome, "note", 4, "Invalid size for label", outcome.notes);
    parseRemarks(bytes, outcome, "ltxt", 20, "Invalid size for labeled text", outcome.labeledTexts);
    if (!hasFormat) {
        stop("Didn't find 'format' chunk", 2);
    }
    if (!hasData) {
        stop("Didn't find 'data' chunk", 1);
    }
    const std::uint64_t frame = std::uint64_t{outcome.format.channels} * outcome.format.bytesPerSample;
    outcome.frames = frame == 0 ? 0 : *dataSize / frame;
}

/// The value of an 80-bit float, rounded, as text; and as a number where it is one of a sampling rate's size.
std::string rateText(const std::string& bytes, double& value) {
    const bool isNegative = bigAt(bytes, 0, 1) >= 0x80;
    const int exponent = static_cast<int>(bigAt(bytes, 0, 2) % 0x8000) - 16383;
    value = std::ldexp(static_cast<double>(bigAt(bytes, 2, 4)), exponent - 31) +
            std::ldexp(static_cast<double>(bigAt(bytes, 6, 4)), exponent - 63);
    value = std::floor(value + 0.5);
    const std::string number = value < 9e18 ? text(static_cast<std::uint64_t>(value)) : "9223372036854775807";
    value = isNegative ? -value : value;
    return (isNegative && number != "0" ? "-" : "") + number;
}

void parseCommon(const std::string& chunk, bool isCompressed, Outcome& outcome, int& bits) {
    if (chunk.size() < 18) {
        stop("Common chunk is " + text(chunk.size()) + " bytes, expected at least 18 bytes");
    }
    const std::string body = padded(chunk, 22);
    const int channels = static_cast<std::int16_t>(bigAt(body, 0, 2));
    bits = static_cast<std::int16_t>(bigAt(body, 6, 2));
    outcome.frames = bigAt(body, 2, 4);
    if (isCompressed) {
        const std::string type = body.substr(18, 4);
        if (type == "fl32" || type == "FL32") {
            outcome.format.isFloat = 1;
            bits = 32;
        } else if (type != "NONE" && type != "sowt") {
            stop("Bad compression type: " + std::string(type.c_str()));
        }
    }
    if (channels > 50) {
        stop("Bad number of channels: " + text(static_cast<std::uint64_t>(channels)));
    }
    double rate = 0;
    const std::string rateAsText = rateText(body.substr(8, 10), rate);
    if (rate < 1000 || rate > 1000000) {
        stop("Bad sampling rate: " + rateAsText);
    }
    bits = std::max(bits, 0);
    outcome.format.channels = static_cast<std::uint32_t>(std::max(channels, 0));
    outcome.format.sampleRate = static_cast<std::uint32_t>(rate);
    outcome.format.bytesPerSample = static_cast<std::uint32_t>((bits + 7) / 8);
}

void parseLoop(const std::string& body, Outcome& outcome) {
    if (body.size() < 18) {
        return;
    }
    const std::uint64_t beats = bigAt(body, 4, 4);
    if (beats >= 1 && beats <= 65535) {
        for (const std::uint64_t value : {beats, bigAt(body, 12, 2), bigAt(body, 14, 2)}) {
            outcome.loop.push_back(static_cast<unsigned>(value));
        }
    }
}

void parseTransients(const std::string& body, Outcome& outcome) {
    if (body.size() < 76 || bigAt(body, 0, 4) > 49999 || 24 + bigAt(body, 0, 4) * 8 > body.size()) {
        return;
    }
    for (std::size_t i = 0; i < bigAt(body, 0, 4) * 2; ++i) {
        outcome.transients.push_back(bigAt(body, 24 + i * 4, 4));
    }
}

void parseAiff(const std::string& bytes, Outcome& outcome) {
    if (bytes.size() < 12) {
        stop("File size too small to contain a valid AIFF header: " + text(bytes.size()) + " bytes");
    }
    const std::string kind = bytes.substr(8, 4);
    if (bytes.substr(0, 4) != "FORM" || (kind != "AIFF" && kind != "AIFC")) {
        stop("Invalid AIFF header");
    }
    int bits = 0;
    bool hasCommon = false;
    bool hasLoop = false;
    bool hasTransients = false;
    std::optional<std::uint64_t> dataSize;
    std::uint64_t at = 12;
    while (at + 8 <= bytes.size()) {
        const std::string identifier = bytes.substr(static_cast<std::size_t>(at), 4);
        std::uint64_t size = bigAt(bytes, static_cast<std::size_t>(at) + 4, 4);
        at += 8;
        const std::uint64_t left = bytes.size() - at;
        if (size > left) {
            outcome.diagnostics.push_back(
                "Chunk '" + std::string(identifier.c_str()) + "' has a size (" + text(size) +
                " B) that is larger than the remaining file (" + text(left) + " B).");
        }
        size += size % 2 != 0 && size < left ? 1 : 0;
        if (size > left) {
            if (identifier != "SSND") {
                break;
            }
            size = left;
            outcome.isTruncated = true;
        }
        const std::string body = bytes.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(size));
        if (identifier == "APPL") {
            const std::string signature = demand(bytes, at, 4);
            if (size >= 4) {
                outcome.applications.push_back({signature, at + 4, size - 4});
            }
        } else if (identifier == "COMM") {
            if (!hasCommon) {
                hasCommon = true;
                parseCommon(body, kind == "AIFC", outcome, bits);
            }
        } else if (identifier == "SSND") {
            if (!dataSize) {
                const std::uint64_t offset = bigAt(demand(bytes, at, 8), 0, 4);
                if (size < offset + 8) {
                    stop(
                        "Invalid offset " + text(offset) + ", data chunk only contains " + text(size) +
                        " bytes");
                }
                outcome.dataStart = at + 8 + offset;
                dataSize = size - offset - 8;
            }
        } else if (identifier == "basc") {
            if (!std::exchange(hasLoop, true)) {
                parseLoop(body, outcome);
            }
        } else if (identifier == "trns") {
            if (!std::exchange(hasTransients, true)) {
                parseTransients(body, outcome);
            }
        } else {
            outcome.otherChunks.push_back({identifier, at, size, dataSize.has_value()});
        }
        at += size;
    }
    if (!hasCommon) {
        stop("Didn't find common chunk", 2);
    }
    if (!dataSize) {
        stop("Didn't find sound data chunk", 1);
    }
    if (outcome.isTruncated) {
        const std::uint64_t frame = static_cast<std::uint64_t>(bits / 8) * outcome.format.channels;
        outcome.frames = frame == 0 ? 0 : std::min(outcome.frames, *dataSize / frame);
    }
}

Outcome outcomeOf(void (*parse)(const std::string&, Outcome&), const std::string& bytes) {
    Outcome outcome;
    try {
        parse(bytes, outcome);
        outcome.told = "success";
    } catch (const Stop& end) {
        outcome.told = end.told;
    }
    return outcome;
}

} // namespace

Outcome wavOutcome(const std::string& bytes) {
    return outcomeOf(parseWav, bytes);
}

Outcome aiffOutcome(const std::string& bytes) {
    return outcomeOf(parseAiff, bytes);
}

} // namespace SoundFile
