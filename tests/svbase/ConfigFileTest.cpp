#include "svbase/util/ConfigFile.h"

#include "support/VirtualSlot.h"
#include "svbase/ConfigFileFixture.h"

#include <bit>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Util::ConfigFile;
using Util::ConfigValue;
using Bytes = std::vector<std::uint8_t>;

TEST(ConfigFile, Its_operations_stand_in_their_published_order) {
    std::vector<std::ptrdiff_t> slots;
    const auto add = [&](auto member) { slots.push_back(virtualSlot(member)); };
    add(&ConfigFile::path);
    add(&ConfigFile::subkeys);
    add(&ConfigFile::valueNames);
    add(&ConfigFile::readString);
    add(&ConfigFile::writeString);
    add(&ConfigFile::readFloat);
    add(&ConfigFile::writeFloat);
    add(&ConfigFile::readBool);
    add(&ConfigFile::writeBool);
    add(&ConfigFile::readInt);
    add(&ConfigFile::writeInt);
    add(&ConfigFile::readUInt64);
    add(&ConfigFile::writeUInt64);
    add(&ConfigFile::readUnsigned);
    add(&ConfigFile::writeUnsigned);
    add(&ConfigFile::readBlob);
    add(static_cast<void (ConfigFile::*)(const String&, const Bytes&)>(&ConfigFile::writeBlob));
    add(static_cast<void (ConfigFile::*)(const String&, const void*, std::uint32_t)>(&ConfigFile::writeBlob));
    add(&ConfigFile::removeValue);
    add(&ConfigFile::removeKey);
    add(&ConfigFile::copyValue);
    add(&ConfigFile::flush);
    for (std::size_t i = 0; i < slots.size(); ++i) {
        EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i));
    }
    EXPECT_TRUE(std::has_virtual_destructor_v<ConfigFile>);
    EXPECT_FALSE(std::is_copy_constructible_v<ConfigFile>);
}

TEST(ConfigFile, A_feature_of_a_product_has_a_base_path_of_its_own) {
    EXPECT_EQ(ConfigFile::basePathOf("Product", "Some feature"), "SOFTWARE\\Product\\Some feature");
    EXPECT_EQ(
        ConfigFile(ConfigFile::basePathOf("Product", "Some feature")).path(),
        "SOFTWARE/Product/Some feature");
}

TEST(ConfigFile, Keeps_its_path_with_slashes_alone) {
    EXPECT_EQ(ConfigFile("SOFTWARE\\Solvane\\x/y").path().toStdString(), "SOFTWARE/Solvane/x/y");
    EXPECT_EQ(ConfigFile("a\\/b", ConfigFile::Hive::ClassesRoot).path().toStdString(), "a//b");
}

TEST(ConfigFile, The_hives_have_their_published_values) {
    EXPECT_EQ(static_cast<std::uint32_t>(ConfigFile::Hive::ClassesRoot), 0x80000000U);
    EXPECT_EQ(static_cast<std::uint32_t>(ConfigFile::Hive::CurrentUser), 0x80000001U);
    EXPECT_EQ(static_cast<std::uint32_t>(ConfigFile::Hive::LocalMachine), 0x80000002U);
    EXPECT_EQ(static_cast<std::uint32_t>(ConfigFile::Hive::Users), 0x80000003U);
}

TEST_F(ConfigFileInSandbox, Reads_the_default_of_what_is_missing) {
    expectDefaults(config, "missing");
    expectDefaults(config, "missing/below");
    expectDefaults(config, "");
    EXPECT_TRUE(config.readString("missing", String()).isNull());
    EXPECT_FALSE(sandbox.hasSubkey("missing")) << "reading creates nothing";
    EXPECT_FALSE(sandbox.hasSubkey(""));
}

TEST_F(ConfigFileInSandbox, ReadBlob_of_a_missing_value_empties_the_vector_and_returns_false) {
    Bytes blob{1, 2, 3};
    EXPECT_FALSE(config.readBlob("missing", blob));
    EXPECT_THAT(blob, IsEmpty());
}

TEST_F(ConfigFileInSandbox, ReadBool_of_a_text_returns_the_default) {
    config.writeString("flag", "1");
    EXPECT_TRUE(config.readBool("flag", true));
    EXPECT_FALSE(config.readBool("flag", false));
}

TEST_F(ConfigFileInSandbox, ReadUInt64_of_a_DWORD_returns_the_default) {
    config.writeUnsigned("count", 5);
    EXPECT_EQ(config.readUInt64("count", 99), 99U);
}

TEST_F(ConfigFileInSandbox, Stores_each_type_in_its_published_form) {
    config.writeString("text", "A\xC3\xA9\xF0\x9D\x84\x9E");
    config.writeFloat("float", 1.5f);
    config.writeBool("true", true);
    config.writeBool("false", false);
    config.writeInt("int", -2);
    config.writeUInt64("uint64", 0x0102030405060708U);
    config.writeUnsigned("unsigned", 0xFFFFFFFEU);
    config.writeBlob("blob", {9, 8, 7});
    config.writeBlob("pointer", "abc", 2);
    config.writeBlob("empty", {});
    const auto stored = [&](const char* name) {
        return sandbox.stored("", name).value_or(ConfigValue{99, {}});
    };
    EXPECT_EQ(stored("text"), (ConfigValue{1, {'A', 0, 0xE9, 0, 0x34, 0xD8, 0x1E, 0xDD, 0, 0}}));
    EXPECT_EQ(stored("float"), (ConfigValue{3, {0, 0, 0xC0, 0x3F}}));
    EXPECT_EQ(stored("true"), (ConfigValue{4, {1, 0, 0, 0}}));
    EXPECT_EQ(stored("false"), (ConfigValue{4, {0, 0, 0, 0}}));
    EXPECT_EQ(stored("int"), (ConfigValue{4, {0xFE, 0xFF, 0xFF, 0xFF}}));
    EXPECT_EQ(stored("uint64"), (ConfigValue{11, {8, 7, 6, 5, 4, 3, 2, 1}}));
    EXPECT_EQ(stored("unsigned"), (ConfigValue{4, {0xFE, 0xFF, 0xFF, 0xFF}}));
    EXPECT_EQ(stored("blob"), (ConfigValue{3, {9, 8, 7}}));
    EXPECT_EQ(stored("pointer"), (ConfigValue{3, {'a', 'b'}}));
    EXPECT_EQ(stored("empty"), (ConfigValue{3, {}}));
}

TEST_F(ConfigFileInSandbox, Texts_come_back) {
    const std::string wide(100'000, 'x');
    for (const std::string text :
         {"", "plain", "\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", "a\nb\tc", "%41 - \"\\/"}) {
        config.writeString("text", String(text));
        const String read = config.readString("text", "default");
        EXPECT_EQ(read.toStdString(), text);
        EXPECT_FALSE(read.isNull());
    }
    config.writeString("text", String(wide));
    EXPECT_EQ(config.readString("text", "").toStdString(), wide);
    config.writeString("text", String());
    EXPECT_EQ(sandbox.stored("", "text"), (ConfigValue{1, {0, 0}}));
}

TEST_F(ConfigFileInSandbox, A_text_without_UTF16_form_is_written_as_the_empty_text) {
    config.writeString("text", "before");
    config.writeString("text", "\xC3(");
    EXPECT_EQ(sandbox.stored("", "text"), (ConfigValue{1, {0, 0}}));
    EXPECT_EQ(config.readString("text", "default").toStdString(), "");
}

TEST_F(ConfigFileInSandbox, Texts_of_other_writers_end_at_their_first_NUL_or_without_one) {
    const auto read = [&](const Bytes& data) {
        sandbox.plant("", "text", {1, data});
        return config.readString("text", "default").toStdString();
    };
    EXPECT_EQ(read({'a', 0, 'b', 0}), "ab");
    EXPECT_EQ(read({'a', 0, 0, 0, 'b', 0}), "a");
    EXPECT_EQ(read({'a', 0, 0, 0, 0, 0}), "a");
    EXPECT_EQ(read({'a', 0, 'b'}), "a");
    EXPECT_EQ(read({'a'}), "");
    EXPECT_EQ(read({}), "");
    EXPECT_EQ(read({0x34, 0xD8, 0, 0}), "") << "half a pair";
}

TEST_F(ConfigFileInSandbox, An_embedded_NUL_ends_a_text_for_its_reader) {
    config.writeString("text", String(std::string("a\0b", 3)));
    EXPECT_EQ(sandbox.stored("", "text"), (ConfigValue{1, {'a', 0, 0, 0, 'b', 0, 0, 0}}));
    EXPECT_EQ(config.readString("text", "").toStdString(), "a");
}

TEST_F(ConfigFileInSandbox, Floats_come_back_bit_by_bit) {
    for (const std::uint32_t bits :
         {0x00000000U, 0x80000000U, 0x3F800000U, 0x7F800000U, 0xFF800000U, 0x00000001U, 0x7F7FFFFFU,
          0x7FC00000U, 0xFFC12345U}) {
        config.writeFloat("float", std::bit_cast<float>(bits));
        EXPECT_EQ(std::bit_cast<std::uint32_t>(config.readFloat("float", 7.0f)), bits);
    }
}

TEST_F(ConfigFileInSandbox, Integers_come_back_over_their_whole_range) {
    for (const std::int32_t value :
         {0, 1, -1, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        config.writeInt("int", value);
        EXPECT_EQ(config.readInt("int", 5), value);
        EXPECT_EQ(config.readUnsigned("int", 5), static_cast<std::uint32_t>(value));
    }
    for (const std::uint64_t value : {std::uint64_t{0}, std::uint64_t{1} << 32U, ~std::uint64_t{0}}) {
        config.writeUInt64("uint64", value);
        EXPECT_EQ(config.readUInt64("uint64", 5), value);
    }
}

TEST_F(ConfigFileInSandbox, Every_number_but_zero_is_true) {
    for (const std::int32_t value : {1, 2, -1, 0x100, std::numeric_limits<std::int32_t>::min()}) {
        config.writeInt("flag", value);
        EXPECT_TRUE(config.readBool("flag", false)) << value;
    }
    config.writeInt("flag", 0);
    EXPECT_FALSE(config.readBool("flag", true));
}

TEST_F(ConfigFileInSandbox, Every_reader_takes_its_own_type_and_size_and_nothing_else) {
    for (std::uint32_t type = 0; type <= 12; ++type) {
        for (std::size_t size = 0; size <= 9; ++size) {
            sandbox.plant("", "value", {type, Bytes(size, 0x41)});
            const bool isDWord = type == 4 && size == 4;
            EXPECT_EQ(config.readString("value", "default") == "default", type != 1) << type << " " << size;
            EXPECT_EQ(config.readFloat("value", -1.0f) != -1.0f, type == 3 && size == 4)
                << type << " " << size;
            EXPECT_EQ(config.readBool("value", false), isDWord) << type << " " << size;
            EXPECT_EQ(config.readInt("value", -1) != -1, isDWord) << type << " " << size;
            EXPECT_EQ(config.readUnsigned("value", 0) != 0, isDWord) << type << " " << size;
            EXPECT_EQ(config.readUInt64("value", 0) != 0, type == 11 && size == 8) << type << " " << size;
            Bytes blob{1};
            EXPECT_EQ(config.readBlob("value", blob), type == 3) << type << " " << size;
            EXPECT_EQ(blob, type == 3 ? Bytes(size, 0x41) : Bytes()) << type << " " << size;
        }
    }
}

TEST_F(ConfigFileInSandbox, Blobs_come_back_and_an_empty_one_is_found) {
    std::mt19937 random(1);
    for (const std::size_t size : {0U, 1U, 4U, 8U, 5000U, 300'000U}) {
        Bytes written(size);
        for (std::uint8_t& byte : written) {
            byte = static_cast<std::uint8_t>(random());
        }
        config.writeBlob("blob", written);
        Bytes read{1, 2, 3};
        EXPECT_TRUE(config.readBlob("blob", read)) << size;
        EXPECT_EQ(read, written) << size;
    }
}

TEST_F(ConfigFileInSandbox, A_blob_of_no_pointer_and_some_bytes_is_not_written) {
    config.writeBlob("blob", nullptr, 5);
    EXPECT_FALSE(sandbox.stored("", "blob"));
    config.writeBlob("blob", nullptr, 0);
    EXPECT_EQ(sandbox.stored("", "blob"), (ConfigValue{3, {}}));
}

TEST_F(ConfigFileInSandbox, Writing_a_vector_goes_by_way_of_writing_a_pointer) {
    struct Logged final : ConfigFile {
        using ConfigFile::ConfigFile;
        using ConfigFile::writeBlob;
        void writeBlob(const String& key, const void* data, std::uint32_t size) override {
            log += key.toStdString() + (data == nullptr ? " null " : " data ") + std::to_string(size) + ";";
        }
        std::string log;
    };
    Logged logged(sandbox.base());
    logged.writeBlob("a", Bytes{1, 2, 3});
    logged.writeBlob("b", Bytes{});
    EXPECT_EQ(logged.log, "a data 3;b null 0;");
}

TEST_F(ConfigFileInSandbox, Writing_another_type_replaces_the_value) {
    config.writeString("value", "text");
    config.writeUInt64("value", 5);
    EXPECT_EQ(config.readUInt64("value", 0), 5U);
    EXPECT_EQ(config.readString("value", "default"), "default");
    EXPECT_THAT(valueNames(config), ElementsAre("value"));
}

TEST_F(ConfigFileInSandbox, Copying_a_value_keeps_type_and_bytes_whatever_they_are) {
    ConfigFile other(sandbox.base() + "/other");
    ConfigFile copies(sandbox.base() + "/copies");
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 4U, 5U, 7U, 11U, 77U}) {
        for (const std::size_t size : {0U, 3U, 4U, 8U, 1000U}) {
            const ConfigValue value{type, Bytes(size, 0x17)};
            sandbox.plant("other\\a/b", "c", value);
            copies.copyValue("a\\/b/c", other);
            const ConfigValue copy = sandbox.stored("copies\\a/b", "c").value_or(ConfigValue{99, {}});
            EXPECT_EQ(copy.type, type) << size;
            EXPECT_EQ(copy.data, value.data) << type << " " << size;
        }
    }
    EXPECT_TRUE(sandbox.stored("other\\a/b", "c")) << "copied, not moved";
}

TEST_F(ConfigFileInSandbox, Copying_what_is_missing_changes_and_creates_nothing) {
    ConfigFile other(sandbox.base() + "/other");
    config.writeInt("kept", 5);
    config.copyValue("kept", other);
    config.copyValue("a/b", other);
    EXPECT_EQ(config.readInt("kept", 0), 5);
    EXPECT_FALSE(sandbox.hasSubkey("a"));
    EXPECT_FALSE(sandbox.hasSubkey("other"));
    config.copyValue("kept", config);
    EXPECT_EQ(config.readInt("kept", 0), 5);
}

TEST_F(ConfigFileInSandbox, Copying_while_the_value_changes_never_makes_a_third_one) {
    const Bytes small(10, 1);
    const Bytes large(2000, 2);
    ConfigFile other(sandbox.base() + "/other");
    ConfigFile copies(sandbox.base() + "/copies");
    other.writeBlob("blob", small);
    std::thread writer([&] {
        ConfigFile sameOther(other.path());
        for (int i = 0; i < 100; ++i) {
            sameOther.writeBlob("blob", i % 2 == 0 ? large : small);
        }
    });
    for (int i = 0; i < 100; ++i) {
        copies.copyValue("blob", other);
        Bytes read;
        if (copies.readBlob("blob", read)) {
            EXPECT_TRUE(read == small || read == large) << read.size();
        }
    }
    writer.join();
    copies.copyValue("blob", other);
    Bytes read;
    EXPECT_TRUE(copies.readBlob("blob", read));
    EXPECT_EQ(read, small);
}

TEST_F(ConfigFileInSandbox, Flushing_does_nothing) {
    config.flush();
    EXPECT_FALSE(sandbox.hasSubkey(""));
}

TEST_F(ConfigFileInSandbox, Changes_show_at_once_in_other_objects) {
    ConfigFile same(config.path());
    config.writeInt("value", 1);
    EXPECT_EQ(same.readInt("value", 0), 1);
    same.writeInt("value", 2);
    EXPECT_EQ(config.readInt("value", 0), 2);
    same.removeValue("value");
    EXPECT_EQ(config.readInt("value", 0), 0);
}

} // namespace
