// Who holds the host's audio lock, and for how long.

#include "TestElement.h"
#include "dsp/FunctionObjectCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace DSP::Testing {
namespace {

using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

/// The lock is recursive: only another thread can tell.
bool isFreeElsewhere(TestElementHost& host) {
    bool free = false;
    std::thread([&] { free = std::unique_lock(host.audioLock, std::try_to_lock).owns_lock(); }).join();
    return free;
}

/// Notes each of its operations that the framework calls, and whether the audio lock was free meanwhile.
class Watching : public TestElement {
public:
    explicit Watching(TestElementHost& elementHost)
        : TestElement(elementHost, mono, {.numSidechains = 1, .numAuxOutputs = 1}), watched(elementHost) {}

    mutable std::set<std::string> called;
    mutable std::set<std::string> unlocked;
    /// Looked at in each of the operations.
    std::function<void()> meanwhile;

    void Note(const char* name) const {
        called.insert(name);
        if (meanwhile) {
            meanwhile();
        } else if (isFreeElsewhere(watched)) {
            unlocked.insert(name);
        }
    }

    bool IsEnabled(std::uint32_t stream) const override {
        Note("IsEnabled");
        return TestElement::IsEnabled(stream);
    }
    void OnProcessed(std::uint32_t, float**) override { Note("OnProcessed"); }
    void OnDrySignal(std::uint32_t, float**) override { Note("OnDrySignal"); }

protected:
    std::uint32_t DoGetLatency(std::uint32_t) const override {
        Note("DoGetLatency");
        return 0;
    }
    std::uint32_t DoGetMaxLatency() const override {
        Note("DoGetMaxLatency");
        return 10;
    }
    std::uint32_t GetOwnScratchBytes() const override {
        Note("GetOwnScratchBytes");
        return 0;
    }
    bool WantsAudio() const override {
        Note("WantsAudio");
        return true;
    }
    bool ModifiesAudio() const override {
        Note("ModifiesAudio");
        return true;
    }
    bool DefersCommands() const override {
        Note("DefersCommands");
        return false;
    }
    float** GetSidechainChannels() override {
        Note("GetSidechainChannels");
        return nullptr;
    }
    float** GetAuxChannels() override {
        Note("GetAuxChannels");
        return nullptr;
    }
    void ProcessStream(std::uint32_t, std::uint32_t, float**) override { Note("ProcessStream"); }
    void OnReset() override { Note("OnReset"); }
    void OnClearState() override { Note("OnClearState"); }
    void OnCommandsDrained() override { Note("OnCommandsDrained"); }
    bool ProcessRegions(RandomAccessHost*) override {
        Note("ProcessRegions");
        return true;
    }

private:
    TestElementHost& watched;
};

class ElementLockTest : public ::testing::Test {
protected:
    void ExpectHeld(const std::function<void()>& operation, const std::set<std::string>& calls) {
        element.called.clear();
        element.unlocked.clear();
        operation();
        EXPECT_THAT(element.called, IsSupersetOf(calls));
        EXPECT_THAT(element.unlocked, IsEmpty());
        EXPECT_TRUE(isFreeElsewhere(host)) << "given back";
    }

    /// Whether the operation does its work, and only after this thread has let the lock go.
    void ExpectWaits(const std::function<void()>& operation) {
        bool released = false;
        bool early = false;
        element.called.clear();
        element.meanwhile = [&] { early = early || !released; };
        std::unique_lock lock(host.audioLock);
        std::atomic<bool> begun = false;
        std::thread other([&] {
            begun = true;
            operation();
        });
        while (!begun) {
            std::this_thread::yield();
        }
        // Time for one that does not wait to show it. One that waits is never wrong, however short it is.
        for (int round = 0; round < 200; ++round) {
            std::this_thread::yield();
        }
        released = true;
        lock.unlock();
        other.join();
        EXPECT_FALSE(early);
        EXPECT_FALSE(element.called.empty()) << "it was not left out";
        element.meanwhile = nullptr;
    }

    void Block() { element.Process(4, audio.GetPointers()); }

    TestElementHost host;
    Watching element{host};
    TestAudio audio{1, 4};
};

TEST_F(ElementLockTest, Process_holds_it_from_the_first_command_to_the_end_of_the_fade) {
    element.EnableDryPath(true);
    host.audioRunning = true;
    element.PostCommand(new FunctionObjectCommand([this] { element.Note("command"); }));
    ExpectHeld(
        [this] { Block(); }, {"DefersCommands", "command", "OnCommandsDrained", "WantsAudio", "DoGetLatency",
                              "GetSidechainChannels", "GetAuxChannels", "ProcessStream", "ModifiesAudio",
                              "OnProcessed", "OnDrySignal", "IsEnabled"});
}

TEST_F(ElementLockTest, Process_without_audio_holds_it_as_well) {
    element.EnableDryPath(true);
    ExpectHeld([this] { element.Process(0, 4, nullptr); }, {"OnCommandsDrained", "IsEnabled"});
}

TEST_F(ElementLockTest, What_rebuilds_an_element_holds_it) {
    ExpectHeld([this] { element.Reset(); }, {"OnReset", "IsEnabled"});
    ExpectHeld([this] { element.ForceReset(); }, {"OnReset", "IsEnabled"});
    ExpectHeld([this] { element.ClearState(); }, {"OnClearState"});
    ExpectHeld([this] { element.EnableDryPath(true); }, {"DoGetMaxLatency", "GetOwnScratchBytes"});
    ExpectHeld([this] { element.Configure(48000.0F, stereo); }, {"DoGetMaxLatency", "GetOwnScratchBytes"});
}

TEST_F(ElementLockTest, Offline_rendering_holds_it) {
    ExpectHeld(
        [this] { EXPECT_TRUE(element.ProcessRandomAccess(nullptr)); },
        {"OnCommandsDrained", "WantsAudio", "ProcessRegions"});
}

TEST_F(ElementLockTest, A_block_waits_for_it_and_is_not_left_out) {
    ExpectWaits([this] { Block(); });
    EXPECT_TRUE(element.called.contains("ProcessStream"));
}

TEST_F(ElementLockTest, What_rebuilds_an_element_waits_for_it) {
    ExpectWaits([this] { element.Reset(); });
    EXPECT_TRUE(element.called.contains("OnReset"));
    ExpectWaits([this] { element.ForceReset(); });
    EXPECT_TRUE(element.called.contains("OnReset"));
    ExpectWaits([this] { element.ClearState(); });
    ExpectWaits([this] { element.EnableDryPath(true); });
    ExpectWaits([this] { element.Configure(96000.0F, mono); });
    EXPECT_EQ(element.GetSampleRate(), 96000.0F);
    ExpectWaits([this] { element.ProcessRandomAccess(nullptr); });
    EXPECT_TRUE(element.called.contains("ProcessRegions"));
}

} // namespace
} // namespace DSP::Testing
