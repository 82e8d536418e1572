#include "Report.h"

#include <fmt/format.h>
#include <json/json.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

using Tarvik::ScanOutcome;
using Tarvik::ScanVerdict;

const char* resultName(std::int32_t result) {
    switch (result) {
    case Tarvik::ScanResultEffect:
        return "effect";
    case Tarvik::ScanResultInstrument:
        return "instrument";
    case Tarvik::ScanResultUnconfirmed:
        return "unconfirmed";
    case Tarvik::ScanResultNoEditor:
        return "no editor";
    case Tarvik::ScanResultShell:
        return "shell";
    case Tarvik::ScanResultWrongArchitecture:
        return "wrong architecture";
    case Tarvik::ScanResultKnown:
        return "known";
    case Tarvik::ScanResultCoreLibrary:
        return "core library";
    case Tarvik::ScanResultReserved:
        return "reserved";
    }
    return "unknown";
}

/// Length of the well-formed UTF-8 sequence at the front of text, 0 where there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Overlong forms, surrogates and what lies beyond Unicode.
    const bool wrong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F) ||
                       (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F);
    return wrong ? 0 : length;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

/// Well-formed, and with nothing in it that steers a terminal (C0, DEL and C1 controls).
std::string printable(std::string_view text) {
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    std::string result;
    while (!text.empty()) {
        const std::size_t length = std::max<std::size_t>(sequenceLength(text), 1);
        const auto lead = static_cast<unsigned char>(text[0]);
        const bool control = lead < 0x20 || lead == 0x7F ||
                             (lead == 0xC2 && length == 2 && static_cast<unsigned char>(text[1]) < 0xA0);
        if (control || sequenceLength(text) == 0) {
            result += replacement;
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return result;
}

std::string hexText(std::string_view bytes) {
    std::string result;
    for (const char c : bytes) {
        result += fmt::format("{:02x}", static_cast<unsigned char>(c));
    }
    return result;
}

double seconds(const ScanOutcome& outcome) {
    return static_cast<double>(outcome.duration.count()) / 1000.0;
}

} // namespace

std::string outcomeText(const ScanOutcome& outcome) {
    if (outcome.verdict == ScanVerdict::reported) {
        return outcome.emptyReport ? "empty report" : resultName(outcome.result);
    }
    std::string text = Tarvik::verdictName(outcome.verdict);
    if (outcome.exit.valid && !outcome.exit.value.unknown) {
        const std::uint32_t code = outcome.exit.value.code;
        text += code >= 0x80000000U ? fmt::format(" (0x{:08X})", code) : fmt::format(" ({})", code);
    }
    return text;
}

std::string identifierText(const ScanOutcome& outcome) {
    return printable(outcome.identifier.ToString().view());
}

std::string tableText(const std::vector<ScanOutcome>& outcomes) {
    using Row = std::array<std::string, 4>;
    std::vector<Row> rows{{"Result", "Name", "Identifier", "Seconds"}};
    for (const ScanOutcome& outcome : outcomes) {
        rows.push_back(
            {outcomeText(outcome), printable(outcome.name.view()), identifierText(outcome),
             fmt::format("{:.2f}", seconds(outcome))});
        if (!outcome.detail.isEmpty()) {
            rows.back()[1] = printable(outcome.detail.view());
        }
    }
    const auto columns = [](const std::string& text) {
        return static_cast<std::size_t>(std::count_if(
            text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    };
    std::array<std::size_t, 4> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], columns(row[i]));
        }
    }
    std::string table;
    for (const Row& row : rows) {
        table += fmt::format(
            "{:<{}}  {:<{}}  {:<{}}  {:>{}}\n", row[0], widths[0], row[1], widths[1], row[2], widths[2],
            row[3], widths[3]);
    }
    return table;
}

std::string jsonText(const std::vector<ScanOutcome>& outcomes) {
    Json::Value list(Json::arrayValue);
    for (const ScanOutcome& outcome : outcomes) {
        Json::Value entry;
        entry["asked"] = printable(outcome.asked.ToString().view());
        entry["verdict"] = Tarvik::verdictName(outcome.verdict);
        entry["blamed"] = Tarvik::blamesPlugin(outcome.verdict);
        if (outcome.verdict == ScanVerdict::reported) {
            entry["result"] = resultName(outcome.result);
            entry["resultCode"] = outcome.result;
            entry["name"] = printable(outcome.name.view());
            entry["identifier"] = identifierText(outcome);
            entry["emptyReport"] = outcome.emptyReport;
            if (!isUtf8(outcome.name.view())) {
                entry["nameBytes"] = hexText(outcome.name.view());
            }
        }
        entry["seconds"] = seconds(outcome);
        if (outcome.exit.valid && !outcome.exit.value.unknown) {
            entry["exitCode"] = outcome.exit.value.code;
        }
        if (!outcome.detail.isEmpty()) {
            entry["detail"] = printable(outcome.detail.view());
        }
        list.append(entry);
    }
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "  ";
    writer["emitUTF8"] = true;
    writer["precision"] = 3;
    writer["precisionType"] = "decimal";
    return Json::writeString(writer, list) + "\n";
}
