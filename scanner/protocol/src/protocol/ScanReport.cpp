#include "protocol/ScanReport.h"

#include "protocol/MessagePackText.h"

#include <msgpack/adaptor/int.hpp>

namespace Tarvik {
namespace {

/// Room for any report but one with an extraordinary name or path: packing it allocates once.
constexpr std::size_t initialBufferBytes = 8192;

} // namespace

msgpack::sbuffer EncodeScanReport(const ScanReport& report) {
    msgpack::sbuffer buffer(initialBufferBytes);
    BufferPacker packer(buffer);
    packer.pack_array(3);
    packer.pack_int32(report.result);
    PackText(packer, report.pluginName.view());
    PackIdentifier(packer, report.identifier);
    return buffer;
}

checked_value<ScanReport> DecodeScanReport(const void* data, std::size_t size) {
    if (size == 0) {
        return {};
    }
    msgpack::zone zone;
    const msgpack::object root = UnpackBounded(zone, static_cast<const char*>(data), size);
    if (root.type != msgpack::type::ARRAY) {
        throw msgpack::type_error();
    }
    const std::uint32_t count = root.via.array.size;
    const msgpack::object* elements = root.via.array.ptr;
    ScanReport report;
    if (count > 0) {
        report.result = elements[0].as<std::int32_t>();
    }
    if (count > 1) {
        report.pluginName = TextFromObject(elements[1]);
    }
    if (count > 2) {
        report.identifierText = IdentifierTextFromObject(elements[2]);
        report.identifier.FromString(report.identifierText);
    }
    return report;
}

} // namespace Tarvik
