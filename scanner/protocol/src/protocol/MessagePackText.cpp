#include "protocol/MessagePackText.h"

#include <msgpack/adaptor/check_container_size.hpp>
#include <msgpack/null_visitor.hpp>
#include <msgpack/parse.hpp>
#include <msgpack/unpack.hpp>

#include <cstdint>
#include <string>

namespace Tarvik {
namespace {

/// Python's packer, which parents are known to use, nests 511 deep at most.
constexpr std::size_t depthLimit = 1024;

/// A dry run ahead of the real one, which allocates for a container as soon as it has read its header. Each
/// element takes one byte at least, so no well-formed body announces more elements, all containers taken
/// together, than it has bytes.
class BoundsVisitor : public msgpack::null_visitor {
public:
    explicit BoundsVisitor(std::size_t bytes) : unannounced_(bytes) {}

    bool start_array(std::uint32_t count) {
        if (!announce(count)) {
            throw msgpack::array_size_overflow("array size overflow");
        }
        return enter();
    }
    bool end_array() { return leave(); }

    bool start_map(std::uint32_t pairs) {
        if (!announce(std::uint64_t{pairs} * 2)) {
            throw msgpack::map_size_overflow("map size overflow");
        }
        return enter();
    }
    bool end_map() { return leave(); }

private:
    bool announce(std::uint64_t count) {
        if (count > unannounced_) {
            return false;
        }
        unannounced_ -= count;
        return true;
    }

    bool enter() {
        if (++depth_ > depthLimit) {
            throw msgpack::depth_size_overflow("depth size overflow");
        }
        return true;
    }

    bool leave() {
        --depth_;
        return true;
    }

    std::uint64_t unannounced_;
    std::size_t depth_ = 0;
};

bool pointIntoData(msgpack::type::object_type, std::size_t, void*) {
    return true;
}

} // namespace

msgpack::object UnpackBounded(msgpack::zone& zone, const char* data, std::size_t size) {
    BoundsVisitor bounds(size);
    // Malformed bytes end the dry run early, and are reported by the real one, which comes as far.
    msgpack::parse(data, size, bounds);
    return msgpack::unpack(zone, data, size, pointIntoData);
}

String TextFromObject(const msgpack::object& object) {
    switch (object.type) {
    case msgpack::type::STR:
        return String(std::string(object.via.str.ptr, object.via.str.size));
    case msgpack::type::BIN:
        return String(std::string(object.via.bin.ptr, object.via.bin.size));
    default:
        throw msgpack::type_error();
    }
}

String IdentifierTextFromObject(const msgpack::object& object) {
    if (object.type != msgpack::type::ARRAY || object.via.array.size != 1) {
        throw msgpack::type_error();
    }
    return TextFromObject(object.via.array.ptr[0]);
}

PluginIdentifier IdentifierFromObject(const msgpack::object& object) {
    PluginIdentifier identifier;
    identifier.FromString(IdentifierTextFromObject(object));
    return identifier;
}

void PackText(BufferPacker& packer, std::span<const char> text) {
    const std::uint32_t size = msgpack::checked_get_container_size(text.size());
    packer.pack_str(size);
    packer.pack_str_body(text.data(), size);
}

void PackIdentifier(BufferPacker& packer, const PluginIdentifier& identifier) {
    packer.pack_array(1);
    PackText(packer, identifier.ToString().view());
}

} // namespace Tarvik
