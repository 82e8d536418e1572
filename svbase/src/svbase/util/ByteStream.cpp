#include "svbase/util/ByteStream.h"

#include "svbase/util/Exception.h"
#include "svbase/util/StreamValue.h"

#include <cstring>
#include <limits>

namespace Util {

using Exception::DataStreamIO;

template<class T>
void ByteStream::extract(T& value) {
    StreamValue::Bytes<T> bytes;
    if (!holds(bytes.size())) {
        THROW_HERE(
            DataStreamIO, String("Can't extract %1 bytes at position %2, total size %3")
                              .arg(bytes.size())
                              .arg(position_)
                              .arg(data_.size()));
    }
    std::memcpy(bytes.data(), data_.data() + position_, bytes.size());
    position_ += static_cast<std::uint32_t>(bytes.size());
    value = StreamValue::fromBytes<T>(bytes, byteOrder_);
}

template<class T>
void ByteStream::insert(T value) {
    const StreamValue::Bytes<T> bytes = StreamValue::toBytes(value, byteOrder_);
    writeRaw(bytes.size(), bytes.data());
}

// clang-format off
void ByteStream::read(double& value) { extract(value); }
void ByteStream::read(float& value) { extract(value); }
void ByteStream::read(Long32& value) { extract(value); }
void ByteStream::read(UnsignedLong32& value) { extract(value); }
void ByteStream::read(std::int64_t& value) { extract(value); }
void ByteStream::read(std::uint64_t& value) { extract(value); }
void ByteStream::read(std::int32_t& value) { extract(value); }
void ByteStream::read(std::uint32_t& value) { extract(value); }
void ByteStream::read(std::int16_t& value) { extract(value); }
void ByteStream::read(std::uint16_t& value) { extract(value); }
void ByteStream::read(char& value) { extract(value); }
void ByteStream::read(signed char& value) { extract(value); }
void ByteStream::read(unsigned char& value) { extract(value); }
void ByteStream::read(bool& value) { extract(value); }

void ByteStream::write(double value) { insert(value); }
void ByteStream::write(float value) { insert(value); }
void ByteStream::write(Long32 value) { insert(value); }
void ByteStream::write(UnsignedLong32 value) { insert(value); }
void ByteStream::write(std::int64_t value) { insert(value); }
void ByteStream::write(std::uint64_t value) { insert(value); }
void ByteStream::write(std::int32_t value) { insert(value); }
void ByteStream::write(std::uint32_t value) { insert(value); }
void ByteStream::write(std::int16_t value) { insert(value); }
void ByteStream::write(std::uint16_t value) { insert(value); }
void ByteStream::write(char value) { insert(value); }
void ByteStream::write(signed char value) { insert(value); }
void ByteStream::write(unsigned char value) { insert(value); }
void ByteStream::write(bool value) { insert(value); }
// clang-format on

void ByteStream::read(std::vector<std::uint8_t>& bytes) {
    readRaw(bytes.size(), bytes.data());
}

void ByteStream::read(std::uint32_t count, void* buffer) {
    readRaw(count, buffer);
}

void ByteStream::readRaw(std::size_t count, void* buffer) {
    if (count == 0) {
        return;
    }
    if (!holds(count)) {
        THROW_HERE(DataStreamIO, String("Can't read %1 bytes").arg(count));
    }
    std::memcpy(buffer, data_.data() + position_, count);
    position_ += static_cast<std::uint32_t>(count);
}

void ByteStream::read(String& value) {
    const std::uint32_t start = position_;
    const std::uint32_t length = readUnsignedInt();
    if (length >= improbableStringLength) {
        position_ = start;
        THROW_HERE(DataStreamIO, String("Improbable string length %1").arg(length));
    }
    if (length == 0) {
        value = "";
        return;
    }
    if (!holds(length)) {
        position_ = start;
        THROW_HERE(DataStreamIO, String("Can't read string of length %1").arg(length));
    }
    value = String(reinterpret_cast<const char*>(data_.data() + position_), length);
    position_ += length;
}

void ByteStream::write(const std::vector<std::uint8_t>& bytes) {
    writeRaw(bytes.size(), bytes.data());
}

void ByteStream::write(std::uint32_t count, const void* buffer) {
    writeRaw(count, buffer);
}

void ByteStream::write(const String& value) {
    if (writesStringLength_) {
        write(value.length());
    }
    if (!value.isEmpty()) {
        writeRaw(value.length(), value.data());
    }
}

void ByteStream::writeRaw(std::size_t count, const void* buffer) {
    const std::uint64_t end = std::uint64_t{position_} + count;
    if (end > std::numeric_limits<std::uint32_t>::max()) {
        // The position could not say where the next byte goes.
        THROW_HERE(DataStreamIO, String("Can't write %1 bytes").arg(count));
    }
    if (data_.size() < end) {
        data_.resize(static_cast<std::size_t>(end));
    }
    if (count != 0) {
        std::memcpy(data_.data() + position_, buffer, count);
    }
    position_ = static_cast<std::uint32_t>(end);
}

} // namespace Util
