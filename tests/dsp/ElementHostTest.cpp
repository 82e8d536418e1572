#include "dsp/ElementHost.h"

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

} // namespace
} // namespace DSP
