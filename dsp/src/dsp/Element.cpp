#include "dsp/Element.h"

namespace DSP {

void Element::ParamVisitor::VisitFloat(const String&, const ElementParam<float>&) {}
void Element::ParamVisitor::VisitBool(const String&, const ElementParam<bool>&) {}
void Element::ParamVisitor::VisitEnum(const String&, const ElementParamEnum&) {}

Element::Element() = default;
Element::~Element() = default;

void Element::GetDefaultExtraBytes(std::span<std::uint8_t>) const {}

std::uint32_t Element::GetDefaultExtraBytesSize() const {
    // Asked for its own sake: elements note there that somebody is about to save them.
    static_cast<void>(HasExtraBytes());
    return GetExtraBytesSize();
}

void Element::GetExtraBytes(std::span<std::uint8_t>) const {}
void Element::SetExtraBytes(const void*, std::uint32_t, bool) {}

String Element::GetDescription() const {
    return "";
}

String Element::GetDetails() const {
    return "";
}

bool Element::IsEnabled(std::uint32_t) const {
    return true;
}

void Element::SetSidechainView(MultichannelBufferView<float>) {}

void Element::SetAttribute(const String& key, const String& value) {
    attributes[key] = value;
    attributesChanged.emit();
}

} // namespace DSP
