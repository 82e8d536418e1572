#pragma once

#include "protocol/PluginIdentifier.h"
#include "protocol/ScanResult.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <msgpack/sbuffer.hpp>

#include <cstddef>
#include <cstdint>

namespace Tarvik {

/// What a worker tells its parent at the end of a scan.
struct ScanReport {
    /// A ScanResult; a number, so that a parent sees a code of which it has not heard as it came.
    std::int32_t result = ScanResultUnconfirmed;
    /// As the plug-in reports it; empty unless the scan established one.
    String pluginName;
    /// After the scan: a VST plug-in's own unique identifier may differ from the one asked for.
    PluginIdentifier identifier;
    /// Of a report that was read: the text that `identifier` was read from. Not every plug-in's code survives
    /// its own text form, and then this is all that is known. Empty where there was none; not written.
    String identifierText{};
};

/// The record on the wire is an array: result, name, [identifier].

/// Strict: always three elements, integer and text headers in their shortest forms.
/// Errors: msgpack::container_size_overflow for a text whose length does not fit 32 bits. [any]
msgpack::sbuffer EncodeScanReport(const ScanReport& report);

/// Invalid for an empty body, which a worker sends when it could not build its report. As tolerant as the
/// reading of a work item: texts may be bin, missing trailing elements leave their defaults, further ones
/// are ignored.
/// Errors: msgpack::type_error and msgpack::unpack_error, as there. [any]
checked_value<ScanReport> DecodeScanReport(const void* data, std::size_t size);

} // namespace Tarvik
