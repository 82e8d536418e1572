#include "scanner/BodyMessage.h"

#include <msgpack/adaptor/check_container_size.hpp>

#include <gtest/gtest.h>

#include <new>

using namespace Tarvik;

namespace {

msgpack::sbuffer bufferOf(const char* text, std::size_t size) {
    msgpack::sbuffer buffer;
    buffer.write(text, size);
    return buffer;
}

} // namespace

// That the bytes are freed, once, is for the leak check of the sanitizer build.

TEST(BodyMessage, The_frame_takes_the_buffers_memory_over) {
    msgpack::sbuffer buffer = bufferOf("bytes", 5);
    const char* data = buffer.data();
    const zmq::message_t message = BodyMessage(std::move(buffer));
    EXPECT_EQ(message.data<char>(), data);
    EXPECT_EQ(message.to_string(), "bytes");
}

TEST(BodyMessage, What_encodes_becomes_the_frame) {
    EXPECT_EQ(BodyMessageOrEmpty([] { return bufferOf("bytes", 5); }).to_string(), "bytes");
}

TEST(BodyMessage, A_failure_on_the_way_leaves_an_empty_frame) {
    const auto overflow = []() -> msgpack::sbuffer { throw msgpack::container_size_overflow("too long"); };
    EXPECT_EQ(BodyMessageOrEmpty(overflow).size(), 0u);
    const auto exhausted = []() -> msgpack::sbuffer { throw std::bad_alloc(); };
    EXPECT_EQ(BodyMessageOrEmpty(exhausted).size(), 0u);
}
