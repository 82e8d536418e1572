// Process neither allocates nor frees, and locks nothing but the host's audio lock.

#include "AudioPathCount.h"
#include "TestElement.h"
#include "dsp/DSPCommand.h"
#include "dsp/FunctionObjectCommand.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <random>

namespace DSP::Testing {
namespace {

TEST(AudioPathTest, The_counters_see_allocations_frees_and_locks) {
    const AudioPathCounts before = GetAudioPathCounts();
    {
        auto memory = std::make_unique<std::uint32_t[]>(1000);
        ASSERT_NE(memory, nullptr);
        // Written where the compiler cannot follow, so that it cannot leave the allocation out.
        volatile std::uint32_t* const seen = memory.get();
        seen[0] = 1;
    }
    Util::CriticalSection lock("AudioPathTest");
    const AudioPathCounts between = GetAudioPathCounts();
    lock.lock();
    lock.unlock();
    EXPECT_TRUE(lock.try_lock());
    lock.unlock();
    const AudioPathCounts after = GetAudioPathCounts();
    EXPECT_GE(between.allocations - before.allocations, 1U);
    if (CountsLocks()) {
        EXPECT_GE(between.frees - before.frees, 1U);
        EXPECT_EQ(after.locks - between.locks, 2U);
    }
}

/// Goes round for ever.
class Standing final : public DSPCommand {
public:
    bool Execute() override {
        ++rounds;
        return true;
    }
    bool Finish() override { return true; }
    std::uint32_t rounds = 0;
};

/// One with parameters, an own delay and everything on.
class Busy : public TestElement {
public:
    Busy(TestElementHost& host, std::uint32_t ownDelay, std::uint32_t block, const ElementConfig& config)
        : TestElement(host, stereo, config) {
        ParamRegistration<float> gainParam;
        gainParam.name = "Gain";
        gainParam.target = &gain;
        gainParam.observers.push_back([this](std::uint32_t, float, SourceTag) { ++observed; });
        gainParam.audioCallback = [this](float, SourceTag) { ++observed; };
        AddFloatParam(std::move(gainParam));
        fixedBlock = block;
        latency = ownDelay + (block == 0 ? 0 : block - 1);
        EnableDryPath(true);
        FinishParamRegistration();
        Reset();
    }

    float gain = 0.5F;
    std::uint32_t observed = 0;
    /// Calls of Process, each of which takes the audio lock once.
    std::uint32_t calls = 0;
    std::uint32_t served = 0;

    using TestElement::Process;
    void Process(std::uint32_t stream, std::uint32_t frames, float** channels) override {
        ++calls;
        TestElement::Process(stream, frames, channels);
    }

protected:
    void ProcessStream(std::uint32_t, std::uint32_t frames, float** channels) override {
        ++served;
        for (std::uint32_t child = 0; child < GetNumChildren(); ++child) {
            GetChild(child)->Process(0, frames, channels);
        }
        for (std::uint32_t i = 0; i < frames; ++i) {
            channels[0][i] *= gain;
            if (float* const auxiliary = GetCurrentOutputs()[2]) {
                auxiliary[i] = GetCurrentInputs()[2] ? GetCurrentInputs()[2][i] : 0.0F;
            }
        }
    }
};

TEST(AudioPathTest, A_tree_of_elements_with_everything_on_allocates_nothing_and_takes_the_audio_lock_alone) {
    TestElementHost host;
    const ElementConfig everything{.fadeTime = 0.002F, .numSidechains = 1, .numAuxOutputs = 1};
    Busy grandchild(host, 5, 0, everything);
    Busy first(host, 0, 48, everything);
    Busy second(host, 100, 1000, everything);
    Busy root(host, 20, 64, everything);
    first.AddChild(&grandchild);
    root.AddChild(&first);
    root.AddChild(&second);
    root.Reset();
    Busy* const all[] = {&root, &first, &second, &grandchild};

    TestAudio audio(2, host.maxBlockSize, 0.1F);
    TestAudio side(2, host.maxBlockSize, 0.2F);
    TestAudio aux(2, host.maxBlockSize);
    float** const channels = audio.GetPointers();
    float** const sideChannels = side.GetPointers();
    float** const auxChannels = aux.GetPointers();

    host.audioRunning = true;
    std::vector<Standing*> standing;
    for (Busy* element : all) {
        standing.push_back(new Standing);
        element->PostCommand(standing.back());
    }
    std::mt19937 generator(3);
    const auto random = [&generator] { return static_cast<std::uint32_t>(generator()); };
    std::uint32_t functions = 0;
    for (int block = 0; block < 400; ++block) {
        for (Busy* element : all) {
            element->SetParam(1, 0, static_cast<float>(random() % 1000) / 1000.0F);
            element->PostCommand(new FunctionObjectCommand([&functions] { ++functions; }));
            element->Idle();
            if (random() % 5 == 0) {
                element->enabled = !element->enabled;
            }
            if (random() % 50 == 0) {
                element->latency = random() % 2000;
            }
        }
        root.sidechain = random() % 3 ? sideChannels : nullptr;
        root.aux = random() % 3 ? auxChannels : nullptr;
        const std::uint32_t frames = random() % 4 ? 1 + random() % 700 : 1 + random() % host.maxBlockSize;

        std::uint32_t callsBefore = 0;
        for (const Busy* element : all) {
            callsBefore += element->calls;
        }
        const AudioPathCounts before = GetAudioPathCounts();
        root.Process(frames, channels);
        const AudioPathCounts after = GetAudioPathCounts();
        std::uint32_t calls = 0;
        for (const Busy* element : all) {
            calls += element->calls;
        }

        ASSERT_EQ(after.allocations, before.allocations) << "block " << block << " of " << frames;
        ASSERT_EQ(after.frees, before.frees) << "block " << block << " of " << frames;
        if (CountsLocks()) {
            ASSERT_EQ(after.locks - before.locks, calls - callsBefore) << "block " << block;
        }
    }
    EXPECT_EQ(functions, 1600U);
    EXPECT_GE(standing[0]->rounds, 399U);
    EXPECT_GE(standing[3]->rounds, 399U);
    for (const Busy* element : all) {
        EXPECT_GT(element->served, 100U);
        EXPECT_GT(element->observed, 700U);
    }
    EXPECT_EQ(host.GetScratchUsed(), 0U);
    for (Standing* command : standing) {
        command->Cancel();
    }
}

} // namespace
} // namespace DSP::Testing
