#pragma once

#include "protocol/PluginIdentifier.h"
#include "svbase/util/String.h"

#include <msgpack/sbuffer.hpp>

#include <cstddef>
#include <set>

namespace Tarvik {

/// What a parent hands to a worker: one plug-in, and what has to be known to judge it.
struct WorkItem {
    PluginIdentifier identifier;
    /// What the parent already has.
    std::set<PluginIdentifier> knownPlugins;
    /// What a plug-in is told when it asks for its host's vendor and product.
    String hostVendor;
    String hostProduct;
};

/// The record on the wire is an array: [identifier], [[identifier], ...], vendor, product, each text a str.

/// Reads the record tolerantly: texts may be bin, missing trailing elements leave their fields at their
/// defaults, elements past the fourth and bytes past the record are ignored. An identifier that does not
/// parse is no error: it stays `None`.
/// Errors: msgpack::type_error for a value of the wrong type or an identifier that is not an array of one;
/// msgpack::unpack_error and its children for malformed bytes. [any]
WorkItem DecodeWorkItem(const void* data, std::size_t size);

/// Errors: msgpack::container_size_overflow for a text whose length does not fit 32 bits. [any]
msgpack::sbuffer EncodeWorkItem(const WorkItem& item);

} // namespace Tarvik
