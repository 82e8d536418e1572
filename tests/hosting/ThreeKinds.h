#pragma once

#include "dsp/ElementDispatcher.h"
#include "hosting/ElementHostImpl.h"
#include "hosting/ElementPlugin.h"
#include "svbase/util/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Tarvik {

class Percent final : public DSP::ParamFormatter<float> {
public:
    String Format(float value) const override { return String("%1 %").arg(value, 0U); }
};

/// Three parameters, one of each kind, and extra bytes.
class ThreeKinds final : public DSP::ElementDispatcher {
public:
    ThreeKinds(DSP::ElementHost* host, bool* gone = nullptr)
        : ElementDispatcher(host, "Three Kinds", 48000.0F, 1), gone_(gone) {
        DSP::ParamRegistration<float> gain;
        gain.name = "Gain";
        gain.index = 0;
        gain.range = {-10.0F, 10.0F};
        gain.target = &gain_;
        gain.units = "dB";
        gain.formatter = std::make_unique<Percent>();
        AddFloatParam(std::move(gain));
        DSP::ParamRegistration<bool> active;
        active.name = "Active";
        active.index = 1;
        active.target = &active_;
        active.quantised = true;
        AddBoolParam(std::move(active));
        DSP::ParamRegistration<std::uint32_t> mode;
        mode.name = "Mode";
        mode.index = 2;
        mode.range = {2, 5};
        mode.defaultValue = 2;
        mode.target = &mode_;
        mode.valueNames = {"two", "three", "four", "five"};
        AddEnumParam(std::move(mode));
        FinishParamRegistration();
    }
    ~ThreeKinds() override {
        if (gone_ != nullptr) {
            *gone_ = true;
        }
    }

    bool SupportsRealTime() const override { return realTime; }
    bool SupportsRandomAccess() const override { return randomAccess; }
    bool ProcessRandomAccess(DSP::RandomAccessHost* host) override {
        renderedBy = host;
        return randomAccess;
    }

    bool HasExtraBytes() const override { return true; }
    std::uint32_t GetExtraBytesSize() const override {
        return claimedSize != 0 ? claimedSize : static_cast<std::uint32_t>(extra.size());
    }
    void GetExtraBytes(std::span<std::uint8_t> buffer) const override {
        FailIfAsked();
        std::copy(extra.begin(), extra.end(), buffer.begin());
    }
    void SetExtraBytes(const void* bytes, std::uint32_t size, bool) override {
        FailIfAsked();
        const auto* first = static_cast<const std::uint8_t*>(bytes);
        extra.assign(first, first + size);
    }

    std::vector<std::uint8_t> extra;
    std::uint32_t claimedSize = 0;
    /// What has to do with the extra bytes throws what a stream throws.
    bool failing = false;
    int idles = 0;
    int resets = 0;
    bool realTime = true;
    bool randomAccess = true;
    DSP::RandomAccessHost* renderedBy = nullptr;

protected:
    std::uint32_t DoGetLatency(std::uint32_t) const override { return 12; }
    void OnIdle() override { ++idles; }
    void OnReset() override { ++resets; }
    void ProcessAudio(std::uint32_t frames, float** channels) override {
        for (std::uint32_t i = 0; i < frames; ++i) {
            channels[1][i] = -channels[0][i];
        }
    }

private:
    void FailIfAsked() const {
        if (failing) {
            THROW_HERE(Util::Exception::DataStreamIO, "Can't read 12 bytes");
        }
    }

    bool* gone_;
    float gain_ = 0.0F;
    bool active_ = false;
    std::uint32_t mode_ = 2;
};

class ThreeKindsPlugin final : public ElementPlugin {
public:
    explicit ThreeKindsPlugin(DSP::ElementHost* host) : ElementPlugin(48000.0F, 1, host) {}

    using ElementPlugin::SetElement;
    using ElementPlugin::SetLibrary;
};

class ThreeKindsTest : public testing::Test {
protected:
    void SetUp() override {
        element = new ThreeKinds(&host, &gone);
        plugin->SetElement(element, true);
    }

    /// One block of the element.
    void Block() {
        float left[4] = {};
        float right[4] = {};
        float* channels[] = {left, right};
        plugin->Process(4, 2, channels);
    }

    // In the order of names: "Active", "Gain", "Mode".
    static constexpr std::uint32_t active = 0;
    static constexpr std::uint32_t gain = 1;
    static constexpr std::uint32_t mode = 2;

    ElementHostImpl host;
    bool gone = false;
    ThreeKinds* element = nullptr;
    std::unique_ptr<ThreeKindsPlugin> plugin = std::make_unique<ThreeKindsPlugin>(&host);
};

} // namespace Tarvik
