#pragma once

#include "audio/sound/SoundReport.h"

#include <json/json.h>

#include <string>

namespace Audio::Sound {

/// For a person: the path and a line for each fact below it; empty for a file that was not opened. Texts of
/// the file are shown with control characters and ill-formed UTF-8 replaced: they must not steer a terminal.
/// Errors are not among them.
std::string reportText(const SoundReport& report);

/// For a program. Members: "file", "errors" (texts; empty where everything was read), and of a file that was
/// opened
/// - "kind", "channels", "bits", "float", "sampleRate", "channelMask", "frames", "seconds", "truncated",
///   "diagnostics" (texts);
/// - "originatorReference", "loop" ("beats", "numerator", "denominator"), where the file has one;
/// - "markers" ("identifier", "frame", and "name" where it has one), "regions" (the same and "frames"),
///   "labels" and "notes" ("marker", "text"), "applications" ("signature", "bytes");
/// - "framesRead", and "levels", one for each channel: "peak" and "rms" of its finite samples, null where it
///   has none, and how many are "nan" and "infinite"; none where no sample could be read;
/// - "head", an array of samples for each of the first frames that were asked for. JSON has no number for
///   what is not finite: that stands there as "NaN", "Infinity" or "-Infinity", a text.
///
/// Texts of the file are exact, as setText makes them; what is ill-formed is only replaced in "errors" and
/// "diagnostics". Numbers have nine significant digits, which tell every 32-bit
/// float from its neighbours.
Json::Value reportJson(const SoundReport& report);

/// The same as a document.
std::string jsonText(const SoundReport& report);

/// "0:01.500", with hours where there are any; rounded down to milliseconds. sampleRate 0 gives an empty
/// text.
std::string durationText(std::uint64_t frames, std::uint32_t sampleRate);

} // namespace Audio::Sound
