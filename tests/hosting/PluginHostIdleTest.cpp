#include "hosting/PluginHostFixture.h"

#include <gmock/gmock.h>

#include <ctime>
#include <functional>
#include <utility>
#include <variant>
#include <vector>

namespace Tarvik {
namespace {

using testing::ElementsAre;

/// What rand gives in the Windows C library, in arithmetic that is wide enough to need no wrapping.
class SlowGenerator {
public:
    explicit SlowGenerator(std::uint64_t seed) : state(seed % 4294967296U) {}

    std::uint64_t Next() {
        state = (state * 214013U + 2531011U) % 4294967296U;
        return state / 65536U % 32768U;
    }

private:
    std::uint64_t state;
};

/// What a listener of the parameter hears of so many changes, by the model: equal values in a row are one.
std::vector<float> Heard(std::uint64_t seed, int changes) {
    SlowGenerator generator(seed);
    std::vector<float> heard;
    float value = 0.0F;
    for (int i = 0; i < changes; ++i) {
        const float next = static_cast<float>(static_cast<double>(generator.Next()) * (1.0F / 32767.0F));
        if (next != value) {
            heard.push_back(next);
        }
        value = next;
    }
    return heard;
}

class PluginHostIdleTest : public PluginHostFixture {
protected:
    /// Calls the function with each value of the "Dirty Flag".
    void Listen(std::function<void(float)> function) {
        ASSERT_TRUE(host->ConnectParam(
            "Dirty Flag",
            {&listener, [function = std::move(function)](
                            const DSP::ParamValue& value) { function(std::get<float>(value)); }},
            connection));
    }

    /// The effect changes one of its parameters by itself.
    void Automate() { effect.AskHost(audioMasterAutomate); }

    /// The numbers of some seconds begin with 0, which is no change to a listener.
    void IdleUntil(const bool& told) {
        for (int round = 0; !told && round < 10; ++round) {
            Automate();
            host->Idle();
        }
        EXPECT_TRUE(told);
    }

    Trackable listener;
    Connection connection;
};

TEST(SlowGenerator, Gives_the_numbers_that_the_C_library_is_known_for) {
    SlowGenerator generator(1);
    std::vector<std::uint64_t> numbers(5);
    for (std::uint64_t& number : numbers) {
        number = generator.Next();
    }
    EXPECT_THAT(numbers, ElementsAre(41, 18467, 6334, 26500, 19169));
}

TEST_F(PluginHostIdleTest, Each_change_of_the_plugin_is_the_next_number_of_the_C_librarys_generator) {
    const std::time_t before = std::time(nullptr);
    host = std::make_unique<PluginHost>(&elementHost, 44100.0F, &instantiator, "Vendor", "Product");
    const std::time_t after = std::time(nullptr);
    Hold(effect);
    std::vector<float> seen;
    Listen([&seen](float value) { seen.push_back(value); });
    constexpr int changes = 50;
    for (int i = 0; i < changes; ++i) {
        Automate();
        host->Idle();
    }
    // The seed is the second in which the host was made.
    bool explained = false;
    for (std::time_t second = before; second <= after; ++second) {
        explained = explained || seen == Heard(static_cast<std::uint64_t>(second), changes);
    }
    EXPECT_TRUE(explained) << testing::PrintToString(seen);
}

TEST_F(PluginHostIdleTest, A_plugin_that_changed_nothing_is_not_told) {
    Hold(effect);
    int told = 0;
    Listen([&told](float) { ++told; });
    host->Idle();
    EXPECT_EQ(told, 0);
    Automate();
    EXPECT_TRUE(host->GetPlugin()->IsDirty());
    host->Idle();
    EXPECT_FALSE(host->GetPlugin()->IsDirty());
    host->Idle();
    EXPECT_LE(told, 1);
}

TEST_F(PluginHostIdleTest, Without_a_plugin_idle_does_nothing) {
    int told = 0;
    Listen([&told](float) { ++told; });
    host->Idle();
    EXPECT_EQ(told, 0);
}

TEST_F(PluginHostIdleTest, A_plugin_that_wants_idle_time_has_it) {
    Hold(effect);
    effect.AskHost(audioMasterNeedIdle);
    host->Idle();
    EXPECT_EQ(effect.CallsOf(effIdle).size(), 1U);
}

TEST_F(PluginHostIdleTest, A_listener_may_unload_the_plugin) {
    Hold(effect);
    bool told = false;
    Listen([&](float) {
        told = true;
        host->SetExtraBytes(nullptr, 0, false);
    });
    IdleUntil(told);
    EXPECT_EQ(host->GetPlugin(), nullptr);
}

TEST_F(PluginHostIdleTest, A_listener_may_exchange_the_plugin_whose_own_changes_are_not_forgotten) {
    Hold(effect);
    bool told = false;
    Listen([&](float) {
        if (!told) {
            told = true;
            host->ChangePlugin(false);
            Automate();
        }
    });
    IdleUntil(told);
    ASSERT_NE(host->GetPlugin(), nullptr);
    EXPECT_TRUE(host->GetPlugin()->IsDirty());
}

TEST_F(PluginHostIdleTest, A_listener_may_end_the_host) {
    Hold(effect);
    bool told = false;
    Listen([&](float) {
        told = true;
        host.reset();
    });
    IdleUntil(told);
    EXPECT_EQ(host, nullptr);
    EXPECT_EQ(effect.CallsOf(effClose).size(), 1U);
}

} // namespace
} // namespace Tarvik
