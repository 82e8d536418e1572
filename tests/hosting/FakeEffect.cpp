#include "hosting/FakeEffect.h"

#include "hosting/TestProgram.h"
#include "svbase/util/Module.h"

#include <cstring>
#include <stdexcept>

namespace {

FakeEffect* entering = nullptr;

AEffect* VSTCALLBACK enter(audioMasterCallback host) {
    FakeEffect& effect = *entering;
    effect.host = host;
    if (effect.atEntry) {
        effect.atEntry();
    }
    return effect.entersWithNull ? nullptr : &effect.abi;
}

FakeEffect& of(AEffect* effect) {
    return *static_cast<FakeEffect*>(effect->object);
}

} // namespace

FakeEffect::FakeEffect() {
    abi.magic = kEffectMagic;
    abi.dispatcher = dispatcher;
    abi.setParameter = setParameter;
    abi.getParameter = getParameter;
    abi.processReplacing = processReplacing;
    abi.numInputs = 2;
    abi.numOutputs = 2;
    abi.flags = effFlagsHasEditor | effFlagsCanReplacing;
    abi.uniqueID = 0x64636261;
    abi.object = this;
}

void FakeEffect::SetParameters(std::vector<float> values) {
    parameters = std::move(values);
    abi.numParams = static_cast<VstInt32>(parameters.size());
}

void FakeEffect::Answers(VstInt32 opcode, VstIntPtr answer) {
    answers[opcode] = [answer](const Call&) { return answer; };
}

void FakeEffect::AnswersText(VstInt32 opcode, std::string text, VstIntPtr answer) {
    answers[opcode] = [text = std::move(text), answer](const Call& call) {
        std::memcpy(call.ptr, text.c_str(), text.size() + 1);
        return answer;
    };
}

std::vector<VstInt32> FakeEffect::Opcodes() const {
    std::vector<VstInt32> opcodes;
    for (const Call& call : calls) {
        opcodes.push_back(call.opcode);
    }
    return opcodes;
}

std::vector<FakeEffect::Call> FakeEffect::CallsOf(VstInt32 opcode) const {
    std::vector<Call> found;
    for (const Call& call : calls) {
        if (call.opcode == opcode) {
            found.push_back(call);
        }
    }
    return found;
}

VstIntPtr FakeEffect::AskHost(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt) {
    return host(&abi, opcode, index, value, ptr, opt);
}

VstIntPtr VSTCALLBACK FakeEffect::dispatcher(
    AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt) {
    FakeEffect& self = of(effect);
    const Call call{opcode, index, value, ptr, opt};
    self.calls.push_back(call);
    const auto found = self.answers.find(opcode);
    return found == self.answers.end() ? 0 : found->second(call);
}

void VSTCALLBACK FakeEffect::setParameter(AEffect* effect, VstInt32 index, float value) {
    FakeEffect& self = of(effect);
    if (self.atSetParameter) {
        self.atSetParameter();
    }
    self.changes.emplace_back(index, value);
    self.parameters.at(static_cast<std::size_t>(index)) = value;
}

float VSTCALLBACK FakeEffect::getParameter(AEffect* effect, VstInt32 index) {
    FakeEffect& self = of(effect);
    if (self.atGetParameter) {
        self.atGetParameter();
    }
    return self.parameters.at(static_cast<std::size_t>(index));
}

void VSTCALLBACK
FakeEffect::processReplacing(AEffect* effect, float** inputs, float** outputs, VstInt32 frames) {
    FakeEffect& self = of(effect);
    if (self.process) {
        self.process(inputs, outputs, frames);
    }
}

String EffectLibraryPath(const char* name) {
    return String("%1/effect_libraries/%2").arg(TestProgramDirectory()).arg(name);
}

String LetLibraryCreate(FakeEffect& effect, const char* name) {
    const String path = EffectLibraryPath(name);
    Util::Module library(path);
    if (!library.load()) {
        throw std::runtime_error("cannot load " + path.toStdString());
    }
    // Only what has an entry point has this.
    library.function<void (*)(VstEntryPoint)>("SetEffectFactory")(&enter);
    library.setKeepLoaded(true);
    entering = &effect;
    return path;
}

std::unique_ptr<Tarvik::VSTPlugin> HostEffect(FakeEffect& effect, const HostChoices& choices) {
    return std::make_unique<Tarvik::VSTPlugin>(
        LetLibraryCreate(effect, choices.library), choices.sampleRate, choices.layout, choices.scanOnly,
        choices.blockSize, choices.vendor, choices.product);
}
