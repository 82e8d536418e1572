#pragma once

#include "parent/ScanOutcome.h"

#include <string>
#include <vector>

/// The outcome in one or two words: "effect", "crashed (0xC0000005)", ...
std::string outcomeText(const Tarvik::ScanOutcome& outcome);

/// The identifier for a person: of the report, or the one that was handed out.
std::string identifierText(const Tarvik::ScanOutcome& outcome);

/// A table of result, name, identifier and seconds, a line each, with a heading; columns as wide as their
/// contents. Texts of plug-ins are shown with control characters and ill-formed UTF-8 replaced: they must not
/// steer a terminal.
std::string tableText(const std::vector<Tarvik::ScanOutcome>& outcomes);

/// The same for machines: an array of objects, UTF-8. Members: "asked", "verdict", "blamed", "result",
/// "resultCode", "name", "identifier", "seconds", and where they apply "nameBytes" (hexadecimal, for a name
/// that is no UTF-8), "exitCode", "emptyReport", "detail".
std::string jsonText(const std::vector<Tarvik::ScanOutcome>& outcomes);
