#include "svbase/util/DataStream.h"

namespace Util {

namespace {

template<class T>
T extract(DataStream& stream) {
    T value{};
    stream.read(value);
    return value;
}

} // namespace

// clang-format off
double DataStream::readDouble() { return extract<double>(*this); }
float DataStream::readFloat() { return extract<float>(*this); }
Long32 DataStream::readLong() { return extract<Long32>(*this); }
UnsignedLong32 DataStream::readUnsignedLong() { return extract<UnsignedLong32>(*this); }
std::int64_t DataStream::readInt64() { return extract<std::int64_t>(*this); }
std::uint64_t DataStream::readUnsignedInt64() { return extract<std::uint64_t>(*this); }
std::int32_t DataStream::readInt() { return extract<std::int32_t>(*this); }
std::uint32_t DataStream::readUnsignedInt() { return extract<std::uint32_t>(*this); }
std::int16_t DataStream::readShort() { return extract<std::int16_t>(*this); }
std::uint16_t DataStream::readUnsignedShort() { return extract<std::uint16_t>(*this); }
char DataStream::readChar() { return extract<char>(*this); }
signed char DataStream::readSignedChar() { return extract<signed char>(*this); }
unsigned char DataStream::readUnsignedChar() { return extract<unsigned char>(*this); }
bool DataStream::readBool() { return extract<bool>(*this); }
// clang-format on

} // namespace Util
