#pragma once

#include "dsp/ProcessingFFTPool.h"
#include "dsp/ProcessingMemoryPool.h"
#include "dsp/Transport.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace Util {
class CriticalSection;
class TaskQueue;
} // namespace Util

namespace DSP {

class DSPCommand;
class Element;

/// What an element sees of the system. Given to each element when it is made, and outlives it. The memory
/// pool and the FFT pool are bases: their promises stand in their own headers.
class ElementHost : public ProcessingMemoryPool, public ProcessingFFTPool {
public:
    /// True while an audio thread calls Process, and for a while after: then commands wait for it. [any]
    virtual bool IsAudioRunning() const = 0;

    /// The mutex that Process holds; the same one, recursive, for all elements of the host. [any]
    virtual Util::CriticalSection& GetAudioLock() = 0;

    /// Whether blocks come faster or slower than real time. [any]
    virtual bool IsOffline() const { return false; }

    /// Whether every block is live audio: then each call of Process starts and ends at offset 0, whatever
    /// positions were set before. [audio]
    virtual bool ForcesLivePositions() const { return false; }

    /// Keeps its place for hosts of other programs; nothing calls it.
    virtual void ReservedHook() {}

    /// Something about the elements changed that the host may want to ask for again. value 0: the latency, or
    /// parameters changed from inside; 1: a batch on the control side ended. [any]
    virtual void OnParamBatch(std::uint32_t value) = 0;

    /// Whether work that blocks is welcome at any time. [control]
    virtual bool IsBlockingAllowed() const = 0;
    virtual void SetBlockingAllowed(bool allowed) = 0;

    /// True unless the calling thread is the known audio thread. [any]
    virtual bool IsOffAudioThread() const = 0;

    /// [any]
    virtual bool CanBlock() const = 0;

    /// Whether somebody calls Idle. [any]
    virtual bool HasControlThread() const { return true; }

    /// Told at every PostCommand, before anything else happens to the command. [control]
    virtual void OnCommandPosted(Element* element, DSPCommand* command) = 0;

    /// Told just before a finished command is destroyed. [control]
    virtual void OnCommandFinished(Element* element, DSPCommand* command) = 0;

    /// Asks for the end of what the host is rendering. [any]
    virtual void RequestFinish() = 0;

    /// For work aside from the audio thread. [control]
    virtual std::shared_ptr<Util::TaskQueue> GetTaskQueue() = 0;

    /// The largest frame count that Process can be given. [any]
    virtual std::uint32_t GetMaxBlockSize() const = 0;

    /// Whether all blocks have one length. [any]
    virtual bool HasFixedBlocks() const { return false; }

    /// Sample offset of the running block of an element inside the host's own block. [audio]
    virtual void SetBlockOffset(std::uint32_t offset) = 0;
    virtual std::uint32_t GetBlockOffset() const = 0;

    /// Whether the two operations that follow have something to tell. [any]
    virtual bool HasTransport() const { return true; }

    /// [audio]
    virtual void GetTransport(TransportRecord& out) const = 0;

    /// Invalid when the host does not know it. [audio]
    virtual checked_value<std::int64_t> GetTransportPosition() const = 0;

    /// The user's selection in sample frames; equal ends mean that there is none. [control]
    virtual std::pair<std::uint64_t, std::uint64_t> GetSelection() const { return {}; }

    /// The element's state is no longer what it was saved as. [any]
    virtual void OnStateChanged(Element*) {}

    /// The element's window or view wants to be shown again. [control]
    virtual void OnViewChanged(Element*) {}

    /// Whether a document stands behind the audio; the queries that follow are about it. [control]
    virtual bool HasDocument() const { return false; }
    virtual String GetDocumentName() const { return {}; }
    /// In sample frames.
    virtual std::uint64_t GetDocumentLength() const { return 0; }
    /// In hertz.
    virtual checked_value<float> GetDocumentSampleRate() const { return {}; }
};

} // namespace DSP
