#include "svbase/util/FileStream.h"

#include "svbase/util/ByteStream.h"
#include "svbase/util/Exception.h"

#include "svbase/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using Util::ByteOrder;
using Util::ByteStream;
using Util::DataStream;
using Util::File;
using Util::FileStream;
using Bytes = std::vector<std::uint8_t>;

template<class Action>
std::string thrown(Action action) {
    try {
        action();
    } catch (const Util::Exception::DataStreamIO& exception) {
        EXPECT_TRUE(exception.file().endsWith("FileStream.cpp"));
        EXPECT_GT(exception.line(), 0);
        return exception.message().toStdString();
    }
    return "nothing thrown";
}

class FileStreamTest : public testing::Test {
protected:
    FileStream open(const std::string& bytes, unsigned mode = File::Read) {
        return FileStream(directory.file(u8"a", bytes), mode);
    }

    TemporaryDirectory directory;
};

TEST_F(FileStreamTest, A_file_that_does_not_open_throws_with_the_reason) {
    EXPECT_EQ(
        thrown([&] { FileStream(directory / u8"missing", File::Read); }),
        "Can't open file: Error opening file");
}

TEST_F(FileStreamTest, Begins_at_the_start_with_all_defaults) {
    const FileStream stream = open("abc");
    EXPECT_EQ(stream.byteOrder(), ByteOrder::Processor);
    EXPECT_TRUE(stream.writesStringLength());
    EXPECT_EQ(stream.position(), 0U);
    EXPECT_EQ(stream.size(), 3U);
    EXPECT_EQ(stream.bytesRemaining(), 3U);
    EXPECT_FALSE(stream.atEnd());
}

TEST_F(FileStreamTest, The_destructor_closes_the_file) {
    {
        FileStream stream(directory / u8"a", File::Write);
        stream.write(std::uint16_t{0x4241});
    }
    EXPECT_EQ(directory.bytes(u8"a"), "AB");
}

template<class T>
std::string cutShort(FileStream stream, T before) {
    T value = before;
    const std::string message = thrown([&] { stream.read(value); });
    EXPECT_EQ(value, before);
    return message;
}

TEST_F(FileStreamTest, A_failed_read_prints_the_value_that_the_target_had) {
    const std::string tail = ", only read 0 bytes";
    EXPECT_EQ(cutShort(open(""), 42), "Can't extract 42: Attempt to read 4 bytes" + tail);
    EXPECT_EQ(cutShort(open(""), std::int64_t{-7}), "Can't extract -7: Attempt to read 8 bytes" + tail);
    EXPECT_EQ(cutShort(open(""), std::uint16_t{9}), "Can't extract 9: Attempt to read 2 bytes" + tail);
    EXPECT_EQ(cutShort(open(""), 'A'), "Can't extract 65: Attempt to read 1 bytes" + tail);
    EXPECT_EQ(cutShort(open(""), true), "Can't extract 1: Attempt to read 1 bytes" + tail);
    EXPECT_EQ(cutShort(open(""), 1.5F), "Can't extract 1.500000: Attempt to read 4 bytes" + tail);
    EXPECT_EQ(cutShort(open(""), 2.5), "Can't extract 2.500000: Attempt to read 8 bytes" + tail);
    EXPECT_EQ(cutShort(open(""), Util::Long32(-3)), "Can't extract -3: Attempt to read 4 bytes" + tail);
}

TEST_F(FileStreamTest, A_by_value_read_has_zero_before) {
    FileStream stream = open("abc");
    EXPECT_EQ(
        thrown([&] { stream.readInt(); }), "Can't extract 0: Attempt to read 4 bytes, only read 3 bytes");
}

TEST_F(FileStreamTest, A_thrown_read_has_consumed_what_there_was) {
    FileStream stream = open("abc");
    EXPECT_NE(thrown([&] { stream.readInt(); }), "nothing thrown");
    EXPECT_EQ(stream.position(), 3U);
    EXPECT_TRUE(stream.atEnd());
}

TEST_F(FileStreamTest, Failed_reads_of_bytes_tell_their_count) {
    FileStream stream = open("abc");
    Bytes bytes(5);
    EXPECT_EQ(
        thrown([&] { stream.read(bytes); }),
        "Can't extract 5 bytes: Attempt to read 5 bytes, only read 3 bytes");
    stream.seek(0);
    EXPECT_EQ(
        thrown([&] { stream.read(5, bytes.data()); }),
        "Can't read 5 bytes: Attempt to read 5 bytes, only read 3 bytes");
}

TEST_F(FileStreamTest, An_empty_vector_at_the_end_reads_nothing) {
    FileStream stream = open("");
    Bytes none;
    EXPECT_NO_THROW(stream.read(none));
    EXPECT_NO_THROW(stream.read(0, nullptr));
}

TEST_F(FileStreamTest, Failed_writes_tell_what_was_to_be_written) {
    FileStream stream = open("abc");
    const std::string tail = " bytes, only wrote 0 bytes";
    EXPECT_EQ(thrown([&] { stream.write(42); }), "Can't insert 42: Attempt to write 4" + tail);
    EXPECT_EQ(thrown([&] { stream.write(1.5F); }), "Can't insert 1.500000: Attempt to write 4" + tail);
    EXPECT_EQ(thrown([&] { stream.write(Bytes{1, 2}); }), "Can't insert 2 bytes: Attempt to write 2" + tail);
    EXPECT_EQ(thrown([&] { stream.write(3, "abc"); }), "Can't write 3 bytes: Attempt to write 3" + tail);
    EXPECT_EQ(thrown([&] { stream.write("abc"); }), "Can't insert 3: Attempt to write 4" + tail);
    stream.setWritesStringLength(false);
    EXPECT_EQ(thrown([&] { stream.write("abc"); }), "Can't insert abc: Attempt to write 3" + tail);
}

TEST_F(FileStreamTest, An_improbable_String_length_throws) {
    FileStream stream = open(std::string("\x41\x0D\x03\0", 4) + std::string(200'001, 'x'));
    String text("kept");
    EXPECT_EQ(thrown([&] { stream.read(text); }), "Improbable string length 200001");
    EXPECT_EQ(text.toStdString(), "kept");
}

TEST_F(FileStreamTest, A_String_of_200000_bytes_is_plausible) {
    FileStream stream = open(std::string("\x40\x0D\x03\0", 4) + std::string(200'000, 'x'));
    String text;
    stream.read(text);
    EXPECT_EQ(text.length(), 200'000U);
}

TEST_F(FileStreamTest, A_String_cut_short_tells_the_file_error) {
    FileStream stream = open(std::string("\x05\0\0\0ab", 6));
    String text;
    EXPECT_EQ(
        thrown([&] { stream.read(text); }),
        "Can't extract string: Attempt to read 5 bytes, only read 2 bytes");
}

TEST_F(FileStreamTest, The_text_of_the_target_stands_before_the_file_error) {
    FileStream stream = open(std::string("\x05\0\0\0ab", 6));
    String text("old ");
    EXPECT_EQ(
        thrown([&] { stream.read(text); }),
        "Can't extract string: old Attempt to read 5 bytes, only read 2 bytes");
    EXPECT_EQ(text.toStdString(), "old ");
}

TEST_F(FileStreamTest, Strings_read_as_on_a_ByteStream) {
    FileStream stream = open(std::string("\0\0\0\0\x03\0\0\0a\0b\x02\0\0\0cd", 17));
    String text("before");
    stream.read(text);
    EXPECT_TRUE(text.isEmpty());
    EXPECT_FALSE(text.isNull());
    stream.read(text);
    EXPECT_EQ(text.toStdString(), "a");
    stream.read(text);
    EXPECT_EQ(text.toStdString(), "cd");
    EXPECT_TRUE(stream.atEnd());
}

TEST_F(FileStreamTest, Seek_past_the_end_leaves_nothing_remaining) {
    FileStream stream = open("abc");
    stream.seek(10);
    EXPECT_EQ(stream.position(), 10U);
    EXPECT_EQ(stream.bytesRemaining(), 0U);
    EXPECT_TRUE(stream.atEnd());
    stream.seek(1);
    stream.skip(1);
    EXPECT_EQ(stream.readChar(), 'c');
}

// One random operation on a stream; what it did as a text.
std::string operate(DataStream& stream, std::mt19937& random) {
    const std::uint32_t number = static_cast<std::uint32_t>(random());
    switch (random() % 12) {
    case 0:
        stream.write(number);
        return "u32";
    case 1:
        stream.write(static_cast<std::int16_t>(number));
        return "i16";
    case 2:
        stream.write(static_cast<double>(number) / 3);
        return "double";
    case 3:
        stream.write(static_cast<float>(number) / 3);
        return "float";
    case 4:
        stream.write(std::uint64_t{number} * number);
        return "u64";
    case 5:
        stream.write(String(std::string(number % 20, 's')));
        return "string";
    case 6:
        stream.write(Bytes(number % 9, static_cast<std::uint8_t>(number)));
        return "bytes";
    case 7:
        stream.seek(stream.size() == 0 ? 0 : number % stream.size());
        return "seek";
    case 8:
        stream.setByteOrder(static_cast<ByteOrder>(number % 4));
        return "order";
    case 9:
        stream.setWritesStringLength(number % 2 == 0);
        return "length";
    case 10:
        return stream.bytesRemaining() >= 8 ? std::to_string(stream.readUnsignedInt64()) : "none";
    default:
        return stream.bytesRemaining() >= 2 ? std::to_string(stream.readShort()) : "none";
    }
}

TEST_F(FileStreamTest, Does_the_same_as_a_ByteStream) {
    for (std::mt19937::result_type seed = 0; seed < 20; ++seed) {
        ByteStream memory;
        {
            FileStream file(directory / u8"same", File::ReadWrite | File::Truncate);
            std::mt19937 first(seed);
            std::mt19937 second(seed);
            for (int step = 0; step < 200; ++step) {
                ASSERT_EQ(operate(memory, first), operate(file, second));
                ASSERT_EQ(memory.position(), file.position());
                ASSERT_EQ(memory.size(), file.size());
                ASSERT_EQ(memory.bytesRemaining(), file.bytesRemaining());
                ASSERT_EQ(memory.atEnd(), file.atEnd());
            }
        }
        const std::string bytes = directory.bytes(u8"same");
        ASSERT_EQ(Bytes(bytes.begin(), bytes.end()), memory.data()) << seed;
    }
}

} // namespace
