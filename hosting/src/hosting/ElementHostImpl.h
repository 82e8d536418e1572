#pragma once

#include "dsp/ElementHost.h"
#include "dsp/FFTPool.h"
#include "dsp/ScratchPool.h"
#include "svbase/util/CriticalSection.h"
#include "svbase/util/Noncopyable.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

namespace Tarvik {

/// What the elements of one host see of the system: scratch memory, prepared FFTs, the audio lock, the
/// transport and a task queue. There is no document and no selection behind it.
///
/// Threads. The audio lock orders everything that a block uses. The marks of the audio thread's activity are
/// atomic: written by the audio thread or its starter, read by anybody.
class ElementHostImpl final : public DSP::ElementHost, noncopyable {
public:
    /// Milliseconds that only grow, with the 32 bits of a tick count.
    using TickSource = std::uint32_t (*)();

    /// ticks: another clock than the system's, for tests of what time does.
    explicit ElementHostImpl(TickSource ticks = nullptr);
    ~ElementHostImpl() override;

    void ReserveScratch(std::uint32_t bytes) override;
    void* AllocScratch(std::uint32_t bytes) override;
    void FreeScratch(void* pointer, std::uint32_t bytes) override;
    std::uint32_t GetScratchUsed() const override;
    void Prepare(unsigned order) override;
    const DSP::FFT* GetFFT(unsigned order) override;
    void* GetBuffer() override;

    /// Also true for 2500 ms after the last audio activity.
    bool IsAudioRunning() const override;
    Util::CriticalSection& GetAudioLock() override;
    /// Counts; a value of 0 also requests the finish.
    void OnParamBatch(std::uint32_t value) override;
    bool IsBlockingAllowed() const override;
    void SetBlockingAllowed(bool allowed) override;
    bool IsOffAudioThread() const override;
    bool CanBlock() const override;
    void OnCommandPosted(DSP::Element* element, DSP::DSPCommand* command) override;
    void OnCommandFinished(DSP::Element* element, DSP::DSPCommand* command) override;
    void RequestFinish() override;
    std::shared_ptr<Util::TaskQueue> GetTaskQueue() override;
    std::uint32_t GetMaxBlockSize() const override;
    void SetBlockOffset(std::uint32_t offset) override;
    std::uint32_t GetBlockOffset() const override;
    void GetTransport(DSP::TransportRecord& out) const override;
    checked_value<std::int64_t> GetTransportPosition() const override;

    /// For whoever owns the audio thread. [control]
    void SetAudioRunning(bool running);
    /// A block has come; it marks the time, and the calling thread as the audio thread unless that is locked.
    /// [audio]
    void NoteAudioActivity();
    /// While locked, the recorded audio thread stays the one it is. [control]
    void SetAudioThreadLocked(bool locked);

    /// Where playback stands. [audio, or under the audio lock]
    void SetTransport(const DSP::TransportRecord& record);

    /// How many batches of changes the elements have told. [any]
    std::uint32_t GetParamChangeCount() const;
    bool IsFinishRequested() const;

private:
    TickSource ticks_;
    /// 0 means never.
    std::atomic<std::uint32_t> lastAudioTick_ = 0;
    std::atomic<bool> audioRunning_ = false;
    std::atomic<bool> blockingAllowed_ = true;
    /// The default id is no thread's.
    std::atomic<std::thread::id> audioThreadId_{};
    std::atomic<bool> audioThreadLocked_ = false;
    Util::CriticalSection audioLock_;
    DSP::ScratchPool memoryPool_;
    Util::FFTPool fftPool_;
    DSP::TransportRecord transport_;
    std::shared_ptr<Util::TaskQueue> taskQueue_;
    std::atomic<std::uint32_t> paramChangeCount_ = 0;
    std::atomic<bool> finishRequested_ = false;
    std::uint32_t blockOffset_ = 0;
};

} // namespace Tarvik
