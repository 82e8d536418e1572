#include "Report.h"

#include "command/JsonText.h"
#include "command/PrintableText.h"

#include <fmt/format.h>

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
    default:
        return "unknown";
    }
}

/// Of the report as it came where it cannot be read.
String toldIdentifier(const ScanOutcome& outcome) {
    return outcome.unreadIdentifier.isEmpty() ? outcome.identifier.ToString() : outcome.unreadIdentifier;
}

bool beginsCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

/// How many columns a printable text takes.
std::size_t columns(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
}

/// A printable text in so many columns, its end left out where it takes more.
std::string cut(std::string text, std::size_t mostColumns) {
    if (columns(text) <= mostColumns) {
        return text;
    }
    std::size_t kept = 0;
    const auto end = std::find_if(text.begin(), text.end(), [&](char c) {
        kept += beginsCharacter(c) ? 1U : 0U;
        return kept == mostColumns;
    });
    text.erase(end, text.end());
    return text + "\xE2\x80\xA6";
}

// More than names in earnest have, and than a path and the words around it mostly do. The column of names is
// as wide for all as for the longest.
constexpr std::size_t mostNameColumns = 64;
constexpr std::size_t mostDetailColumns = 160;

/// What the table has in its column of names.
std::string nameCell(const ScanOutcome& outcome) {
    const bool isNamed = !outcome.name.isEmpty() || !outcome.registration.valid;
    std::string name =
        cut(printable((isNamed ? outcome.name : outcome.registration.value.name).view()), mostNameColumns);
    const std::string detail = cut(printable(detailText(outcome)), mostDetailColumns);
    if (detail.empty()) {
        return name;
    }
    return name.empty() ? detail : fmt::format("{} ({})", name, detail);
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

std::string detailText(const ScanOutcome& outcome) {
    std::string text = outcome.detail.toStdString();
    if (outcome.registration.valid) {
        const String lack = outcome.registration.value.lack();
        text += text.empty() || lack.isEmpty() ? "" : "; ";
        text += lack.view();
    }
    return text;
}

std::string identifierText(const ScanOutcome& outcome) {
    return printable(toldIdentifier(outcome).view());
}

std::string tableText(const std::vector<ScanOutcome>& outcomes) {
    using Row = std::array<std::string, 4>;
    std::vector<Row> rows{{"Result", "Name", "Identifier", "Seconds"}};
    for (const ScanOutcome& outcome : outcomes) {
        rows.push_back(
            {outcomeText(outcome), nameCell(outcome), identifierText(outcome),
             fmt::format("{:.2f}", seconds(outcome))});
    }
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
        setText(entry, "asked", outcome.asked.ToString().view());
        entry["verdict"] = Tarvik::verdictName(outcome.verdict);
        entry["blamed"] = Tarvik::blamesPlugin(outcome.verdict);
        if (outcome.verdict == ScanVerdict::reported) {
            entry["result"] = resultName(outcome.result);
            entry["resultCode"] = outcome.result;
            setText(entry, "name", outcome.name.view());
            setText(entry, "identifier", toldIdentifier(outcome).view());
            entry["emptyReport"] = outcome.emptyReport;
        }
        entry["seconds"] = seconds(outcome);
        if (outcome.exit.valid && !outcome.exit.value.unknown) {
            entry["exitCode"] = outcome.exit.value.code;
        }
        if (const std::string detail = detailText(outcome); !detail.empty()) {
            setText(entry, "detail", detail);
        }
        if (outcome.registration.valid) {
            const Tarvik::DirectXFilter& filter = outcome.registration.value;
            entry["registration"] = Tarvik::registrationName(filter.registration);
            setText(entry, "registeredName", filter.name.view());
            setText(entry, "listedName", filter.listedName.view());
            setText(entry, "module", filter.module.view());
        }
        list.append(entry);
    }
    return jsonDocument(list, 3, Json::PrecisionType::decimalPlaces);
}
