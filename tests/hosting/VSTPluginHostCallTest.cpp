#include "hosting/FakeEffect.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <string>

namespace {

using Tarvik::VSTHostCall;

constexpr VstInt32 lastOpcode = 49;

std::string textOf(FakeEffect& effect, VstInt32 opcode, bool withEffect = true) {
    std::array<char, 256> text;
    text.fill('#');
    EXPECT_EQ(effect.host(withEffect ? &effect.abi : nullptr, opcode, 0, 0, text.data(), 0.0f), 1);
    // Nothing is written behind the terminating zero.
    const std::size_t length = std::strlen(text.data());
    EXPECT_EQ(
        std::string(text.begin() + static_cast<std::ptrdiff_t>(length) + 1, text.end()),
        std::string(text.size() - length - 1, '#'));
    return text.data();
}

TEST(VSTPluginHostCall, The_version_is_2400_for_everybody) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    AEffect stranger{};
    EXPECT_EQ(effect.AskHost(audioMasterVersion), 2400);
    EXPECT_EQ(effect.host(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f), 2400);
    EXPECT_EQ(effect.host(&stranger, audioMasterVersion, 0, 0, nullptr, 0.0f), 2400);
}

TEST(VSTPluginHostCall, Vendor_product_and_its_version_are_told_to_everybody) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.vendor = "Maker", .product = "Host"});
    EXPECT_EQ(textOf(effect, audioMasterGetVendorString), "Maker");
    EXPECT_EQ(textOf(effect, audioMasterGetProductString), "Host");
    EXPECT_EQ(textOf(effect, audioMasterGetVendorString, false), "Maker");
    EXPECT_EQ(textOf(effect, audioMasterGetProductString, false), "Host");
    EXPECT_EQ(effect.AskHost(audioMasterGetVendorVersion), 1000);
    EXPECT_EQ(effect.host(nullptr, audioMasterGetVendorVersion, 0, 0, nullptr, 0.0f), 1000);
}

TEST(VSTPluginHostCall, Names_of_200_characters_reach_the_effect_cut_to_63) {
    FakeEffect effect;
    const std::string longName = std::string(100, 'v') + std::string(100, 'w');
    auto plugin = HostEffect(effect, {.vendor = longName.c_str(), .product = longName.c_str()});
    EXPECT_EQ(textOf(effect, audioMasterGetVendorString), std::string(63, 'v'));
    EXPECT_EQ(textOf(effect, audioMasterGetProductString), std::string(63, 'v'));
    const std::string exact(63, 'x');
    auto second = HostEffect(effect, {.vendor = exact.c_str()});
    EXPECT_EQ(textOf(effect, audioMasterGetVendorString), exact);
}

TEST(VSTPluginHostCall, Empty_names_are_empty_texts) {
    FakeEffect effect;
    auto plugin = HostEffect(effect, {.vendor = "", .product = String()});
    EXPECT_EQ(textOf(effect, audioMasterGetVendorString), "");
    EXPECT_EQ(textOf(effect, audioMasterGetProductString), "");
}

TEST(VSTPluginHostCall, A_name_without_a_place_for_it_is_refused) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    EXPECT_EQ(effect.AskHost(audioMasterGetVendorString), 0);
    EXPECT_EQ(effect.AskHost(audioMasterGetProductString), 0);
}

TEST(VSTPluginHostCall, The_last_plugin_names_the_host_for_all) {
    FakeEffect first;
    FakeEffect second;
    auto one = HostEffect(first, {.vendor = "One"});
    auto two = HostEffect(second, {.vendor = "Two"});
    EXPECT_EQ(textOf(first, audioMasterGetVendorString), "Two");
}

TEST(VSTPluginHostCall, A_null_effect_is_answered_0) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    for (VstInt32 opcode = -2; opcode <= lastOpcode + 2; ++opcode) {
        if (opcode == audioMasterVersion || opcode == audioMasterGetVendorVersion) {
            continue;
        }
        EXPECT_EQ(effect.host(nullptr, opcode, 0, 0, nullptr, 0.0f), 0) << opcode;
    }
    EXPECT_FALSE(plugin->IsDirty());
}

TEST(VSTPluginHostCall, An_unknown_effect_is_taken_for_the_one_being_loaded) {
    FakeEffect effect;
    VstIntPtr rate = -1;
    VstIntPtr time = -1;
    VstIntPtr pin = -1;
    VstIntPtr nullRate = -1;
    effect.atEntry = [&] {
        rate = effect.AskHost(audioMasterGetSampleRate);
        time = effect.AskHost(audioMasterGetTime);
        pin = effect.AskHost(audioMasterPinConnected, 5);
        effect.AskHost(audioMasterAutomate);
        nullRate = effect.host(nullptr, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f);
    };
    auto plugin = HostEffect(effect, {.sampleRate = 44100.0f});
    EXPECT_EQ(rate, 44100);
    EXPECT_EQ(time, effect.AskHost(audioMasterGetTime));
    EXPECT_EQ(pin, 1);
    EXPECT_TRUE(plugin->IsDirty());
    EXPECT_EQ(nullRate, 0);
    AEffect stranger{};
    EXPECT_EQ(effect.host(&stranger, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f), 0);
}

TEST(VSTPluginHostCall, Automation_makes_the_plugin_dirty) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    EXPECT_FALSE(plugin->IsDirty());
    EXPECT_EQ(effect.AskHost(audioMasterAutomate, 0, 0, nullptr, 0.5f), 0);
    EXPECT_TRUE(plugin->IsDirty());
    plugin->ClearDirty();
    EXPECT_FALSE(plugin->IsDirty());
}

TEST(VSTPluginHostCall, Idle_without_an_open_editor_is_not_passed_back) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    EXPECT_EQ(effect.AskHost(audioMasterIdle), 0);
    EXPECT_TRUE(effect.calls.empty());
}

TEST(VSTPluginHostCall, An_effect_that_needs_idle_gets_it_until_it_answers_zero) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    plugin->Idle();
    EXPECT_TRUE(effect.calls.empty());
    EXPECT_EQ(effect.AskHost(audioMasterNeedIdle), 0);
    effect.Answers(effIdle, 1);
    plugin->Idle();
    plugin->Idle();
    effect.Answers(effIdle, 0);
    plugin->Idle();
    plugin->Idle();
    EXPECT_EQ(effect.CallsOf(effIdle).size(), 3u);
    EXPECT_EQ(effect.calls.size(), 3u);
}

TEST(VSTPluginHostCall, Outputs_are_connected_below_the_smaller_count) {
    FakeEffect effect;
    effect.abi.numOutputs = 4;
    auto plugin = HostEffect(effect);
    const auto output = [&](VstInt32 index) { return effect.AskHost(audioMasterPinConnected, index, 1); };
    EXPECT_EQ(output(0), 0);
    EXPECT_EQ(output(1), 0);
    EXPECT_EQ(output(2), 1);
    EXPECT_EQ(output(-1), 1);
    effect.abi.numOutputs = 1;
    EXPECT_EQ(output(1), 1);
    effect.abi.numOutputs = -1;
    EXPECT_EQ(output(0), 1);
    EXPECT_EQ(output(std::numeric_limits<VstInt32>::min()), 1);
}

TEST(VSTPluginHostCall, Inputs_are_connected_below_the_smaller_count_but_never_those_of_an_instrument) {
    FakeEffect effect;
    effect.abi.numInputs = 4;
    effect.abi.numOutputs = 0;
    auto plugin = HostEffect(effect);
    const auto input = [&](FakeEffect& of, VstInt32 index) {
        return of.AskHost(audioMasterPinConnected, index, 0);
    };
    EXPECT_EQ(input(effect, 0), 0);
    EXPECT_EQ(input(effect, 1), 0);
    EXPECT_EQ(input(effect, 2), 1);
    EXPECT_EQ(input(effect, -1), 1);
    FakeEffect instrument;
    instrument.abi.flags |= effFlagsIsSynth;
    auto synth = HostEffect(instrument);
    EXPECT_EQ(input(instrument, 0), 1);
    EXPECT_EQ(instrument.AskHost(audioMasterPinConnected, 0, 1), 0);
}

TEST(VSTPluginHostCall, The_sample_rate_is_rounded_to_the_nearest) {
    for (const auto& [rate, answer] :
         std::vector<std::pair<float, VstIntPtr>>{{44100.0f, 44100}, {44099.5f, 44100}, {44100.25f, 44100}}) {
        FakeEffect effect;
        auto plugin = HostEffect(effect, {.sampleRate = rate});
        EXPECT_EQ(effect.AskHost(audioMasterGetSampleRate), answer);
    }
}

TEST(VSTPluginHostCall, A_time_callback_answers_in_place_of_the_transport) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    VSTHostCall seen;
    plugin->SetTimeCallback(
        [](void* context, VSTHostCall& call) {
            *static_cast<VSTHostCall*>(context) = call;
            call.result = 4711;
        },
        &seen);
    int thing = 0;
    EXPECT_EQ(effect.AskHost(audioMasterGetTime, 1, 2, &thing, 0.5f), 4711);
    EXPECT_EQ(seen.effect, &effect.abi);
    EXPECT_EQ(seen.opcode, audioMasterGetTime);
    EXPECT_EQ(seen.index, 1);
    EXPECT_EQ(seen.value, 2);
    EXPECT_EQ(seen.pointer, &thing);
    EXPECT_EQ(seen.opt, 0.5f);
    EXPECT_EQ(seen.result, 0);
}

TEST(VSTPluginHostCall, A_time_callback_needs_no_context) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    plugin->SetTimeCallback([](void*, VSTHostCall& call) { call.result = 12; }, nullptr);
    EXPECT_EQ(effect.AskHost(audioMasterGetTime), 12);
    plugin->SetTimeCallback(nullptr, nullptr);
    EXPECT_GT(effect.AskHost(audioMasterGetTime), 12);
}

TEST(VSTPluginHostCall, Vendor_specific_calls_need_a_callback_and_its_context) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    const auto answer = [](void*, VSTHostCall& call) { call.result = call.value + call.index; };
    EXPECT_EQ(effect.AskHost(audioMasterVendorSpecific, 1, 2), 0);
    plugin->SetVendorCallback(answer, nullptr);
    EXPECT_EQ(effect.AskHost(audioMasterVendorSpecific, 1, 2), 0);
    int context = 0;
    plugin->SetVendorCallback(nullptr, &context);
    EXPECT_EQ(effect.AskHost(audioMasterVendorSpecific, 1, 2), 0);
    plugin->SetVendorCallback(answer, &context);
    EXPECT_EQ(effect.AskHost(audioMasterVendorSpecific, 1, 2), 3);
}

TEST(VSTPluginHostCall, Every_ability_is_denied_and_the_shells_remembered) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    const auto can = [&](const char* text) {
        return effect.AskHost(audioMasterCanDo, 0, 0, const_cast<char*>(text));
    };
    EXPECT_EQ(can(nullptr), 0);
    EXPECT_EQ(can("sizeWindow"), 0);
    EXPECT_EQ(can("shellcategory"), 0);
    EXPECT_EQ(can("shellCategory2"), 0);
    EXPECT_EQ(can(""), 0);
    EXPECT_FALSE(plugin->AskedForShellCategory());
    EXPECT_EQ(can("shellCategory"), 0);
    EXPECT_TRUE(plugin->AskedForShellCategory());
}

TEST(VSTPluginHostCall, Everything_else_is_answered_0_and_asks_the_effect_nothing) {
    FakeEffect effect;
    auto plugin = HostEffect(effect);
    effect.calls.clear();
    for (const VstInt32 opcode :
         {2,
          5,
          6,
          8,
          9,
          10,
          11,
          12,
          13,
          15,
          17,
          18,
          19,
          20,
          21,
          22,
          23,
          24,
          25,
          26,
          27,
          28,
          29,
          30,
          31,
          36,
          38,
          39,
          40,
          41,
          42,
          43,
          44,
          45,
          46,
          47,
          48,
          49,
          50,
          51,
          1000,
          -1,
          std::numeric_limits<VstInt32>::max(),
          std::numeric_limits<VstInt32>::min()}) {
        EXPECT_EQ(effect.AskHost(opcode, 0, 0, nullptr, 0.0f), 0) << opcode;
    }
    EXPECT_TRUE(effect.calls.empty());
    EXPECT_FALSE(plugin->IsDirty());
}

} // namespace
