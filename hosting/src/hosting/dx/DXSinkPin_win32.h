#pragma once

#include "hosting/dx/DXBasePin_win32.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Tarvik {

/// The input pin of a sink that keeps what arrives, as floats in the order of their coming, until it is
/// cleared. The answers are those of IPin and IMemInputPin where nothing else is said. [main] but for Receive
/// and the buffer.
///
/// Threads. Samples come in the middle of the block that they belong to, on the [audio] thread, and whoever
/// reads them does it there between two blocks. A filter with a thread of its own may deliver at any time.
/// Nobody waits: one flag says that somebody is at the buffer, and whoever finds it set goes away. A reader
/// finds nothing then, and a delivery is dropped. It succeeds all the same: filters take a failure for the
/// end of the stream, and would deliver nothing more until the next start. The flag is taken with acquire and
/// given back with release order, so that each sees what the one before him wrote.
class DXSinkPin final : public DXBasePin, public IMemInputPin {
public:
    /// Its name, and what it is found by.
    static constexpr const char* name = "DXSinkPin";

    /// How many floats are kept between two Clears, many times as many as any block has. A filter with a
    /// thread of its own delivers also while no block comes along, and must not fill the memory.
    static constexpr std::size_t mostKeptFloats = std::size_t{1} << 20;

    /// bufferedFloats: how many may arrive between two Clears before the buffer has to grow.
    DXSinkPin(DXBaseFilter* owningFilter, std::uint32_t bufferedFloats);
    ~DXSinkPin() override;

    /// Forgets what has arrived. False, and nothing done, while a delivery is under way. [audio]
    bool Clear() noexcept;

    /// What has arrived, for as long as the object lives; deliveries meanwhile are dropped. [audio]
    class Received {
    public:
        explicit Received(DXSinkPin& pin) noexcept;
        ~Received();
        Received(const Received&) = delete;
        Received& operator=(const Received&) = delete;

        /// False while a delivery is under way: nothing is known of it then, and nothing below tells.
        explicit operator bool() const noexcept { return held; }
        /// How many floats have arrived; the highest number stands for any higher one.
        std::uint32_t Count() const noexcept { return held ? from.receivedFloats : 0; }
        /// All of them, or the first, where there was no room for the others.
        std::span<const float> Floats() const noexcept;

    private:
        DXSinkPin& from;
        bool held;
    };

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        return GetOwner()->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return GetOwner()->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return GetOwner()->Release(); }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** out) override;

    /// The type has to be given. The connector is not called back: it is the one that connects.
    HRESULT STDMETHODCALLTYPE Connect(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* connector, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** out) override;
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;

    /// The platform's own kind of allocator, made when it is first asked for.
    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** out) override;
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* agreed, BOOL readOnly) override;
    HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* out) override;
    /// Copies the sample's whole floats, or counts them where there is no room for them. E_FAIL for a sample
    /// without memory. [any]
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;
    /// In their order, up to the first that is not S_OK, whose answer it gives. processed: how many were.
    /// [any]
    HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample** samples, long count, long* processed) override;
    /// S_FALSE: it never does.
    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override;

private:
    bool TakeBuffer() noexcept { return !bufferTaken.test_and_set(std::memory_order_acquire); }
    void GiveBufferBack() noexcept { bufferTaken.clear(std::memory_order_release); }
    void Append(const BYTE* bytes, std::uint32_t floats) noexcept;
    bool MakeRoom(std::size_t floats) noexcept;

    float sampleRate;
    std::uint32_t channelLayout;
    /// As long as the longest block needed; the first keptFloats of it have arrived.
    std::vector<float> buffer;
    std::size_t keptFloats = 0;
    std::uint32_t receivedFloats = 0;
    std::atomic_flag bufferTaken;
    ComPointer<IMemAllocator> allocator;
};

} // namespace Tarvik
