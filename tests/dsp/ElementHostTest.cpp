#include "dsp/ElementHost.h"

#include "TestElementHost.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

namespace DSP {
namespace {

TEST(ElementHost, Its_operations_stand_in_their_published_order) {
    EXPECT_EQ(
        virtualSlots(
            &ElementHost::ReserveScratch, &ElementHost::AllocScratch, &ElementHost::FreeScratch,
            &ElementHost::GetScratchUsed, &ElementHost::IsAudioRunning, &ElementHost::GetAudioLock,
            &ElementHost::IsOffline, &ElementHost::ForcesLivePositions, &ElementHost::ReservedHook,
            &ElementHost::OnParamBatch, &ElementHost::IsBlockingAllowed, &ElementHost::SetBlockingAllowed,
            &ElementHost::IsOffAudioThread, &ElementHost::CanBlock, &ElementHost::HasControlThread,
            &ElementHost::OnCommandPosted, &ElementHost::OnCommandFinished, &ElementHost::RequestFinish,
            &ElementHost::GetTaskQueue, &ElementHost::GetMaxBlockSize, &ElementHost::HasFixedBlocks,
            &ElementHost::SetBlockOffset, &ElementHost::GetBlockOffset, &ElementHost::HasTransport,
            &ElementHost::GetTransport, &ElementHost::GetTransportPosition, &ElementHost::GetSelection,
            &ElementHost::OnStateChanged, &ElementHost::OnViewChanged, &ElementHost::HasDocument,
            &ElementHost::GetDocumentName, &ElementHost::GetDocumentLength,
            &ElementHost::GetDocumentSampleRate),
        slotsFrom(destructorSlots, 33));
}

TEST(ElementHost, Its_memory_pool_stands_at_its_beginning_and_its_transforms_behind) {
    Testing::TestElementHost made;
    ElementHost* const host = &made;
    const void* const begin = host;
    EXPECT_EQ(static_cast<const void*>(static_cast<ProcessingMemoryPool*>(host)), begin);
    EXPECT_EQ(
        static_cast<const std::byte*>(static_cast<void*>(static_cast<ProcessingFFTPool*>(host))),
        static_cast<const std::byte*>(begin) + sizeof(ProcessingMemoryPool));
}

} // namespace
} // namespace DSP
