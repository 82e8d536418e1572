#include "protocol/WorkItem.h"
#include "Hex.h"

#include <msgpack/object.hpp>
#include <msgpack/unpack.hpp>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace Tarvik;

namespace {

WorkItem decode(const std::string& bytes) {
    return DecodeWorkItem(bytes.data(), bytes.size());
}

WorkItem decodeHex(std::string_view hex) {
    return decode(fromHex(hex));
}

std::vector<std::string> texts(const std::set<PluginIdentifier>& identifiers) {
    std::vector<std::string> list;
    for (const PluginIdentifier& identifier : identifiers) {
        list.push_back(identifier.ToString().toStdString());
    }
    return list;
}

std::string bytesOf(const msgpack::sbuffer& buffer) {
    return std::string(buffer.data(), buffer.size());
}

// Recorded from Python's msgpack.packb.

/// [["VST: 'abcd',C:\Plugins\A.dll"], [["VST: 0x00000000,C:\B.dll"], ["AU: 'aufx','abcd','Tarv'"]], "Vendor",
/// "Product"]
constexpr const char* full =
    "9491bc5653543a202761626364272c433a5c506c7567696e735c412e646c6c9291b85653543a20307830303030303030302c433a"
    "5c422e646c6c91b841553a202761756678272c2761626364272c275461727627a656656e646f72a750726f64756374";

/// The same kind of item with all texts as bytes; one known, "DX: 00112233-4455-6677-8899-AABBCCDDEEFF".
constexpr const char* binary =
    "9491c41c5653543a202761626364272c433a5c506c7567696e735c412e646c6c9191c42844583a2030303131323233332d343435"
    "352d363637372d383839392d414142424343444445454646c40656656e646f72c40750726f64756374";

} // namespace

TEST(WorkItem, Recorded_bytes_decode_to_every_field) {
    const WorkItem item = decodeHex(full);
    EXPECT_EQ(item.identifier.ToString(), "VST: 'abcd',C:\\Plugins\\A.dll");
    EXPECT_EQ(item.identifier.vstId, 0x64636261u);
    EXPECT_EQ(
        texts(item.knownPlugins),
        (std::vector<std::string>{"AU: 'aufx','abcd','Tarv'", "VST: 0x00000000,C:\\B.dll"}));
    EXPECT_EQ(item.hostVendor, "Vendor");
    EXPECT_EQ(item.hostProduct, "Product");
}

TEST(WorkItem, Texts_may_be_bin) {
    const WorkItem item = decodeHex(binary);
    EXPECT_EQ(item.identifier.ToString(), "VST: 'abcd',C:\\Plugins\\A.dll");
    EXPECT_EQ(
        texts(item.knownPlugins), (std::vector<std::string>{"DX: 00112233-4455-6677-8899-AABBCCDDEEFF"}));
    EXPECT_EQ(item.hostVendor, "Vendor");
    EXPECT_EQ(item.hostProduct, "Product");
}

TEST(WorkItem, Texts_may_have_headers_of_any_width) {
    for (const std::string header : {"a5", "d905", "da0005", "db00000005", "c405", "c50005", "c600000005"}) {
        EXPECT_EQ(decodeHex("93 91a0 90" + header + "68656c6c6f").hostVendor, "hello") << header;
    }
}

TEST(WorkItem, Arrays_may_have_headers_of_any_width) {
    for (const std::string header : {"94", "dc0004", "dd00000004"}) {
        EXPECT_EQ(decodeHex(header + "91a44e6f6e65 90 a156 a150").hostProduct, "P") << header;
    }
    EXPECT_EQ(decodeHex("91 dc0001 a5 44583a2078").identifier.format, PluginFormat::DirectX);
}

TEST(WorkItem, Missing_trailing_elements_leave_their_defaults) {
    const WorkItem none = decodeHex("90");
    EXPECT_EQ(none.identifier.format, PluginFormat::None);
    EXPECT_TRUE(none.knownPlugins.empty());
    EXPECT_TRUE(none.hostVendor.isEmpty());
    EXPECT_TRUE(none.hostProduct.isEmpty());

    const WorkItem identifierAlone = decodeHex("91 91d928 44583a2030303131323233332d343435352d36363737"
                                               "2d383839392d414142424343444445454646");
    EXPECT_EQ(identifierAlone.identifier.format, PluginFormat::DirectX);
    EXPECT_TRUE(identifierAlone.knownPlugins.empty());

    const WorkItem withKnown = decodeHex("92 91a44e6f6e65 9191a44e6f6e65");
    EXPECT_EQ(withKnown.knownPlugins.size(), 1u);
    EXPECT_TRUE(withKnown.hostVendor.isEmpty());

    const WorkItem withVendor = decodeHex("93 91a44e6f6e65 90 a156");
    EXPECT_EQ(withVendor.hostVendor, "V");
    EXPECT_TRUE(withVendor.hostProduct.isEmpty());
}

TEST(WorkItem, Elements_past_the_fourth_are_ignored_whatever_they_are) {
    // [["None"], [], "V", "P", {"a": [1, 2.5, None]}, True]
    const WorkItem item = decodeHex("9691a44e6f6e6590a156a15081a1619301cb4004000000000000c0c3");
    EXPECT_EQ(item.hostVendor, "V");
    EXPECT_EQ(item.hostProduct, "P");
}

TEST(WorkItem, Bytes_behind_the_record_are_ignored) {
    EXPECT_EQ(decodeHex("93 91a44e6f6e65 90 a156 c1ffff").hostVendor, "V");
}

TEST(WorkItem, A_root_that_is_no_array_is_a_type_error) {
    for (const char* hex :
         {"80", "c0", "c3", "01", "ff", "a141", "c40141", "cb4004000000000000", "d40041", "8100c0"}) {
        EXPECT_THROW(decodeHex(hex), msgpack::type_error) << hex;
    }
}

TEST(WorkItem, An_identifier_that_is_no_array_of_one_text_is_a_type_error) {
    // Empty array, two texts, bare text, map, nil, number, boolean, ext, float inside; an array inside.
    for (const std::string wrong :
         {"90", "92a141a142", "a44e6f6e65", "81a141a142", "c0", "9101", "91c0", "91c3", "91d40041",
          "91ca00000000", "9191a141"}) {
        EXPECT_THROW(decodeHex("91" + wrong), msgpack::type_error) << wrong;
        EXPECT_THROW(decodeHex("92 91a44e6f6e65 91" + wrong), msgpack::type_error) << wrong;
        EXPECT_THROW(decodeHex("92 91a44e6f6e65 92 91a44e6f6e65" + wrong), msgpack::type_error) << wrong;
    }
}

TEST(WorkItem, A_known_list_that_is_no_array_is_a_type_error) {
    for (const std::string wrong : {"c0", "80", "01", "a0", "c400", "c2"}) {
        EXPECT_THROW(decodeHex("92 91a44e6f6e65" + wrong), msgpack::type_error) << wrong;
    }
}

TEST(WorkItem, A_vendor_or_product_that_is_no_text_is_a_type_error) {
    for (const std::string wrong : {"c0", "80", "90", "01", "c2", "91a141", "d40041", "ca00000000"}) {
        EXPECT_THROW(decodeHex("93 91a44e6f6e65 90" + wrong), msgpack::type_error) << wrong;
        EXPECT_THROW(decodeHex("94 91a44e6f6e65 90 a0" + wrong), msgpack::type_error) << wrong;
    }
}

TEST(WorkItem, Every_truncation_is_an_unpack_error) {
    for (const char* hex : {full, binary}) {
        const std::string bytes = fromHex(hex);
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            EXPECT_THROW(decode(bytes.substr(0, length)), msgpack::unpack_error) << length;
        }
    }
}

TEST(WorkItem, The_byte_that_msgpack_never_uses_is_a_parse_error) {
    EXPECT_THROW(decodeHex("c1"), msgpack::parse_error);
    EXPECT_THROW(decodeHex("91c1"), msgpack::parse_error);
    EXPECT_THROW(decodeHex("9591a44e6f6e6590a0a0c1"), msgpack::parse_error);
}

TEST(WorkItem, An_identifier_that_does_not_parse_stays_none) {
    EXPECT_EQ(decodeHex("9191a0").identifier.format, PluginFormat::None);
    // "VST: 'abcd',C:\A,B.dll"
    const WorkItem item = decodeHex("9191b65653543a202761626364272c433a5c412c422e646c6c");
    EXPECT_EQ(item.identifier.format, PluginFormat::None);
    EXPECT_TRUE(item.identifier.vstPath.isEmpty());
    EXPECT_EQ(decodeHex("92 91a44e6f6e65 91 91a0").knownPlugins.size(), 1u);
}

TEST(WorkItem, A_header_that_announces_more_than_there_is_allocates_nothing_and_is_an_unpack_error) {
    for (const std::string header :
         {"ddffffffff", "dfffffffff", "dcffff", "deffff", "dbffffffff", "c6ffffffff", "c9ffffffff00",
          "c9fffffffe00"}) {
        EXPECT_THROW(decodeHex(header), msgpack::unpack_error) << header;
        EXPECT_THROW(decodeHex("91" + header), msgpack::unpack_error) << header;
        EXPECT_THROW(decodeHex("9591a44e6f6e6590a0a0" + header), msgpack::unpack_error) << header;
    }
}

TEST(WorkItem, Nested_headers_that_each_announce_all_bytes_are_refused_together) {
    // Every array alone could hold as many elements as there are bytes; a million of them cannot.
    std::string bytes;
    const std::string header = fromHex("dd00100000");
    while (bytes.size() < 0x100000) {
        bytes += header;
    }
    EXPECT_THROW(decode(bytes), msgpack::array_size_overflow);
}

TEST(WorkItem, Nesting_is_followed_a_thousand_deep_and_no_further) {
    const auto extra = [](std::size_t depth) {
        return fromHex("9591a44e6f6e6590a0a0") + std::string(depth, '\x91') + '\x90';
    };
    EXPECT_NO_THROW(decode(extra(1022)));
    EXPECT_THROW(decode(extra(1023)), msgpack::depth_size_overflow);
    EXPECT_THROW(decode(std::string(8'000'000, '\x91')), msgpack::unpack_error);
    EXPECT_THROW(decode(std::string(8'000'000, '\x81')), msgpack::unpack_error);
}

TEST(WorkItem, Random_bytes_decode_or_end_in_one_of_msgpacks_exceptions) {
    std::mt19937 random(4711);
    const std::string valid = fromHex(full);
    for (int round = 0; round < 20000; ++round) {
        std::string bytes = valid;
        if (round % 2 == 0) {
            bytes.resize(random() % 200);
            for (char& byte : bytes) {
                byte = static_cast<char>(random());
            }
        } else {
            for (int change = 0; change < 3; ++change) {
                bytes[random() % bytes.size()] = static_cast<char>(random());
            }
        }
        try {
            decode(bytes);
        } catch (const msgpack::unpack_error&) {
        } catch (const msgpack::type_error&) {
        }
    }
}

TEST(WorkItem, Encoding_gives_the_recorded_bytes) {
    WorkItem item;
    item.identifier.FromString("VST: 'abcd',C:\\Plugins\\A.dll");
    PluginIdentifier known;
    known.FromString("DX: 00112233-4455-6677-8899-AABBCCDDEEFF");
    item.knownPlugins.insert(known);
    item.hostVendor = "Vendor";
    item.hostProduct = "Product";
    EXPECT_EQ(
        toHex(bytesOf(EncodeWorkItem(item))),
        "9491bc5653543a202761626364272c433a5c506c7567696e735c412e646c6c9191d92844583a2030303131323233332d3434"
        "35"
        "352d363637372d383839392d414142424343444445454646a656656e646f72a750726f64756374");
    EXPECT_EQ(toHex(bytesOf(EncodeWorkItem(WorkItem()))), "9491a44e6f6e6590a0a0");
}

TEST(WorkItem, An_encoded_item_decodes_to_itself) {
    const WorkItem item = decodeHex(full);
    const WorkItem again = decode(bytesOf(EncodeWorkItem(item)));
    EXPECT_EQ(again.identifier, item.identifier);
    EXPECT_EQ(texts(again.knownPlugins), texts(item.knownPlugins));
    EXPECT_EQ(again.hostVendor, item.hostVendor);
    EXPECT_EQ(again.hostProduct, item.hostProduct);
}
