#pragma once

#include "controller/value_range.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <variant>

class Trackable;

namespace DSP {

class Element;

/// A parameter lives twice; these are its sides. Every side but `audio` is the control side.
namespace ParamSide {
inline constexpr std::uint32_t audio = 0;
inline constexpr std::uint32_t control = 1;
} // namespace ParamSide

/// Who made a change. A value of 1 says that the control callback's owner made it himself and does not want
/// to hear of it.
struct SourceTag {
    std::uint32_t value = 0;
    std::uint32_t flag = 0;

    static constexpr std::uint32_t ownChange = 1;

    friend constexpr bool operator==(const SourceTag&, const SourceTag&) = default;
};

/// A value of any of the three kinds; 32-bit unsigned carries enumerations as well.
using ParamValue = std::variant<float, bool, std::uint32_t>;

/// Turns values into what a person reads.
template<class T>
class ParamFormatter {
public:
    virtual ~ParamFormatter() = default;
    virtual String Format(T value) const = 0;
};

/// What stands behind a handle. Get and Set of the audio side belong to the audio thread, everything else to
/// the control thread.
template<class T>
class ElementParamImplBase {
public:
    virtual ~ElementParamImplBase() = default;
    virtual T Get(std::uint32_t side) const = 0;
    /// False when nothing changed.
    virtual bool Set(std::uint32_t side, T value, SourceTag source) = 0;
    virtual value_range<T> GetRange() const = 0;
    virtual T GetDefault() const = 0;
    /// Null when values of this parameter have no text of their own. Lives as long as this object.
    virtual const ParamFormatter<T>* GetFormatter() const = 0;
    /// Several changes until EndGesture are one to the user.
    virtual void BeginGesture() = 0;
    virtual void EndGesture() = 0;
    /// Null once the element is gone.
    virtual Element* GetOwner() const = 0;
    virtual String GetName() const = 0;
};

/// The same for an enumeration: its values have names.
class ElementParamEnumImplBase : public ElementParamImplBase<std::uint32_t> {
public:
    /// The empty String for a value outside the range, or when the values have no names.
    virtual String GetEnumName(std::uint32_t value) const = 0;
};

/// A handle on a parameter: a small value that users keep, also beyond the element's life. The empty handle
/// answers 0, an empty range and an empty name, and ignores what it is told.
template<class T>
class ElementParam {
public:
    ElementParam() = default;
    explicit ElementParam(std::shared_ptr<ElementParamImplBase<T>> implementation)
        : impl(std::move(implementation)) {}
    ElementParam(const ElementParam&) = default;
    ElementParam(ElementParam&&) noexcept = default;
    ElementParam& operator=(const ElementParam&) = default;
    ElementParam& operator=(ElementParam&&) noexcept = default;
    virtual ~ElementParam() = default;

    explicit operator bool() const { return impl != nullptr; }

    T Get(std::uint32_t side) const { return impl ? impl->Get(side) : T{}; }
    bool Set(std::uint32_t side, T value, SourceTag source) const {
        return impl && impl->Set(side, value, source);
    }
    /// lower 1, upper 0 for the empty handle.
    value_range<T> GetRange() const {
        return impl ? impl->GetRange() : value_range<T>{static_cast<T>(1), static_cast<T>(0)};
    }
    T GetDefault() const { return impl ? impl->GetDefault() : T{}; }
    const ParamFormatter<T>* GetFormatter() const { return impl ? impl->GetFormatter() : nullptr; }
    void BeginGesture() const {
        if (impl) {
            impl->BeginGesture();
        }
    }
    void EndGesture() const {
        if (impl) {
            impl->EndGesture();
        }
    }
    Element* GetOwner() const { return impl ? impl->GetOwner() : nullptr; }
    String GetName() const { return impl ? impl->GetName() : String(); }

protected:
    std::shared_ptr<ElementParamImplBase<T>> impl;
};

class ElementParamEnum : public ElementParam<std::uint32_t> {
public:
    ElementParamEnum() = default;
    explicit ElementParamEnum(std::shared_ptr<ElementParamEnumImplBase> implementation)
        : ElementParam(std::move(implementation)) {}

    String GetEnumName(std::uint32_t value) const {
        // The constructor takes nothing else.
        return impl ? static_cast<const ElementParamEnumImplBase&>(*impl).GetEnumName(value) : String();
    }
};

/// A handle of whichever kind the parameter is.
using ParamHandle = std::variant<ElementParam<float>, ElementParam<bool>, ElementParamEnum>;

struct ParamEntry {
    ParamHandle handle;
    std::uint32_t index = 0;
};

/// By name, in the order of names.
using ParamMap = std::map<String, ParamEntry>;

enum class ParamKind : std::uint32_t { Float, Bool, Enum };

/// What a parameter says of itself.
struct ParamInfo {
    checked_value<ParamKind> kind;
    /// For a person.
    String info;
    /// The unit that values are in, such as "dB".
    String units;
    /// Only whole steps make sense.
    bool quantised = false;
};

/// A listener of a parameter and what to call with each new value.
struct ParamSlot {
    /// The connection ends with this object.
    Trackable* listener = nullptr;
    std::function<void(const ParamValue&)> function;
};

} // namespace DSP
