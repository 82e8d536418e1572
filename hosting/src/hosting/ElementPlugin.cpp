#include "hosting/ElementPlugin.h"

#include "dsp/Element.h"
#include "hosting/ElementHostImpl.h"
#include "protocol/PluginIdentifier.h"
#include "svbase/util/ByteStream.h"
#include "svbase/util/Exception.h"
#include "svbase/util/Module.h"

#include <type_traits>
#include <utility>
#include <variant>

namespace Tarvik {

namespace {

/// An element that asks to save more than this has lost its count.
constexpr std::uint32_t maxExtraBytes = 100000000;

constexpr ParameterInfo noParameter{0, 1.0F, 0.0F, 0};

template<class T>
T readValue(Util::ByteStream& stream) {
    T value{};
    stream.read(value);
    return value;
}

/// What a handle's value is made of: float, bool, or 32-bit unsigned for an enumeration.
template<class Handle>
using ValueOf = std::decay_t<decltype(std::declval<const Handle&>().Get(0))>;

/// Of a parameter's value in a state.
constexpr auto storedSize = []<class Handle>(const Handle&) -> std::uint32_t {
    return std::is_same_v<ValueOf<Handle>, bool> ? 1 : 4;
};

} // namespace

ElementPlugin::ElementPlugin(float rate, std::uint32_t layout, DSP::ElementHost* host)
    : Plugin(rate, layout), elementHost(host) {}

ElementPlugin::~ElementPlugin() {
    if (element != nullptr && ownsElement) {
        if (elementDeleter != nullptr) {
            elementDeleter(element);
        } else {
            delete element;
        }
    }
    parameters = {};
}

void ElementPlugin::SetElement(DSP::Element* newElement, bool owns, ElementDeleter deleter) {
    element = newElement;
    ownsElement = owns;
    elementDeleter = deleter;
    parameters = {};
    for (const auto& [name, entry] : std::as_const(*element).GetParamMap()) {
        parameters.names.push_back(name);
        parameters.entries.push_back(entry.handle);
    }
}

void ElementPlugin::SetLibrary(std::unique_ptr<Util::Module> module) {
    library = std::move(module);
}

bool ElementPlugin::IsValid() const {
    return element != nullptr;
}

std::uint32_t ElementPlugin::GetFormat() const {
    return 0;
}

PluginIdentifier ElementPlugin::GetIdentifier() const {
    return {};
}

String ElementPlugin::GetName() const {
    return element->GetName();
}

std::uint32_t ElementPlugin::GetLatency() const {
    return element->GetLatency(0);
}

void ElementPlugin::Idle() {
    element->Idle();
}

OptionalBool ElementPlugin::HasEditor() const {
    return {false, true};
}

void ElementPlugin::GetEditorSize(std::uint32_t&, std::uint32_t&) {}

bool ElementPlugin::OpenEditor(NativeWindow, std::int32_t, std::int32_t) {
    return false;
}

void ElementPlugin::CloseEditor() {}

std::uint32_t ElementPlugin::GetNumParameters() const {
    return static_cast<std::uint32_t>(parameters.entries.size());
}

String ElementPlugin::GetParameterName(std::uint32_t index) const {
    return index < parameters.names.size() ? parameters.names[index] : String("");
}

ParameterInfo ElementPlugin::GetParameterInfo(std::uint32_t index) const {
    if (index >= parameters.entries.size()) {
        return noParameter;
    }
    const ElementParamRef& entry = parameters.entries[index];
    return std::visit(
        [&entry]<class Handle>(const Handle& handle) {
            const auto range = handle.GetRange();
            const auto lower = static_cast<float>(range.lower);
            const auto upper = static_cast<float>(range.upper);
            const bool continuous = std::is_same_v<ValueOf<Handle>, float>;
            return ParameterInfo{
                static_cast<std::uint32_t>(entry.index()), lower, upper,
                continuous
                    ? 0
                    : static_cast<std::uint32_t>(range.upper) - static_cast<std::uint32_t>(range.lower)};
        },
        entry);
}

String ElementPlugin::GetParameterUnits(std::uint32_t index) const {
    return index < parameters.names.size() ? element->GetParamInfo(parameters.names[index]).units
                                           : String("");
}

bool ElementPlugin::IsParameterQuantised(std::uint32_t index) const {
    return index < parameters.names.size() && element->GetParamInfo(parameters.names[index]).quantised;
}

String ElementPlugin::GetParameterDisplay(std::uint32_t index, std::uint32_t value) const {
    if (index >= parameters.entries.size()) {
        return "";
    }
    return std::visit(
        [value]<class Handle>(const Handle& handle) {
            const auto* formatter = handle.GetFormatter();
            return formatter != nullptr ? formatter->Format(static_cast<ValueOf<Handle>>(value)) : String("");
        },
        parameters.entries[index]);
}

float ElementPlugin::GetParameterValue(std::uint32_t stream, std::uint32_t index) const {
    if (index >= parameters.entries.size()) {
        return 0.0F;
    }
    return std::visit(
        [stream](const auto& handle) { return static_cast<float>(handle.Get(stream)); },
        parameters.entries[index]);
}

void ElementPlugin::SetParameterValue(std::uint32_t stream, std::uint32_t index, float value) {
    if (index >= parameters.entries.size()) {
        return;
    }
    std::visit(
        [stream, value]<class Handle>(const Handle& handle) {
            using T = ValueOf<Handle>;
            if constexpr (std::is_same_v<T, float>) {
                handle.Set(stream, value, {});
            } else if constexpr (std::is_same_v<T, bool>) {
                handle.Set(stream, value >= 0.5F, {});
            } else {
                // Brought into the range first: the conversion of what lies outside is undefined.
                const auto range = handle.GetRange();
                const bool below = !(value > static_cast<float>(range.lower));
                const bool above = value >= static_cast<float>(range.upper);
                handle.Set(stream, below ? range.lower : above ? range.upper : static_cast<T>(value), {});
            }
        },
        parameters.entries[index]);
}

void ElementPlugin::GetState(std::int32_t stream, std::vector<std::uint8_t>& state) const {
    state.clear();
    const auto side = static_cast<std::uint32_t>(stream);
    try {
        Util::ByteStream bytes;
        std::uint32_t size = 0;
        for (const ElementParamRef& entry : parameters.entries) {
            size += std::visit(storedSize, entry);
        }
        bytes.reserve(size);
        for (const ElementParamRef& entry : parameters.entries) {
            std::visit([&bytes, side](const auto& handle) { bytes.write(handle.Get(side)); }, entry);
        }
        const std::uint32_t extraSize = element->GetExtraBytesSize();
        if (extraSize > maxExtraBytes) {
            return;
        }
        bytes.write(extraSize);
        if (extraSize != 0) {
            std::vector<std::uint8_t> extra(extraSize);
            element->GetExtraBytes(extra);
            bytes.write(extra);
        }
        state = bytes.data();
    } catch (const Util::Exception::DataStreamIO&) {
        state.clear();
    }
}

bool ElementPlugin::SetState(std::uint32_t stream, std::uint32_t size, const void* data) {
    try {
        const auto* first = static_cast<const std::uint8_t*>(data);
        Util::ByteStream bytes(std::vector<std::uint8_t>(first, first + size));
        // Everything is read before anything is set, so that a state cut short changes nothing.
        std::vector<DSP::ParamValue> values;
        values.reserve(parameters.entries.size());
        for (const ElementParamRef& entry : parameters.entries) {
            values.push_back(std::visit(
                [&bytes]<class Handle>(const Handle&) {
                    return DSP::ParamValue(readValue<ValueOf<Handle>>(bytes));
                },
                entry));
        }
        const auto extraSize = readValue<std::uint32_t>(bytes);
        // Checked before the room is made for it.
        std::vector<std::uint8_t> extra;
        if (extraSize > bytes.bytesRemaining()) {
            THROW_HERE(Util::Exception::DataStreamIO, String("Can't read %1 bytes").arg(extraSize));
        }
        extra.resize(extraSize);
        bytes.read(extra);

        for (std::size_t i = 0; i < values.size(); ++i) {
            std::visit(
                [&value = values[i], stream]<class Handle>(const Handle& handle) {
                    handle.Set(stream, std::get<ValueOf<Handle>>(value), {});
                },
                parameters.entries[i]);
        }
        if (extraSize != 0) {
            element->SetExtraBytes(extra.data(), extraSize, false);
        }
        return true;
    } catch (const Util::Exception::DataStreamIO&) {
        return false;
    }
}

void ElementPlugin::Reset() {
    element->Reset();
}

bool ElementPlugin::SupportsRealTime() const {
    return element->SupportsRealTime();
}

void ElementPlugin::Process(std::uint32_t frames, std::uint32_t, float** buffers) {
    element->Process(frames, buffers);
}

bool ElementPlugin::SupportsRandomAccess(DSP::RandomAccessHost*) const {
    return element->SupportsRandomAccess();
}

bool ElementPlugin::ProcessRandomAccess(DSP::RandomAccessHost* host) {
    return element->ProcessRandomAccess(host);
}

DSP::Element* ElementPlugin::GetElement() const {
    return element;
}

void ElementPlugin::OnElementChanged() {}

void ElementPlugin::UpdateTransport(const DSP::TransportRecord& transport) {
    if (auto* host = dynamic_cast<ElementHostImpl*>(elementHost)) {
        host->SetTransport(transport);
    }
}

} // namespace Tarvik
