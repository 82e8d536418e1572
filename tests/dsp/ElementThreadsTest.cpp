// What crosses threads. The assertions hold anywhere; a ThreadSanitizer build also watches how.

#include "TestElement.h"
#include "dsp/DSPCommand.h"
#include "dsp/FunctionObjectCommand.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace DSP::Testing {
namespace {

/// Calls Process on a thread of its own until it ends.
class AudioThread {
public:
    AudioThread(TestElementHost& elementHost, Element& processed)
        : host(elementHost), element(processed), thread([this] { Run(); }) {}
    ~AudioThread() { Stop(); }

    void Stop() {
        if (thread.joinable()) {
            stop = true;
            thread.join();
            host.audioRunning = false;
        }
    }

    std::atomic<std::uint64_t> blocks = 0;

private:
    void Run() {
        host.audioRunning = true;
        TestAudio audio(2, 64);
        while (!stop) {
            element.Process(64, audio.GetPointers());
            blocks.fetch_add(1);
            std::this_thread::yield();
        }
    }

    TestElementHost& host;
    Element& element;
    std::atomic<bool> stop = false;
    std::thread thread;
};

void awaitBlocks(AudioThread& audio, std::uint64_t count) {
    const std::uint64_t until = audio.blocks + count;
    while (audio.blocks < until) {
        std::this_thread::yield();
    }
}

TEST(ElementThreadsTest, Commands_posted_while_audio_runs_run_on_the_audio_thread_in_order) {
    TestElementHost host;
    TestElement element(host, stereo);
    // Both belong to the audio thread until it has ended.
    int next = 0;
    int wrong = 0;
    constexpr int count = 3000;
    {
        AudioThread audio(host, element);
        awaitBlocks(audio, 1);
        for (int i = 0; i < count; ++i) {
            element.PostCommand(new FunctionObjectCommand([&next, &wrong, i] { wrong += next++ != i; }));
            if (i % 500 == 0) {
                // No more under way than find room on their way back.
                awaitBlocks(audio, 2);
                element.Idle();
            }
        }
        awaitBlocks(audio, 2);
    }
    element.Idle();
    EXPECT_EQ(next, count);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(host.posted, static_cast<std::uint32_t>(count));
}

TEST(ElementThreadsTest, A_standing_command_carries_data_both_ways_without_a_lock) {
    class Ping final : public DSPCommand {
    public:
        Ping(int& total, int& errors) : rounds(total), wrong(errors) {}
        bool Execute() override {
            ++payload;
            return true;
        }
        bool Finish() override {
            wrong += payload != rounds + 1;
            rounds = payload;
            return true;
        }

    private:
        int payload = 0;
        int& rounds;
        int& wrong;
    };
    TestElementHost host;
    TestElement element(host, stereo);
    int rounds = 0;
    int wrong = 0;
    {
        AudioThread audio(host, element);
        awaitBlocks(audio, 1);
        auto* const ping = new Ping(rounds, wrong);
        element.PostCommand(ping);
        // NOLINTNEXTLINE(bugprone-infinite-loop): the command counts, in Idle
        while (rounds < 200) {
            element.Idle();
            std::this_thread::yield();
        }
        ping->Cancel();
    }
    element.Idle();
    EXPECT_EQ(wrong, 0) << "each round is finished once, with what it was executed with";
    EXPECT_EQ(host.finished, 1U);
}

TEST(ElementThreadsTest, Audio_stops_and_starts_under_a_control_thread_that_posts) {
    TestElementHost host;
    TestElement element(host, stereo);
    std::atomic<int> executed = 0;
    int posted = 0;
    for (int round = 0; round < 20; ++round) {
        AudioThread audio(host, element);
        awaitBlocks(audio, 1);
        for (int i = 0; i < 50; ++i, ++posted) {
            // The host may say that audio is stopped while a block still runs.
            host.audioRunning = i % 3 != 0;
            element.PostCommand(new FunctionObjectCommand([&executed] { ++executed; }));
            element.Idle();
        }
        host.audioRunning = true;
    }
    element.Idle();
    EXPECT_EQ(executed, posted);
}

/// Adds its own parameter up, and follows one that is set.
class Counting : public TestElement {
public:
    explicit Counting(TestElementHost& host) : TestElement(host, stereo) {
        ParamRegistration<float> wantedParam;
        wantedParam.name = "Wanted";
        wantedParam.index = 0;
        wantedParam.range = {0.0F, 1e6F};
        wantedParam.target = &wanted;
        AddFloatParam(std::move(wantedParam));
        ParamRegistration<std::uint32_t> metered;
        metered.name = "Meter";
        metered.index = 1;
        metered.range = {0, 1000000};
        metered.target = &meter;
        AddEnumParam(std::move(metered));
        FinishParamRegistration();
        Reset();
    }

    float wanted = 0.0F;
    std::uint32_t meter = 0;
    /// The audio thread's.
    float lastSeen = 0.0F;
    int backwards = 0;

protected:
    void ProcessStream(std::uint32_t, std::uint32_t, float**) override {
        backwards += wanted < lastSeen;
        lastSeen = wanted;
        StoreParamTarget(meter, (meter + 1) % 1000000);
    }
};

TEST(ElementThreadsTest, Parameters_travel_in_both_directions_while_audio_runs) {
    TestElementHost host;
    Counting element(host);
    const auto wanted = std::get<ElementParam<float>>(element.GetParam("Wanted"));
    Trackable listener;
    Connection connection;
    std::uint32_t lastMeter = 0;
    std::uint32_t told = 0;
    element.ConnectParam(
        "Meter",
        {&listener,
         [&](const ParamValue& value) {
             ++told;
             lastMeter = std::get<std::uint32_t>(value);
         }},
        connection);
    std::uint32_t echoes = 0;
    element.ConnectParam("Wanted", {&listener, [&](const ParamValue&) { ++echoes; }}, connection);
    constexpr std::uint32_t writes = 500;
    {
        AudioThread audio(host, element);
        awaitBlocks(audio, 1);
        for (std::uint32_t i = 1; i <= writes; ++i) {
            wanted.Set(ParamSide::control, static_cast<float>(i), {0, 1});
            element.DispatchParamChanges();
            element.Idle();
        }
        awaitBlocks(audio, 2);
        element.DispatchParamChanges();
        element.DispatchParamChanges();
    }
    EXPECT_EQ(element.lastSeen, static_cast<float>(writes));
    EXPECT_EQ(element.backwards, 0);
    EXPECT_EQ(echoes, writes) << "one signal for each write, none for its arrival";
    EXPECT_GT(told, 0U);
    element.DispatchParamChanges();
    EXPECT_EQ(lastMeter, element.meter);
}

TEST(ElementThreadsTest, A_control_thread_reconfigures_between_blocks) {
    TestElementHost host;
    TestElement parent(host, stereo);
    TestElement child(host, mono); // There is one channel for it, whatever the parent has.
    parent.AddChild(&child);
    child.fixedBlock = 48;
    child.Reset();
    parent.dsp = [&](std::uint32_t, std::uint32_t frames, float** channels) {
        child.Process(frames, channels);
    };
    AudioThread audio(host, parent);
    awaitBlocks(audio, 1);
    const std::uint32_t layouts[] = {stereo, 2, mono};
    for (int round = 0; round < 100; ++round) {
        parent.EnableDryPath(round % 2 == 0);
        child.EnableDryPath(round % 3 == 0);
        parent.Configure(round % 4 < 2 ? 44100.0F : 96000.0F, layouts[round % 5 % 3]);
        parent.Reset();
        child.ForceReset();
        parent.ClearState();
        parent.Idle();
        TestElement late(host, stereo);
        late.ownScratch = static_cast<std::uint32_t>(round) * 100000;
        late.FinishParamRegistration();
    }
    awaitBlocks(audio, 2);
    audio.Stop();
    EXPECT_EQ(host.GetScratchUsed(), 0U);
}

} // namespace
} // namespace DSP::Testing
