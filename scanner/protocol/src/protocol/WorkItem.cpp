#include "protocol/WorkItem.h"

#include "protocol/MessagePackText.h"

#include <msgpack/adaptor/check_container_size.hpp>

#include <span>

namespace Tarvik {
namespace {

std::span<const msgpack::object> elementsOf(const msgpack::object& object) {
    if (object.type != msgpack::type::ARRAY) {
        throw msgpack::type_error();
    }
    return {object.via.array.ptr, object.via.array.size};
}

std::set<PluginIdentifier> identifiersFromObject(const msgpack::object& object) {
    std::set<PluginIdentifier> identifiers;
    for (const msgpack::object& element : elementsOf(object)) {
        identifiers.insert(IdentifierFromObject(element));
    }
    return identifiers;
}

} // namespace

WorkItem DecodeWorkItem(const void* data, std::size_t size) {
    msgpack::zone zone;
    const msgpack::object body = UnpackBounded(zone, static_cast<const char*>(data), size);
    const auto elements = elementsOf(body);
    WorkItem item;
    if (!elements.empty()) {
        item.identifier = IdentifierFromObject(elements[0]);
    }
    if (elements.size() > 1) {
        item.knownPlugins = identifiersFromObject(elements[1]);
    }
    if (elements.size() > 2) {
        item.hostVendor = TextFromObject(elements[2]);
    }
    if (elements.size() > 3) {
        item.hostProduct = TextFromObject(elements[3]);
    }
    return item;
}

msgpack::sbuffer EncodeWorkItem(const WorkItem& item) {
    msgpack::sbuffer buffer;
    BufferPacker packer(buffer);
    packer.pack_array(4);
    PackIdentifier(packer, item.identifier);
    packer.pack_array(msgpack::checked_get_container_size(item.knownPlugins.size()));
    for (const PluginIdentifier& known : item.knownPlugins) {
        PackIdentifier(packer, known);
    }
    PackText(packer, item.hostVendor.view());
    PackText(packer, item.hostProduct.view());
    return buffer;
}

} // namespace Tarvik
