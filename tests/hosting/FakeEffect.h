#pragma once

#include "hosting/vst/VSTPlugin.h"
#include "hosting/vst/VstAbi.h"
#include "svbase/util/Noncopyable.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// An effect that stands in the test program and records what it is asked. Has an editor, two inputs, two
/// outputs and no parameters until a test says otherwise. Outlives the plug-in that hosts it.
class FakeEffect : private noncopyable {
public:
    struct Call {
        VstInt32 opcode = 0;
        VstInt32 index = 0;
        VstIntPtr value = 0;
        void* ptr = nullptr;
        float opt = 0.0f;
    };
    using Answer = std::function<VstIntPtr(const Call&)>;

    FakeEffect();

    AEffect abi{};
    audioMasterCallback host = nullptr;
    std::vector<Call> calls;
    /// By opcode; 0 for any other.
    std::map<VstInt32, Answer> answers;
    std::vector<float> parameters;
    /// Every setParameter, in order.
    std::vector<std::pair<VstInt32, float>> changes;
    std::function<void(float** inputs, float** outputs, VstInt32 frames)> process;
    /// Run before a value is read or written.
    std::function<void()> atGetParameter;
    std::function<void()> atSetParameter;
    /// Runs in the entry point, before there is an effect to the host.
    std::function<void()> atEntry;
    bool entersWithNull = false;

    void SetParameters(std::vector<float> values);
    void Answers(VstInt32 opcode, VstIntPtr answer);
    void AnswersText(VstInt32 opcode, std::string text, VstIntPtr answer = 1);

    std::vector<VstInt32> Opcodes() const;
    std::vector<Call> CallsOf(VstInt32 opcode) const;

    VstIntPtr
    AskHost(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr, float opt = 0.0f);

private:
    static VstIntPtr VSTCALLBACK dispatcher(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float);
    static void VSTCALLBACK setParameter(AEffect*, VstInt32, float);
    static float VSTCALLBACK getParameter(AEffect*, VstInt32);
    static void VSTCALLBACK processReplacing(AEffect*, float**, float**, VstInt32);
};

/// Where the test libraries stand: beside the test program. Native form of "/"-separated names.
String EffectLibraryPath(const char* name);

/// What a host chooses for a plug-in.
struct HostChoices {
    float sampleRate = 48000.0f;
    std::uint32_t layout = 1;
    bool scanOnly = false;
    checked_value<std::int32_t> blockSize = {};
    String vendor = "Vendor";
    String product = "Product";
    const char* library = "forwarding.dll";
};

/// Makes the library's entry point create this effect. Gives the library's path.
String LetLibraryCreate(FakeEffect& effect, const char* library = "forwarding.dll");

/// Makes the library's entry point create this effect, and hosts it.
std::unique_ptr<Tarvik::VSTPlugin> HostEffect(FakeEffect& effect, const HostChoices& choices = {});
