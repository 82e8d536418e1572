#include "hosting/ElementHostImpl.h"

#include "svbase/util/TaskQueue.h"

#include <chrono>

namespace Tarvik {

namespace {

constexpr std::uint32_t maxBlockFrames = 8192;

/// How long silence of the audio thread still counts as running: longer than any pause between two blocks.
constexpr std::uint32_t audioGraceMs = 2500;

std::uint32_t systemTicks() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

} // namespace

ElementHostImpl::ElementHostImpl(TickSource ticks)
    : ticks_(ticks != nullptr ? ticks : systemTicks), audioLock_("ElementHostImpl"),
      memoryPool_("PluginMemoryPool"), fftPool_("PluginFFTPool"),
      taskQueue_(std::make_shared<Util::TaskQueue>(true)) {}

ElementHostImpl::~ElementHostImpl() = default;

void ElementHostImpl::ReserveScratch(std::uint32_t bytes) {
    memoryPool_.ReserveScratch(bytes);
}

void* ElementHostImpl::AllocScratch(std::uint32_t bytes) {
    return memoryPool_.AllocScratch(bytes);
}

void ElementHostImpl::FreeScratch(void* pointer, std::uint32_t bytes) {
    memoryPool_.FreeScratch(pointer, bytes);
}

std::uint32_t ElementHostImpl::GetScratchUsed() const {
    return memoryPool_.GetScratchUsed();
}

void ElementHostImpl::Prepare(unsigned order) {
    fftPool_.Prepare(order);
}

const DSP::FFT* ElementHostImpl::GetFFT(unsigned order) {
    return fftPool_.Get(order);
}

void* ElementHostImpl::GetBuffer() {
    return fftPool_.GetBuffer();
}

bool ElementHostImpl::IsAudioRunning() const {
    if (audioRunning_.load(std::memory_order_relaxed)) {
        return true;
    }
    const std::uint32_t last = lastAudioTick_.load(std::memory_order_relaxed);
    // The difference stays right where the tick count wraps around.
    return last != 0 && ticks_() - last < audioGraceMs;
}

Util::CriticalSection& ElementHostImpl::GetAudioLock() {
    return audioLock_;
}

void ElementHostImpl::OnParamBatch(std::uint32_t value) {
    paramChangeCount_.fetch_add(1, std::memory_order_relaxed);
    if (value == 0) {
        RequestFinish();
    }
}

bool ElementHostImpl::IsBlockingAllowed() const {
    return blockingAllowed_.load(std::memory_order_relaxed);
}

void ElementHostImpl::SetBlockingAllowed(bool allowed) {
    blockingAllowed_.store(allowed, std::memory_order_relaxed);
}

bool ElementHostImpl::IsOffAudioThread() const {
    return audioThreadId_.load(std::memory_order_relaxed) != std::this_thread::get_id();
}

bool ElementHostImpl::CanBlock() const {
    return !IsOffAudioThread() || IsBlockingAllowed() || !IsAudioRunning();
}

void ElementHostImpl::OnCommandPosted(DSP::Element*, DSP::DSPCommand*) {}

void ElementHostImpl::OnCommandFinished(DSP::Element*, DSP::DSPCommand*) {}

void ElementHostImpl::RequestFinish() {
    finishRequested_.store(true, std::memory_order_relaxed);
}

std::shared_ptr<Util::TaskQueue> ElementHostImpl::GetTaskQueue() {
    return taskQueue_;
}

std::uint32_t ElementHostImpl::GetMaxBlockSize() const {
    return maxBlockFrames;
}

void ElementHostImpl::SetBlockOffset(std::uint32_t offset) {
    blockOffset_ = offset;
}

std::uint32_t ElementHostImpl::GetBlockOffset() const {
    return blockOffset_;
}

void ElementHostImpl::GetTransport(DSP::TransportRecord& out) const {
    out = transport_;
}

checked_value<std::int64_t> ElementHostImpl::GetTransportPosition() const {
    return transport_.position;
}

void ElementHostImpl::SetAudioRunning(bool running) {
    audioRunning_.store(running, std::memory_order_relaxed);
}

void ElementHostImpl::NoteAudioActivity() {
    const std::uint32_t now = ticks_();
    // 0 stands for never; the tick before it does as well.
    lastAudioTick_.store(now == 0 ? 0xFFFFFFFFU : now, std::memory_order_relaxed);
    if (!audioThreadLocked_.load(std::memory_order_relaxed)) {
        audioThreadId_.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }
}

void ElementHostImpl::SetAudioThreadLocked(bool locked) {
    audioThreadLocked_.store(locked, std::memory_order_relaxed);
}

void ElementHostImpl::SetTransport(const DSP::TransportRecord& record) {
    transport_ = record;
}

std::uint32_t ElementHostImpl::GetParamChangeCount() const {
    return paramChangeCount_.load(std::memory_order_relaxed);
}

bool ElementHostImpl::IsFinishRequested() const {
    return finishRequested_.load(std::memory_order_relaxed);
}

} // namespace Tarvik
