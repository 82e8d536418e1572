#pragma once

#include <cstdint>

struct AEffect;

namespace Tarvik {

/// One call of an effect to its host, handed on to whoever wants to answer it.
struct VSTHostCall {
    AEffect* effect = nullptr;
    std::int32_t opcode = 0;
    std::int32_t index = 0;
    std::intptr_t value = 0;
    void* pointer = nullptr;
    float opt = 0.0f;
    /// What the effect is answered.
    std::intptr_t result = 0;
};

/// Answers a call by its `result`. On the effect's thread, whichever that is: must not throw. [any]
using VSTHostCallHandler = void (*)(void* context, VSTHostCall& call);

} // namespace Tarvik
