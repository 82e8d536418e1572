// The mailbox of an element: posting, draining, finishing.

#include "dsp/DSPCommand.h"
#include "dsp/ElementHost.h"
#include "dsp/ElementImpl.h"
#include "dsp/ElementImplState.h"
#include "svbase/util/CriticalSection.h"

#include <memory>
#include <mutex>
#include <vector>

namespace DSP {

namespace {

using TriedLock = std::unique_lock<Util::CriticalSection>;

void execute(DSPCommand& command) {
    if (!command.Execute()) {
        command.ClearPending();
    }
}

void finish(DSPCommand& command) {
    if (!command.Finish()) {
        command.ClearPending();
    }
}

/// Sends a command back to the control side, also when its stage throws: the audio side cannot destroy it.
/// What threw is not run again. Past the queue's end the command is lost, with its memory.
class Returning : noncopyable {
public:
    Returning(CommandQueue& commandQueue, DSPCommand& dspCommand)
        : queue(commandQueue), command(dspCommand) {}
    ~Returning() {
        if (!ran) {
            command.ClearPending();
        }
        static_cast<void>(queue.TryEnqueue(&command));
    }

    void Run() {
        if (command.IsPending()) {
            execute(command);
        }
        ran = true;
    }

private:
    CommandQueue& queue;
    DSPCommand& command;
    bool ran = false;
};

} // namespace

void ElementImpl::PostToAudio(std::unique_ptr<DSPCommand> command) {
    if (state->commandsToAudio.Enqueue(command.get())) {
        static_cast<void>(command.release());
    }
}

void ElementImpl::Finish(std::unique_ptr<DSPCommand> command) {
    state->host->OnCommandFinished(this, command.get());
}

void ElementImpl::PostCommand(DSPCommand* posted) {
    std::unique_ptr<DSPCommand> command(posted);
    State& s = *state;
    s.host->OnCommandPosted(this, posted);
    if (!s.host->IsAudioRunning()) {
        const TriedLock lock(s.host->GetAudioLock(), std::try_to_lock);
        if (lock) {
            DrainCommands();
            execute(*command);
            if (command->IsPending()) {
                finish(*command);
            }
            if (!command->IsPending()) {
                Finish(std::move(command));
                return;
            }
        }
    }
    PostToAudio(std::move(command));
}

void ElementImpl::DrainCommands() {
    State& s = *state;
    if (s.commandsFrozen) {
        return;
    }
    for (ElementImpl* child : s.drainedChildren) {
        child->DrainCommands();
    }
    while (DSPCommand* command = s.commandsToAudio.Dequeue()) {
        Returning(s.commandsFromAudio, *command).Run();
        if (s.commandsFrozen) {
            return;
        }
    }
    OnCommandsDrained();
}

void ElementImpl::Idle() {
    State& s = *state;
    while (DSPCommand* returned = s.commandsFromAudio.Dequeue()) {
        std::unique_ptr<DSPCommand> command(returned);
        if (command->IsCancelled()) {
            command->ClearPending();
        }
        if (command->IsPending()) {
            finish(*command);
        }
        if (command->IsPending()) {
            PostToAudio(std::move(command));
        } else {
            Finish(std::move(command));
        }
    }
    if (!s.host->IsAudioRunning()) {
        ServeStoppedAudio();
    }
    for (Element* child : s.children) {
        child->Idle();
    }
    OnIdle();
}

void ElementImpl::ServeStoppedAudio() {
    State& s = *state;
    const TriedLock lock(s.host->GetAudioLock(), std::try_to_lock);
    if (!lock) {
        return;
    }
    // Goes back into the queue however this ends: one command that throws does not take the others along.
    struct Standing {
        ~Standing() {
            for (std::unique_ptr<DSPCommand>& command : commands) {
                element.PostToAudio(std::move(command));
            }
        }
        ElementImpl& element;
        std::vector<std::unique_ptr<DSPCommand>> commands;
    } standing{*this, {}};
    while (DSPCommand* queued = s.commandsToAudio.Dequeue()) {
        std::unique_ptr<DSPCommand> command(queued);
        if (command->IsPending()) {
            execute(*command);
        }
        if (command->IsCancelled()) {
            command->ClearPending();
        }
        if (command->IsPending()) {
            finish(*command);
        }
        if (command->IsPending()) {
            standing.commands.push_back(std::move(command));
        } else {
            Finish(std::move(command));
        }
    }
}

} // namespace DSP
