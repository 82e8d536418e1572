#include "hosting/vst/VSTHostCallHook.h"

#include <algorithm>

namespace Tarvik {

void VSTHostCallHook::Set(VSTHostCallHandler handler, void* context) {
    const auto known = std::find_if(targets.begin(), targets.end(), [=](const Target& target) {
        return target.handler == handler && target.context == context;
    });
    const Target& target = known != targets.end() ? *known : targets.emplace_front(Target{handler, context});
    current.store(&target, std::memory_order_release);
}

VSTHostCallHook::Target VSTHostCallHook::Get() const noexcept {
    const Target* const target = current.load(std::memory_order_acquire);
    return target != nullptr ? *target : Target{};
}

} // namespace Tarvik
