#pragma once

#include <exception>
#include <type_traits>

namespace Tarvik {

/// An exception of code that another compiler built. Nothing is known of it.
class ForeignException : public std::exception {
public:
    const char* what() const noexcept override { return "exception of another compiler's code"; }
};

/// Calls call(context). Plug-ins come from other compilers, whose exceptions this one's handlers do not see,
/// so that they would pass through every catch and end the process: here such an exception becomes a
/// ForeignException. This compiler's own exceptions pass as they are; crashes stay crashes. Nothing between
/// this call and the foreign code may need its destructor. [any]
void guardForeignCall(void (*call)(void* context), void* context);

/// The same for a function object; its result, if it has one, must be default constructible.
template<class Function>
auto callForeign(Function function) -> decltype(function()) {
    if constexpr (std::is_void_v<decltype(function())>) {
        guardForeignCall([](void* context) { (*static_cast<Function*>(context))(); }, &function);
    } else {
        struct Frame {
            Function& function;
            decltype(function()) result{};
        } frame{function};
        guardForeignCall(
            [](void* context) {
                auto& inner = *static_cast<Frame*>(context);
                inner.result = inner.function();
            },
            &frame);
        return frame.result;
    }
}

} // namespace Tarvik
