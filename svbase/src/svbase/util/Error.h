#pragma once

#include "svbase/util/String.h"

#include <concepts>
#include <cstdint>
#include <span>
#include <utility>
#include <variant>
#include <vector>

namespace Util {

/// A failure as a value: it holds all of itself, outlives the operation that failed, and may be read later
/// on another thread. Travels inside `expected`.
class Error {
public:
    virtual ~Error() = default;
    /// The family of the code, such as "File".
    virtual String category() const = 0;
    /// What failed, within the category.
    virtual std::uint32_t code() const = 0;
    /// The text with its %N placeholders unfilled.
    virtual String format() const = 0;
    /// Valid as long as the error.
    virtual std::span<const String> arguments() const = 0;
    /// The format with every argument applied in order by String::arg.
    virtual String message() const = 0;

protected:
    Error() = default;
    Error(const Error&) = default;
    Error(Error&&) = default;
    Error& operator=(const Error&) = default;
    Error& operator=(Error&&) = default;
};

/// The fields that most errors have.
class BasicErrorBase : public Error {
public:
    BasicErrorBase(String category, std::uint32_t code, String format);

    std::int32_t kind() const { return kind_; }
    String category() const override { return category_; }
    std::uint32_t code() const override { return code_; }
    String format() const override { return format_; }
    std::span<const String> arguments() const override { return args_; }
    String message() const override;

protected:
    void append(String argument) { args_.push_back(std::move(argument)); }

private:
    std::int32_t kind_ = 1;
    String category_;
    std::uint32_t code_;
    String format_;
    std::vector<String> args_;
};

/// Adds arguments that chain: `E(...).arg(asked).arg(got)`. E is the final class.
template<class E>
class BasicError : public BasicErrorBase {
public:
    using BasicErrorBase::BasicErrorBase;

    E& arg(const String& value) { return add(value); }
    E& arg(const char* value) { return add(value); }
    template<std::same_as<char> C>
    E& arg(C value) {
        return add(value);
    }
    template<TextInteger T>
    E& arg(T value) {
        return add(value);
    }
    E& arg(float value) { return add(value); }
    E& arg(double value) { return add(value); }

private:
    template<class T>
    E& add(const T& value) {
        append(String("%1").arg(value));
        return static_cast<E&>(*this);
    }
};

/// One of two kinds of error; everything is forwarded to the one held.
template<class A, class B>
class ErrorVariant : public Error {
public:
    ErrorVariant(A error) : held_(std::in_place_index<0>, std::move(error)) {}
    ErrorVariant(B error) : held_(std::in_place_index<1>, std::move(error)) {}

    String category() const override { return held().category(); }
    std::uint32_t code() const override { return held().code(); }
    String format() const override { return held().format(); }
    std::span<const String> arguments() const override { return held().arguments(); }
    String message() const override { return held().message(); }

    /// Null when the other kind is held.
    template<class E>
    const E* get() const {
        return std::get_if<E>(&held_);
    }

private:
    const Error& held() const {
        if (const A* first = std::get_if<0>(&held_)) {
            return *first;
        }
        return std::get<1>(held_);
    }

    std::variant<A, B> held_;
};

} // namespace Util
