#include "svbase/util/ByteStream.h"

#include "support/AllocationCount.h"
#include "svbase/util/Exception.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace {

using Util::ByteOrder;
using Util::ByteStream;
using Bytes = std::vector<std::uint8_t>;

constexpr auto someOtherOrder = static_cast<ByteOrder>(7);

template<class Action>
std::string thrown(Action action) {
    try {
        action();
    } catch (const Util::Exception::DataStreamIO& exception) {
        EXPECT_TRUE(exception.file().endsWith("ByteStream.cpp"));
        EXPECT_GT(exception.line(), 0);
        return exception.message().toStdString();
    }
    return "nothing thrown";
}

Bytes withLength(std::uint32_t length, std::size_t following) {
    Bytes bytes(4 + following, 'x');
    for (unsigned i = 0; i < 4; ++i) {
        bytes[i] = static_cast<std::uint8_t>(length >> (8 * i));
    }
    return bytes;
}

template<class T>
Bytes written(T value, ByteOrder order) {
    ByteStream stream;
    stream.setByteOrder(order);
    stream.write(value);
    return stream.data();
}

TEST(ByteStream, Begins_empty_with_all_defaults) {
    const ByteStream stream;
    EXPECT_EQ(stream.byteOrder(), ByteOrder::Processor);
    EXPECT_TRUE(stream.writesStringLength());
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(stream.size(), 0U);
    EXPECT_EQ(stream.bytesRemaining(), 0U);
    EXPECT_TRUE(stream.atEnd());
}

TEST(ByteStream, Begins_at_the_start_of_the_bytes_it_takes_over) {
    ByteStream stream(Bytes{7, 8, 9});
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(stream.size(), 3U);
    EXPECT_EQ(stream.bytesRemaining(), 3U);
    EXPECT_EQ(stream.readUnsignedChar(), 7);
    EXPECT_EQ(stream.position(), 1U);
    EXPECT_EQ(stream.bytesRemaining(), 2U);
    EXPECT_FALSE(stream.atEnd());
}

TEST(ByteStream, Values_lie_on_the_stream_as_recorded) {
    // Packed by another program, little-endian; orders 0 and 1 are the same.
    for (const ByteOrder order : {ByteOrder::Processor, ByteOrder::LittleEndian}) {
        EXPECT_EQ(written(1.5, order), (Bytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}));
        EXPECT_EQ(written(-2.25F, order), (Bytes{0, 0, 0x10, 0xC0}));
        EXPECT_EQ(written(Util::Long32(-2), order), (Bytes{0xFE, 0xFF, 0xFF, 0xFF}));
        EXPECT_EQ(written(Util::UnsignedLong32(0x01020304), order), (Bytes{4, 3, 2, 1}));
        EXPECT_EQ(written(std::int64_t{-2}, order), (Bytes{0xFE, 255, 255, 255, 255, 255, 255, 255}));
        EXPECT_EQ(written(std::uint64_t{0x0102030405060708}, order), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
        EXPECT_EQ(written(std::int32_t{-2}, order), (Bytes{0xFE, 0xFF, 0xFF, 0xFF}));
        EXPECT_EQ(written(std::uint32_t{0x01020304}, order), (Bytes{4, 3, 2, 1}));
        EXPECT_EQ(written(std::int16_t{-2}, order), (Bytes{0xFE, 0xFF}));
        EXPECT_EQ(written(std::uint16_t{0x0102}, order), (Bytes{2, 1}));
        EXPECT_EQ(written('A', order), (Bytes{65}));
        EXPECT_EQ(written(static_cast<signed char>(-1), order), (Bytes{255}));
        EXPECT_EQ(written(static_cast<unsigned char>(200), order), (Bytes{200}));
        EXPECT_EQ(written(true, order), (Bytes{1}));
        EXPECT_EQ(written(false, order), (Bytes{0}));
    }
}

TEST(ByteStream, Every_other_order_swaps_floats_as_well_as_integers) {
    for (const ByteOrder order : {ByteOrder::BigEndian, someOtherOrder}) {
        EXPECT_EQ(written(1.5, order), (Bytes{0x3F, 0xF8, 0, 0, 0, 0, 0, 0}));
        EXPECT_EQ(written(-2.25F, order), (Bytes{0xC0, 0x10, 0, 0}));
        EXPECT_EQ(written(Util::UnsignedLong32(0x01020304), order), (Bytes{1, 2, 3, 4}));
        EXPECT_EQ(written(std::uint64_t{0x0102030405060708}, order), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
        EXPECT_EQ(written(std::int32_t{-2}, order), (Bytes{0xFF, 0xFF, 0xFF, 0xFE}));
        EXPECT_EQ(written(std::uint16_t{0x0102}, order), (Bytes{1, 2}));
        EXPECT_EQ(written('A', order), (Bytes{65}));
    }
}

template<class T>
T readBack(T value, ByteOrder order) {
    ByteStream stream(written(value, order));
    stream.setByteOrder(order);
    T result{};
    stream.read(result);
    EXPECT_TRUE(stream.atEnd());
    return result;
}

TEST(ByteStream, Values_read_back_as_written_in_any_order) {
    std::mt19937_64 random(2);
    for (const ByteOrder order :
         {ByteOrder::Processor, ByteOrder::LittleEndian, ByteOrder::BigEndian, someOtherOrder}) {
        for (int round = 0; round < 50; ++round) {
            const std::uint64_t bits = random();
            EXPECT_EQ(readBack(bits, order), bits);
            EXPECT_EQ(readBack(static_cast<std::int64_t>(bits), order), static_cast<std::int64_t>(bits));
            EXPECT_EQ(readBack(static_cast<std::uint32_t>(bits), order), static_cast<std::uint32_t>(bits));
            EXPECT_EQ(readBack(static_cast<std::int32_t>(bits), order), static_cast<std::int32_t>(bits));
            EXPECT_EQ(readBack(static_cast<std::uint16_t>(bits), order), static_cast<std::uint16_t>(bits));
            EXPECT_EQ(readBack(static_cast<std::int16_t>(bits), order), static_cast<std::int16_t>(bits));
            EXPECT_EQ(readBack(static_cast<char>(bits), order), static_cast<char>(bits));
            EXPECT_EQ(readBack(static_cast<signed char>(bits), order), static_cast<signed char>(bits));
            EXPECT_EQ(readBack(static_cast<unsigned char>(bits), order), static_cast<unsigned char>(bits));
            const Util::Long32 wide = static_cast<std::int32_t>(bits);
            EXPECT_EQ(static_cast<std::int32_t>(readBack(wide, order)), static_cast<std::int32_t>(wide));
        }
        EXPECT_EQ(readBack(std::numeric_limits<double>::denorm_min(), order), 4.9406564584124654e-324);
        EXPECT_EQ(readBack(-1.25F, order), -1.25F);
        EXPECT_TRUE(std::isnan(readBack(std::nanf(""), order)));
        EXPECT_EQ(readBack(true, order), true);
    }
}

TEST(ByteStream, By_value_forms_read_the_same) {
    ByteStream stream;
    stream.setByteOrder(ByteOrder::BigEndian);
    stream.write(1.5);
    stream.write(2.5F);
    stream.write(Util::Long32(-3));
    stream.write(Util::UnsignedLong32(4));
    stream.write(std::int64_t{-5});
    stream.write(std::uint64_t{6});
    stream.write(std::int32_t{-7});
    stream.write(std::uint32_t{8});
    stream.write(std::int16_t{-9});
    stream.write(std::uint16_t{10});
    stream.write('c');
    stream.write(static_cast<signed char>(-12));
    stream.write(static_cast<unsigned char>(13));
    stream.write(true);
    EXPECT_EQ(stream.size(), 8U + 4 + 4 + 4 + 8 + 8 + 4 + 4 + 2 + 2 + 1 + 1 + 1 + 1);
    stream.seek(0);
    EXPECT_EQ(stream.readDouble(), 1.5);
    EXPECT_EQ(stream.readFloat(), 2.5F);
    EXPECT_EQ(static_cast<std::int32_t>(stream.readLong()), -3);
    EXPECT_EQ(static_cast<std::uint32_t>(stream.readUnsignedLong()), 4U);
    EXPECT_EQ(stream.readInt64(), -5);
    EXPECT_EQ(stream.readUnsignedInt64(), 6U);
    EXPECT_EQ(stream.readInt(), -7);
    EXPECT_EQ(stream.readUnsignedInt(), 8U);
    EXPECT_EQ(stream.readShort(), -9);
    EXPECT_EQ(stream.readUnsignedShort(), 10);
    EXPECT_EQ(stream.readChar(), 'c');
    EXPECT_EQ(stream.readSignedChar(), -12);
    EXPECT_EQ(stream.readUnsignedChar(), 13);
    EXPECT_TRUE(stream.readBool());
    EXPECT_TRUE(stream.atEnd());
}

TEST(ByteStream, Any_byte_but_zero_is_true) {
    ByteStream stream(Bytes{2, 0, 255});
    EXPECT_TRUE(stream.readBool());
    EXPECT_FALSE(stream.readBool());
    EXPECT_TRUE(stream.readBool());
}

TEST(ByteStream, A_value_that_does_not_fit_throws_and_leaves_position_and_target) {
    ByteStream stream(Bytes(10));
    stream.seek(7);
    std::int32_t value = 42;
    EXPECT_EQ(thrown([&] { stream.read(value); }), "Can't extract 4 bytes at position 7, total size 10");
    EXPECT_EQ(stream.position(), 7U);
    EXPECT_EQ(value, 42);
}

TEST(ByteStream, Seek_past_the_end_is_unchecked_and_the_next_read_throws) {
    ByteStream stream(Bytes(10));
    stream.seek(1000);
    EXPECT_EQ(stream.position(), 1000U);
    EXPECT_TRUE(stream.atEnd());
    EXPECT_EQ(stream.bytesRemaining(), 10U - 1000U);
    EXPECT_EQ(thrown([&] { stream.readChar(); }), "Can't extract 1 bytes at position 1000, total size 10");
}

TEST(ByteStream, A_position_near_the_limit_does_not_wrap_into_the_data) {
    ByteStream stream(Bytes(10));
    stream.seek(0xFFFFFFFF);
    EXPECT_EQ(
        thrown([&] { stream.readDouble(); }), "Can't extract 8 bytes at position 4294967295, total size 10");
    std::uint8_t buffer[2];
    EXPECT_EQ(thrown([&] { stream.read(2, buffer); }), "Can't read 2 bytes");
}

TEST(ByteStream, Skip_moves_and_wraps_at_32_bits) {
    ByteStream stream(Bytes(10));
    stream.skip(4);
    EXPECT_EQ(stream.position(), 4U);
    stream.skip(0xFFFFFFFF);
    EXPECT_EQ(stream.position(), 3U);
}

TEST(ByteStream, A_byte_vector_is_filled_at_its_own_size) {
    ByteStream stream(Bytes{1, 2, 3, 4});
    Bytes bytes(3);
    stream.read(bytes);
    EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
    Bytes more(2, 9);
    EXPECT_EQ(thrown([&] { stream.read(more); }), "Can't read 2 bytes");
    EXPECT_EQ(more, (Bytes{9, 9}));
    EXPECT_EQ(stream.position(), 3U);
}

TEST(ByteStream, An_empty_vector_at_the_end_reads_nothing) {
    ByteStream stream(Bytes{1});
    Bytes none;
    stream.seek(1);
    EXPECT_NO_THROW(stream.read(none));
    stream.seek(5);
    EXPECT_NO_THROW(stream.read(none));
    EXPECT_NO_THROW(stream.read(0, nullptr));
}

TEST(ByteStream, Raw_bytes_are_never_swapped) {
    ByteStream stream;
    stream.setByteOrder(ByteOrder::BigEndian);
    const std::uint8_t out[] = {1, 2, 3};
    stream.write(3, out);
    stream.write(Bytes{4, 5});
    EXPECT_EQ(stream.data(), (Bytes{1, 2, 3, 4, 5}));
    stream.seek(1);
    std::uint8_t in[4] = {};
    stream.read(4, in);
    EXPECT_EQ(in[0], 2);
    EXPECT_EQ(in[3], 5);
}

TEST(ByteStream, Writing_in_the_middle_overwrites_and_keeps_the_size) {
    ByteStream stream(Bytes(10, 7));
    stream.seek(2);
    stream.write(std::uint16_t{0x0201});
    EXPECT_EQ(stream.size(), 10U);
    EXPECT_EQ(stream.data(), (Bytes{7, 7, 1, 2, 7, 7, 7, 7, 7, 7}));
    EXPECT_EQ(stream.position(), 4U);
}

TEST(ByteStream, Writing_over_the_end_grows) {
    ByteStream stream(Bytes{7, 7, 7});
    stream.seek(2);
    stream.write(std::uint16_t{0x0201});
    EXPECT_EQ(stream.data(), (Bytes{7, 7, 1, 2}));
}

TEST(ByteStream, Writing_past_the_end_fills_up_with_zeros) {
    ByteStream stream(Bytes{7});
    stream.seek(3);
    stream.write('A');
    EXPECT_EQ(stream.data(), (Bytes{7, 0, 0, 65}));
}

TEST(ByteStream, Writing_beyond_32_bits_of_position_throws) {
    ByteStream stream(Bytes{7});
    stream.seek(0xFFFFFFFF);
    EXPECT_EQ(thrown([&] { stream.write('A'); }), "Can't write 1 bytes");
    EXPECT_EQ(stream.size(), 1U);
}

TEST(ByteStream, A_String_is_its_length_and_its_bytes) {
    ByteStream stream;
    stream.write(String("h\xC3\xA9"));
    EXPECT_EQ(stream.data(), (Bytes{3, 0, 0, 0, 'h', 0xC3, 0xA9}));
    stream.seek(0);
    String text;
    stream.read(text);
    EXPECT_EQ(text.toStdString(), "h\xC3\xA9");
}

TEST(ByteStream, A_literal_is_written_as_a_String) {
    ByteStream stream;
    stream.write("ab");
    EXPECT_EQ(stream.data(), (Bytes{2, 0, 0, 0, 'a', 'b'}));
}

TEST(ByteStream, The_length_of_a_String_is_swapped_with_the_order) {
    ByteStream stream;
    stream.setByteOrder(ByteOrder::BigEndian);
    stream.write(String("ab"));
    EXPECT_EQ(stream.data(), (Bytes{0, 0, 0, 2, 'a', 'b'}));
    stream.seek(0);
    String text;
    stream.read(text);
    EXPECT_EQ(text.toStdString(), "ab");
}

TEST(ByteStream, The_length_flag_governs_writing_only) {
    ByteStream stream;
    stream.setWritesStringLength(false);
    stream.write(String("ab"));
    stream.write(String());
    EXPECT_EQ(stream.data(), (Bytes{'a', 'b'}));
    ByteStream source(Bytes{1, 0, 0, 0, 'z'});
    source.setWritesStringLength(false);
    String text;
    source.read(text);
    EXPECT_EQ(text.toStdString(), "z");
}

TEST(ByteStream, Null_and_empty_Strings_are_a_length_of_zero) {
    ByteStream stream;
    stream.write(String());
    stream.write(String(""));
    EXPECT_EQ(stream.data(), Bytes(8));
}

TEST(ByteStream, A_length_of_zero_reads_as_the_empty_non_null_String) {
    ByteStream stream(Bytes(4));
    String text("before");
    stream.read(text);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_FALSE(text.isNull());
    EXPECT_TRUE(stream.atEnd());
}

TEST(ByteStream, A_String_stops_at_an_embedded_NUL_and_all_its_bytes_are_consumed) {
    ByteStream stream(Bytes{4, 0, 0, 0, 'a', 0, 'b', 'c', 0x55});
    String text;
    stream.read(text);
    EXPECT_EQ(text.toStdString(), "a");
    EXPECT_EQ(stream.readUnsignedChar(), 0x55);
    ByteStream first(Bytes{1, 0, 0, 0, 0});
    first.read(text);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_FALSE(text.isNull());
}

TEST(ByteStream, A_String_of_200000_bytes_is_plausible) {
    ByteStream stream(withLength(200'000, 200'000));
    String text;
    stream.read(text);
    EXPECT_EQ(text.length(), 200'000U);
}

TEST(ByteStream, A_String_of_200001_bytes_is_not) {
    ByteStream stream(withLength(200'001, 200'001));
    String text("kept");
    EXPECT_EQ(thrown([&] { stream.read(text); }), "Improbable string length 200001");
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(text.toStdString(), "kept");
}

TEST(ByteStream, The_largest_length_is_improbable) {
    ByteStream stream(withLength(0xFFFFFFFF, 0));
    String text;
    EXPECT_EQ(thrown([&] { stream.read(text); }), "Improbable string length 4294967295");
}

TEST(ByteStream, A_String_that_does_not_fit_throws_and_leaves_the_position) {
    ByteStream stream(withLength(5, 4));
    String text;
    EXPECT_EQ(thrown([&] { stream.read(text); }), "Can't read string of length 5");
    EXPECT_EQ(stream.position(), 0U);
}

TEST(ByteStream, A_String_without_room_for_its_length_throws) {
    ByteStream stream(Bytes(3));
    String text;
    EXPECT_EQ(thrown([&] { stream.read(text); }), "Can't extract 4 bytes at position 0, total size 3");
}

TEST(ByteStream, Writing_into_reserved_room_allocates_nothing) {
    ByteStream stream;
    stream.write(std::uint32_t{7});
    stream.reserve(100);
    EXPECT_EQ(stream.data(), (Bytes{7, 0, 0, 0}));
    EXPECT_EQ(stream.position(), 4U);
    const std::uint64_t before = AllocationCount();
    for (std::uint32_t i = 1; i < 25; ++i) {
        stream.write(i);
    }
    EXPECT_EQ(AllocationCount(), before);
    EXPECT_EQ(stream.size(), 100U);
    stream.reserve(1);
    EXPECT_EQ(stream.size(), 100U);
}

} // namespace
