#pragma once

#include "svbase/util/DataStream.h"
#include "svbase/util/File.h"

#include <memory>

namespace Util {

/// A stream over a file, which is open from construction to destruction. A thrown read has consumed what the
/// C library read. For files up to 4 GiB; beyond that use File.
class FileStream final : public DataStream {
public:
    /// mode: bits of File::Mode. Throws Util::Exception::DataStreamIO when the file does not open.
    FileStream(String path, unsigned mode);

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

    bool atEnd() const override { return file_->atEnd(); }
    /// 0 when the C library cannot tell.
    std::uint32_t position() const override;
    std::uint32_t size() const override;
    /// 0 past the end.
    std::uint32_t bytesRemaining() const override;
    void seek(std::uint32_t position) override;
    void skip(std::uint32_t count) override { seek(position() + count); }

private:
    template<class T>
    void extract(T& value);
    template<class T>
    void insert(T value);

    std::unique_ptr<File> file_;
    ByteOrder byteOrder_ = ByteOrder::Processor;
    bool writesStringLength_ = true;
};

} // namespace Util
