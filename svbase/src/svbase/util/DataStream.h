#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <type_traits>
#include <vector>

namespace Util {

/// How multi-byte values lie on a stream, floats included: Processor and LittleEndian as the processor holds
/// them, anything else byte-swapped.
enum class ByteOrder : std::uint32_t { Processor = 0, LittleEndian = 1, BigEndian = 2 };

/// Stands in for a 32-bit `long` on platforms whose `long` is wider.
template<class Integer>
class LongStandIn {
public:
    LongStandIn(Integer value = 0) : value_(value) {}
    operator Integer() const { return value_; }

private:
    Integer value_;
};

/// The 32-bit `long`s of a stream, each a type apart from `int`. Where `long` has 64 bits it is the 64-bit
/// form instead, so prefer the fixed-width types, which mean the same everywhere.
using Long32 = std::conditional_t<sizeof(long) == 4, long, LongStandIn<std::int32_t>>;
using UnsignedLong32 = std::conditional_t<sizeof(long) == 4, unsigned long, LongStandIn<std::uint32_t>>;

/// Typed binary input and output over bytes with a position. Every failure is thrown as
/// Util::Exception::DataStreamIO. A String on a stream is its length in 32 bits and that many bytes, without
/// a terminator; a byte vector is its bytes alone, the reader gives their number. Positions and sizes are cut
/// to 32 bits. Not shared between threads.
class DataStream : private noncopyable {
public:
    virtual ByteOrder byteOrder() const = 0;
    virtual void setByteOrder(ByteOrder order) = 0;

    /// Whether write(String) puts the length in front of the bytes. Reading always expects it.
    virtual bool writesStringLength() const = 0;
    virtual void setWritesStringLength(bool writes) = 0;

    /// Fills the vector at the size that it has; an empty one reads nothing.
    virtual void read(std::vector<std::uint8_t>& bytes) = 0;
    /// The text ends at its first NUL. Lengths over 200,000 are taken for corrupt data.
    virtual void read(String& value) = 0;
    virtual void read(double& value) = 0;
    virtual void read(float& value) = 0;
    virtual void read(Long32& value) = 0;
    virtual void read(UnsignedLong32& value) = 0;
    virtual void read(std::int64_t& value) = 0;
    virtual void read(std::uint64_t& value) = 0;
    virtual void read(std::int32_t& value) = 0;
    virtual void read(std::uint32_t& value) = 0;
    virtual void read(std::int16_t& value) = 0;
    virtual void read(std::uint16_t& value) = 0;
    virtual void read(char& value) = 0;
    virtual void read(signed char& value) = 0;
    virtual void read(unsigned char& value) = 0;
    /// One byte; anything but 0 is true.
    virtual void read(bool& value) = 0;

    virtual double readDouble();
    virtual float readFloat();
    virtual Long32 readLong();
    virtual UnsignedLong32 readUnsignedLong();
    virtual std::int64_t readInt64();
    virtual std::uint64_t readUnsignedInt64();
    virtual std::int32_t readInt();
    virtual std::uint32_t readUnsignedInt();
    virtual std::int16_t readShort();
    virtual std::uint16_t readUnsignedShort();
    virtual char readChar();
    virtual signed char readSignedChar();
    virtual unsigned char readUnsignedChar();
    virtual bool readBool();

    /// Raw bytes, never swapped. buffer: room for count bytes.
    virtual void read(std::uint32_t count, void* buffer) = 0;

    virtual void write(const std::vector<std::uint8_t>& bytes) = 0;
    virtual void write(const String& value) = 0;
    virtual void write(double value) = 0;
    virtual void write(float value) = 0;
    virtual void write(Long32 value) = 0;
    virtual void write(UnsignedLong32 value) = 0;
    virtual void write(std::int64_t value) = 0;
    virtual void write(std::uint64_t value) = 0;
    virtual void write(std::int32_t value) = 0;
    virtual void write(std::uint32_t value) = 0;
    virtual void write(std::int16_t value) = 0;
    virtual void write(std::uint16_t value) = 0;
    virtual void write(char value) = 0;
    virtual void write(signed char value) = 0;
    virtual void write(unsigned char value) = 0;
    virtual void write(bool value) = 0;
    /// A pointer would otherwise be written as a bool.
    void write(const char* text) { write(String(text)); }

    /// Raw bytes, never swapped.
    virtual void write(std::uint32_t count, const void* buffer) = 0;

    virtual bool atEnd() const = 0;
    virtual std::uint32_t position() const = 0;
    virtual std::uint32_t size() const = 0;
    /// size() - position(), modulo 2^32 when the position lies past the end of a ByteStream.
    virtual std::uint32_t bytesRemaining() const = 0;
    virtual void seek(std::uint32_t position) = 0;
    /// Seeks to position() + count, modulo 2^32.
    virtual void skip(std::uint32_t count) = 0;

    virtual ~DataStream() = default;

protected:
    DataStream() = default;

    /// Lengths from here on are not believed: they would allocate whatever corrupt data says.
    static constexpr std::uint32_t improbableStringLength = 200'001;
};

} // namespace Util
