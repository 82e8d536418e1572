#include "svbase/util/FunctionThread.h"

#include <utility>

namespace Util {

FunctionThread::FunctionThread(std::function<void()> function, String name, Priority priority, bool usesCom)
    : Thread(std::move(name), priority, usesCom), function_(std::move(function)) {}

void FunctionThread::run() {
    function_();
}

} // namespace Util
