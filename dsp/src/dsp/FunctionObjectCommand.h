#pragma once

#include "dsp/DSPCommand.h"

#include <functional>
#include <utility>

namespace DSP {

/// Runs a function once on the audio thread. An empty one throws std::bad_function_call there. The function
/// is destroyed with the command, on the control thread.
class FunctionObjectCommand final : public DSPCommand {
public:
    explicit FunctionObjectCommand(std::function<void()> functionObject)
        : function(std::move(functionObject)) {}

    bool Execute() override {
        function();
        return false;
    }

private:
    std::function<void()> function;
};

} // namespace DSP
