#include "dsp/ElementDispatcherControllerSet.h"

#include "dsp/ElementDispatcher.h"

#include <variant>

namespace Controller {

template<class T, class Handle, class Made, class Cached>
std::shared_ptr<Cached> ElementDispatcherControllerSet::FindOrMake(
    std::map<String, std::shared_ptr<Cached>>& cache, const String& name) {
    if (const auto found = cache.find(name); found != cache.end()) {
        return found->second;
    }
    const DSP::ParamMap& params = element.GetParamMap();
    const auto entry = params.find(name);
    const Handle* const handle = entry == params.end() ? nullptr : std::get_if<Handle>(&entry->second.handle);
    if (!handle) {
        return nullptr;
    }
    auto storage = std::make_unique<ElementDispatcherParamStorage<T>>(*handle);
    ElementDispatcherParamStorage<T>* const told = storage.get();
    Connection connection;
    element.ConnectParam(
        name, {told, [told](const DSP::ParamValue& value) { told->changed().emit(std::get<T>(value)); }},
        connection);
    return cache.emplace(name, std::make_shared<Made>(*handle, std::move(storage))).first->second;
}

std::shared_ptr<FloatParam> ElementDispatcherControllerSet::floatController(const String& name) {
    return FindOrMake<float, DSP::ElementParam<float>, ElementDispatcherFloatController>(floats, name);
}

std::shared_ptr<BoolParam> ElementDispatcherControllerSet::boolController(const String& name) {
    return FindOrMake<bool, DSP::ElementParam<bool>, ElementDispatcherBoolController>(bools, name);
}

std::shared_ptr<EnumParam> ElementDispatcherControllerSet::enumController(const String& name) {
    return FindOrMake<std::uint32_t, DSP::ElementParamEnum, ElementDispatcherEnumController>(enums, name);
}

} // namespace Controller
