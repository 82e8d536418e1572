#include "dsp/ScratchPool.h"

#include "dsp/ScratchArray.h"
#include "support/AllocationCount.h"
#include "support/VirtualSlot.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace DSP::Testing {
namespace {

TEST(ScratchPoolTest, Keeps_its_name) {
    EXPECT_STREQ(ScratchPool("PluginMemoryPool").GetName().c_str(), "PluginMemoryPool");
}

TEST(ScratchPoolTest, Reserved_blocks_follow_each_other_and_come_back_in_reverse) {
    ScratchPool pool("pool");
    pool.ReserveScratch(100);
    const std::size_t before = AllocationCount();
    std::byte* first = static_cast<std::byte*>(pool.AllocScratch(60));
    std::byte* second = static_cast<std::byte*>(pool.AllocScratch(40));
    EXPECT_EQ(second, first + 60);
    EXPECT_EQ(pool.GetScratchUsed(), 100U);
    pool.FreeScratch(second, 40);
    EXPECT_EQ(pool.GetScratchUsed(), 60U);
    EXPECT_EQ(pool.AllocScratch(40), second);
    pool.FreeScratch(second, 40);
    pool.FreeScratch(first, 60);
    EXPECT_EQ(pool.GetScratchUsed(), 0U);
    EXPECT_EQ(AllocationCount(), before);
}

TEST(ScratchPoolTest, Reserving_less_never_shrinks) {
    ScratchPool pool("pool");
    pool.ReserveScratch(100);
    pool.ReserveScratch(10);
    const std::size_t before = AllocationCount();
    void* block = pool.AllocScratch(100);
    EXPECT_EQ(AllocationCount(), before);
    pool.FreeScratch(block, 100);
}

TEST(ScratchPoolTest, Past_the_reserved_size_the_block_comes_from_the_heap) {
    ScratchPool pool("pool");
    pool.ReserveScratch(64);
    void* inside = pool.AllocScratch(64);
    const std::size_t before = AllocationCount();
    void* outside = pool.AllocScratch(32);
    EXPECT_EQ(AllocationCount(), before + 1);
    EXPECT_EQ(pool.GetScratchUsed(), 64U) << "the heap's blocks do not count";
    std::memset(outside, 1, 32);
    // Were it not given back, the leak check at the end of the program would say so.
    pool.FreeScratch(outside, 32);
    EXPECT_EQ(pool.GetScratchUsed(), 64U);
    pool.FreeScratch(inside, 64);
    EXPECT_EQ(pool.GetScratchUsed(), 0U);
}

TEST(ScratchPoolTest, A_request_near_the_largest_size_does_not_wrap_round) {
    ScratchPool pool("pool");
    pool.ReserveScratch(64);
    void* inside = pool.AllocScratch(16);
    {
        // The heap is asked, and here it has nothing: no test needs four gigabytes.
        const WithoutMemory none;
        EXPECT_THROW(pool.AllocScratch(0xFFFFFFF8U), std::bad_alloc);
    }
    EXPECT_EQ(pool.GetScratchUsed(), 16U);
    pool.FreeScratch(inside, 16);
}

TEST(ScratchPoolTest, A_heap_block_larger_than_what_is_in_use_stays_allocated) {
    ScratchPool pool("pool");
    pool.ReserveScratch(16);
    void* inside = pool.AllocScratch(16);
    void* outside = pool.AllocScratch(32);
    pool.FreeScratch(outside, 32);
    EXPECT_EQ(pool.GetScratchUsed(), 16U);
    // It is still ours to write and to give back.
    std::memset(outside, 1, 32);
    ::operator delete(outside);
    pool.FreeScratch(inside, 16);
}

TEST(ScratchPoolTest, An_empty_pool_serves_from_the_heap_and_frees_nothing) {
    ScratchPool pool("pool");
    void* block = pool.AllocScratch(8);
    pool.FreeScratch(block, 8);
    std::memset(block, 1, 8);
    ::operator delete(block);
    EXPECT_EQ(pool.GetScratchUsed(), 0U);
}

TEST(ScratchPoolTest, Reserving_keeps_the_used_count) {
    ScratchPool pool("pool");
    pool.ReserveScratch(16);
    pool.AllocScratch(16);
    pool.ReserveScratch(64);
    EXPECT_EQ(pool.GetScratchUsed(), 16U);
    const std::size_t before = AllocationCount();
    pool.AllocScratch(48);
    EXPECT_EQ(AllocationCount(), before);
}

TEST(ProcessingMemoryPool, Its_operations_stand_in_their_published_order) {
    using Pool = ProcessingMemoryPool;
    EXPECT_EQ(
        virtualSlots(&Pool::ReserveScratch, &Pool::AllocScratch, &Pool::FreeScratch, &Pool::GetScratchUsed),
        slotsFrom(destructorSlots, 4));
}

TEST(ScratchArrayTest, Takes_its_elements_and_one_more) {
    ScratchPool pool("pool");
    pool.ReserveScratch(1000);
    {
        ScratchArray<float> floats(pool, 10);
        EXPECT_EQ(pool.GetScratchUsed(), 44U);
        EXPECT_EQ(floats.size(), 10U);
        ScratchArray<float*> pointers(pool, 3);
        EXPECT_EQ(pool.GetScratchUsed(), 44U + 32U);
    }
    EXPECT_EQ(pool.GetScratchUsed(), 0U);
    EXPECT_EQ(ScratchArray<float*>::GetBytes(3), 32U);
}

TEST(ScratchArrayTest, Starts_aligned_wherever_the_pool_stands) {
    ScratchPool pool("pool");
    pool.ReserveScratch(4000);
    for (std::uint32_t shift = 0; shift < 16; ++shift) {
        void* block = pool.AllocScratch(shift);
        {
            ScratchArray<double> doubles(pool, 5);
            ScratchArray<float> floats(pool, 7);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(doubles.data()) % sizeof(double), 0U);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(floats.data()) % sizeof(float), 0U);
            for (double& value : doubles) {
                value = 1.0;
            }
            for (float& value : floats) {
                value = 2.0F;
            }
            EXPECT_EQ(doubles[4], 1.0);
        }
        pool.FreeScratch(block, shift);
    }
    EXPECT_EQ(pool.GetScratchUsed(), 0U);
}

TEST(ScratchArrayTest, Random_nesting_keeps_every_content) {
    ScratchPool pool("pool");
    pool.ReserveScratch(4096);
    auto random = [engine = std::mt19937(3)]() mutable { return static_cast<std::uint32_t>(engine()); };
    struct Block {
        std::byte* pointer;
        std::uint32_t size;
        unsigned char mark;
    };
    std::vector<Block> blocks;
    for (int step = 0; step < 3000; ++step) {
        if (blocks.empty() || (random() % 2 == 0 && pool.GetScratchUsed() < 3500)) {
            const std::uint32_t size = random() % 500;
            const unsigned char mark = static_cast<unsigned char>(random());
            std::byte* pointer = static_cast<std::byte*>(pool.AllocScratch(size));
            std::memset(pointer, mark, size);
            blocks.push_back({pointer, size, mark});
        } else {
            const Block block = blocks.back();
            blocks.pop_back();
            for (std::uint32_t i = 0; i < block.size; ++i) {
                ASSERT_EQ(static_cast<unsigned char>(block.pointer[i]), block.mark);
            }
            pool.FreeScratch(block.pointer, block.size);
        }
    }
    for (; !blocks.empty(); blocks.pop_back()) {
        pool.FreeScratch(blocks.back().pointer, blocks.back().size);
    }
    EXPECT_EQ(pool.GetScratchUsed(), 0U);
}

} // namespace
} // namespace DSP::Testing
