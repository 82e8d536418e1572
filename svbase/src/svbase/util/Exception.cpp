#include "svbase/util/Exception.h"

namespace Exception {

Base::Base(String message) : message_(std::move(message)) {}

String Base::description() const {
    const String location =
        String("%1 (%2): Thrown, GetLastError(): %3\n").arg(file_).arg(line_).arg(lastError_);
    return String("Base:\n\t") + message_ + "\n\t" + location;
}

void Base::setLocation(String file, std::int32_t line, std::uint32_t lastError) {
    file_ = std::move(file);
    line_ = line;
    lastError_ = lastError;
}

} // namespace Exception

namespace Util::Exception {

String DataStreamIO::description() const {
    return Base::description() + "\nDataStreamIO\n";
}

} // namespace Util::Exception
