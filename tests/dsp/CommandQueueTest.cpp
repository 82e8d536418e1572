#include "dsp/CommandQueue.h"
#include "dsp/DSPCommand.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <thread>
#include <vector>

namespace DSP {
namespace {

class Numbered final : public DSPCommand {
public:
    explicit Numbered(std::size_t value = 0) : number(value) {}
    bool Execute() override { return false; }
    std::size_t number;
};

std::vector<Numbered> makeCommands(std::size_t count) {
    std::vector<Numbered> commands(count);
    for (std::size_t i = 0; i < count; ++i) {
        commands[i].number = i;
    }
    return commands;
}

TEST(CommandQueueTest, An_empty_queue_gives_null) {
    CommandQueue queue(1020);
    EXPECT_EQ(queue.Dequeue(), nullptr);
    EXPECT_EQ(queue.Dequeue(), nullptr);
}

TEST(CommandQueueTest, A_queue_for_1020_entries_is_one_block_of_1024_slots) {
    CommandQueue queue(1020);
    EXPECT_EQ(queue.GetNumBlocks(), 1U);
    EXPECT_EQ(queue.GetLargestBlockSize(), 1024U);
}

TEST(CommandQueueTest, One_slot_stays_empty_and_the_next_command_takes_a_second_block) {
    auto commands = makeCommands(1024);
    CommandQueue queue(1020);
    for (std::size_t i = 0; i < 1023; ++i) {
        ASSERT_TRUE(queue.Enqueue(&commands[i]));
    }
    EXPECT_EQ(queue.GetNumBlocks(), 1U);
    ASSERT_TRUE(queue.Enqueue(&commands[1023]));
    EXPECT_EQ(queue.GetNumBlocks(), 2U);
    EXPECT_EQ(queue.GetLargestBlockSize(), 1024U);
    for (Numbered& command : commands) {
        ASSERT_EQ(queue.Dequeue(), &command);
    }
    EXPECT_EQ(queue.Dequeue(), nullptr);
}

TEST(CommandQueueTest, Small_blocks_double_until_512_slots) {
    auto commands = makeCommands(3000);
    CommandQueue queue(100);
    EXPECT_EQ(queue.GetLargestBlockSize(), 128U);
    std::vector<std::size_t> sizes;
    for (Numbered& command : commands) {
        ASSERT_TRUE(queue.Enqueue(&command));
        if (sizes.empty() || sizes.back() != queue.GetLargestBlockSize()) {
            sizes.push_back(queue.GetLargestBlockSize());
        }
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t>{128, 256, 512}));
    for (Numbered& command : commands) {
        ASSERT_EQ(queue.Dequeue(), &command);
    }
}

TEST(CommandQueueTest, Without_memory_for_a_second_block_the_command_is_not_stored) {
    auto commands = makeCommands(4);
    CommandQueue queue(3);
    for (std::size_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(queue.Enqueue(&commands[i]));
    }
    bool stored = true;
    {
        const WithoutMemory none;
        stored = queue.Enqueue(&commands[3]);
    }
    EXPECT_FALSE(stored);
    EXPECT_EQ(queue.GetNumBlocks(), 1U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(queue.Dequeue(), &commands[i]);
    }
    EXPECT_EQ(queue.Dequeue(), nullptr);
    EXPECT_TRUE(queue.Enqueue(&commands[3]));
    EXPECT_EQ(queue.Dequeue(), &commands[3]);
}

TEST(CommandQueueTest, Without_allocation_a_full_ring_refuses) {
    auto commands = makeCommands(1024);
    CommandQueue queue(1020);
    for (std::size_t i = 0; i < 1023; ++i) {
        ASSERT_TRUE(queue.TryEnqueue(&commands[i]));
    }
    EXPECT_FALSE(queue.TryEnqueue(&commands[1023]));
    EXPECT_EQ(queue.GetNumBlocks(), 1U);
    EXPECT_EQ(queue.Dequeue(), &commands[0]);
    EXPECT_TRUE(queue.TryEnqueue(&commands[1023]));
}

TEST(CommandQueueTest, Without_allocation_the_blocks_that_are_free_again_are_used) {
    auto commands = makeCommands(20);
    CommandQueue queue(3);
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(queue.Enqueue(&commands[static_cast<std::size_t>(i)]));
    }
    ASSERT_EQ(queue.GetNumBlocks(), 2U);
    for (int i = 0; i < 4; ++i) {
        ASSERT_NE(queue.Dequeue(), nullptr);
    }
    // 7 slots of the second block, then 3 of the first.
    std::size_t taken = 0;
    while (taken < commands.size() && queue.TryEnqueue(&commands[taken])) {
        ++taken;
    }
    EXPECT_EQ(taken, 10U);
    for (std::size_t i = 0; i < taken; ++i) {
        ASSERT_EQ(queue.Dequeue(), &commands[i]);
    }
    EXPECT_EQ(queue.Dequeue(), nullptr);
}

TEST(CommandQueueTest, Behaves_like_a_deque_under_random_operations) {
    auto commands = makeCommands(64);
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        CommandQueue queue(1 + random() % 20);
        std::deque<DSPCommand*> model;
        std::size_t next = 0;
        for (int step = 0; step < 2000; ++step) {
            // Phases of filling and of emptying, so that blocks come and go.
            const bool fill = random() % 100 < (step / 200 % 2 == 0 ? 70U : 30U);
            if (fill) {
                DSPCommand* const command = &commands[next++ % commands.size()];
                if (random() % 2 == 0) {
                    ASSERT_TRUE(queue.Enqueue(command));
                    model.push_back(command);
                } else if (queue.TryEnqueue(command)) {
                    model.push_back(command);
                }
            } else {
                DSPCommand* const expected = model.empty() ? nullptr : model.front();
                if (!model.empty()) {
                    model.pop_front();
                }
                ASSERT_EQ(queue.Dequeue(), expected);
            }
        }
    }
}

TEST(CommandQueueTest, Two_threads_pass_every_command_once_and_in_order_while_the_ring_grows) {
    constexpr std::size_t count = 200000;
    auto commands = makeCommands(1000);
    CommandQueue queue(3);
    std::thread producer([&] {
        for (std::size_t i = 0; i < count; ++i) {
            Numbered& command = commands[i % commands.size()];
            ASSERT_TRUE(queue.Enqueue(&command));
        }
    });
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < count;) {
        if (DSPCommand* command = queue.Dequeue()) {
            wrong += static_cast<Numbered*>(command)->number != i % commands.size();
            ++i;
        } else {
            std::this_thread::yield();
        }
    }
    producer.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(queue.Dequeue(), nullptr);
}

TEST(CommandQueueTest, What_was_written_to_a_command_before_it_was_queued_is_seen_behind_the_queue) {
    constexpr std::size_t rounds = 100000;
    std::vector<Numbered> commands(8);
    CommandQueue there(3);
    CommandQueue back(8);
    for (Numbered& command : commands) {
        ASSERT_TRUE(back.Enqueue(&command));
    }
    std::thread producer([&] {
        for (std::size_t i = 0; i < rounds;) {
            if (auto* command = static_cast<Numbered*>(back.Dequeue())) {
                command->number = i++;
                while (!there.TryEnqueue(command)) {
                    std::this_thread::yield();
                }
            } else {
                std::this_thread::yield();
            }
        }
    });
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < rounds;) {
        if (auto* command = static_cast<Numbered*>(there.Dequeue())) {
            wrong += command->number != i++;
            command->number = 0;
            wrong += !back.TryEnqueue(command);
        } else {
            std::this_thread::yield();
        }
    }
    producer.join();
    EXPECT_EQ(wrong, 0U);
}

} // namespace
} // namespace DSP
