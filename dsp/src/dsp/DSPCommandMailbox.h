#pragma once

namespace DSP {

class DSPCommand;

/// Where commands are posted.
class DSPCommandMailbox {
public:
    virtual ~DSPCommandMailbox() = default;

    /// Takes ownership of the command. Never waits for the audio thread. One thread posts at a time, the one
    /// that also calls Idle. [control]
    virtual void PostCommand(DSPCommand* command) = 0;
};

} // namespace DSP
