#include "dsp/ElementDispatcher.h"

#include "controller/ControllerSet.h"
#include "dsp/ElementDispatcherControllerSet.h"
#include "dsp/ElementDispatcherParam.h"
#include "dsp/ElementHost.h"
#include "dsp/RegistrationFaults.h"
#include "dsp/SetParamWithoutCallbacksCommand.h"
#include "svbase/util/CriticalSection.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace DSP {

namespace {

template<class T>
using Registration = ParamRegistration<T>;

/// Never filled, or the record of a parameter.
using AnyRegistration =
    std::variant<std::monostate, Registration<float>, Registration<bool>, Registration<std::uint32_t>>;

/// The faults of a registration are composed for the debugger's eyes and go no further.
void drop(const String&) {}

ElementConfig withoutFlag(ElementConfig config) {
    config.flag = false;
    return config;
}

template<class T>
ParamInfo describe(const Registration<T>& registration) {
    constexpr ParamKind kind = std::is_same_v<T, float>  ? ParamKind::Float
                               : std::is_same_v<T, bool> ? ParamKind::Bool
                                                         : ParamKind::Enum;
    return {kind, registration.info, registration.units, registration.quantised};
}

template<class T>
ParamHandle
makeHandle(Registration<T>& registration, const std::shared_ptr<DispatchTable>& table, std::uint32_t index) {
    if constexpr (std::is_same_v<T, std::uint32_t>) {
        if (!registration.formatter && !registration.valueNames.empty()) {
            registration.formatter = std::make_unique<EnumNames>(registration.range, registration.valueNames);
        }
        return ElementParamEnum(std::make_shared<ElementDispatcherParamEnum>(
            registration.name, table, index, registration.range, registration.defaultValue,
            std::move(registration.formatter), std::move(registration.valueNames)));
    } else {
        return ElementParam<T>(std::make_shared<ElementDispatcherParam<T>>(
            registration.name, table, index, registration.range, registration.defaultValue,
            std::move(registration.formatter)));
    }
}

} // namespace

struct ElementDispatcher::Params {
    std::unique_ptr<Controller::ControllerSet> controllerSet;
    bool creatingControllerSet = false;
    ParamMap paramMap;
    std::shared_ptr<DispatchTable> dispatchInfos = std::make_shared<DispatchTable>();
    std::vector<AnyRegistration> registrations;
    std::map<String, std::uint32_t> nameToIndex;
    std::vector<String> names;
    bool finalised = false;
    bool wantsFlag = false;
    /// Of source 1, and of any other.
    std::array<checked_value<std::uint32_t>, 2> lastSource;
    /// Descriptions by name: until the end of the registration the info text alone, then all.
    std::map<String, ParamInfo> descriptions;

    checked_value<std::uint32_t>& LastSource(std::uint32_t source) { return lastSource[source == 1 ? 0 : 1]; }

    /// Frees the name that stands at the index, if one does.
    void Forget(std::uint32_t index) {
        const auto standing =
            std::find_if(nameToIndex.begin(), nameToIndex.end(), [index](const auto& entry) {
                return entry.second == index;
            });
        if (standing != nameToIndex.end()) {
            descriptions.erase(standing->first);
            nameToIndex.erase(standing);
        }
    }
};

ElementDispatcher::ElementDispatcher(
    ElementHost* host, String name, float sampleRate, std::uint32_t channelLayout,
    const ElementConfig& config)
    : ElementImpl(host, std::move(name), sampleRate, channelLayout, withoutFlag(config)),
      params(std::make_unique<Params>()) {
    params->wantsFlag = config.flag;
    params->dispatchInfos->owner = this;
}

ElementDispatcher::~ElementDispatcher() {
    // Handles may live on; what they reach must not lead back here.
    params->dispatchInfos->owner = nullptr;
    params->dispatchInfos->ForEach([](auto& info) { info.Detach(); });
}

template<class T>
void ElementDispatcher::Register(ParamRegistration<T> registration) {
    Params& p = *params;
    if (p.finalised) {
        return;
    }
    const std::uint32_t index = registration.index;
    if (const auto first = p.nameToIndex.find(registration.name); first != p.nameToIndex.end()) {
        drop(RegistrationFaults::NameTaken(registration.name));
        if (first->second == index) {
            return;
        }
    }
    if (index >= p.registrations.size()) {
        p.registrations.resize(std::size_t{index} + 1);
    }
    p.Forget(index);
    if (p.nameToIndex.emplace(registration.name, index).second) {
        p.descriptions[registration.name].info = registration.info;
    }
    p.registrations[index] = std::move(registration);
}

void ElementDispatcher::AddFloatParam(ParamRegistration<float> registration) {
    Register(std::move(registration));
}

void ElementDispatcher::AddBoolParam(ParamRegistration<bool> registration) {
    Register(std::move(registration));
}

void ElementDispatcher::AddEnumParam(ParamRegistration<std::uint32_t> registration) {
    Register(std::move(registration));
}

template<class T>
void ElementDispatcher::MakeParam(std::uint32_t index, ParamRegistration<T>& registration) {
    Params& p = *params;
    DispatchTable& table = *p.dispatchInfos;
    const auto actual = static_cast<std::uint32_t>(table.infos.size());
    const ParamInfo description = describe(registration);
    const String name = registration.name;
    const auto followUps = std::move(registration.followUps);
    ParamHandle handle = makeHandle(registration, p.dispatchInfos, actual);
    table.infos.emplace_back(std::make_unique<DispatchInfo<T>>(registration, *this));
    const auto first = p.nameToIndex.find(name);
    if (first == p.nameToIndex.end() || first->second != index) {
        drop(RegistrationFaults::SameName(index));
        return;
    }
    p.paramMap.emplace(name, ParamEntry{std::move(handle), actual});
    p.descriptions[name] = description;
    if (actual != index) {
        drop(RegistrationFaults::WrongIndex(index, actual));
        return;
    }
    for (const std::function<void()>& followUp : followUps) {
        followUp();
    }
}

void ElementDispatcher::FinishParamRegistration() {
    Params& p = *params;
    if (p.finalised) {
        return;
    }
    p.finalised = true;
    for (const auto& [name, index] : p.nameToIndex) {
        if (index >= p.names.size()) {
            p.names.resize(std::size_t{index} + 1);
        }
        p.names[index] = name;
    }
    for (std::uint32_t index = 0; index < p.registrations.size(); ++index) {
        std::visit(
            [this, index](auto& registration) {
                if constexpr (std::is_same_v<std::decay_t<decltype(registration)>, std::monostate>) {
                    drop(RegistrationFaults::NotRegistered(index));
                } else {
                    MakeParam(index, registration);
                }
            },
            p.registrations[index]);
    }
    BeginParamChange();
    p.dispatchInfos->ForEach([](auto& info) { info.Announce(); });
    EndParamChange();
    for (std::uint32_t child = 0; child < GetNumChildren(); ++child) {
        GetChild(child)->DispatchParamChanges();
    }
    PrepareBuffers();
    p.registrations.clear();
    p.registrations.shrink_to_fit();
    if (p.wantsFlag) {
        SetFlag();
    }
}

void ElementDispatcher::DispatchParamChanges() {
    for (std::uint32_t child = 0; child < GetNumChildren(); ++child) {
        GetChild(child)->DispatchParamChanges();
    }
    // Held: a listener may end the element.
    const std::shared_ptr<DispatchTable> table = params->dispatchInfos;
    bool any = false;
    table->ForEach([&any](auto& info) { any = info.Poll() || any; });
    try {
        OnParamsChanged(any);
    } catch (...) {
        table->ForEach([](auto& info) { info.Revert(); });
        throw;
    }
    table->ForEach([](auto& info) { info.Deliver(); });
}

std::uint32_t ElementDispatcher::GetNumParams() const {
    return static_cast<std::uint32_t>(params->dispatchInfos->infos.size());
}

ParamHandle ElementDispatcher::GetParam(const String& name) const {
    const auto found = params->paramMap.find(name);
    return found == params->paramMap.end() ? ParamHandle() : found->second.handle;
}

bool ElementDispatcher::ConnectParam(const String& name, const ParamSlot& slot, Connection& connection) {
    const auto found = params->paramMap.find(name);
    if (found == params->paramMap.end()) {
        return false;
    }
    std::visit(
        [&slot, &connection](const auto& info) {
            using T = decltype(info->Get(ParamSide::control));
            const auto& function = slot.function;
            connection = info->GetSignal().connect(
                *slot.listener, [function](T value) { function(ParamValue(value)); });
        },
        params->dispatchInfos->infos[found->second.index]);
    return true;
}

ParamMap& ElementDispatcher::GetParamMap() {
    return params->paramMap;
}

const ParamMap& ElementDispatcher::GetParamMap() const {
    return params->paramMap;
}

const ParamInfo& ElementDispatcher::GetParamInfo(const String& name) const {
    static const ParamInfo unknown;
    const auto found = params->descriptions.find(name);
    return found == params->descriptions.end() ? unknown : found->second;
}

const std::vector<String>& ElementDispatcher::GetParamNames() const {
    return params->names;
}

const DispatchTable& ElementDispatcher::GetDispatchTable() const {
    return *params->dispatchInfos;
}

bool ElementDispatcher::SetParam(std::uint32_t source, std::uint32_t index, const ParamValue& value) {
    const checked_value<std::uint32_t>& last = params->LastSource(source);
    const SourceTag tag = last.valid ? SourceTag{last.value, 1} : SourceTag{0, source};
    // Held: a listener may end the element.
    const std::shared_ptr<DispatchTable> table = params->dispatchInfos;
    return std::visit(
        [&](auto typed) {
            auto* const info = table->Find<decltype(typed)>(index);
            return info && info->Set(source, typed, tag);
        },
        value);
}

void ElementDispatcher::SetLastSource(std::uint32_t source, const checked_value<std::uint32_t>& value) {
    params->LastSource(source) = value;
}

void ElementDispatcher::SetParamWithoutCallbacks(std::uint32_t index, const ParamValue& value) {
    std::visit(
        [&](auto typed) {
            using T = decltype(typed);
            DispatchInfo<T>* const info = GetDispatchInfo<T>(index);
            if (!info) {
                return;
            }
            auto command = std::make_unique<SetParamWithoutCallbacksCommand<T>>(*this, index, typed);
            info->BeginFlight();
            PostCommand(command.release());
        },
        value);
}

std::unique_ptr<Controller::ControllerSet> ElementDispatcher::CreateControllerSet() {
    return std::make_unique<Controller::ElementDispatcherControllerSet>(*this);
}

Controller::ControllerSet* ElementDispatcher::GetControllerSet() {
    Params& p = *params;
    if (p.creatingControllerSet) {
        throw std::logic_error(
            "Calling ElementDispatcher::GetControllerSet() recursively. Make sure your custom controller "
            "set's constructor does not call through to GetControllerSet()!");
    }
    if (p.controllerSet) {
        return p.controllerSet.get();
    }
    struct Guard {
        explicit Guard(bool& guarded) : flag(guarded) { flag = true; }
        ~Guard() { flag = false; }
        bool& flag;
    };
    const Guard guard(p.creatingControllerSet);
    p.controllerSet = CreateControllerSet();
    return p.controllerSet.get();
}

} // namespace DSP
