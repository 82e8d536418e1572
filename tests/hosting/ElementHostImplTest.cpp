#include "hosting/ElementHostImpl.h"

#include "support/AllocationCount.h"
#include "svbase/util/TaskQueue.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace Tarvik {
namespace {

std::uint32_t now = 1000;
std::uint32_t Now() {
    return now;
}

class ElementHostImplTest : public testing::Test {
protected:
    void SetUp() override { now = 1000; }

    ElementHostImpl host{Now};
};

TEST_F(ElementHostImplTest, Audio_is_not_running_before_any_activity) {
    EXPECT_FALSE(host.IsAudioRunning());
    now = 2000000;
    EXPECT_FALSE(host.IsAudioRunning());
}

TEST_F(ElementHostImplTest, Audio_is_running_for_2500_ms_after_the_last_activity) {
    host.NoteAudioActivity();
    now += 2499;
    EXPECT_TRUE(host.IsAudioRunning());
    now += 1;
    EXPECT_FALSE(host.IsAudioRunning());
    host.NoteAudioActivity();
    EXPECT_TRUE(host.IsAudioRunning());
}

TEST_F(ElementHostImplTest, The_tick_count_may_wrap_around) {
    now = 0xFFFFFF00U;
    host.NoteAudioActivity();
    now = 100;
    EXPECT_TRUE(host.IsAudioRunning());
    now = 2500;
    EXPECT_FALSE(host.IsAudioRunning());
}

TEST_F(ElementHostImplTest, Activity_at_tick_0_counts) {
    now = 0;
    host.NoteAudioActivity();
    EXPECT_TRUE(host.IsAudioRunning());
}

TEST_F(ElementHostImplTest, Audio_that_was_started_runs_until_it_is_stopped) {
    host.SetAudioRunning(true);
    now += 1000000;
    EXPECT_TRUE(host.IsAudioRunning());
    host.SetAudioRunning(false);
    EXPECT_FALSE(host.IsAudioRunning());
}

TEST_F(ElementHostImplTest, The_audio_thread_is_the_one_that_brought_the_last_block) {
    EXPECT_TRUE(host.IsOffAudioThread());
    host.NoteAudioActivity();
    EXPECT_FALSE(host.IsOffAudioThread());
    std::thread([this] {
        EXPECT_TRUE(host.IsOffAudioThread());
        host.NoteAudioActivity();
        EXPECT_FALSE(host.IsOffAudioThread());
    }).join();
    EXPECT_TRUE(host.IsOffAudioThread());
}

TEST_F(ElementHostImplTest, A_locked_audio_thread_stays_recorded) {
    host.NoteAudioActivity();
    host.SetAudioThreadLocked(true);
    std::thread([this] {
        host.NoteAudioActivity();
        EXPECT_TRUE(host.IsOffAudioThread());
    }).join();
    EXPECT_FALSE(host.IsOffAudioThread());
}

TEST_F(ElementHostImplTest, Blocking_is_refused_only_off_a_running_audio_thread_that_forbids_it) {
    EXPECT_TRUE(host.IsBlockingAllowed());
    EXPECT_TRUE(host.CanBlock());
    host.SetBlockingAllowed(false);
    EXPECT_TRUE(host.CanBlock());
    host.SetAudioRunning(true);
    EXPECT_FALSE(host.CanBlock());
    host.SetBlockingAllowed(true);
    EXPECT_TRUE(host.CanBlock());
    host.SetBlockingAllowed(false);
    host.NoteAudioActivity();
    EXPECT_TRUE(host.CanBlock());
}

TEST_F(ElementHostImplTest, A_batch_of_value_0_requests_the_finish) {
    host.OnParamBatch(1);
    host.OnParamBatch(7);
    EXPECT_EQ(host.GetParamChangeCount(), 2U);
    EXPECT_FALSE(host.IsFinishRequested());
    host.OnParamBatch(0);
    EXPECT_EQ(host.GetParamChangeCount(), 3U);
    EXPECT_TRUE(host.IsFinishRequested());
}

TEST_F(ElementHostImplTest, Queries_without_a_document_answer_nothing) {
    EXPECT_FALSE(host.IsOffline());
    EXPECT_FALSE(host.ForcesLivePositions());
    EXPECT_TRUE(host.HasControlThread());
    EXPECT_FALSE(host.HasFixedBlocks());
    EXPECT_TRUE(host.HasTransport());
    EXPECT_FALSE(host.HasDocument());
    EXPECT_TRUE(host.GetDocumentName().isEmpty());
    EXPECT_EQ(host.GetDocumentLength(), 0U);
    EXPECT_FALSE(host.GetDocumentSampleRate().valid);
    EXPECT_EQ(host.GetSelection(), (std::pair<std::uint64_t, std::uint64_t>()));
    EXPECT_EQ(host.GetMaxBlockSize(), 8192U);
}

TEST_F(ElementHostImplTest, The_transport_is_empty_until_it_is_told) {
    EXPECT_FALSE(host.GetTransportPosition().valid);
    DSP::TransportRecord record;
    record.position = std::int64_t{42};
    record.tempo = 90.0F;
    host.SetTransport(record);
    EXPECT_EQ(host.GetTransportPosition(), checked_value<std::int64_t>(42));
    DSP::TransportRecord out;
    host.GetTransport(out);
    EXPECT_EQ(out.tempo, checked_value<float>(90.0F));
    EXPECT_FALSE(out.mode.valid);
}

TEST_F(ElementHostImplTest, The_block_offset_is_what_was_set) {
    EXPECT_EQ(host.GetBlockOffset(), 0U);
    host.SetBlockOffset(77);
    EXPECT_EQ(host.GetBlockOffset(), 77U);
}

TEST_F(ElementHostImplTest, Scratch_memory_never_shrinks_and_falls_back_to_the_heap) {
    host.ReserveScratch(64);
    host.ReserveScratch(16);
    void* inside = host.AllocScratch(64);
    EXPECT_EQ(host.GetScratchUsed(), 64U);
    void* heap = host.AllocScratch(32);
    ASSERT_NE(heap, nullptr);
    EXPECT_EQ(host.GetScratchUsed(), 64U);
    host.FreeScratch(heap, 32);
    EXPECT_EQ(host.GetScratchUsed(), 64U);
    host.FreeScratch(inside, 64);
    EXPECT_EQ(host.GetScratchUsed(), 0U);
}

TEST_F(ElementHostImplTest, Reserved_scratch_memory_is_handed_out_without_an_allocation) {
    host.ReserveScratch(96);
    const std::uint64_t before = AllocationCount();
    void* first = host.AllocScratch(64);
    void* second = host.AllocScratch(32);
    host.FreeScratch(second, 32);
    host.FreeScratch(first, 64);
    EXPECT_EQ(AllocationCount(), before);
    void* inside = host.AllocScratch(64);
    host.FreeScratch(host.AllocScratch(33), 33);
    EXPECT_EQ(AllocationCount(), before + 1) << "what is too much is the heap's";
    host.FreeScratch(inside, 64);
}

TEST_F(ElementHostImplTest, Transforms_are_the_pools_own) {
    host.Prepare(6);
    const DSP::FFT* transform = host.GetFFT(6);
    ASSERT_NE(transform, nullptr);
    EXPECT_EQ(host.GetFFT(6), transform);
    EXPECT_NE(host.GetBuffer(), nullptr);
    EXPECT_EQ(host.GetFFT(1000), nullptr);
}

TEST_F(ElementHostImplTest, The_audio_lock_is_one_and_named) {
    EXPECT_EQ(&host.GetAudioLock(), &host.GetAudioLock());
    EXPECT_EQ(host.GetAudioLock().name(), String("ElementHostImpl"));
}

// The pools, which only an explicit instantiation may name.
const String& nameOfMemoryPool(const ElementHostImpl& host);
const String& nameOfFFTPool(const ElementHostImpl& host);
template<auto Memory, auto Transforms>
struct PrivatePools {
    friend const String& nameOfMemoryPool(const ElementHostImpl& host) { return (host.*Memory).GetName(); }
    friend const String& nameOfFFTPool(const ElementHostImpl& host) { return (host.*Transforms).GetName(); }
};
template struct PrivatePools<&ElementHostImpl::memoryPool_, &ElementHostImpl::fftPool_>;

TEST_F(ElementHostImplTest, The_pools_are_named) {
    EXPECT_EQ(nameOfMemoryPool(host), String("PluginMemoryPool"));
    EXPECT_EQ(nameOfFFTPool(host), String("PluginFFTPool"));
}

TEST_F(ElementHostImplTest, The_task_queue_runs_off_the_calling_thread) {
    std::promise<std::thread::id> where;
    auto future = where.get_future();
    host.GetTaskQueue()->enqueue([&] { where.set_value(std::this_thread::get_id()); });
    EXPECT_NE(future.get(), std::this_thread::get_id());
    EXPECT_TRUE(host.GetTaskQueue()->isConcurrent());
}

} // namespace
} // namespace Tarvik
