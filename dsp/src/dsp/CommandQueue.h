#pragma once

#include "svbase/util/Noncopyable.h"

#include <atomic>
#include <cstddef>

namespace DSP {

class DSPCommand;

/// A lock-free queue of commands from one thread to one other: the producer calls Enqueue and TryEnqueue, the
/// consumer Dequeue. Which thread has which role may change, as long as something else orders the change (the
/// audio lock does). The queue does not own the commands in it.
///
/// The queue is a circular list of ring blocks. Each ring holds pointers between `front`, where the consumer
/// reads, and `tail`, where the producer writes; equal means empty, so one slot stays free. The consumer
/// works in `frontBlock`, the producer in `tailBlock`; from the one to the other, in the direction of `next`,
/// stand the blocks that hold something. All other blocks are empty and nobody looks at them.
///
/// Who writes what: the producer `tail`, `localFront`, `tailBlock`, `next` and the slots; the consumer
/// `front`, `localTail`, `frontBlock`. Each side reads the other's fields with acquire, they are stored with
/// release, and its own relaxed. Nothing stronger is needed:
///
/// - A slot is stored before the `tail` that covers it. The consumer reads the slot after it acquired such a
///   tail, so it sees the pointer and all that was written to the command before Enqueue.
/// - A slot is read before the `front` that frees it. The producer writes it again after it acquired such a
///   front, so the read is over. `localTail` and `localFront` are old values of the far index; indices only
///   advance, so an old one is never too generous.
/// - The producer leaves a block only when it is full, and enters `next` only when that is not the consumer's
///   block. Blocks between tail and front, in the direction of `next`, have been left by the consumer, who
///   leaves a block only when it is empty: its last `front` was stored before the `frontBlock` that the
///   producer acquired. A stale `frontBlock` names a block that the consumer was in before: with the producer
///   standing still, those lie from `next` of the tail on to the present front, so what was taken for the
///   consumer's can be free in truth, never the reverse.
/// - The producer stores into the block that it enters before it stores `tailBlock`. The consumer leaves its
///   block only after it acquired a `tailBlock` other than it and then saw the block's `tail` once more: the
///   producer has left for good, that tail is the last one, and the block it enters holds something. The
///   producer's store of `next` in the block it left precedes that `tailBlock` as well, and it does not
///   touch that `next` again before it has come round, which needs the consumer to be gone from there.
///
/// The fields of the two sides stand on cache lines of their own; while the ring is neither full nor empty,
/// each side runs on its cached copy of the far index and the lines travel only now and then.
class CommandQueue : noncopyable {
public:
    static constexpr std::size_t cacheLine = 64;

    /// Room for `entries` commands before the first allocation of Enqueue.
    explicit CommandQueue(std::size_t entries);
    /// Precondition: no thread is inside.
    ~CommandQueue();

    /// Takes a new block when the ring is full. False when there is no memory for it: the command was not
    /// stored. [producer, not audio]
    [[nodiscard]] bool Enqueue(DSPCommand* command) {
        return PutInTail(command) || PutInNext(command) || PutInNewBlock(command);
    }

    /// Without the allocation. False when the ring is full. [producer]
    [[nodiscard]] bool TryEnqueue(DSPCommand* command) noexcept {
        return PutInTail(command) || PutInNext(command);
    }

    /// Null when the queue is empty. [consumer]
    DSPCommand* Dequeue() noexcept {
        Block* block = frontBlock.load(std::memory_order_relaxed);
        const std::size_t front = block->front.load(std::memory_order_relaxed);
        if (front == block->localTail) {
            block->localTail = block->tail.load(std::memory_order_acquire);
            if (front == block->localTail) {
                return TakeFromNext(block, front);
            }
        }
        return Take(*block, front);
    }

    /// The number of blocks. [producer]
    std::size_t GetNumBlocks() const noexcept;
    /// Slots of the largest block, which is the one added last. [producer]
    std::size_t GetLargestBlockSize() const noexcept { return largestBlockSize; }

private:
    struct Block {
        std::atomic<std::size_t> front = 0;
        std::size_t localTail = 0;

        alignas(cacheLine) std::atomic<std::size_t> tail = 0;
        std::size_t localFront = 0;

        alignas(cacheLine) Block* next = nullptr;
        const std::size_t sizeMask;

        /// The slots stand right behind the block, in the same memory: a pointer to them would be one more
        /// load of every Enqueue and Dequeue.
        explicit Block(std::size_t slots) : sizeMask(slots - 1) {}
        DSPCommand*& Slot(std::size_t index) noexcept {
            return reinterpret_cast<DSPCommand**>(this + 1)[index];
        }
    };

    /// Null without memory.
    static Block* MakeBlock(std::size_t slots) noexcept;
    static void FreeBlock(Block* block) noexcept;

    static DSPCommand* Take(Block& block, std::size_t front) noexcept {
        DSPCommand* const command = block.Slot(front);
        block.front.store((front + 1) & block.sizeMask, std::memory_order_release);
        return command;
    }

    bool PutInTail(DSPCommand* command) noexcept {
        Block& block = *tailBlock.load(std::memory_order_relaxed);
        const std::size_t tail = block.tail.load(std::memory_order_relaxed);
        const std::size_t following = (tail + 1) & block.sizeMask;
        if (following == block.localFront) {
            block.localFront = block.front.load(std::memory_order_acquire);
            if (following == block.localFront) {
                return false;
            }
        }
        block.Slot(tail) = command;
        block.tail.store(following, std::memory_order_release);
        return true;
    }

    DSPCommand* TakeFromNext(Block* block, std::size_t front) noexcept;
    bool PutInNext(DSPCommand* command) noexcept;
    bool PutInNewBlock(DSPCommand* command);

    alignas(cacheLine) std::atomic<Block*> frontBlock;
    alignas(cacheLine) std::atomic<Block*> tailBlock;
    std::size_t largestBlockSize;
};

} // namespace DSP
