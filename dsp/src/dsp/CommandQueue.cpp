#include "dsp/CommandQueue.h"

#include <bit>
#include <new>

namespace DSP {

namespace {

// Blocks of this size or more are not doubled: the queue then grows by equal blocks.
constexpr std::size_t doublingLimit = 512;

} // namespace

CommandQueue::Block* CommandQueue::MakeBlock(std::size_t slots) noexcept {
    void* const memory = ::operator new(
        sizeof(Block) + slots * sizeof(DSPCommand*), std::align_val_t(alignof(Block)), std::nothrow);
    return memory ? new (memory) Block(slots) : nullptr;
}

void CommandQueue::FreeBlock(Block* block) noexcept {
    block->~Block();
    ::operator delete(block, std::align_val_t(alignof(Block)));
}

CommandQueue::CommandQueue(std::size_t entries) : largestBlockSize(std::bit_ceil(entries + 1)) {
    Block* const block = MakeBlock(largestBlockSize);
    if (!block) {
        throw std::bad_alloc();
    }
    block->next = block;
    frontBlock.store(block, std::memory_order_relaxed);
    tailBlock.store(block, std::memory_order_relaxed);
}

CommandQueue::~CommandQueue() {
    Block* const first = frontBlock.load(std::memory_order_relaxed);
    Block* block = first;
    do {
        Block* const next = block->next;
        FreeBlock(block);
        block = next;
    } while (block != first);
}

std::size_t CommandQueue::GetNumBlocks() const noexcept {
    const Block* const first = tailBlock.load(std::memory_order_relaxed);
    std::size_t count = 1;
    for (const Block* block = first->next; block != first; block = block->next) {
        ++count;
    }
    return count;
}

DSPCommand* CommandQueue::TakeFromNext(Block* block, std::size_t front) noexcept {
    if (block == tailBlock.load(std::memory_order_acquire)) {
        return nullptr;
    }
    // The producer may have filled this block further before it moved on.
    block->localTail = block->tail.load(std::memory_order_acquire);
    if (front != block->localTail) {
        return Take(*block, front);
    }
    Block* const next = block->next;
    const std::size_t nextFront = next->front.load(std::memory_order_relaxed);
    next->localTail = next->tail.load(std::memory_order_acquire);
    frontBlock.store(next, std::memory_order_release);
    return Take(*next, nextFront);
}

bool CommandQueue::PutInNext(DSPCommand* command) noexcept {
    Block* const next = tailBlock.load(std::memory_order_relaxed)->next;
    if (next == frontBlock.load(std::memory_order_acquire)) {
        return false;
    }
    // Empty, and the consumer does not come back before tailBlock says so.
    const std::size_t tail = next->tail.load(std::memory_order_relaxed);
    next->localFront = next->front.load(std::memory_order_acquire);
    next->Slot(tail) = command;
    next->tail.store((tail + 1) & next->sizeMask, std::memory_order_release);
    tailBlock.store(next, std::memory_order_release);
    return true;
}

bool CommandQueue::PutInNewBlock(DSPCommand* command) {
    const std::size_t slots = largestBlockSize < doublingLimit ? largestBlockSize * 2 : largestBlockSize;
    Block* const block = MakeBlock(slots);
    if (!block) {
        return false;
    }
    largestBlockSize = slots;
    Block* const last = tailBlock.load(std::memory_order_relaxed);
    block->Slot(0) = command;
    block->tail.store(1, std::memory_order_relaxed);
    block->next = last->next;
    last->next = block;
    tailBlock.store(block, std::memory_order_release);
    return true;
}

} // namespace DSP
