#pragma once

/// An inclusive range; empty when upper < lower.
template<class T>
struct value_range {
    T lower;
    T upper;

    friend bool operator==(const value_range&, const value_range&) = default;
};
