#include "hosting/FakeEffect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using Tarvik::VSTPlugin;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const std::vector<float>& values) {
    Bytes bytes(values.size() * sizeof(float));
    if (!bytes.empty()) {
        std::memcpy(bytes.data(), values.data(), bytes.size());
    }
    return bytes;
}

Bytes stateOf(const VSTPlugin& plugin) {
    Bytes state{9, 9, 9};
    plugin.GetState(1, state);
    return state;
}

bool setState(VSTPlugin& plugin, const Bytes& state) {
    return plugin.SetState(1, static_cast<std::uint32_t>(state.size()), state.data());
}

/// An effect whose state is bytes of its own, one set per program.
class ChunkEffect : public FakeEffect {
public:
    std::vector<Bytes> chunks{1};
    VstIntPtr program = 0;

    ChunkEffect() {
        abi.flags |= effFlagsProgramChunks;
        abi.numPrograms = 0;
        answers[effGetChunk] = [this](const Call& call) -> VstIntPtr {
            Bytes& chunk = chunks.at(static_cast<std::size_t>(program));
            *static_cast<void**>(call.ptr) = chunk.data();
            return static_cast<VstIntPtr>(chunk.size());
        };
        answers[effSetChunk] = [this](const Call& call) -> VstIntPtr {
            const auto* bytes = static_cast<const std::uint8_t*>(call.ptr);
            chunks.at(static_cast<std::size_t>(program)).assign(bytes, bytes + call.value);
            return 1;
        };
        answers[effGetProgram] = [this](const Call&) { return program; };
        answers[effSetProgram] = [this](const Call& call) {
            program = call.value;
            return VstIntPtr{0};
        };
        answers[effGetProgramName] = [this](const Call& call) {
            const std::string name = program == 1 ? "" : std::string("P").append(std::to_string(program));
            std::memcpy(call.ptr, name.c_str(), name.size() + 1);
            return VstIntPtr{0};
        };
    }

    void SetPrograms(std::vector<Bytes> states) {
        chunks = std::move(states);
        abi.numPrograms = static_cast<VstInt32>(chunks.size());
    }
};

TEST(VSTPluginState, Without_chunks_the_state_is_every_parameter_in_order) {
    FakeEffect effect;
    effect.SetParameters({0.25f, 0.5f, 1.0f});
    auto plugin = HostEffect(effect);
    EXPECT_EQ(stateOf(*plugin), bytesOf({0.25f, 0.5f, 1.0f}));
    EXPECT_THAT(effect.Opcodes(), Not(Contains(effGetChunk)));
}

TEST(VSTPluginState, Parameters_are_set_from_a_state_of_their_size) {
    FakeEffect effect;
    effect.SetParameters({0.0f, 0.0f});
    auto plugin = HostEffect(effect);
    EXPECT_TRUE(setState(*plugin, bytesOf({0.5f, 0.75f})));
    EXPECT_EQ(effect.changes, (std::vector<std::pair<VstInt32, float>>{{0, 0.5f}, {1, 0.75f}}));
}

TEST(VSTPluginState, A_state_of_another_size_is_refused_whole) {
    FakeEffect effect;
    effect.SetParameters({0.0f, 0.0f});
    auto plugin = HostEffect(effect);
    for (const std::size_t size : {1u, 4u, 7u, 9u, 12u}) {
        EXPECT_FALSE(setState(*plugin, Bytes(size, 0)));
    }
    EXPECT_TRUE(effect.changes.empty());
}

TEST(VSTPluginState, A_state_of_size_0_succeeds_and_does_nothing) {
    ChunkEffect effect;
    effect.chunks = {{1, 2}};
    effect.SetParameters({0.5f});
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    EXPECT_TRUE(plugin->SetState(1, 0, nullptr));
    EXPECT_TRUE(effect.calls.empty());
    EXPECT_TRUE(effect.changes.empty());
}

TEST(VSTPluginState, A_state_may_stand_at_any_address) {
    FakeEffect effect;
    effect.SetParameters({0.0f, 0.0f});
    auto plugin = HostEffect(effect);
    Bytes shifted{0};
    const Bytes state = bytesOf({0.5f, 0.75f});
    shifted.insert(shifted.end(), state.begin(), state.end());
    EXPECT_TRUE(plugin->SetState(1, 8, shifted.data() + 1));
    EXPECT_EQ(effect.parameters, (std::vector<float>{0.5f, 0.75f}));
}

TEST(VSTPluginState, Chunks_are_read_and_written_for_the_current_program) {
    ChunkEffect effect;
    effect.chunks = {{1, 2, 3}};
    auto plugin = HostEffect(effect);
    EXPECT_EQ(stateOf(*plugin), (Bytes{1, 2, 3}));
    EXPECT_EQ(effect.CallsOf(effGetChunk)[0].index, 1);
    EXPECT_TRUE(setState(*plugin, {7, 8, 9, 10, 11}));
    EXPECT_EQ(effect.CallsOf(effSetChunk)[0].index, 1);
    EXPECT_EQ(effect.chunks[0], (Bytes{7, 8, 9, 10, 11}));
}

TEST(VSTPluginState, Chunks_count_only_with_their_flag) {
    ChunkEffect effect;
    effect.chunks = {{1, 2, 3}};
    effect.abi.flags &= ~effFlagsProgramChunks;
    effect.SetParameters({0.5f});
    auto plugin = HostEffect(effect);
    EXPECT_EQ(stateOf(*plugin), bytesOf({0.5f}));
    EXPECT_FALSE(setState(*plugin, {1, 2, 3}));
}

TEST(VSTPluginState, A_chunk_that_is_none_falls_back_on_parameters) {
    struct Case {
        void* pointer;
        VstIntPtr size;
    };
    std::uint8_t bytes[4] = {};
    for (const Case& none :
         {Case{nullptr, 4}, Case{bytes, 0}, Case{bytes, -1},
          Case{bytes, std::numeric_limits<VstIntPtr>::min()}, Case{nullptr, 0},
          Case{bytes, VstIntPtr{0x80000000}}, Case{bytes, std::numeric_limits<VstIntPtr>::max()}}) {
        FakeEffect effect;
        effect.abi.flags |= effFlagsProgramChunks;
        effect.SetParameters({0.5f});
        effect.answers[effGetChunk] = [&none](const FakeEffect::Call& call) {
            *static_cast<void**>(call.ptr) = none.pointer;
            return none.size;
        };
        auto plugin = HostEffect(effect);
        EXPECT_EQ(stateOf(*plugin), bytesOf({0.5f})) << none.size;
        EXPECT_TRUE(setState(*plugin, bytesOf({1.0f})));
        EXPECT_EQ(effect.parameters[0], 1.0f);
        EXPECT_FALSE(setState(*plugin, {1, 2, 3}));
        EXPECT_TRUE(effect.CallsOf(effSetChunk).empty());
    }
}

TEST(VSTPluginState, More_than_10000_parameters_are_no_state) {
    FakeEffect effect;
    effect.SetParameters(std::vector<float>(10000, 0.5f));
    auto plugin = HostEffect(effect);
    EXPECT_EQ(stateOf(*plugin).size(), 40000u);
    effect.SetParameters(std::vector<float>(10001, 0.5f));
    EXPECT_THAT(stateOf(*plugin), IsEmpty());
}

TEST(VSTPluginState, Parameters_below_zero_are_none) {
    FakeEffect effect;
    effect.abi.numParams = -5;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(plugin->GetNumParameters(), 0u);
    EXPECT_THAT(stateOf(*plugin), IsEmpty());
    EXPECT_FALSE(setState(*plugin, {1, 2, 3, 4}));
    EXPECT_TRUE(plugin->GetParameterUnits(0).isEmpty());
    EXPECT_EQ(plugin->GetParameterInfo(0).maximum, 0.0f);
}

TEST(VSTPluginState, A_parameter_ranges_from_0_to_1_and_one_past_the_end_from_1_to_0) {
    FakeEffect effect;
    effect.SetParameters({0.5f, 0.5f});
    auto plugin = HostEffect(effect);
    const Tarvik::ParameterInfo inside = plugin->GetParameterInfo(1);
    EXPECT_EQ(inside.kind, 0u);
    EXPECT_EQ(inside.minimum, 0.0f);
    EXPECT_EQ(inside.maximum, 1.0f);
    EXPECT_EQ(inside.steps, 0u);
    for (const std::uint32_t index : {2u, 0xFFFFFFFFu}) {
        const Tarvik::ParameterInfo outside = plugin->GetParameterInfo(index);
        EXPECT_EQ(outside.kind, 0u);
        EXPECT_EQ(outside.minimum, 1.0f);
        EXPECT_EQ(outside.maximum, 0.0f);
        EXPECT_EQ(outside.steps, 0u);
    }
    EXPECT_FALSE(plugin->IsParameterQuantised(0));
    EXPECT_TRUE(plugin->GetParameterDisplay(0, 1).isEmpty());
}

TEST(VSTPluginState, A_parameter_is_read_and_written_whatever_the_stream) {
    FakeEffect effect;
    effect.SetParameters({0.25f, 0.5f});
    auto plugin = HostEffect(effect);
    plugin->SetParameterValue(7, 1, 0.125f);
    EXPECT_EQ(plugin->GetParameterValue(3, 1), 0.125f);
    EXPECT_EQ(plugin->GetParameterValue(0, 0), 0.25f);
}

TEST(VSTPluginState, A_parameter_without_a_name_is_unknown) {
    FakeEffect effect;
    effect.SetParameters({0.0f, 0.0f});
    auto plugin = HostEffect(effect);
    EXPECT_EQ(plugin->GetParameterName(0).toStdString(), "Unknown");
    effect.AnswersText(effGetParamName, "A name longer than eight bytes", 0);
    EXPECT_EQ(plugin->GetParameterName(1).toStdString(), "A name longer than eight bytes");
    EXPECT_EQ(effect.CallsOf(effGetParamName).back().index, 1);
}

TEST(VSTPluginState, Units_are_the_label_within_the_parameters) {
    FakeEffect effect;
    effect.SetParameters({0.0f});
    auto plugin = HostEffect(effect);
    EXPECT_TRUE(plugin->GetParameterUnits(0).isEmpty());
    effect.AnswersText(effGetParamLabel, "dB", 0);
    EXPECT_EQ(plugin->GetParameterUnits(0).toStdString(), "dB");
    effect.calls.clear();
    EXPECT_TRUE(plugin->GetParameterUnits(1).isEmpty());
    EXPECT_TRUE(effect.calls.empty());
}

TEST(VSTPluginState, Texts_without_an_end_are_cut) {
    FakeEffect effect;
    effect.SetParameters({0.0f});
    effect.abi.numPrograms = 1;
    for (const VstInt32 opcode : {effGetParamName, effGetParamLabel, effGetProgramName}) {
        effect.answers[opcode] = [](const FakeEffect::Call& call) -> VstIntPtr {
            std::memset(call.ptr, 'x', 1024);
            return 0;
        };
    }
    auto plugin = HostEffect(effect);
    EXPECT_EQ(plugin->GetParameterName(0).length(), 1023u);
    EXPECT_EQ(plugin->GetParameterUnits(0).length(), 1023u);
    EXPECT_EQ(plugin->GetProgramName(0).length(), 1023u);
}

TEST(VSTPluginPrograms, Each_program_is_visited_once_and_the_first_one_restored) {
    ChunkEffect effect;
    effect.SetPrograms({{10}, {11}, {12}});
    effect.program = 2;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(plugin->GetNumPrograms(), 3u);
    EXPECT_EQ(plugin->GetProgramName(0).toStdString(), "P0");
    EXPECT_EQ(plugin->GetProgramName(2).toStdString(), "P2");
    EXPECT_TRUE(plugin->GetProgramName(3).isEmpty());
    std::vector<VstIntPtr> visited;
    for (const FakeEffect::Call& call : effect.CallsOf(effSetProgram)) {
        visited.push_back(call.value);
    }
    EXPECT_THAT(visited, ElementsAre(0, 1, 2, 2));
    EXPECT_EQ(effect.program, 2);
}

TEST(VSTPluginPrograms, The_list_is_read_after_the_effect_runs_in_a_fixed_order) {
    ChunkEffect effect;
    effect.SetPrograms({{10}});
    auto plugin = HostEffect(effect);
    const std::vector<VstInt32> opcodes = effect.Opcodes();
    const std::vector<VstInt32> tail(opcodes.end() - 6, opcodes.end());
    EXPECT_THAT(
        tail,
        ElementsAre(
            effGetPlugCategory, effGetProgram, effSetProgram, effGetProgramName, effGetChunk, effSetProgram));
}

TEST(VSTPluginPrograms, A_nameless_program_is_named_by_its_number_from_1) {
    ChunkEffect effect;
    effect.SetPrograms({{10}, {11}});
    auto plugin = HostEffect(effect);
    EXPECT_EQ(plugin->GetProgramName(1).toStdString(), "Program 2");
}

TEST(VSTPluginPrograms, Selecting_a_program_restores_its_state) {
    ChunkEffect effect;
    effect.SetPrograms({{10}, {11, 11}});
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    EXPECT_TRUE(plugin->SelectProgram(1));
    EXPECT_EQ(effect.chunks[0], (Bytes{11, 11}));
    EXPECT_THAT(effect.Opcodes(), ElementsAre(effGetChunk, effSetChunk));
    EXPECT_FALSE(plugin->SelectProgram(2));
    EXPECT_FALSE(plugin->SelectProgram(0xFFFFFFFFu));
}

TEST(VSTPluginPrograms, Up_to_255_programs_are_listed) {
    for (const VstInt32 count : {255, 256, 300, -1}) {
        FakeEffect effect;
        effect.abi.numPrograms = count;
        auto plugin = HostEffect(effect);
        EXPECT_EQ(plugin->GetNumPrograms(), count == 255 ? 255u : 0u);
        if (count != 255) {
            EXPECT_THAT(effect.Opcodes(), Not(Contains(effGetProgram)));
            EXPECT_THAT(effect.Opcodes(), Not(Contains(effSetProgram)));
            EXPECT_FALSE(plugin->SelectProgram(0));
        }
    }
}

TEST(VSTPluginPrograms, A_current_program_out_of_range_leaves_the_list_empty) {
    for (const VstIntPtr current : {VstIntPtr{3}, VstIntPtr{-1}, std::numeric_limits<VstIntPtr>::max()}) {
        FakeEffect effect;
        effect.abi.numPrograms = 3;
        effect.Answers(effGetProgram, current);
        auto plugin = HostEffect(effect);
        EXPECT_EQ(plugin->GetNumPrograms(), 0u);
        EXPECT_THAT(effect.Opcodes(), Not(Contains(effSetProgram)));
    }
}

TEST(VSTPluginPrograms, Programs_that_come_later_cannot_be_selected) {
    FakeEffect effect;
    effect.abi.numPrograms = 1;
    auto plugin = HostEffect(effect);
    effect.abi.numPrograms = 10;
    EXPECT_TRUE(plugin->SelectProgram(0));
    EXPECT_FALSE(plugin->SelectProgram(5));
    effect.abi.numPrograms = 0;
    EXPECT_FALSE(plugin->SelectProgram(0));
}

TEST(VSTPluginPrograms, Without_chunks_each_programs_parameters_are_kept) {
    FakeEffect effect;
    effect.SetParameters({0.0f});
    effect.abi.numPrograms = 2;
    effect.answers[effSetProgram] = [&effect](const FakeEffect::Call& call) {
        effect.parameters[0] = call.value == 0 ? 0.25f : 0.75f;
        return VstIntPtr{0};
    };
    auto plugin = HostEffect(effect);
    EXPECT_TRUE(plugin->SelectProgram(1));
    EXPECT_EQ(effect.parameters[0], 0.75f);
}

} // namespace
