#pragma once

#include "parent/ScanOutcome.h"

#include <string>
#include <vector>

/// The outcome in one or two words: "effect", "crashed (0xC0000005)", ...
std::string outcomeText(const Tarvik::ScanOutcome& outcome);

/// The identifier for a person: of the report, even where it cannot be read, or the one that was handed out.
std::string identifierText(const Tarvik::ScanOutcome& outcome);

/// Why there is nothing better to tell, for a person: what stood in the way of the scan, and what the
/// registration of a filter lacks. Empty where neither is so.
std::string detailText(const Tarvik::ScanOutcome& outcome);

/// A table of result, name, identifier and seconds, a line each, with a heading; columns as wide as their
/// contents. The name is the reported one, or else that under which a filter is registered; the detail
/// follows it in brackets, or stands in its place. Of a name of more than 64 characters, and of a detail of
/// more than 160, the end is left out, so that one long text does not widen every line. Texts of plug-ins are
/// shown with control characters and ill-formed UTF-8 replaced: they must not steer a terminal.
std::string tableText(const std::vector<Tarvik::ScanOutcome>& outcomes);

/// The same for machines: an array of objects, UTF-8, with every control character escaped. Members: "asked",
/// "verdict", "blamed", "seconds"; of a report "result", "resultCode", "name", "identifier", "emptyReport";
/// and where they apply "exitCode", "detail". Of a filter from the list of registered ones also
/// "registration", which is "complete", "module missing", "class without a module", "class for 32-bit
/// processes alone" or "no class registered", and "registeredName", "listedName" and "module", each empty
/// where there is none.
///
/// Texts are exact. One that is no UTF-8, as any name may be and the identifier of any plug-in whose code has
/// bytes from 160 on, has U+FFFD in place of what is none, and all its bytes in hexadecimal in a member
/// beside it: "nameBytes", "identifierBytes", "askedBytes", ...
std::string jsonText(const std::vector<Tarvik::ScanOutcome>& outcomes);
