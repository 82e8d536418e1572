#pragma once

#include "TestElement.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace DSP::Testing {

using Log = std::vector<std::string>;

class DecibelText final : public ParamFormatter<float> {
public:
    String Format(float value) const override { return String::number(value, 1U) + " dB"; }
};

/// A gain, a switch and a choice.
class Parametric : public TestElement {
public:
    enum Index : std::uint32_t { gainIndex, switchIndex, modeIndex };

    explicit Parametric(
        TestElementHost& host, const ElementConfig& config = {},
        ParamRegistration<float>::DispatchOverride gainOverride = {})
        : TestElement(host, mono, config) {
        ParamRegistration<float> gainParam;
        gainParam.name = "Gain";
        gainParam.index = gainIndex;
        gainParam.range = {-12.0F, 12.0F};
        gainParam.defaultValue = 0.0F;
        gainParam.target = &gain;
        gainParam.info = "Loudness";
        gainParam.units = "dB";
        gainParam.formatter = std::make_unique<DecibelText>();
        gainParam.audioCallback = [this](float value, SourceTag tag) {
            log.push_back("audio " + text(value) + " " + text(tag));
        };
        gainParam.controlCallback = [this](float value) { log.push_back("control " + text(value)); };
        gainParam.observers.push_back([this](std::uint32_t side, float value, SourceTag tag) {
            log.push_back("observed " + std::to_string(side) + " " + text(value) + " " + text(tag));
        });
        gainParam.dispatchOverride = std::move(gainOverride);
        gainParam.followUps.push_back([this] { log.push_back("first follow-up"); });
        gainParam.followUps.push_back([this] { log.push_back("second follow-up"); });
        AddFloatParam(std::move(gainParam));

        ParamRegistration<bool> switchParam;
        switchParam.name = "Switch";
        switchParam.index = switchIndex;
        switchParam.range = {false, true};
        switchParam.target = &on;
        switchParam.quantised = true;
        AddBoolParam(std::move(switchParam));

        ParamRegistration<std::uint32_t> modeParam;
        modeParam.name = "Mode";
        modeParam.index = modeIndex;
        modeParam.range = {3, 5};
        modeParam.defaultValue = 3;
        modeParam.target = &mode;
        modeParam.valueNames = {"Low", "Middle", "High"};
        AddEnumParam(std::move(modeParam));
        infoBefore = GetParamInfo("Gain");
        FinishParamRegistration();
        Reset();
    }

    static std::string text(float value) { return std::to_string(static_cast<int>(value)); }
    static std::string text(SourceTag tag) {
        return "(" + std::to_string(tag.value) + "," + std::to_string(tag.flag) + ")";
    }

    Log TakeLog() {
        Log taken;
        taken.swap(log);
        return taken;
    }
    ElementParam<float> Gain() const { return std::get<ElementParam<float>>(GetParam("Gain")); }
    ElementParamEnum Mode() const { return std::get<ElementParamEnum>(GetParam("Mode")); }
    DispatchInfo<float>& GainInfo() const { return *GetDispatchInfo<float>(gainIndex); }

    float gain = 1.0F;
    bool on = false;
    std::uint32_t mode = 3;
    Log log;
    ParamInfo infoBefore;
};

class ParametricTest : public ::testing::Test {
protected:
    void Block(Element& element) {
        TestAudio audio(1, 4);
        element.Process(4, audio.GetPointers());
    }

    TestElementHost host;
};

} // namespace DSP::Testing
