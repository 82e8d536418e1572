#pragma once

#include "TestElementHost.h"
#include "dsp/ElementDispatcher.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace DSP::Testing {

inline constexpr std::uint32_t mono = 0;
inline constexpr std::uint32_t stereo = 1;

/// An element whose answers a test sets and whose notes it reads.
class TestElement : public ElementDispatcher {
public:
    using Dsp = std::function<void(std::uint32_t stream, std::uint32_t frames, float** channels)>;

    explicit TestElement(
        TestElementHost& host, std::uint32_t layout = mono, const ElementConfig& config = {},
        float rate = 48000.0F)
        : ElementDispatcher(&host, "TestElement", rate, layout, config) {}

    std::uint32_t latency = 0;
    std::uint32_t maxLatency = 4096;
    std::uint32_t fixedBlock = 0;
    std::uint32_t ownScratch = 0;
    bool enabled = true;
    bool wantsAudio = true;
    bool modifies = true;
    bool defers = false;
    float** sidechain = nullptr;
    float** aux = nullptr;
    Dsp dsp;

    std::uint32_t resets = 0;
    std::uint32_t clears = 0;
    std::uint32_t drains = 0;
    std::uint32_t idles = 0;
    std::uint32_t begins = 0;
    std::uint32_t ends = 0;
    std::uint32_t notifies = 0;
    std::vector<bool> paramsChanged;
    std::vector<float> processed;
    std::vector<float> dry;
    bool logHooks = false;

    using ElementDispatcher::AddBoolParam;
    using ElementDispatcher::AddChild;
    using ElementDispatcher::AddEnumParam;
    using ElementDispatcher::AddFloatParam;
    using ElementDispatcher::FinishParamRegistration;
    using ElementDispatcher::GetBlockPositions;
    using ElementDispatcher::GetCurrentInputs;
    using ElementDispatcher::GetCurrentOutputs;
    using ElementDispatcher::GetOwnTransport;
    using ElementDispatcher::GetRegionMergeDistance;
    using ElementDispatcher::GetSampleFormat;
    using ElementDispatcher::RemoveChild;
    using ElementDispatcher::SetBlockPositions;

    bool IsEnabled(std::uint32_t) const override { return enabled; }
    void OnProcessed(std::uint32_t frames, float** output) override {
        if (logHooks) {
            processed.assign(output[0], output[0] + frames);
        }
    }
    void OnDrySignal(std::uint32_t frames, float** signal) override {
        if (logHooks) {
            dry.assign(signal[0], signal[0] + frames);
        }
    }

protected:
    std::uint32_t DoGetLatency(std::uint32_t) const override { return latency; }
    std::uint32_t DoGetMaxLatency() const override { return maxLatency; }
    std::uint32_t DoGetFixedBlockSize() const override { return fixedBlock; }
    std::uint32_t GetOwnScratchBytes() const override { return ownScratch; }
    bool WantsAudio() const override { return wantsAudio; }
    bool ModifiesAudio() const override { return modifies; }
    bool DefersCommands() const override { return defers; }
    float** GetSidechainChannels() override { return sidechain; }
    float** GetAuxChannels() override { return aux; }
    void OnReset() override { ++resets; }
    void OnClearState() override { ++clears; }
    void OnCommandsDrained() override { ++drains; }
    void OnIdle() override { ++idles; }
    void OnParamChangeBegin() override { ++begins; }
    void OnParamChangeEnd() override { ++ends; }
    void OnNotify() override { ++notifies; }
    void OnParamsChanged(bool any) override { paramsChanged.push_back(any); }
    void ProcessStream(std::uint32_t stream, std::uint32_t frames, float** channels) override {
        if (dsp) {
            dsp(stream, frames, channels);
        }
    }
};

/// Channels of one signal, and the pointers that Process wants.
struct TestAudio {
    TestAudio(std::size_t numChannels, std::size_t frames, float value = 0.0F)
        : channels(numChannels, std::vector<float>(frames, value)) {}

    float** GetPointers(std::size_t offset = 0) {
        pointers.clear();
        for (std::vector<float>& channel : channels) {
            pointers.push_back(channel.data() + offset);
        }
        return pointers.data();
    }

    std::vector<std::vector<float>> channels;
    std::vector<float*> pointers;
};

} // namespace DSP::Testing
