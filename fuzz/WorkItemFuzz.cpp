// Any bytes decode, or end in one of msgpack's exceptions; what was decoded encodes and decodes again.

#include "protocol/ScanReport.h"
#include "protocol/WorkItem.h"

#include <msgpack/object.hpp>
#include <msgpack/unpack.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace Tarvik;

namespace {

template<class Body>
void throughMsgpack(Body&& body) {
    try {
        body();
    } catch (const msgpack::unpack_error&) {
    } catch (const msgpack::type_error&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    throughMsgpack([&] {
        const WorkItem item = DecodeWorkItem(data, size);
        const msgpack::sbuffer encoded = EncodeWorkItem(item);
        const WorkItem again = DecodeWorkItem(encoded.data(), encoded.size());
        if (!(again.hostVendor == item.hostVendor) || !(again.hostProduct == item.hostProduct)) {
            std::abort();
        }
    });
    throughMsgpack([&] { DecodeScanReport(data, size); });
    return 0;
}
