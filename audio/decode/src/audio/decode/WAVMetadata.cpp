#include "audio/decode/Bytes.h"
#include "audio/decode/FourCC.h"
#include "audio/decode/WAVDecoder.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>

namespace Audio::Decode::WAV {

namespace {

constexpr std::uint64_t cuePointBytes = 24;

constexpr std::uint64_t cueTextBytes = 4;
constexpr std::uint64_t labeledTextBytes = 20;

/// Gives names away, to any number of things, up to a sum of bytes that no honest file comes near: one long
/// label of many things would otherwise outgrow memory.
class Names {
public:
    String give(const String& name) {
        if (name.length() > left_) {
            return {};
        }
        left_ -= name.length();
        return name;
    }

private:
    std::size_t left_ = std::size_t{1} << 26U;
};

CuePoint cuePointFrom(const std::uint8_t* bytes) {
    return {
        .identifier = little32(bytes),
        .position = little32(bytes + 4),
        .chunkName = big32(bytes + 8),
        .chunkStart = little32(bytes + 12),
        .blockStart = little32(bytes + 16),
        .sampleOffset = little32(bytes + 20),
    };
}

} // namespace

expected<std::vector<CuePoint>, Error> Decoder::cuePoints() {
    return withinMemory([this]() -> expected<std::vector<CuePoint>, Error> {
        std::vector<CuePoint> points;
        for (const ChunkRecord& chunk : otherChunks()) {
            if (chunk.identifier == fourCC("cue ")) {
                if (const Result got = readCuePoints(chunk, points); !got) {
                    return unexpected(got.error());
                }
            }
        }
        return points;
    });
}

Result Decoder::readCuePoints(const ChunkRecord& chunk, std::vector<CuePoint>& points) {
    std::array<std::uint8_t, cuePointBytes> bytes{};
    std::uint32_t count = 0;
    if (chunk.size >= 4) {
        if (Result got = readAt(chunk.position, bytes.data(), 4); !got) {
            return got;
        }
        count = little32(bytes.data());
    }
    if (chunk.size < 4 || chunk.size - 4 != count * cuePointBytes) {
        return unexpected(bad("Invalid size for cue points"));
    }
    if (count > mostRecords - points.size()) {
        return unexpected(bad("More than %1 cue points").arg(mostRecords));
    }
    std::uint64_t position = chunk.position + 4;
    for (std::uint32_t i = 0; i < count; ++i, position += cuePointBytes) {
        if (Result got = readAt(position, bytes.data(), bytes.size()); !got) {
            return got;
        }
        points.push_back(cuePointFrom(bytes.data()));
    }
    return {};
}

template<class Visit>
Result Decoder::visitList(std::uint32_t identifier, Visit visit) {
    for (const ChunkRecord& list : otherChunks()) {
        if (list.identifier != fourCC("LIST") || list.size < 4) {
            continue;
        }
        std::array<std::uint8_t, 8> header{};
        if (Result got = readAt(list.position, header.data(), 4); !got) {
            return got;
        }
        if (big32(header.data()) != fourCC("adtl")) {
            continue;
        }
        const std::uint64_t end = list.position + list.size;
        std::uint64_t position = list.position + 4;
        while (position < end && end - position >= header.size()) {
            if (Result got = readAt(position, header.data(), header.size()); !got) {
                return got;
            }
            position += header.size();
            const std::uint64_t length = little32(header.data() + 4);
            if (length > end - position) {
                break;
            }
            if (big32(header.data()) == identifier) {
                if (Result visited = visit(position, length); !visited) {
                    return visited;
                }
            }
            position += length + (length & 1U);
        }
    }
    return {};
}

/// Up to the first NUL, and not all at once: a text costs what it is long, whatever the chunk's size claims.
Result Decoder::readText(std::uint64_t position, std::uint64_t size, String& text) {
    std::string bytes;
    while (bytes.size() < size) {
        const std::uint64_t left = size - bytes.size();
        const auto seen = file().view(position + bytes.size(), 1, left);
        if (!seen) {
            return unexpected(Error(seen.error()));
        }
        const auto end =
            seen->begin() + static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(left, seen->size()));
        const auto nul = std::find(seen->begin(), end, std::uint8_t{0});
        bytes.append(seen->begin(), nul);
        if (nul != end) {
            break;
        }
    }
    text = String(std::move(bytes));
    return {};
}

expected<std::vector<CueText>, Error> Decoder::cueTexts(std::uint32_t identifier) {
    return withinMemory([&]() -> expected<std::vector<CueText>, Error> {
        std::vector<CueText> texts;
        const Result visited =
            visitList(identifier, [&](std::uint64_t position, std::uint64_t size) -> Result {
                if (size < cueTextBytes) {
                    return unexpected(bad("Invalid size for label"));
                }
                if (texts.size() == mostRecords) {
                    return unexpected(bad("More than %1 labels").arg(mostRecords));
                }
                std::array<std::uint8_t, cueTextBytes> bytes{};
                if (Result got = readAt(position, bytes.data(), bytes.size()); !got) {
                    return got;
                }
                texts.push_back({little32(bytes.data()), {}});
                return readText(position + cueTextBytes, size - cueTextBytes, texts.back().text);
            });
        if (!visited) {
            return unexpected(visited.error());
        }
        return texts;
    });
}

expected<std::vector<CueText>, Error> Decoder::labels() {
    return cueTexts(fourCC("labl"));
}

expected<std::vector<CueText>, Error> Decoder::notes() {
    return cueTexts(fourCC("note"));
}

expected<std::vector<LabeledText>, Error> Decoder::labeledText() {
    return withinMemory([&]() -> expected<std::vector<LabeledText>, Error> {
        std::vector<LabeledText> texts;
        const Result visited =
            visitList(fourCC("ltxt"), [&](std::uint64_t position, std::uint64_t size) -> Result {
                if (size < labeledTextBytes) {
                    return unexpected(bad("Invalid size for labeled text"));
                }
                if (texts.size() == mostRecords) {
                    return unexpected(bad("More than %1 labeled texts").arg(mostRecords));
                }
                std::array<std::uint8_t, labeledTextBytes> bytes{};
                if (Result got = readAt(position, bytes.data(), bytes.size()); !got) {
                    return got;
                }
                texts.push_back({
                    .cueIdentifier = little32(bytes.data()),
                    .sampleLength = little32(bytes.data() + 4),
                    .purpose = big32(bytes.data() + 8),
                    .country = little16(bytes.data() + 12),
                    .language = little16(bytes.data() + 14),
                    .dialect = little16(bytes.data() + 16),
                    .codePage = little16(bytes.data() + 18),
                    .text = {},
                });
                return readText(position + labeledTextBytes, size - labeledTextBytes, texts.back().text);
            });
        if (!visited) {
            return unexpected(visited.error());
        }
        return texts;
    });
}

expected<std::vector<Marker>, Error> Decoder::markers() {
    const auto points = cuePoints();
    if (!points) {
        return unexpected(points.error());
    }
    const auto labelled = labels();
    if (!labelled) {
        return unexpected(labelled.error());
    }
    return withinMemory([&]() -> expected<std::vector<Marker>, Error> {
        // Ordered: identifiers come from the file, which may choose them so that hashes collide.
        std::map<std::uint32_t, const String*> nameOf;
        for (const CueText& label : *labelled) {
            nameOf.emplace(label.cueIdentifier, &label.text);
        }
        Names names;
        std::vector<Marker> result;
        for (const CuePoint& point : *points) {
            const auto name = nameOf.find(point.identifier);
            result.push_back(
                {point.identifier, point.sampleOffset,
                 name == nameOf.end() ? String() : names.give(*name->second)});
        }
        return result;
    });
}

expected<std::vector<Region>, Error> Decoder::regions() {
    const auto points = markers();
    if (!points) {
        return unexpected(points.error());
    }
    const auto texts = labeledText();
    if (!texts) {
        return unexpected(texts.error());
    }
    return withinMemory([&]() -> expected<std::vector<Region>, Error> {
        std::map<std::uint32_t, const Marker*> markerOf;
        for (const Marker& point : *points) {
            markerOf.emplace(point.identifier, &point);
        }
        Names names;
        std::vector<Region> result;
        for (const LabeledText& text : *texts) {
            const auto found = markerOf.find(text.cueIdentifier);
            if (found != markerOf.end() && text.sampleLength != 0) {
                const Marker& from = *found->second;
                result.push_back(
                    {from.identifier, from.frame, text.sampleLength,
                     text.text.isEmpty() ? names.give(from.name) : text.text});
            }
        }
        return result;
    });
}

} // namespace Audio::Decode::WAV
