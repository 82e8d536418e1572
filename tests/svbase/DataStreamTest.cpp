#include "svbase/util/DataStream.h"

#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

namespace Util {
namespace {

template<class Value>
std::ptrdiff_t slotOfRead() {
    return virtualSlot(static_cast<void (DataStream::*)(Value&)>(&DataStream::read));
}

template<class Value>
std::ptrdiff_t slotOfWrite() {
    return virtualSlot(static_cast<void (DataStream::*)(Value)>(&DataStream::write));
}

std::vector<std::ptrdiff_t> behind(std::ptrdiff_t last, std::size_t count) {
    return slotsFrom(last + 1, count);
}

TEST(DataStream, Its_properties_stand_first) {
    EXPECT_EQ(
        virtualSlots(
            &DataStream::byteOrder, &DataStream::setByteOrder, &DataStream::writesStringLength,
            &DataStream::setWritesStringLength),
        slotsFrom(0, 4));
}

TEST(DataStream, Extraction_by_reference_follows_in_the_order_of_its_types) {
    const std::vector<std::ptrdiff_t> slots{
        slotOfRead<std::vector<std::uint8_t>>(),
        slotOfRead<String>(),
        slotOfRead<double>(),
        slotOfRead<float>(),
        slotOfRead<Long32>(),
        slotOfRead<UnsignedLong32>(),
        slotOfRead<std::int64_t>(),
        slotOfRead<std::uint64_t>(),
        slotOfRead<std::int32_t>(),
        slotOfRead<std::uint32_t>(),
        slotOfRead<std::int16_t>(),
        slotOfRead<std::uint16_t>(),
        slotOfRead<char>(),
        slotOfRead<signed char>(),
        slotOfRead<unsigned char>(),
        slotOfRead<bool>(),
    };
    EXPECT_EQ(slots, behind(virtualSlot(&DataStream::setWritesStringLength), 16));
}

TEST(DataStream, Extraction_by_value_and_of_raw_bytes_follows_that_by_reference) {
    const std::ptrdiff_t rawRead =
        virtualSlot(static_cast<void (DataStream::*)(std::uint32_t, void*)>(&DataStream::read));
    EXPECT_EQ(
        virtualSlots(
            &DataStream::readDouble, &DataStream::readFloat, &DataStream::readLong,
            &DataStream::readUnsignedLong, &DataStream::readInt64, &DataStream::readUnsignedInt64,
            &DataStream::readInt, &DataStream::readUnsignedInt, &DataStream::readShort,
            &DataStream::readUnsignedShort, &DataStream::readChar, &DataStream::readSignedChar,
            &DataStream::readUnsignedChar, &DataStream::readBool),
        behind(slotOfRead<bool>(), 14));
    EXPECT_EQ(rawRead, virtualSlot(&DataStream::readBool) + 1);
}

TEST(DataStream, Insertion_follows_in_the_same_order_with_the_raw_bytes_last) {
    const std::vector<std::ptrdiff_t> slots{
        slotOfWrite<const std::vector<std::uint8_t>&>(),
        slotOfWrite<const String&>(),
        slotOfWrite<double>(),
        slotOfWrite<float>(),
        slotOfWrite<Long32>(),
        slotOfWrite<UnsignedLong32>(),
        slotOfWrite<std::int64_t>(),
        slotOfWrite<std::uint64_t>(),
        slotOfWrite<std::int32_t>(),
        slotOfWrite<std::uint32_t>(),
        slotOfWrite<std::int16_t>(),
        slotOfWrite<std::uint16_t>(),
        slotOfWrite<char>(),
        slotOfWrite<signed char>(),
        slotOfWrite<unsigned char>(),
        slotOfWrite<bool>(),
        virtualSlot(static_cast<void (DataStream::*)(std::uint32_t, const void*)>(&DataStream::write)),
    };
    EXPECT_EQ(slots, behind(virtualSlot(&DataStream::readBool) + 1, 17));
}

TEST(DataStream, The_position_follows_and_the_destructor_stands_last) {
    struct Extended : DataStream {
        virtual void added() {}
    };
    const std::ptrdiff_t lastWrite =
        virtualSlot(static_cast<void (DataStream::*)(std::uint32_t, const void*)>(&DataStream::write));
    EXPECT_EQ(
        virtualSlots(
            &DataStream::atEnd, &DataStream::position, &DataStream::size, &DataStream::bytesRemaining,
            &DataStream::seek, &DataStream::skip),
        behind(lastWrite, 6));
    EXPECT_EQ(virtualSlot(&Extended::added), virtualSlot(&DataStream::skip) + 1 + destructorSlots);
}

} // namespace
} // namespace Util
