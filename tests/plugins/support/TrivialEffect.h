#pragma once

#include "hosting/vst/VstAbi.h"

#include <cstdint>
#include <vector>

/// A complete, well-behaved effect: stereo, one parameter that is its gain, an editor that draws nothing.
/// Each test library starts from it and changes the one thing that it is named for, in its constructor or by
/// overriding.
///
/// The object is made by the library's entry point and deletes itself at effClose, together with its AEffect,
/// as many effects do. The host calls it from one thread at a time.
class TrivialEffect {
public:
    explicit TrivialEffect(audioMasterCallback host);
    virtual ~TrivialEffect() = default;
    TrivialEffect(const TrivialEffect&) = delete;
    TrivialEffect& operator=(const TrivialEffect&) = delete;

    /// What the entry point returns. Valid until effClose.
    AEffect* abi() { return &effect; }

protected:
    /// Answers one opcode of the dispatcher. An override passes on what it does not answer itself. effClose
    /// arrives here first; the object is deleted after it.
    virtual std::intptr_t
    dispatch(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt);

    /// numInputs channels in, numOutputs out, which may be the same memory. The gain, channel by channel;
    /// outputs without an input of their number are silent.
    virtual void process(float** inputs, float** outputs, std::int32_t frames);

    virtual void setParameter(std::int32_t index, float value);
    virtual float getParameter(std::int32_t index);

    /// numParams becomes the count; every value is 0.5, but the first, the gain, is 1.
    void setParameterCount(std::int32_t count);

    AEffect effect{};
    const audioMasterCallback host;
    const char* name = "Trivial Effect";       ///< null: effGetEffectName answers 0
    std::intptr_t category = kPlugCategEffect; ///< the answer to effGetPlugCategory
    ERect editorRect{0, 0, 200, 320};          ///< top, left, bottom, right

private:
    static TrivialEffect* self(AEffect* effect);
    std::vector<float> m_parameters;
    std::int32_t m_program = 0;
};

/// The unique identifier 'abcd' with the first letter in the lowest byte, as identifiers are written in text.
constexpr std::int32_t fourLetters(const char (&letters)[5]) {
    std::uint32_t code = 0;
    for (unsigned i = 0; i < 4; ++i)
        code |= static_cast<std::uint32_t>(static_cast<unsigned char>(letters[i])) << (8 * i);
    return static_cast<std::int32_t>(code);
}

/// Opens the definition of the library's exported entry point; a body in braces follows.
#define TEST_PLUGIN_ENTRY(host)                                                                              \
    extern "C" __declspec(dllexport) AEffect* VSTPluginMain(audioMasterCallback host);                       \
    extern "C" __declspec(dllexport) AEffect* VSTPluginMain(audioMasterCallback host)
