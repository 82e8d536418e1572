#include "hosting/FakeEffect.h"
#include "hosting/ForeignCall.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <stdexcept>
#include <vector>

namespace {

using Tarvik::callForeign;
using Tarvik::ForeignException;
using testing::Contains;
using testing::Not;

// As the Microsoft compiler's run-time library throws; nobody here can build such a frame.
void throwLikeMicrosoft() {
    RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

TEST(ForeignCall, Gives_back_what_the_call_gives) {
    EXPECT_EQ(callForeign([] { return 42; }), 42);
}

TEST(ForeignCall, Calls_what_gives_nothing_back) {
    int calls = 0;
    callForeign([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    EXPECT_THROW(callForeign([] { throwLikeMicrosoft(); }), ForeignException);
}

TEST(ForeignCall, Turns_an_exception_of_another_compiler_into_its_own) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_THROW(
            callForeign([]() -> int {
                throwLikeMicrosoft();
                return 0;
            }),
            ForeignException);
    }
}

TEST(ForeignCall, Keeps_the_callers_registers_and_locals) {
    volatile int before = 1234;
    int sum = 0;
    for (int round = 0; round < 100; ++round) {
        try {
            callForeign([&]() -> int {
                sum += before;
                if (round % 2 == 0) {
                    throwLikeMicrosoft();
                }
                return 0;
            });
        } catch (const ForeignException&) {
            sum += 1;
        }
    }
    EXPECT_EQ(sum, 100 * 1234 + 50);
}

TEST(ForeignCall, Lets_own_exceptions_through_as_they_are) {
    EXPECT_THROW(callForeign([]() -> int { throw std::out_of_range("own"); }), std::out_of_range);
}

TEST(VSTPluginLoad, An_exception_of_another_compilers_entry_point_leaves_an_invalid_object) {
    FakeEffect effect;
    effect.atEntry = throwLikeMicrosoft;
    EXPECT_FALSE(HostEffect(effect)->IsValid());
    AEffect stranger{};
    EXPECT_EQ(effect.host(&stranger, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f), 0);
    FakeEffect next;
    EXPECT_TRUE(HostEffect(next)->IsValid());
}

TEST(VSTPluginLoad, An_exception_of_another_compiler_in_a_later_step_clears_the_effect) {
    for (const VstInt32 opcode :
         {effOpen, effGetVstVersion, effGetPlugCategory, effSetBlockSize, effSetSampleRate, effConnectOutput,
          effMainsChanged, effGetProgram, effSetProgram, effGetProgramName, effGetChunk}) {
        FakeEffect effect;
        effect.abi.numPrograms = 2;
        effect.abi.flags |= effFlagsProgramChunks;
        effect.answers[opcode] = [](const FakeEffect::Call&) -> VstIntPtr {
            throwLikeMicrosoft();
            return 0;
        };
        auto plugin = HostEffect(effect);
        EXPECT_FALSE(plugin->IsValid()) << opcode;
        plugin.reset();
        EXPECT_THAT(effect.Opcodes(), Not(Contains(effClose))) << opcode;
    }
}

TEST(VSTPluginLoad, An_exception_of_another_compiler_while_a_programs_parameters_are_read_clears_the_effect) {
    FakeEffect effect;
    effect.abi.numPrograms = 2;
    effect.SetParameters({0.5f});
    effect.atGetParameter = throwLikeMicrosoft;
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsValid());
    plugin.reset();
    EXPECT_THAT(effect.Opcodes(), Not(Contains(effClose)));
}

TEST(VSTPluginAudio, An_exception_of_another_compiler_goes_no_further_than_the_audio_operations) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    effect.process = [](float**, float** outputs, VstInt32) {
        outputs[0][0] = 7.0f;
        throwLikeMicrosoft();
    };
    for (const VstInt32 opcode : {effMainsChanged, effProcessEvents}) {
        effect.answers[opcode] = [](const FakeEffect::Call&) -> VstIntPtr {
            throwLikeMicrosoft();
            return 0;
        };
    }
    effect.calls.clear();
    float left = 1.0f;
    float right = 2.0f;
    float* channels[] = {&left, &right};
    plugin->Process(1, 2, channels);
    EXPECT_EQ(left, 1.0f);
    EXPECT_EQ(right, 2.0f);
    plugin->Reset();
    const Tarvik::ProcessEvent event{};
    plugin->ProcessEvents(1, &event);
    EXPECT_EQ(effect.Opcodes(), (std::vector<VstInt32>{effMainsChanged, effMainsChanged, effProcessEvents}));
}

TEST(VSTPluginState, An_exception_of_another_compiler_in_a_parameter_call_is_one_of_the_hosts_own) {
    FakeEffect effect;
    effect.SetParameters({0.5f});
    auto plugin = HostEffect(effect);
    effect.atGetParameter = throwLikeMicrosoft;
    effect.atSetParameter = throwLikeMicrosoft;
    EXPECT_THROW(plugin->GetParameterValue(0, 0), ForeignException);
    EXPECT_THROW(plugin->SetParameterValue(0, 0, 1.0f), ForeignException);
    EXPECT_TRUE(plugin->IsValid());
}

} // namespace
