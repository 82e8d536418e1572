#pragma once

#include "protocol/PluginIdentifier.h"
#include "svbase/util/String.h"

#include <msgpack/object.hpp>
#include <msgpack/pack.hpp>
#include <msgpack/sbuffer.hpp>
#include <msgpack/zone.hpp>

#include <cstddef>
#include <span>

namespace Tarvik {

// What the records on the wire have in common. Errors of reading are msgpack's: unpack_error and its children
// for malformed bytes, type_error for a value of another type than expected.

/// One object from the start of the bytes; bytes behind it are ignored. The object stands in the zone, its
/// texts point into data: both have to outlive it. Memory stays in proportion to size: a container that
/// announces more elements than there are bytes, or one nested more than 1024 deep, is refused as
/// size_overflow before anything is allocated for it. [any]
msgpack::object UnpackBounded(msgpack::zone& zone, const char* data, std::size_t size);

/// From str or bin; never null. Errors: type_error. [any]
String TextFromObject(const msgpack::object& object);

/// From an array of exactly one text: that text; never null. Errors: type_error. [any]
String IdentifierTextFromObject(const msgpack::object& object);

/// The same, read. A text that names no plug-in is no error: the result is `None`.
/// Errors: type_error. [any]
PluginIdentifier IdentifierFromObject(const msgpack::object& object);

using BufferPacker = msgpack::packer<msgpack::sbuffer>;

/// As str, in the shortest form. Errors: container_size_overflow for a length that does not fit 32 bits; then
/// nothing is written. [any]
void PackText(BufferPacker& packer, std::span<const char> text);

/// As an array of one text. [any]
void PackIdentifier(BufferPacker& packer, const PluginIdentifier& identifier);

} // namespace Tarvik
