// An effect that answers whatever it likes, whenever it likes, and asks its host for anything meanwhile.

#include "Require.h"
#include "hosting/FakeEffect.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::uint32_t channels = 3;
constexpr std::uint32_t largestBlock = 64;

class HostileEffect : public FakeEffect {
public:
    explicit HostileEffect(FuzzedDataProvider& data) : data_(data) {
        ChangeMind();
        for (VstInt32 opcode = 0; opcode <= effGetNumMidiOutputChannels; ++opcode) {
            answers[opcode] = [this](const Call& call) { return Answer(call); };
        }
        // Every index is one of its parameters', as far as it can hold them.
        parameters.assign(20000, 0.5f);
        process = [this](float** inputs, float** outputs, VstInt32 frames) {
            Process(inputs, outputs, frames);
        };
        atEntry = [this] {
            while (data_.ConsumeBool()) {
                Ask();
            }
            ThrowPerhaps();
        };
        entersWithNull = data_.ConsumeIntegralInRange(0, 9) == 0;
    }

    // All but parameters: those it must hold for the host to ask about.
    void ChangeMind() {
        abi.numPrograms = Number();
        abi.numInputs = Number();
        abi.numOutputs = Number();
        abi.flags = data_.ConsumeIntegral<VstInt32>() | effFlagsHasEditor;
        abi.initialDelay = data_.ConsumeIntegral<VstInt32>();
        abi.numParams = data_.ConsumeIntegralInRange(-2, 20000);
    }

private:
    VstInt32 Number() {
        return data_.ConsumeBool() ? data_.ConsumeIntegralInRange(-2, 300)
                                   : data_.ConsumeIntegral<VstInt32>();
    }

    void ThrowPerhaps() {
        if (throws && data_.ConsumeIntegralInRange(0, 255) == 255) {
            throw std::runtime_error("hostile");
        }
    }

    void Ask() {
        std::array<char, 64> area{};
        const std::vector<char> text = data_.ConsumeBytesWithTerminator<char>(20);
        const VstInt32 opcode = data_.ConsumeIntegralInRange(-1, 51);
        const bool takesText = opcode == audioMasterCanDo;
        std::copy_n(text.begin(), std::min(text.size(), area.size() - 1), area.begin());
        AEffect stranger{};
        AEffect* const who[] = {&abi, &stranger, nullptr};
        const VstIntPtr answer = host(
            who[data_.ConsumeIntegralInRange(0, 2)], opcode, data_.ConsumeIntegral<VstInt32>(),
            data_.ConsumeIntegral<VstIntPtr>(), takesText || data_.ConsumeBool() ? area.data() : nullptr,
            0.5f);
        REQUIRE(opcode == audioMasterGetTime || (answer >= 0 && answer <= 48000));
    }

    VstIntPtr Answer(const Call& call) {
        while (data_.remaining_bytes() > 0 && data_.ConsumeIntegralInRange(0, 15) == 15) {
            Ask();
        }
        ThrowPerhaps();
        switch (call.opcode) {
        case effGetProgramName:
        case effGetParamName:
        case effGetParamLabel:
        case effGetEffectName: {
            const std::vector<char> text = data_.ConsumeBytes<char>(1024);
            std::copy(text.begin(), text.end(), static_cast<char*>(call.ptr));
            break;
        }
        case effGetChunk:
            chunk_ = data_.ConsumeBytes<std::uint8_t>(64);
            if (data_.ConsumeBool()) {
                *static_cast<void**>(call.ptr) = chunk_.data();
            }
            // A size beyond the memory behind it is the one lie that nobody can see through.
            return data_.ConsumeBool() ? static_cast<VstIntPtr>(chunk_.size())
                                       : -static_cast<VstIntPtr>(data_.ConsumeIntegral<std::uint16_t>());
        case effSetChunk: {
            // Reads all that it is given.
            const auto* bytes = static_cast<const std::uint8_t*>(call.ptr);
            chunk_.assign(bytes, bytes + call.value);
            break;
        }
        case effEditGetRect:
            rectangle_ = {
                data_.ConsumeIntegral<VstInt16>(), data_.ConsumeIntegral<VstInt16>(),
                data_.ConsumeIntegral<VstInt16>(), data_.ConsumeIntegral<VstInt16>()};
            if (data_.ConsumeBool()) {
                *static_cast<ERect**>(call.ptr) = &rectangle_;
            }
            break;
        default:
            break;
        }
        return data_.ConsumeBool() ? data_.ConsumeIntegralInRange<VstIntPtr>(-1, 12)
                                   : data_.ConsumeIntegral<VstIntPtr>();
    }

    void Process(float** inputs, float** outputs, VstInt32 frames) {
        REQUIRE(inputs == outputs);
        const VstInt32 width = std::max(abi.numInputs, abi.numOutputs);
        for (VstInt32 channel = 0; channel < width; ++channel) {
            std::fill_n(outputs[channel], frames, 0.25f);
            outputs[channel] = nullptr;
        }
        if (data_.ConsumeBool()) {
            ChangeMind();
        }
    }

public:
    /// What leaves a destructor or the audio path would end any host.
    bool throws = true;

private:
    FuzzedDataProvider& data_;
    std::vector<std::uint8_t> chunk_;
    ERect rectangle_{};
};

void use(Tarvik::VSTPlugin& plugin, HostileEffect& effect, FuzzedDataProvider& data) {
    std::array<std::array<float, largestBlock>, channels> audio{};
    std::array<float*, channels> pointers{audio[0].data(), audio[1].data(), audio[2].data()};
    std::vector<std::uint8_t> state;
    const auto index = [&data] { return data.ConsumeIntegralInRange<std::uint32_t>(0, 300); };
    while (data.remaining_bytes() > 0) {
        switch (data.ConsumeIntegralInRange(0, 15)) {
        case 0:
            plugin.Process(
                data.ConsumeIntegralInRange<std::uint32_t>(0, largestBlock), channels, pointers.data());
            break;
        case 1:
            plugin.GetState(1, state);
            REQUIRE(state.size() <= 40000);
            break;
        case 2:
            plugin.SetState(1, static_cast<std::uint32_t>(state.size()), state.data());
            break;
        case 3:
            state = data.ConsumeBytes<std::uint8_t>(100);
            break;
        case 4:
            plugin.SelectProgram(index());
            break;
        case 5:
            REQUIRE(plugin.GetProgramName(index()).length() < 1024 && plugin.GetNumPrograms() < 256);
            break;
        case 6:
            REQUIRE(plugin.GetParameterName(index()).length() < 1024);
            break;
        case 7:
            REQUIRE(plugin.GetParameterUnits(index()).length() < 1024);
            break;
        case 8:
            REQUIRE(plugin.GetName().length() < 1024);
            break;
        case 9: {
            std::uint32_t width = 0;
            std::uint32_t height = 0;
            plugin.GetEditorSize(width, height);
            REQUIRE(width <= 65535 && height <= 65535);
            break;
        }
        case 10:
            plugin.Idle();
            break;
        case 11: {
            const std::vector<Tarvik::ProcessEvent> events(index());
            plugin.ProcessEvents(static_cast<std::uint32_t>(events.size()), events.data());
            break;
        }
        case 12: {
            DSP::TransportRecord transport;
            if (data.ConsumeBool()) {
                transport.mode = data.ConsumeIntegralInRange<std::uint32_t>(0, 2);
            }
            if (data.ConsumeBool()) {
                transport.position = data.ConsumeIntegral<std::int64_t>();
            }
            plugin.SetTransport(transport);
            break;
        }
        case 13:
            effect.ChangeMind();
            break;
        case 14:
            REQUIRE(plugin.GetLatency() <= 100000000);
            break;
        default:
            REQUIRE(!plugin.OpenEditor(nullptr, 0, 0));
            break;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    HostileEffect effect(data);
    const bool scanOnly = data.ConsumeBool();
    auto plugin = HostEffect(effect, {.layout = channels + 12, .scanOnly = scanOnly});
    effect.throws = false;
    use(*plugin, effect, data);
    return 0;
}
