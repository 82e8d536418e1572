#pragma once

#include "svbase/util/Thread.h"

#include <functional>

namespace Util {

/// A thread that runs one function. Who destroys it has seen to it that the function returns, and joined.
class FunctionThread final : public Thread {
public:
    FunctionThread(
        std::function<void()> function, String name, Priority priority = Priority::Normal,
        bool usesCom = false);

protected:
    /// An empty function throws std::bad_function_call, which ends the thread.
    void run() override;

private:
    std::function<void()> function_;
};

} // namespace Util
