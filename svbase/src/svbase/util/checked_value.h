#pragma once

#include <utility>

/// A value that may be missing without that being an error worth a message; also an optional argument.
/// Zero-initialised it is invalid. `value` of an invalid one is T's zero, never garbage.
template<class T>
struct checked_value {
    T value{};
    bool valid = false;

    constexpr checked_value() = default;
    constexpr checked_value(T v) : value(std::move(v)), valid(true) {}

    constexpr explicit operator bool() const { return valid; }
    constexpr T value_or(T fallback) const { return valid ? value : std::move(fallback); }

    friend constexpr bool operator==(const checked_value& a, const checked_value& b) {
        return a.valid == b.valid && (!a.valid || a.value == b.value);
    }
};
