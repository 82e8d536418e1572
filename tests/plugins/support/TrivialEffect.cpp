#include "support/TrivialEffect.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

TrivialEffect::TrivialEffect(audioMasterCallback hostCallback) : host(hostCallback) {
    effect.magic = kEffectMagic;
    effect.object = this;
    effect.uniqueID = fourLetters("TrEf");
    effect.version = 1000;
    effect.flags = effFlagsHasEditor | effFlagsCanReplacing;
    effect.numInputs = 2;
    effect.numOutputs = 2;
    effect.numPrograms = 1;
    effect.ioRatio = 1.0f;
    setParameterCount(1);
    effect.dispatcher = [](AEffect* abi, std::int32_t opcode, std::int32_t index, std::intptr_t value,
                           void* pointer, float opt) -> std::intptr_t {
        TrivialEffect* object = self(abi);
        const std::intptr_t answer = object->dispatch(opcode, index, value, pointer, opt);
        if (opcode == effClose)
            delete object;
        return answer;
    };
    effect.processReplacing = [](AEffect* abi, float** inputs, float** outputs, std::int32_t frames) {
        self(abi)->process(inputs, outputs, frames);
    };
    effect.setParameter = [](AEffect* abi, std::int32_t index, float value) {
        self(abi)->setParameter(index, value);
    };
    effect.getParameter = [](AEffect* abi, std::int32_t index) { return self(abi)->getParameter(index); };
}

TrivialEffect* TrivialEffect::self(AEffect* effect) {
    return static_cast<TrivialEffect*>(effect->object);
}

void TrivialEffect::setParameterCount(std::int32_t count) {
    effect.numParams = count;
    m_parameters.assign(static_cast<std::size_t>(count), 0.5f);
    if (count > 0)
        m_parameters[0] = 1.0f;
}

std::intptr_t TrivialEffect::dispatch(
    std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float /*opt*/) {
    char* const text = static_cast<char*>(pointer);
    switch (opcode) {
    case effGetVstVersion:
        return 2400;
    case effGetPlugCategory:
        return category;
    case effGetEffectName:
        if (!name)
            return 0;
        std::strcpy(text, name);
        return 1;
    case effGetVendorString:
        std::strcpy(text, "Test Plug-ins");
        return 1;
    case effSetProgram:
        m_program = static_cast<std::int32_t>(value);
        return 0;
    case effGetProgram:
        return m_program;
    case effGetProgramName:
        std::snprintf(text, 24, "Program number %d", static_cast<int>(m_program));
        return 0;
    case effGetParamName:
        if (index == 0)
            std::strcpy(text, "Gain");
        else
            std::snprintf(text, 24, "Parameter %d", static_cast<int>(index));
        return 0;
    case effGetParamLabel:
        std::strcpy(text, index == 0 ? "x" : "%");
        return 0;
    case effEditGetRect:
        *static_cast<ERect**>(pointer) = &editorRect;
        return 1;
    case effEditOpen:
        return 1;
    default:
        return 0;
    }
}

void TrivialEffect::process(float** inputs, float** outputs, std::int32_t frames) {
    const float gain = m_parameters.empty() ? 1.0f : m_parameters[0];
    for (std::int32_t channel = 0; channel < effect.numOutputs; ++channel) {
        float* const out = outputs[channel];
        if (channel < effect.numInputs)
            std::transform(inputs[channel], inputs[channel] + frames, out, [gain](float sample) {
                return sample * gain;
            });
        else
            std::fill_n(out, frames, 0.0f);
    }
}

void TrivialEffect::setParameter(std::int32_t index, float value) {
    if (index >= 0 && static_cast<std::size_t>(index) < m_parameters.size())
        m_parameters[static_cast<std::size_t>(index)] = value;
}

float TrivialEffect::getParameter(std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < m_parameters.size()
               ? m_parameters[static_cast<std::size_t>(index)]
               : 0.0f;
}
