// Programs, parameters and state of an effect.

#include "hosting/ForeignCall.h"
#include "hosting/vst/VSTPlugin.h"
#include "hosting/vst/VstAbi.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace Tarvik {

namespace {

// From here on a list of programs is one that the effect makes up as it goes.
constexpr VstInt32 programsLimit = 256;

// An effect with more parameters than this is one whose parameters are not its state.
constexpr std::uint32_t stateParametersLimit = 10000;

// Chunks of the current program, not of the whole bank.
constexpr VstInt32 programChunk = 1;

} // namespace

// Selecting each program in turn is the only way to an effect's program states, so the list is read once,
// before anything is heard of it.
void VSTPlugin::ReadPrograms() {
    const VstInt32 count = effect->numPrograms;
    if (count <= 0 || count >= programsLimit) {
        return;
    }
    const VstIntPtr current = Dispatch(effGetProgram);
    if (current < 0 || current >= count) {
        return;
    }
    for (VstInt32 index = 0; index < count; ++index) {
        Dispatch(effSetProgram, 0, index);
        VstIntPtr answer = 0;
        Program program;
        program.name = DispatchText(effGetProgramName, 0, answer);
        if (program.name.isEmpty()) {
            program.name = String("Program %1").arg(index + 1);
        }
        GetState(1, program.state);
        programs.push_back(std::move(program));
    }
    Dispatch(effSetProgram, 0, current);
}

std::uint32_t VSTPlugin::GetNumPrograms() const {
    return static_cast<std::uint32_t>(programs.size());
}

String VSTPlugin::GetProgramName(std::uint32_t index) const {
    return index < programs.size() ? programs[index].name : String("");
}

bool VSTPlugin::SelectProgram(std::uint32_t index) {
    if (effect == nullptr || effect->numPrograms <= 0 ||
        index >= static_cast<std::uint32_t>(effect->numPrograms) || index >= programs.size()) {
        return false;
    }
    const std::vector<std::uint8_t>& state = programs[index].state;
    return SetState(1, static_cast<std::uint32_t>(state.size()), state.data());
}

std::uint32_t VSTPlugin::GetNumParameters() const {
    return effect == nullptr ? 0 : static_cast<std::uint32_t>(std::max(0, effect->numParams));
}

String VSTPlugin::GetParameterName(std::uint32_t index) const {
    VstIntPtr answer = 0;
    String name = DispatchText(effGetParamName, static_cast<VstInt32>(index), answer);
    return name.isEmpty() ? String("Unknown") : name;
}

ParameterInfo VSTPlugin::GetParameterInfo(std::uint32_t index) const {
    return index < GetNumParameters() ? ParameterInfo{0, 0.0f, 1.0f, 0} : ParameterInfo{0, 1.0f, 0.0f, 0};
}

String VSTPlugin::GetParameterUnits(std::uint32_t index) const {
    if (index >= GetNumParameters()) {
        return "";
    }
    VstIntPtr answer = 0;
    return DispatchText(effGetParamLabel, static_cast<VstInt32>(index), answer);
}

bool VSTPlugin::IsParameterQuantised(std::uint32_t) const {
    return false;
}

String VSTPlugin::GetParameterDisplay(std::uint32_t, std::uint32_t) const {
    return "";
}

float VSTPlugin::GetParameterValue(std::uint32_t, std::uint32_t index) const {
    if (effect == nullptr) {
        return 0.0f;
    }
    return callForeign([=, this] { return effect->getParameter(effect, static_cast<VstInt32>(index)); });
}

void VSTPlugin::SetParameterValue(std::uint32_t, std::uint32_t index, float value) {
    if (effect != nullptr) {
        callForeign([=, this] { effect->setParameter(effect, static_cast<VstInt32>(index), value); });
    }
}

// The chunk is the effect's memory, valid until its next call. Sizes of states have 32 bits with a sign, and
// so has the answer of an effect that was built as a 32-bit one first.
bool VSTPlugin::ReadChunk(const std::uint8_t*& data, std::uint32_t& size) const {
    if (effect == nullptr || (effect->flags & effFlagsProgramChunks) == 0) {
        return false;
    }
    void* chunk = nullptr;
    const VstIntPtr answer = Dispatch(effGetChunk, programChunk, 0, static_cast<void*>(&chunk));
    if (chunk == nullptr || answer <= 0 || answer > std::numeric_limits<VstInt32>::max()) {
        return false;
    }
    data = static_cast<const std::uint8_t*>(chunk);
    size = static_cast<std::uint32_t>(answer);
    return true;
}

void VSTPlugin::GetState(std::int32_t, std::vector<std::uint8_t>& state) const {
    state.clear();
    const std::uint8_t* chunk = nullptr;
    std::uint32_t size = 0;
    if (ReadChunk(chunk, size)) {
        state.assign(chunk, chunk + size);
        return;
    }
    const std::uint32_t count = GetNumParameters();
    if (count > stateParametersLimit) {
        return;
    }
    state.resize(count * sizeof(float));
    for (std::uint32_t index = 0; index < count; ++index) {
        const float value = GetParameterValue(0, index);
        std::memcpy(state.data() + index * sizeof value, &value, sizeof value);
    }
}

bool VSTPlugin::SetState(std::uint32_t stream, std::uint32_t size, const void* data) {
    if (size == 0) {
        return true;
    }
    if (effect == nullptr || data == nullptr) {
        return false;
    }
    const std::uint8_t* chunk = nullptr;
    std::uint32_t chunkSize = 0;
    if (ReadChunk(chunk, chunkSize)) {
        // The interface takes no const; effects read it.
        Dispatch(effSetChunk, programChunk, static_cast<VstIntPtr>(size), const_cast<void*>(data));
        return true;
    }
    const std::uint32_t count = GetNumParameters();
    if (size != count * std::uint64_t{sizeof(float)}) {
        return false;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::uint32_t index = 0; index < count; ++index) {
        float value = 0.0f;
        std::memcpy(&value, bytes + index * sizeof value, sizeof value);
        SetParameterValue(stream, index, value);
    }
    return true;
}

} // namespace Tarvik
