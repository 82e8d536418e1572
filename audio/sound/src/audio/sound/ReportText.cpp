#include "audio/sound/ReportText.h"

#include "audio/decode/FourCC.h"
#include "command/JsonText.h"
#include "command/PrintableText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <string_view>
#include <utility>

namespace Audio::Sound {

namespace {

const char* kindName(std::uint32_t fileType) {
    switch (fileType) {
    case Decode::FileTypeMedia:
    case Decode::FileTypeOtherMedia:
        return "media";
    case Decode::FileTypeWAV:
        return "WAV";
    case Decode::FileTypeAIFF:
        return "AIFF";
    case Decode::FileTypeREX:
        return "REX";
    default:
        return "unknown";
    }
}

// ---- for a person -----------------------------------------------------------------------------------------

std::string line(std::string_view name, const std::string& value) {
    return fmt::format("  {:<10}  {}\n", name, value);
}

/// A name behind what it belongs to; nothing where there is none.
std::string named(const String& name) {
    return name.isEmpty() ? std::string() : ": " + printable(name.view());
}

std::string formatText(const SoundReport& report) {
    return fmt::format(
        "{} channel{}, {}-bit {}, {} Hz", report.format.channels, report.format.channels == 1 ? "" : "s",
        report.bits, report.format.isFloat != 0 ? "float" : "integer", report.format.sampleRate);
}

std::string placeText(std::uint64_t frame, std::uint32_t sampleRate) {
    return fmt::format("frame {} ({})", frame, durationText(frame, sampleRate));
}

/// With its decibels below full scale.
std::string levelText(double level) {
    return fmt::format("{:.6f} ({:.2f} dB)", level, 20 * std::log10(level));
}

std::string levelsText(const Levels& levels) {
    std::string text = levels.peak
                           ? "peak " + levelText(levels.peak.value) + ", RMS " + levelText(levels.rms.value)
                           : "no samples to measure";
    if (levels.nanCount != 0) {
        text += fmt::format(", {} NaN left out", levels.nanCount);
    }
    if (levels.infiniteCount != 0) {
        text += fmt::format(", {} infinite left out", levels.infiniteCount);
    }
    return text;
}

/// Markers, regions and texts.
std::string metadataText(const SoundReport& report) {
    const std::uint32_t sampleRate = report.format.sampleRate;
    std::string text;
    std::set<std::uint32_t> markers;
    std::set<std::pair<std::uint32_t, std::string_view>> names;
    for (const Decode::Marker& marker : report.markers) {
        markers.insert(marker.identifier);
        names.emplace(marker.identifier, marker.name.view());
        text += line(
            "marker", fmt::format("{} at {}", marker.identifier, placeText(marker.frame, sampleRate)) +
                          named(marker.name));
    }
    for (const Decode::Region& region : report.regions) {
        text += line(
            "region", fmt::format(
                          "{} at {}, {} frames", region.identifier, placeText(region.frame, sampleRate),
                          region.frames) +
                          named(region.name));
    }
    for (const Decode::CueText& label : report.labels) {
        // The others have been shown as the names of their markers.
        if (!names.contains({label.cueIdentifier, label.text.view()})) {
            const char* lack = !markers.contains(label.cueIdentifier) ? ", no such marker" : "";
            text += line("label", fmt::format("{}{}", label.cueIdentifier, lack) + named(label.text));
        }
    }
    for (const Decode::CueText& note : report.notes) {
        text += line("note", fmt::format("{}", note.cueIdentifier) + named(note.text));
    }
    for (const Decode::ApplicationChunk& chunk : report.applications) {
        text += line(
            "data of",
            fmt::format("'{}', {} bytes", printable(Decode::fourCCText(chunk.signature).view()), chunk.size));
    }
    return text;
}

std::string headText(const SoundReport& report) {
    std::string text;
    const std::size_t channels = report.format.channels;
    for (std::size_t i = 0; i < report.head.size(); i += channels) {
        std::string samples;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            // The fewest digits that tell the sample from all others.
            samples += fmt::format("{}{:>15}", channel == 0 ? "" : " ", report.head[i + channel]);
        }
        text += line(fmt::format("sample {}", i / channels), samples);
    }
    return text;
}

// ---- for a program ----------------------------------------------------------------------------------------

constexpr unsigned digitsOfFloat = 9;

Json::Value textList(const std::vector<String>& texts) {
    Json::Value list(Json::arrayValue);
    for (const String& text : texts) {
        list.append(wellFormed(text.view()));
    }
    return list;
}

Json::Value numberOrText(float sample) {
    if (std::isnan(sample)) {
        return "NaN";
    }
    if (std::isinf(sample)) {
        return sample > 0 ? "Infinity" : "-Infinity";
    }
    return sample;
}

Json::Value cueTextsJson(const std::vector<Decode::CueText>& texts) {
    Json::Value list(Json::arrayValue);
    for (const Decode::CueText& text : texts) {
        Json::Value entry;
        entry["marker"] = text.cueIdentifier;
        setText(entry, "text", text.text.view());
        list.append(std::move(entry));
    }
    return list;
}

void addMetadata(const SoundReport& report, Json::Value& json) {
    if (!report.originatorReference.isNull()) {
        setText(json, "originatorReference", report.originatorReference.view());
    }
    if (report.loop.beats) {
        json["loop"]["beats"] = report.loop.beats.value;
        json["loop"]["numerator"] = report.loop.numerator.value;
        json["loop"]["denominator"] = report.loop.denominator.value;
    }
    Json::Value markers(Json::arrayValue);
    for (const Decode::Marker& marker : report.markers) {
        Json::Value entry;
        entry["identifier"] = marker.identifier;
        entry["frame"] = Json::UInt64{marker.frame};
        if (!marker.name.isNull()) {
            setText(entry, "name", marker.name.view());
        }
        markers.append(std::move(entry));
    }
    json["markers"] = std::move(markers);
    Json::Value regions(Json::arrayValue);
    for (const Decode::Region& region : report.regions) {
        Json::Value entry;
        entry["identifier"] = region.identifier;
        entry["frame"] = Json::UInt64{region.frame};
        entry["frames"] = Json::UInt64{region.frames};
        if (!region.name.isNull()) {
            setText(entry, "name", region.name.view());
        }
        regions.append(std::move(entry));
    }
    json["regions"] = std::move(regions);
    json["labels"] = cueTextsJson(report.labels);
    json["notes"] = cueTextsJson(report.notes);
    Json::Value applications(Json::arrayValue);
    for (const Decode::ApplicationChunk& chunk : report.applications) {
        Json::Value entry;
        setText(entry, "signature", Decode::fourCCText(chunk.signature).view());
        entry["bytes"] = chunk.size;
        applications.append(std::move(entry));
    }
    json["applications"] = std::move(applications);
}

void addSamples(const SoundReport& report, Json::Value& json) {
    json["framesRead"] = Json::UInt64{report.framesRead};
    Json::Value levels(Json::arrayValue);
    for (const Levels& channel : report.levels) {
        Json::Value entry;
        entry["peak"] = channel.peak ? Json::Value(channel.peak.value) : Json::Value();
        entry["rms"] = channel.rms ? Json::Value(channel.rms.value) : Json::Value();
        entry["nan"] = Json::UInt64{channel.nanCount};
        entry["infinite"] = Json::UInt64{channel.infiniteCount};
        levels.append(std::move(entry));
    }
    json["levels"] = std::move(levels);
    Json::Value head(Json::arrayValue);
    const std::size_t channels = report.format.channels;
    for (std::size_t i = 0; i < report.head.size(); i += channels) {
        Json::Value frame(Json::arrayValue);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            frame.append(numberOrText(report.head[i + channel]));
        }
        head.append(std::move(frame));
    }
    json["head"] = std::move(head);
}

} // namespace

std::string durationText(std::uint64_t frames, std::uint32_t sampleRate) {
    if (sampleRate == 0) {
        return {};
    }
    const std::uint64_t seconds = frames / sampleRate;
    const std::uint64_t milliseconds = frames % sampleRate * 1000 / sampleRate;
    const std::uint64_t minutes = seconds / 60;
    return minutes < 60
               ? fmt::format("{}:{:02}.{:03}", minutes, seconds % 60, milliseconds)
               : fmt::format("{}:{:02}:{:02}.{:03}", minutes / 60, minutes % 60, seconds % 60, milliseconds);
}

std::string reportText(const SoundReport& report) {
    if (!report.isOpen) {
        return {};
    }
    std::string text = printable(report.path.view()) + "\n";
    text += line("kind", kindName(report.fileType));
    text += line("format", formatText(report));
    if (report.format.channelMask != 0) {
        text += line("speakers", fmt::format("0x{:X}", report.format.channelMask));
    }
    text += line("frames", fmt::format("{}", report.frames));
    text += line("duration", durationText(report.frames, report.format.sampleRate));
    text += line("truncated", report.isTruncated ? "yes" : "no");
    for (const String& diagnostic : report.diagnostics) {
        text += line("odd", printable(diagnostic.view()));
    }
    if (!report.originatorReference.isNull()) {
        text += line("reference", printable(report.originatorReference.view()));
    }
    if (report.loop.beats) {
        text += line(
            "loop", fmt::format(
                        "{} beats, {}/{}", report.loop.beats.value, report.loop.numerator.value,
                        report.loop.denominator.value));
    }
    text += metadataText(report);
    if (report.framesRead != report.frames) {
        text += line("read", fmt::format("{} frames", report.framesRead));
    }
    for (std::size_t channel = 0; channel < report.levels.size(); ++channel) {
        text += line(fmt::format("channel {}", channel + 1), levelsText(report.levels[channel]));
    }
    return text + headText(report);
}

Json::Value reportJson(const SoundReport& report) {
    Json::Value json;
    setText(json, "file", report.path.view());
    json["errors"] = textList(report.errors);
    if (!report.isOpen) {
        return json;
    }
    json["kind"] = kindName(report.fileType);
    json["channels"] = report.format.channels;
    json["bits"] = report.bits;
    json["float"] = report.format.isFloat != 0;
    json["sampleRate"] = report.format.sampleRate;
    json["channelMask"] = report.format.channelMask;
    json["frames"] = Json::UInt64{report.frames};
    const std::uint32_t sampleRate = std::max(report.format.sampleRate, 1U);
    json["seconds"] = static_cast<double>(report.frames) / sampleRate;
    json["truncated"] = report.isTruncated;
    json["diagnostics"] = textList(report.diagnostics);
    addMetadata(report, json);
    addSamples(report, json);
    return json;
}

std::string jsonText(const SoundReport& report) {
    return jsonDocument(reportJson(report), digitsOfFloat, Json::PrecisionType::significantDigits);
}

} // namespace Audio::Sound
