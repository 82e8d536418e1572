// Effects and hosts that call from several threads.

#include "hosting/FakeEffect.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace {

using Tarvik::VSTHostCall;

// What waits for a lock is not through for as long as the lock is held; what does not, is at once.
constexpr std::chrono::milliseconds aWhile{50};
constexpr std::chrono::seconds longEnough{60};

VstIntPtr askAsStranger(const FakeEffect& effect, VstInt32 opcode, void* pointer = nullptr) {
    AEffect stranger{};
    return effect.host(&stranger, opcode, 0, 0, pointer, 0.0f);
}

/// Runs `other` on a thread of its own while the effect's entry point runs.
template<class Function>
class BesideEntryPoint {
public:
    using Result = decltype(std::declval<Function>()());

    /// Whether it was through before the entry point returned, which waits for it for so long.
    std::future_status status = std::future_status::deferred;
    Result result{};

    BesideEntryPoint(FakeEffect& effect, std::chrono::milliseconds patience, Function other) {
        std::future<Result> running;
        effect.atEntry = [&] {
            running = std::async(std::launch::async, other);
            status = running.wait_for(patience);
        };
        auto plugin = HostEffect(effect);
        EXPECT_TRUE(plugin->IsValid());
        result = running.get();
    }
};

TEST(VSTPluginThreads, A_vendor_specific_call_of_an_unknown_effect_does_not_wait_for_an_entry_point) {
    FakeEffect effect;
    const BesideEntryPoint call(
        effect, longEnough, [&] { return askAsStranger(effect, audioMasterVendorSpecific); });
    EXPECT_EQ(call.status, std::future_status::ready);
    EXPECT_EQ(call.result, 0);
}

TEST(VSTPluginThreads, Another_call_of_an_unknown_effect_waits_for_the_entry_point_and_finds_none_loading) {
    FakeEffect effect;
    const BesideEntryPoint call(
        effect, aWhile, [&] { return askAsStranger(effect, audioMasterGetSampleRate); });
    EXPECT_EQ(call.status, std::future_status::timeout);
    EXPECT_EQ(call.result, 0);
}

TEST(VSTPluginThreads, The_hosts_names_wait_for_an_entry_point_on_another_thread) {
    FakeEffect effect;
    std::array<char, 64> name{};
    const BesideEntryPoint call(
        effect, aWhile, [&] { return askAsStranger(effect, audioMasterGetVendorString, name.data()); });
    EXPECT_EQ(call.status, std::future_status::timeout);
    EXPECT_EQ(call.result, 1);
    EXPECT_STREQ(name.data(), "Vendor");
}

TEST(VSTPluginThreads, What_depends_on_no_plugin_waits_for_nothing) {
    FakeEffect effect;
    const BesideEntryPoint call(
        effect, longEnough, [&] { return askAsStranger(effect, audioMasterGetVendorVersion); });
    EXPECT_EQ(call.status, std::future_status::ready);
    EXPECT_EQ(call.result, 1000);
}

TEST(VSTPluginThreads, Entry_points_run_one_after_the_other) {
    FakeEffect first;
    FakeEffect second;
    std::atomic<bool> firstIsThrough = false;
    bool inOrder = false;
    second.atEntry = [&] { inOrder = firstIsThrough; };
    std::future<bool> other;
    first.atEntry = [&] {
        other = std::async(std::launch::async, [&] {
            return HostEffect(second, {.library = "forwarding_old.dll"})->IsValid();
        });
        other.wait_for(aWhile);
        firstIsThrough = true;
    };
    EXPECT_TRUE(HostEffect(first)->IsValid());
    EXPECT_TRUE(other.get());
    EXPECT_TRUE(inOrder);
}

/// Asks its host everything that needs no dispatch back, again and again, on a thread of its own.
class AskingThread {
public:
    explicit AskingThread(FakeEffect& effect)
        : thread_([this, &effect] {
              while (!done_) {
                  std::array<char, 64> name{};
                  effect.AskHost(audioMasterAutomate);
                  effect.AskHost(audioMasterIdle);
                  effect.AskHost(audioMasterPinConnected, 0, 0);
                  effect.AskHost(audioMasterPinConnected, 0, 1);
                  effect.AskHost(audioMasterGetTime);
                  effect.AskHost(audioMasterNeedIdle);
                  effect.AskHost(audioMasterGetSampleRate);
                  effect.AskHost(audioMasterVendorSpecific);
                  effect.AskHost(audioMasterGetVendorString, 0, 0, name.data());
                  askAsStranger(effect, audioMasterGetTime);
                  ++rounds_;
              }
          }) {}

    ~AskingThread() {
        done_ = true;
        thread_.join();
    }

    /// Returns when everything has been asked once more.
    void AwaitRound() const {
        // The next one began before this was called.
        const int target = rounds_ + 2;
        while (rounds_ < target) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<bool> done_ = false;
    std::atomic<int> rounds_ = 0;
    std::thread thread_;
};

TEST(VSTPluginThreads, Effects_call_from_other_threads_while_the_host_goes_on) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    int context = 0;
    {
        const AskingThread asking(effect);
        for (int round = 0; round < 30; ++round) {
            plugin->SetTimeCallback([](void*, VSTHostCall& call) { call.result = 1; }, nullptr);
            plugin->SetVendorCallback(
                [](void* count, VSTHostCall&) { ++*static_cast<int*>(count); }, &context);
            FakeEffect other;
            HostEffect(other, {.vendor = "Another"});
            asking.AwaitRound();
            plugin->SetTimeCallback(nullptr, nullptr);
            plugin->SetVendorCallback(nullptr, nullptr);
            plugin->Idle();
        }
    }
    EXPECT_TRUE(plugin->IsDirty());
    EXPECT_GT(context, 0);
}

TEST(VSTPluginThreads, A_thread_that_the_entry_point_starts_may_ask_while_the_load_goes_on) {
    FakeEffect effect;
    effect.abi.flags |= effFlagsIsSynth;
    std::unique_ptr<AskingThread> asking;
    effect.atEntry = [&] { asking = std::make_unique<AskingThread>(effect); };
    effect.answers[effMainsChanged] = [&](const FakeEffect::Call& call) {
        if (call.value == 1) {
            asking->AwaitRound();
        }
        return VstIntPtr{0};
    };
    auto plugin = HostEffect(effect);
    asking->AwaitRound();
    asking.reset();
    EXPECT_TRUE(plugin->IsInstrument());
    EXPECT_TRUE(plugin->IsDirty());
}

} // namespace
