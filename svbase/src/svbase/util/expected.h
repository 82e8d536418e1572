#pragma once

#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <variant>

/// Thrown by `expected::value()` where an error is held instead. Holds the error and its text.
template<class E>
class bad_expected_access : public std::exception {
public:
    explicit bad_expected_access(E error) : error_(std::move(error)), text_(describe(error_)) {}

    const char* what() const noexcept override { return text_.c_str(); }
    const E& error() const noexcept { return error_; }

private:
    static std::string describe(const E& error) {
        if constexpr (requires { error.message().toStdString(); }) {
            return error.message().toStdString();
        } else {
            return "bad expected access";
        }
    }

    E error_;
    std::string text_;
};

/// Marks the error alternative at a return: `return unexpected(Util::File::Error(...));`
template<class E>
class unexpected {
public:
    explicit unexpected(E error) : error_(std::move(error)) {}
    E& error() { return error_; }

private:
    E error_;
};

/// Either a value or the error that stood in its way. The failure is a plain value: it may be copied, kept
/// and read later on another thread.
template<class T, class E>
class [[nodiscard]] expected {
public:
    expected(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    template<class G>
    expected(unexpected<G> error) : state_(std::in_place_index<1>, std::move(error.error())) {}

    bool has_value() const { return state_.index() == 0; }
    explicit operator bool() const { return has_value(); }

    /// Throws bad_expected_access<E> when an error is held.
    const T& value() const& {
        check();
        return *std::get_if<0>(&state_);
    }
    T& value() & {
        check();
        return *std::get_if<0>(&state_);
    }
    T&& value() && {
        check();
        return std::move(*std::get_if<0>(&state_));
    }
    const T& operator*() const& { return value(); }
    T& operator*() & { return value(); }
    T&& operator*() && { return std::move(*this).value(); }
    const T* operator->() const { return &value(); }
    T* operator->() { return &value(); }

    /// Precondition: !has_value().
    const E& error() const { return std::get<1>(state_); }

private:
    void check() const {
        if (!has_value()) {
            throw bad_expected_access<E>(std::get<1>(state_));
        }
    }

    std::variant<T, E> state_;
};

/// Success without a value, or the error. The usual result of file operations.
template<class E>
class [[nodiscard]] expected<void, E> {
public:
    expected() = default;
    template<class G>
    expected(unexpected<G> error) : error_(std::move(error.error())) {}

    bool has_value() const { return !error_.has_value(); }
    explicit operator bool() const { return has_value(); }

    /// Throws bad_expected_access<E> when an error is held.
    void value() const {
        if (error_) {
            throw bad_expected_access<E>(*error_);
        }
    }

    /// Precondition: !has_value().
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): the precondition
    const E& error() const { return error_.value(); }

private:
    std::optional<E> error_;
};
