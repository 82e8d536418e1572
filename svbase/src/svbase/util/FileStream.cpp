#include "svbase/util/FileStream.h"

#include "svbase/util/Exception.h"
#include "svbase/util/StreamValue.h"

#include <utility>

namespace Util {

using Exception::DataStreamIO;

FileStream::FileStream(String path, unsigned mode) : file_(std::make_unique<File>(std::move(path))) {
    if (const auto opened = file_->open(mode); !opened) {
        THROW_HERE(DataStreamIO, String("Can't open file: %1").arg(opened.error().message()));
    }
}

template<class T>
void FileStream::extract(T& value) {
    StreamValue::Bytes<T> bytes;
    if (const auto got = file_->read(bytes.data(), bytes.size()); !got) {
        THROW_HERE(
            DataStreamIO,
            String("Can't extract %1: %2").arg(StreamValue::text(value)).arg(got.error().message()));
    }
    value = StreamValue::fromBytes<T>(bytes, byteOrder_);
}

template<class T>
void FileStream::insert(T value) {
    const StreamValue::Bytes<T> bytes = StreamValue::toBytes(value, byteOrder_);
    if (const auto put = file_->write(bytes.data(), bytes.size()); !put) {
        THROW_HERE(
            DataStreamIO,
            String("Can't insert %1: %2").arg(StreamValue::text(value)).arg(put.error().message()));
    }
}

// clang-format off
void FileStream::read(double& value) { extract(value); }
void FileStream::read(float& value) { extract(value); }
void FileStream::read(Long32& value) { extract(value); }
void FileStream::read(UnsignedLong32& value) { extract(value); }
void FileStream::read(std::int64_t& value) { extract(value); }
void FileStream::read(std::uint64_t& value) { extract(value); }
void FileStream::read(std::int32_t& value) { extract(value); }
void FileStream::read(std::uint32_t& value) { extract(value); }
void FileStream::read(std::int16_t& value) { extract(value); }
void FileStream::read(std::uint16_t& value) { extract(value); }
void FileStream::read(char& value) { extract(value); }
void FileStream::read(signed char& value) { extract(value); }
void FileStream::read(unsigned char& value) { extract(value); }
void FileStream::read(bool& value) { extract(value); }

void FileStream::write(double value) { insert(value); }
void FileStream::write(float value) { insert(value); }
void FileStream::write(Long32 value) { insert(value); }
void FileStream::write(UnsignedLong32 value) { insert(value); }
void FileStream::write(std::int64_t value) { insert(value); }
void FileStream::write(std::uint64_t value) { insert(value); }
void FileStream::write(std::int32_t value) { insert(value); }
void FileStream::write(std::uint32_t value) { insert(value); }
void FileStream::write(std::int16_t value) { insert(value); }
void FileStream::write(std::uint16_t value) { insert(value); }
void FileStream::write(char value) { insert(value); }
void FileStream::write(signed char value) { insert(value); }
void FileStream::write(unsigned char value) { insert(value); }
void FileStream::write(bool value) { insert(value); }
// clang-format on

void FileStream::read(std::vector<std::uint8_t>& bytes) {
    if (const auto got = file_->read(bytes.data(), bytes.size()); !got) {
        THROW_HERE(
            DataStreamIO, String("Can't extract %1 bytes: %2").arg(bytes.size()).arg(got.error().message()));
    }
}

void FileStream::read(std::uint32_t count, void* buffer) {
    if (const auto got = file_->read(buffer, count); !got) {
        THROW_HERE(DataStreamIO, String("Can't read %1 bytes: %2").arg(count).arg(got.error().message()));
    }
}

void FileStream::read(String& value) {
    const std::uint32_t length = readUnsignedInt();
    if (length >= improbableStringLength) {
        THROW_HERE(DataStreamIO, String("Improbable string length %1").arg(length));
    }
    if (length == 0) {
        value = "";
        return;
    }
    std::vector<char> buffer(length + 1);
    if (const auto got = file_->read(buffer.data(), length); !got) {
        // The text so far takes the only placeholder, and the file's own message follows it.
        THROW_HERE(DataStreamIO, String("Can't extract string: %2").arg(value).arg(got.error().message()));
    }
    value = buffer.data();
}

void FileStream::write(const std::vector<std::uint8_t>& bytes) {
    if (const auto put = file_->write(bytes.data(), bytes.size()); !put) {
        THROW_HERE(
            DataStreamIO, String("Can't insert %1 bytes: %2").arg(bytes.size()).arg(put.error().message()));
    }
}

void FileStream::write(std::uint32_t count, const void* buffer) {
    if (const auto put = file_->write(buffer, count); !put) {
        THROW_HERE(DataStreamIO, String("Can't write %1 bytes: %2").arg(count).arg(put.error().message()));
    }
}

void FileStream::write(const String& value) {
    if (writesStringLength_) {
        write(value.length());
    }
    if (value.isEmpty()) {
        return;
    }
    if (const auto put = file_->write(value.data(), value.length()); !put) {
        THROW_HERE(DataStreamIO, String("Can't insert %1: %2").arg(value).arg(put.error().message()));
    }
}

std::uint32_t FileStream::position() const {
    return static_cast<std::uint32_t>(file_->position().value);
}

std::uint32_t FileStream::size() const {
    return static_cast<std::uint32_t>(file_->size().value);
}

std::uint32_t FileStream::bytesRemaining() const {
    return static_cast<std::uint32_t>(file_->bytesRemaining().value);
}

void FileStream::seek(std::uint32_t position) {
    if (const auto moved = file_->seek(position); !moved) {
        THROW_HERE(DataStreamIO, String("Can't seek to %1: %2").arg(position).arg(moved.error().message()));
    }
}

} // namespace Util
