#pragma once

#include "svbase/util/LastError.h"
#include "svbase/util/String.h"

#include <cstdint>
#include <utility>

/// Failures in the middle of a parse. Caught by the public operation that started the parse.
namespace Exception {

/// What went wrong, where it was thrown, and what the system said last.
class Base {
public:
    explicit Base(String message);
    virtual ~Base() = default;
    Base(const Base&) = default;
    Base(Base&&) = default;
    Base& operator=(const Base&) = default;
    Base& operator=(Base&&) = default;

    /// The report: the message and the location line.
    virtual String description() const;

    void setLocation(String file, std::int32_t line, std::uint32_t lastError);

    const String& message() const { return message_; }
    /// Null until the location is set.
    const String& file() const { return file_; }
    std::int32_t line() const { return line_; }
    std::uint32_t lastError() const { return lastError_; }

private:
    String message_;
    String file_;
    std::int32_t line_ = -1;
    std::uint32_t lastError_ = 0xFFFFFFFF;
};

/// Throws E(message) with the given place. Prefer THROW_HERE.
template<class E>
[[noreturn]] void throwAt(const char* file, std::int32_t line, String message) {
    E exception(std::move(message));
    exception.setLocation(file, line, Util::lastSystemError());
    throw exception;
}

} // namespace Exception

/// Throws Type(message) with the file and line of the place that says so.
#define THROW_HERE(Type, message) ::Exception::throwAt<Type>(__FILE__, __LINE__, (message))

namespace Util::Exception {

/// Corrupt or truncated data, or a device that refuses it.
class DataStreamIO : public ::Exception::Base {
public:
    using Base::Base;
    String description() const override;
};

} // namespace Util::Exception
