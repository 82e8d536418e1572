#pragma once

#include "svbase/util/Noncopyable.h"

namespace DSP {

/// A small heap object that crosses from a control thread to the audio thread and back: posted to an element,
/// executed between two blocks, finished and destroyed on the control thread. Allocation and freeing stay on
/// the control side.
///
/// The object has one owner at a time. The queues hand it over, and with it both flags; only Cancel reaches
/// it from outside while it travels, which is why `cancelled` is a field of its own that the audio thread
/// never touches.
class DSPCommand : private noncopyable {
public:
    /// The stage on the audio thread, under the audio lock. False ends the command. Neither allocates nor
    /// waits. [audio]
    virtual bool Execute() = 0;

    /// The stage after the command came back. False ends the command, true sends it round once more.
    /// [control]
    virtual bool Finish() { return false; }

    /// Whether the command still wants to run. [its present owner]
    virtual bool IsPending() const { return pending; }

    /// Asks for the end: the next time that the control thread holds the command it is destroyed without
    /// Finish. [the control thread that calls Idle]
    virtual void Cancel() { cancelled = true; }

    virtual ~DSPCommand() = default;

    bool IsCancelled() const { return cancelled; }

    /// A stage answered false, or the cancellation was seen. [its present owner]
    void ClearPending() { pending = false; }

protected:
    DSPCommand() = default;

private:
    bool pending = true;
    bool cancelled = false;
};

} // namespace DSP
