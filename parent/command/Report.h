#pragma once

#include "parent/ScanOutcome.h"

#include <string>
#include <vector>

/// The outcome in one or two words: "effect", "crashed (0xC0000005)", ...
std::string outcomeText(const Tarvik::ScanOutcome& outcome);

/// The identifier for a person: of the report, even where it cannot be read, or the one that was handed out.
std::string identifierText(const Tarvik::ScanOutcome& outcome);

/// A table of result, name, identifier and seconds, a line each, with a heading; columns as wide as their
/// contents. Texts of plug-ins are shown with control characters and ill-formed UTF-8 replaced: they must not
/// steer a terminal.
std::string tableText(const std::vector<Tarvik::ScanOutcome>& outcomes);

/// The same for machines: an array of objects, UTF-8, with every control character escaped. Members: "asked",
/// "verdict", "blamed", "seconds"; of a report "result", "resultCode", "name", "identifier", "emptyReport";
/// and where they apply "exitCode", "detail".
///
/// Texts are exact. One that is no UTF-8, as any name may be and the identifier of any plug-in whose code has
/// bytes from 160 on, has U+FFFD in place of what is none, and all its bytes in hexadecimal in a member
/// beside it: "nameBytes", "identifierBytes", "askedBytes", "detailBytes".
std::string jsonText(const std::vector<Tarvik::ScanOutcome>& outcomes);
