#pragma once

#include "svbase/util/DataStream.h"

#include <utility>

namespace Util {

/// A stream over bytes in memory. Writing past the end grows them, writing in the middle overwrites. A thrown
/// read leaves the position as it was.
class ByteStream final : public DataStream {
public:
    ByteStream() = default;
    /// Takes the bytes over and stands at their beginning.
    explicit ByteStream(std::vector<std::uint8_t> data) : data_(std::move(data)) {}

    /// Valid until the next write, which must not be one of these bytes.
    const std::vector<std::uint8_t>& data() const { return data_; }

    /// Makes room for so many bytes in all, so that writing them allocates no more. Changes nothing else.
    void reserve(std::uint32_t bytes) { data_.reserve(bytes); }

    ByteOrder byteOrder() const override { return byteOrder_; }
    void setByteOrder(ByteOrder order) override { byteOrder_ = order; }
    bool writesStringLength() const override { return writesStringLength_; }
    void setWritesStringLength(bool writes) override { writesStringLength_ = writes; }

    void read(std::vector<std::uint8_t>& bytes) override;
    void read(String& value) override;
    void read(double& value) override;
    void read(float& value) override;
    void read(Long32& value) override;
    void read(UnsignedLong32& value) override;
    void read(std::int64_t& value) override;
    void read(std::uint64_t& value) override;
    void read(std::int32_t& value) override;
    void read(std::uint32_t& value) override;
    void read(std::int16_t& value) override;
    void read(std::uint16_t& value) override;
    void read(char& value) override;
    void read(signed char& value) override;
    void read(unsigned char& value) override;
    void read(bool& value) override;
    void read(std::uint32_t count, void* buffer) override;

    using DataStream::write;
    void write(const std::vector<std::uint8_t>& bytes) override;
    void write(const String& value) override;
    void write(double value) override;
    void write(float value) override;
    void write(Long32 value) override;
    void write(UnsignedLong32 value) override;
    void write(std::int64_t value) override;
    void write(std::uint64_t value) override;
    void write(std::int32_t value) override;
    void write(std::uint32_t value) override;
    void write(std::int16_t value) override;
    void write(std::uint16_t value) override;
    void write(char value) override;
    void write(signed char value) override;
    void write(unsigned char value) override;
    void write(bool value) override;
    void write(std::uint32_t count, const void* buffer) override;

    bool atEnd() const override { return position_ >= data_.size(); }
    std::uint32_t position() const override { return position_; }
    std::uint32_t size() const override { return static_cast<std::uint32_t>(data_.size()); }
    std::uint32_t bytesRemaining() const override { return size() - position_; }
    /// Unchecked: past the end the next read throws, the next write fills up with zeros.
    void seek(std::uint32_t position) override { position_ = position; }
    void skip(std::uint32_t count) override { seek(position() + count); }

private:
    template<class T>
    void extract(T& value);
    template<class T>
    void insert(T value);
    void readRaw(std::size_t count, void* buffer);
    void writeRaw(std::size_t count, const void* buffer);
    bool holds(std::size_t count) const { return count <= data_.size() && position_ <= data_.size() - count; }

    std::vector<std::uint8_t> data_;
    std::uint32_t position_ = 0;
    ByteOrder byteOrder_ = ByteOrder::Processor;
    bool writesStringLength_ = true;
};

} // namespace Util
