#pragma once

#include "svbase/util/ConfigFile.h"

#include "support/ConfigSandbox.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// Preferences below the base of a sandbox.
class ConfigFileInSandbox : public testing::Test {
protected:
    using Bytes = std::vector<std::uint8_t>;

    static std::vector<std::string> texts(const std::vector<String>& list) {
        std::vector<std::string> result;
        for (const String& text : list) {
            result.push_back(text.toStdString());
        }
        return result;
    }
    static std::vector<std::string> subkeys(const Util::ConfigFile& config, const char* path = "") {
        std::vector<String> names{"what stood there before"};
        config.subkeys(names, path);
        return texts(names);
    }
    static std::vector<std::string> valueNames(const Util::ConfigFile& config, const char* path = "") {
        std::vector<String> names{"what stood there before"};
        config.valueNames(names, path);
        return texts(names);
    }
    /// Of every reader.
    static void expectDefaults(const Util::ConfigFile& config, const char* key) {
        EXPECT_EQ(config.readString(key, "default"), "default");
        EXPECT_EQ(config.readFloat(key, 0.25f), 0.25f);
        EXPECT_TRUE(config.readBool(key, true));
        EXPECT_FALSE(config.readBool(key, false));
        EXPECT_EQ(config.readInt(key, -7), -7);
        EXPECT_EQ(config.readUInt64(key, 1ULL << 40U), 1ULL << 40U);
        EXPECT_EQ(config.readUnsigned(key, 7U), 7U);
        Bytes blob{1, 2};
        EXPECT_FALSE(config.readBlob(key, blob));
        EXPECT_THAT(blob, testing::IsEmpty());
    }

    ConfigSandbox sandbox;
    Util::ConfigFile config{sandbox.base()};
};
