#pragma once

#include <msgpack/sbuffer.hpp>
#include <zmq.hpp>

#include <cstdlib>
#include <exception>

namespace Tarvik {

/// The frame for a packed record. The bytes are not copied: ZeroMQ owns and frees them.
/// Errors: zmq::error_t. [any]
inline zmq::message_t BodyMessage(msgpack::sbuffer buffer) {
    const auto release = [](void* data, void*) { std::free(data); };
    const std::size_t size = buffer.size();
    char* const bytes = buffer.release();
    try {
        return zmq::message_t(bytes, size, release);
    } catch (...) {
        std::free(bytes);
        throw;
    }
}

/// The frame for the record that encode packs. A failure on the way leaves an empty frame: the parent, which
/// holds its side of the exchange open for a report, learns at least that the scan came to its end. [any]
template<class Encode>
zmq::message_t BodyMessageOrEmpty(Encode&& encode) {
    try {
        return BodyMessage(encode());
    } catch (const std::exception&) {
        return zmq::message_t();
    }
}

} // namespace Tarvik
