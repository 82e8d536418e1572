// What a block asks of the system, with a plug-in of either kind.

#include "hosting/PlatformCalls_win32.h"
#include "hosting/PluginHostFixture.h"
#include "hosting/dx/ComTest_win32.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Tarvik {
namespace {

using testing::Contains;
using testing::Key;

/// The element host's lock, for which the block waits, and the plug-in's, which it only tries.
const std::map<std::string, std::size_t> twoLocks = {
    {"EnterCriticalSection", 1}, {"LeaveCriticalSection", 2}, {"TryEnterCriticalSection", 1}};

class PluginHostCalls : public PluginHostFixture {
protected:
    /// Of a block of so many frames, without copies of memory.
    std::map<std::string, std::size_t> CallsOf(std::uint32_t frames) {
        std::vector<float> samples(frames, 2.0F);
        float* channels[] = {samples.data()};
        auto counted = calls.Of([&] { host->Process(frames, channels); });
        for (const char* copy : {"memcpy", "memmove", "memset"}) {
            counted.erase(copy);
        }
        processed = samples[0];
        return counted;
    }

    PlatformCalls calls;
    float processed = 0;
};

TEST_F(PluginHostCalls, A_block_through_an_effect_takes_two_locks_and_asks_for_nothing_else) {
    effect.process = [](float** inputs, float** outputs, VstInt32 frames) {
        for (VstInt32 i = 0; i < frames; ++i) {
            outputs[0][i] = inputs[0][i] + 1;
        }
    };
    Hold(effect);
    EXPECT_THAT(CallsOf(elementHost.GetMaxBlockSize()), Contains(Key("malloc")))
        << "the first one makes room, and shows that the count can fail what follows";
    for (const std::uint32_t frames : {1U, 64U, elementHost.GetMaxBlockSize()}) {
        EXPECT_EQ(CallsOf(frames), twoLocks) << frames;
        EXPECT_EQ(processed, 3);
    }
}

TEST_F(PluginHostCalls, A_block_through_a_filter_takes_two_locks_and_asks_for_nothing_else) {
    const ComApartment com;
    TestFilters::Behaviour behaviour;
    behaviour.delivery = TestFilters::Delivery::inPlace;
    const RegisteredFilter filter(behaviour);
    PluginIdentifier identifier;
    ASSERT_TRUE(identifier.FromString("DX: " + filter.Text()));
    host->SetIdentifier(identifier);
    host->ChangePlugin(false);
    ASSERT_NE(host->GetPlugin(), nullptr);
    CallsOf(elementHost.GetMaxBlockSize());
    for (const std::uint32_t frames : {1U, 64U, elementHost.GetMaxBlockSize()}) {
        EXPECT_EQ(CallsOf(frames), twoLocks) << frames;
        EXPECT_EQ(processed, 1);
    }
    host.reset();
}

TEST_F(PluginHostCalls, A_block_without_a_plug_in_takes_the_same_locks) {
    CallsOf(64);
    EXPECT_EQ(CallsOf(64), twoLocks);
    EXPECT_EQ(processed, 2);
}

} // namespace
} // namespace Tarvik
