#include "hosting/dx/DXSinkPin_win32.h"

#include "hosting/dx/ComTest_win32.h"
#include "hosting/dx/DXPins_win32.h"
#include "support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <thread>
#include <vector>

namespace Tarvik {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A sample of another maker, which says of itself whatever a test wants.
class Sample final : public IMediaSample {
public:
    explicit Sample(const std::vector<float>& floats) : bytes(floats.size() * sizeof(float)) {
        std::memcpy(bytes.data(), floats.data(), bytes.size());
        pointer = bytes.data();
        size = actual = static_cast<long>(bytes.size());
    }
    virtual ~Sample() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetPointer(BYTE** out) override {
        *out = pointer;
        return answer;
    }
    long STDMETHODCALLTYPE GetSize() override { return size; }
    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME*, REFERENCE_TIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetTime(REFERENCE_TIME*, REFERENCE_TIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsSyncPoint() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetSyncPoint(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE IsPreroll() override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetPreroll(BOOL) override { return S_OK; }
    long STDMETHODCALLTYPE GetActualDataLength() override { return actual; }
    HRESULT STDMETHODCALLTYPE SetActualDataLength(long) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMediaType(AM_MEDIA_TYPE**) override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetMediaType(AM_MEDIA_TYPE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsDiscontinuity() override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetDiscontinuity(BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetMediaTime(LONGLONG*, LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetMediaTime(LONGLONG*, LONGLONG*) override { return E_NOTIMPL; }

    std::vector<BYTE> bytes;
    BYTE* pointer;
    HRESULT answer = S_OK;
    long size;
    long actual;
};

std::vector<float> receivedBy(DXSinkPin& pin) {
    const DXSinkPin::Received received(pin);
    const auto floats = received.Floats();
    return {floats.begin(), floats.end()};
}

std::uint32_t countedBy(DXSinkPin& pin) {
    return DXSinkPin::Received(pin).Count();
}

TEST(DXSinkPin, What_arrives_stands_behind_what_arrived_before) {
    StereoPins pins;
    Sample first({1.0f, 2.0f});
    Sample second({3.0f});
    EXPECT_THAT(receivedBy(*pins.in), IsEmpty());
    EXPECT_EQ(pins.in->Receive(&first), S_OK);
    EXPECT_EQ(pins.in->Receive(&second), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f, 2.0f, 3.0f));
    EXPECT_TRUE(pins.in->Clear());
    EXPECT_THAT(receivedBy(*pins.in), IsEmpty());
    EXPECT_EQ(pins.in->Receive(&second), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(3.0f));
}

TEST(DXSinkPin, The_buffer_grows_as_needed) {
    StereoPins pins;
    std::vector<float> ramp(1000);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    Sample sample(ramp);
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    std::vector<float> twice = ramp;
    twice.insert(twice.end(), ramp.begin(), ramp.end());
    EXPECT_EQ(receivedBy(*pins.in), twice);
}

TEST(DXSinkPin, A_sample_that_there_is_no_memory_for_is_counted_and_nothing_is_kept_behind_it) {
    StereoPins pins;
    Sample sample(std::vector<float>(1000, 1.0f));
    Sample small({2.0f});
    EXPECT_EQ(pins.in->Receive(&small), S_OK);
    {
        const WithoutMemory none;
        EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    }
    EXPECT_EQ(pins.in->Receive(&small), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(2.0f));
    EXPECT_EQ(countedBy(*pins.in), 1002U);
    EXPECT_TRUE(pins.in->Clear());
    EXPECT_EQ(countedBy(*pins.in), 0U);
    EXPECT_EQ(pins.in->Receive(&small), S_OK);
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    EXPECT_EQ(receivedBy(*pins.in).size(), 1001U);
    EXPECT_EQ(countedBy(*pins.in), 1001U);
}

TEST(DXSinkPin, What_nobody_takes_is_kept_up_to_a_limit_and_counted_beyond_it) {
    StereoPins pins;
    constexpr std::size_t length = 65536;
    constexpr std::size_t samples = DXSinkPin::mostKeptFloats / length;
    static_assert(samples * length == DXSinkPin::mostKeptFloats);
    Sample sample(std::vector<float>(length, 1.0f));
    for (std::size_t i = 0; i < samples; ++i) {
        ASSERT_EQ(pins.in->Receive(&sample), S_OK);
    }
    EXPECT_EQ(receivedBy(*pins.in).size(), DXSinkPin::mostKeptFloats);
    const std::uint64_t before = AllocationCount();
    for (std::size_t i = 0; i < samples; ++i) {
        ASSERT_EQ(pins.in->Receive(&sample), S_OK);
    }
    EXPECT_EQ(AllocationCount(), before);
    EXPECT_EQ(receivedBy(*pins.in).size(), DXSinkPin::mostKeptFloats);
    EXPECT_EQ(countedBy(*pins.in), 2 * DXSinkPin::mostKeptFloats);
}

TEST(DXSinkPin, More_floats_than_a_number_tells_are_its_highest_value) {
    StereoPins pins;
    Sample endless({1.0f});
    endless.actual = endless.size = std::numeric_limits<long>::max();
    constexpr std::uint32_t each = std::numeric_limits<long>::max() / sizeof(float);
    // None of it is looked at, as there is no room for so much.
    for (std::uint32_t i = 1; i <= 8; ++i) {
        ASSERT_EQ(pins.in->Receive(&endless), S_OK);
        ASSERT_EQ(countedBy(*pins.in), i * each);
    }
    ASSERT_EQ(pins.in->Receive(&endless), S_OK);
    EXPECT_EQ(countedBy(*pins.in), std::numeric_limits<std::uint32_t>::max());
    EXPECT_THAT(receivedBy(*pins.in), IsEmpty());
}

TEST(DXSinkPin, Bytes_that_make_no_whole_float_are_left_out) {
    StereoPins pins;
    Sample sample({1.0f, 2.0f});
    sample.actual = 7;
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f));
    sample.actual = 3;
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    sample.actual = 0;
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f));
}

TEST(DXSinkPin, A_sample_without_memory_is_a_failure) {
    StereoPins pins;
    Sample sample({1.0f});
    sample.answer = E_OUTOFMEMORY;
    EXPECT_EQ(pins.in->Receive(&sample), E_FAIL);
    sample.answer = S_OK;
    sample.pointer = nullptr;
    EXPECT_EQ(pins.in->Receive(&sample), E_FAIL);
    EXPECT_EQ(pins.in->Receive(nullptr), E_POINTER);
    EXPECT_THAT(receivedBy(*pins.in), IsEmpty());
}

TEST(DXSinkPin, A_sample_is_not_read_beyond_its_size) {
    StereoPins pins;
    Sample sample({1.0f, 2.0f});
    sample.actual = 1 << 30;
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f, 2.0f));
    sample.actual = -8;
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f, 2.0f));
}

TEST(DXSinkPin, A_sample_that_does_not_tell_its_size_is_read_by_its_length) {
    for (const long size : {0L, -1L, static_cast<long>(E_NOTIMPL)}) {
        StereoPins pins;
        Sample sample({1.0f, 2.0f, 3.0f});
        sample.size = size;
        sample.actual = 8;
        EXPECT_EQ(pins.in->Receive(&sample), S_OK);
        EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f, 2.0f)) << size;
    }
}

TEST(DXSinkPin, A_sample_may_lie_anywhere) {
    StereoPins pins;
    Sample sample({1.0f, 2.0f, 3.0f});
    std::memmove(sample.bytes.data() + 1, sample.bytes.data(), 8);
    sample.pointer = sample.bytes.data() + 1;
    sample.actual = sample.size = 8;
    EXPECT_EQ(pins.in->Receive(&sample), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f, 2.0f));
}

TEST(DXSinkPin, Several_samples_come_in_their_order) {
    StereoPins pins;
    Sample first({1.0f});
    Sample second({2.0f});
    IMediaSample* samples[] = {&first, &second, &first};
    long processed = -1;
    EXPECT_EQ(pins.in->ReceiveMultiple(samples, 3, &processed), S_OK);
    EXPECT_EQ(processed, 3);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f, 2.0f, 1.0f));
}

TEST(DXSinkPin, No_samples_are_received_with_success) {
    StereoPins pins;
    IMediaSample* none = nullptr;
    long processed = -1;
    EXPECT_EQ(pins.in->ReceiveMultiple(&none, 0, &processed), S_OK);
    EXPECT_EQ(processed, 0);
}

TEST(DXSinkPin, The_first_of_several_samples_that_fails_ends_them) {
    StereoPins pins;
    Sample good({1.0f});
    Sample bad({2.0f});
    bad.answer = E_OUTOFMEMORY;
    IMediaSample* samples[] = {&good, &bad, &good};
    long processed = -1;
    EXPECT_EQ(pins.in->ReceiveMultiple(samples, 3, &processed), E_FAIL);
    EXPECT_EQ(processed, 1);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f));
}

TEST(DXSinkPin, Several_samples_need_a_list_a_count_and_a_place_for_the_number) {
    StereoPins pins;
    Sample sample({1.0f});
    IMediaSample* samples[] = {&sample};
    long processed = 0;
    EXPECT_EQ(pins.in->ReceiveMultiple(nullptr, 1, &processed), E_POINTER);
    EXPECT_EQ(pins.in->ReceiveMultiple(samples, 1, nullptr), E_POINTER);
    EXPECT_EQ(pins.in->ReceiveMultiple(samples, -1, &processed), E_INVALIDARG);
}

TEST(DXSinkPin, While_somebody_reads_a_delivery_is_dropped_with_success_and_nobody_waits) {
    StereoPins pins;
    Sample earlier({1.0f});
    Sample dropped({2.0f});
    ASSERT_EQ(pins.in->Receive(&earlier), S_OK);
    {
        const DXSinkPin::Received reader(*pins.in);
        EXPECT_TRUE(reader);
        EXPECT_EQ(pins.in->Receive(&dropped), S_OK);
        IMediaSample* samples[] = {&dropped, &dropped};
        long processed = 0;
        EXPECT_EQ(pins.in->ReceiveMultiple(samples, 2, &processed), S_OK);
        EXPECT_EQ(processed, 2);
        EXPECT_FALSE(pins.in->Clear());
        const DXSinkPin::Received second(*pins.in);
        EXPECT_FALSE(second);
        EXPECT_EQ(second.Count(), 0U);
        // Not even where the floats lie, as whoever is at the buffer may be moving it.
        EXPECT_EQ(second.Floats().data(), nullptr);
        EXPECT_THAT(second.Floats(), IsEmpty());
        EXPECT_THAT(reader.Floats(), ElementsAre(1.0f));
    }
    EXPECT_EQ(countedBy(*pins.in), 1U);
    EXPECT_EQ(pins.in->Receive(&earlier), S_OK);
    EXPECT_THAT(receivedBy(*pins.in), ElementsAre(1.0f, 1.0f));
}

TEST(DXSinkPin, A_sample_without_memory_is_a_failure_also_while_somebody_reads) {
    StereoPins pins;
    Sample sample({1.0f});
    sample.pointer = nullptr;
    const DXSinkPin::Received reader(*pins.in);
    EXPECT_EQ(pins.in->Receive(&sample), E_FAIL);
}

TEST(DXSinkPin, Deliveries_of_two_threads_come_whole_or_not_at_all) {
    StereoPins pins;
    std::atomic<bool> done = false;
    std::atomic<long> delivered = 0;
    std::atomic<bool> failed = false;
    const auto deliver = [&](float value) {
        Sample sample(std::vector<float>(7, value));
        while (!done) {
            // Before it can be seen.
            delivered += 7;
            if (pins.in->Receive(&sample) != S_OK) {
                failed = true;
            }
        }
    };
    std::thread one(deliver, 1.0f);
    std::thread two(deliver, 2.0f);
    long seen = 0;
    bool torn = false;
    // Until a good number has come; each look takes the buffer out of the deliverers' hands.
    while (seen < 200000) {
        const std::vector<float> floats = receivedBy(*pins.in);
        for (std::size_t i = 0; i < floats.size(); i += 7) {
            torn = torn || floats.size() < i + 7 || floats[i] != floats[i + 6];
        }
        if (pins.in->Clear()) {
            seen += static_cast<long>(floats.size());
        }
    }
    done = true;
    one.join();
    two.join();
    EXPECT_FALSE(torn);
    EXPECT_FALSE(failed);
    EXPECT_GE(delivered, seen);
}

TEST(DXSinkPin, An_output_connects_to_it_once) {
    StereoPins pins;
    const StereoPins others;
    const ULONG before = referencesOf(pins.out);
    EXPECT_EQ(pins.in->ReceiveConnection(nullptr, &pins.type.Get()), E_POINTER);
    EXPECT_EQ(pins.in->ReceiveConnection(pins.out, nullptr), E_POINTER);
    EXPECT_EQ(pins.in->ReceiveConnection(pins.out, &pins.type.Get()), S_OK);
    EXPECT_EQ(referencesOf(pins.out), before + 1);
    EXPECT_EQ(pins.in->ReceiveConnection(others.out, &pins.type.Get()), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(pins.in->Disconnect(), S_OK);
    EXPECT_EQ(pins.in->Disconnect(), S_FALSE);
    EXPECT_EQ(referencesOf(pins.out), before);
}

TEST(DXSinkPin, A_type_that_is_not_accepted_is_not_received) {
    StereoPins pins;
    DXMediaType three;
    ASSERT_EQ(three.SetAudio(44100.0f, 3), S_OK);
    EXPECT_EQ(pins.in->ReceiveConnection(pins.out, &three.Get()), VFW_E_TYPE_NOT_ACCEPTED);
}

TEST(DXSinkPin, Connecting_by_itself_takes_an_output_and_calls_nobody_back) {
    StereoPins pins;
    const StereoPins others;
    EXPECT_EQ(pins.in->Connect(nullptr, &pins.type.Get()), E_POINTER);
    EXPECT_EQ(pins.in->Connect(pins.out, nullptr), E_POINTER);
    EXPECT_EQ(pins.in->Connect(others.in, &pins.type.Get()), E_FAIL);
    DXMediaType three;
    ASSERT_EQ(three.SetAudio(44100.0f, 3), S_OK);
    EXPECT_EQ(pins.in->Connect(pins.out, &three.Get()), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(pins.in->Connect(pins.out, &pins.type.Get()), S_OK);
    EXPECT_EQ(pins.in->Connect(pins.out, &pins.type.Get()), VFW_E_ALREADY_CONNECTED);
    IPin* peer = nullptr;
    EXPECT_EQ(pins.out->ConnectedTo(&peer), VFW_E_NOT_CONNECTED);
    EXPECT_EQ(pins.in->Disconnect(), S_OK);
}

TEST(DXSinkPin, Connecting_by_itself_holds_the_output) {
    StereoPins pins;
    const ULONG before = referencesOf(pins.out);
    ASSERT_EQ(pins.in->Connect(pins.out, &pins.type.Get()), S_OK);
    EXPECT_EQ(referencesOf(pins.out), before + 1);
    EXPECT_EQ(pins.in->Disconnect(), S_OK);
    EXPECT_EQ(referencesOf(pins.out), before);
}

TEST(DXSinkPin, Of_several_reasons_not_to_connect_the_first_one_is_told) {
    StereoPins pins;
    const StereoPins others;
    DXMediaType three;
    ASSERT_EQ(three.SetAudio(44100.0f, 3), S_OK);
    EXPECT_EQ(pins.in->Connect(others.in, &three.Get()), VFW_E_NO_ACCEPTABLE_TYPES);
    ASSERT_EQ(pins.in->ReceiveConnection(pins.out, &pins.type.Get()), S_OK);
    EXPECT_EQ(pins.in->Connect(others.in, &three.Get()), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(pins.in->Connect(nullptr, &three.Get()), E_POINTER);
    EXPECT_EQ(pins.in->Connect(others.in, nullptr), E_POINTER);
    EXPECT_EQ(pins.in->ReceiveConnection(others.out, &three.Get()), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(pins.in->ReceiveConnection(nullptr, &three.Get()), E_POINTER);
    EXPECT_EQ(pins.in->ReceiveConnection(others.out, nullptr), E_POINTER);
    EXPECT_EQ(pins.in->Disconnect(), S_OK);
}

TEST(DXSinkPin, What_comes_downstream_is_welcome) {
    const StereoPins pins;
    EXPECT_EQ(pins.in->EndOfStream(), S_OK);
    EXPECT_EQ(pins.in->BeginFlush(), S_OK);
    EXPECT_EQ(pins.in->EndFlush(), S_OK);
    EXPECT_EQ(pins.in->ReceiveCanBlock(), S_FALSE);
    EXPECT_EQ(pins.in->GetAllocatorRequirements(nullptr), E_NOTIMPL);
}

TEST(DXSinkPin, Both_of_its_interfaces_are_one_object) {
    const StereoPins pins;
    ComPointer<IMemInputPin> input;
    ComPointer<IPin> pin;
    ComPointer<IUnknown> first;
    ComPointer<IUnknown> second;
    ASSERT_EQ(queryInterface(static_cast<IPin*>(pins.in), IID_IMemInputPin, input), S_OK);
    ASSERT_EQ(queryInterface(input.Get(), IID_IPin, pin), S_OK);
    ASSERT_EQ(queryInterface(input.Get(), IID_IUnknown, first), S_OK);
    ASSERT_EQ(queryInterface(pin.Get(), IID_IUnknown, second), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
}

TEST(DXSinkPin, Its_allocator_is_the_platforms_and_made_once) {
    const ComApartment com;
    StereoPins pins;
    ComPointer<IMemAllocator> first;
    ComPointer<IMemAllocator> second;
    EXPECT_EQ(pins.in->GetAllocator(nullptr), E_POINTER);
    ASSERT_EQ(receiveObject(first, [&](IMemAllocator** out) { return pins.in->GetAllocator(out); }), S_OK);
    ASSERT_EQ(receiveObject(second, [&](IMemAllocator** out) { return pins.in->GetAllocator(out); }), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
    second.Reset();
    EXPECT_EQ(referencesOf(first.Get()), 2U);
    pins.sink.Reset();
    EXPECT_EQ(referencesOf(first.Get()), 1U);
}

TEST(DXSinkPin, An_allocator_that_is_agreed_on_takes_the_place_of_the_old_one) {
    const ComApartment com;
    StereoPins pins;
    ComPointer<IMemAllocator> own;
    ComPointer<IMemAllocator> agreed;
    ASSERT_EQ(receiveObject(own, [&](IMemAllocator** out) { return pins.in->GetAllocator(out); }), S_OK);
    ASSERT_EQ(createInstance(CLSID_MemoryAllocator, IID_IMemAllocator, agreed), S_OK);
    EXPECT_EQ(pins.in->NotifyAllocator(nullptr, FALSE), E_POINTER);
    EXPECT_EQ(pins.in->NotifyAllocator(agreed.Get(), TRUE), S_OK);
    EXPECT_EQ(referencesOf(own.Get()), 1U);
    EXPECT_EQ(referencesOf(agreed.Get()), 2U);
    // The same one once more, as filters do that start over.
    EXPECT_EQ(pins.in->NotifyAllocator(agreed.Get(), FALSE), S_OK);
    EXPECT_EQ(referencesOf(agreed.Get()), 2U);
}

TEST(DXSinkPin, Without_its_filter_it_offers_and_receives_all_the_same) {
    StereoPins pins;
    const auto pin = ComPointer<DXSinkPin>::Share(pins.in);
    pins.sink.Reset();
    ComPointer<IEnumMediaTypes> types;
    EXPECT_EQ(receiveObject(types, [&](IEnumMediaTypes** out) { return pin->EnumMediaTypes(out); }), S_OK);
    Sample sample({1.0f});
    EXPECT_EQ(pin->Receive(&sample), S_OK);
}

} // namespace
} // namespace Tarvik
