#pragma once

#include "dsp/ElementHost.h"
#include "dsp/ScratchPool.h"
#include "svbase/util/CriticalSection.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace DSP::Testing {

/// An element host whose answers a test sets and whose notes it reads.
class TestElementHost final : public ElementHost {
public:
    std::atomic<bool> audioRunning = false;
    std::uint32_t maxBlockSize = 8192;
    bool livePositions = false;
    TransportRecord transport;

    Util::CriticalSection audioLock{"TestElementHost"};
    ScratchPool pool{"TestElementHost scratch"};

    std::uint32_t posted = 0;
    std::uint32_t finished = 0;
    /// The blocks taken from the pool, also those that it had no room for.
    std::uint32_t scratchTaken = 0;
    std::uint32_t blockOffset = 0;
    std::uint32_t paramBatches = 0;
    /// What a test wants to see of the moment; each may be empty.
    std::function<void(DSPCommand*)> onCommandPosted;
    std::function<void(DSPCommand*)> onCommandFinished;
    std::function<void(std::uint32_t value)> onParamBatch;

    void ReserveScratch(std::uint32_t bytes) override { pool.ReserveScratch(bytes); }
    void* AllocScratch(std::uint32_t bytes) override {
        ++scratchTaken;
        return pool.AllocScratch(bytes);
    }
    void FreeScratch(void* pointer, std::uint32_t bytes) override { pool.FreeScratch(pointer, bytes); }
    std::uint32_t GetScratchUsed() const override { return pool.GetScratchUsed(); }

    void Prepare(unsigned) override {}
    const FFT* GetFFT(unsigned) override { return nullptr; }
    void* GetBuffer() override { return nullptr; }

    bool IsAudioRunning() const override { return audioRunning; }
    Util::CriticalSection& GetAudioLock() override { return audioLock; }
    bool ForcesLivePositions() const override { return livePositions; }
    void OnParamBatch(std::uint32_t value) override {
        ++paramBatches;
        if (onParamBatch) {
            onParamBatch(value);
        }
    }
    bool IsBlockingAllowed() const override { return true; }
    void SetBlockingAllowed(bool) override {}
    bool IsOffAudioThread() const override { return true; }
    bool CanBlock() const override { return true; }
    void OnCommandPosted(Element*, DSPCommand* command) override {
        ++posted;
        if (onCommandPosted) {
            onCommandPosted(command);
        }
    }
    void OnCommandFinished(Element*, DSPCommand* command) override {
        ++finished;
        if (onCommandFinished) {
            onCommandFinished(command);
        }
    }
    void RequestFinish() override {}
    std::shared_ptr<Util::TaskQueue> GetTaskQueue() override { return nullptr; }
    std::uint32_t GetMaxBlockSize() const override { return maxBlockSize; }
    void SetBlockOffset(std::uint32_t offset) override { blockOffset = offset; }
    std::uint32_t GetBlockOffset() const override { return blockOffset; }
    void GetTransport(TransportRecord& out) const override { out = transport; }
    checked_value<std::int64_t> GetTransportPosition() const override { return transport.position; }
};

} // namespace DSP::Testing
