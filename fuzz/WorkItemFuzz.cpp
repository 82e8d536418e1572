// Any bytes decode, or end in one of msgpack's exceptions; what was decoded encodes and decodes again.

#include "Require.h"
#include "protocol/ScanReport.h"
#include "protocol/WorkItem.h"

#include <msgpack/object.hpp>
#include <msgpack/unpack.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>

using namespace Tarvik;

namespace {

/// Nothing where decoding ended in one of the exceptions that it may end in.
template<class Decode>
auto decoded(Decode decode) -> std::optional<decltype(decode())> {
    try {
        return decode();
    } catch (const msgpack::unpack_error&) {
        return {};
    } catch (const msgpack::type_error&) {
        return {};
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (const auto item = decoded([&] { return DecodeWorkItem(data, size); })) {
        const msgpack::sbuffer encoded = EncodeWorkItem(*item);
        const WorkItem again = DecodeWorkItem(encoded.data(), encoded.size());
        REQUIRE(again.hostVendor == item->hostVendor && again.hostProduct == item->hostProduct);
        REQUIRE(again.knownPlugins.size() <= item->knownPlugins.size());
    }
    const auto report = decoded([&] { return DecodeScanReport(data, size); });
    if (report && report->valid) {
        const msgpack::sbuffer encoded = EncodeScanReport(report->value);
        const auto again = DecodeScanReport(encoded.data(), encoded.size());
        REQUIRE(again.valid && again.value.result == report->value.result);
        REQUIRE(again.value.pluginName == report->value.pluginName);
    }
    return 0;
}
