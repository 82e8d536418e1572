#include "hosting/vst/VSTHost.h"

#include "hosting/FakeEffect.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

namespace {

using Tarvik::VSTHost;

std::string vendorTold() {
    std::array<char, 64> name{};
    VSTHost::AudioMaster(nullptr, audioMasterGetVendorString, 0, 0, name.data(), 0.0f);
    return name.data();
}

// Long enough to stand on the heap, where what is read too late is noticed.
const char* const longName = "A vendor whose name has more letters than fit into a text itself";

/// Built before everything else of the program and so the last to go, as a library is that hears of the end.
struct LastToGo {
    bool armed = false;

    ~LastToGo() {
        AEffect stranger{};
        if (armed) {
            const bool told = vendorTold() == std::string(longName).substr(0, 63);
            const bool unknown =
                VSTHost::AudioMaster(&stranger, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f) == 0;
            std::_Exit(told && unknown ? 17 : 18);
        }
    }
};

[[gnu::init_priority(101)]] LastToGo lastToGo;

TEST(VSTHostDeathTest, Effects_are_answered_until_the_very_end_of_the_process) {
    const auto end = [] {
        lastToGo.armed = true;
        VSTHost::SetNames(longName, "");
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(17), "");
}

TEST(VSTHost, An_effect_has_no_owner_until_it_is_given_one) {
    AEffect effect{};
    EXPECT_EQ(VSTHost::FindOwner(effect), nullptr);
    FakeEffect fake;
    auto plugin = HostEffect(fake);
    EXPECT_EQ(VSTHost::FindOwner(fake.abi), plugin.get());
    VSTHost::SetOwner(effect, plugin.get());
    EXPECT_EQ(effect.resvd1, reinterpret_cast<VstIntPtr>(plugin.get()));
    VSTHost::SetOwner(effect, nullptr);
    EXPECT_EQ(effect.resvd1, 0);
}

} // namespace
