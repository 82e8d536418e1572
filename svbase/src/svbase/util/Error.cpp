#include "svbase/util/Error.h"

namespace Util {

BasicErrorBase::BasicErrorBase(String category, std::uint32_t code, String format)
    : category_(std::move(category)), code_(code), format_(std::move(format)) {}

String BasicErrorBase::message() const {
    String text = format_;
    for (const String& argument : args_) {
        text = text.arg(argument);
    }
    return text;
}

} // namespace Util
