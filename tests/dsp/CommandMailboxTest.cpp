#include "TestElement.h"
#include "dsp/DSPCommand.h"
#include "dsp/FunctionObjectCommand.h"
#include "support/AllocationCount.h"
#include "support/VirtualSlot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace DSP::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Log = std::vector<std::string>;

/// Writes each stage into a log and answers what the test wants.
class Logged final : public DSPCommand {
public:
    Logged(Log& notes, std::string text, bool executeAnswer = false, bool finishAnswer = false)
        : log(notes), name(std::move(text)), fromExecute(executeAnswer), fromFinish(finishAnswer) {}
    ~Logged() override { log.push_back(name + " destroyed"); }

    bool Execute() override {
        log.push_back(name + " executed");
        if (onExecute) {
            onExecute();
        }
        return fromExecute;
    }
    bool Finish() override {
        log.push_back(name + " finished");
        return fromFinish;
    }

    std::function<void()> onExecute;

private:
    Log& log;
    std::string name;
    bool fromExecute;
    bool fromFinish;
};

class CommandMailboxTest : public ::testing::Test {
protected:
    void Block() { element.Process(4, audio.GetPointers()); }
    Log TakeLog() {
        Log taken;
        taken.swap(log);
        return taken;
    }

    /// Runs the function while another thread holds the audio lock.
    void WhileLocked(const std::function<void()>& function) {
        std::thread([&] {
            // The lock is recursive: only another thread finds it taken.
            const std::lock_guard lock(host.audioLock);
            std::thread(function).join();
        }).join();
    }

    Log log;
    TestElementHost host;
    TestElement element{host};
    TestAudio audio{1, 4};
};

TEST_F(CommandMailboxTest, A_new_command_is_pending_and_not_cancelled) {
    const Logged command(log, "a");
    EXPECT_TRUE(command.IsPending());
    EXPECT_FALSE(command.IsCancelled());
}

TEST(DSPCommand, Its_operations_stand_in_their_published_order_and_the_destructor_behind_them) {
    struct Extended : DSPCommand {
        virtual void Added() {}
    };
    EXPECT_EQ(
        virtualSlots(&DSPCommand::Execute, &DSPCommand::Finish, &DSPCommand::IsPending, &DSPCommand::Cancel),
        slotsFrom(0, 4));
    EXPECT_EQ(virtualSlot(&Extended::Added), 4 + destructorSlots);
}

TEST(DSPCommandMailbox, Its_operation_stands_behind_the_destructor) {
    EXPECT_EQ(virtualSlot(&DSPCommandMailbox::PostCommand), destructorSlots);
}

TEST_F(CommandMailboxTest, The_host_is_told_of_a_post_before_all_else_and_of_the_end_before_the_destruction) {
    const DSPCommand* told = nullptr;
    host.onCommandPosted = [&](DSPCommand* command) {
        told = command;
        log.push_back("posted");
    };
    host.onCommandFinished = [&](DSPCommand* command) {
        EXPECT_EQ(command, told);
        log.push_back("ended");
    };
    element.PostCommand(new Logged(log, "a", true, false));
    EXPECT_THAT(TakeLog(), ElementsAre("posted", "a executed", "a finished", "ended", "a destroyed"));
    host.audioRunning = true;
    element.PostCommand(new Logged(log, "b"));
    Block();
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("posted", "b executed", "ended", "b destroyed"));
    element.PostCommand(new Logged(log, "c"));
    host.audioRunning = false;
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("posted", "c executed", "ended", "c destroyed"));
}

TEST_F(CommandMailboxTest, Without_memory_for_a_larger_queue_the_command_is_lost_and_destroyed) {
    host.audioRunning = true;
    for (int i = 0; i < 1023; ++i) {
        element.PostCommand(new Logged(log, "waiting"));
    }
    log.reserve(1);
    auto* const command = new Logged(log, "a");
    {
        const WithoutMemory none;
        element.PostCommand(command);
    }
    EXPECT_THAT(TakeLog(), ElementsAre("a destroyed"));
    EXPECT_EQ(host.finished, 0U);
    Block();
    EXPECT_EQ(TakeLog().size(), 1023U) << "the others run";
}

TEST_F(CommandMailboxTest, With_audio_stopped_a_frozen_element_runs_a_new_command_and_leaves_the_older_ones) {
    host.audioRunning = true;
    element.PostCommand(new Logged(log, "old"));
    host.audioRunning = false;
    element.SetCommandsFrozen(true);
    element.PostCommand(new Logged(log, "new"));
    EXPECT_THAT(TakeLog(), ElementsAre("new executed", "new destroyed"));
    EXPECT_EQ(element.drains, 0U);
    element.SetCommandsFrozen(false);
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("old executed", "old destroyed"));
}

TEST_F(CommandMailboxTest, The_childrens_Idle_comes_before_the_elements_own) {
    struct Idling : TestElement {
        Idling(TestElementHost& elementHost, Log& notes, const char* text)
            : TestElement(elementHost), log(notes), name(text) {}
        void OnIdle() override { log.push_back(name); }
        Log& log;
        const char* name;
    };
    Idling parent(host, log, "parent");
    Idling first(host, log, "first child");
    Idling second(host, log, "second child");
    parent.AddChild(&first);
    parent.AddChild(&second);
    parent.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("first child", "second child", "parent"));
}

TEST_F(CommandMailboxTest, With_audio_running_a_command_runs_in_the_next_block_and_ends_in_Idle) {
    host.audioRunning = true;
    element.PostCommand(new Logged(log, "a"));
    EXPECT_EQ(host.posted, 1U);
    EXPECT_THAT(TakeLog(), IsEmpty());
    Block();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed"));
    EXPECT_EQ(host.finished, 0U);
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a destroyed"));
    EXPECT_EQ(host.finished, 1U);
}

TEST_F(CommandMailboxTest, A_true_answer_of_Execute_leads_to_Finish_on_the_control_side) {
    host.audioRunning = true;
    element.PostCommand(new Logged(log, "a", true, false));
    Block();
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a finished", "a destroyed"));
    EXPECT_EQ(host.finished, 1U);
}

TEST_F(CommandMailboxTest, True_from_both_stages_goes_round_until_cancelled) {
    host.audioRunning = true;
    auto* const command = new Logged(log, "a", true, true);
    element.PostCommand(command);
    for (int round = 0; round < 3; ++round) {
        Block();
        element.Idle();
        EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a finished"));
    }
    Block();
    command->Cancel();
    TakeLog();
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a destroyed")) << "a cancelled command that came back has no Finish";
    EXPECT_EQ(host.finished, 1U);
}

TEST_F(CommandMailboxTest, With_audio_stopped_and_the_lock_free_a_command_has_run_when_PostCommand_returns) {
    element.PostCommand(new Logged(log, "a"));
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a destroyed"));
    EXPECT_EQ(host.posted, 1U);
    EXPECT_EQ(host.finished, 1U);
}

TEST_F(CommandMailboxTest, With_audio_stopped_both_stages_run_at_once) {
    element.PostCommand(new Logged(log, "a", true, false));
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a finished", "a destroyed"));
}

TEST_F(CommandMailboxTest, With_audio_stopped_a_standing_command_is_queued_after_its_first_round) {
    auto* const command = new Logged(log, "a", true, true);
    element.PostCommand(command);
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a finished"));
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a finished")) << "Idle serves the stopped audio";
    command->Cancel();
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a destroyed"));
}

TEST_F(CommandMailboxTest, With_audio_stopped_and_the_lock_held_a_command_stays_until_the_next_Idle) {
    WhileLocked([&] { element.PostCommand(new Logged(log, "a")); });
    EXPECT_THAT(TakeLog(), IsEmpty());
    WhileLocked([&] { element.Idle(); });
    EXPECT_THAT(TakeLog(), IsEmpty()) << "Idle only tries the lock";
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a destroyed"));
}

TEST_F(CommandMailboxTest, With_audio_stopped_older_commands_run_before_a_new_one) {
    host.audioRunning = true;
    element.PostCommand(new Logged(log, "old"));
    host.audioRunning = false;
    element.PostCommand(new Logged(log, "new"));
    EXPECT_THAT(TakeLog(), ElementsAre("old executed", "new executed", "new destroyed"));
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("old destroyed"));
}

TEST_F(CommandMailboxTest, Idle_runs_what_the_stopped_audio_left) {
    host.audioRunning = true;
    element.PostCommand(new Logged(log, "a", true, false));
    element.PostCommand(new Logged(log, "b"));
    host.audioRunning = false;
    element.Idle();
    EXPECT_THAT(
        TakeLog(), ElementsAre("a executed", "a finished", "a destroyed", "b executed", "b destroyed"));
    EXPECT_EQ(host.finished, 2U);
}

TEST_F(
    CommandMailboxTest, A_command_cancelled_before_the_stopped_audio_is_served_is_executed_but_not_finished) {
    host.audioRunning = true;
    auto* const command = new Logged(log, "a", true, true);
    element.PostCommand(command);
    command->Cancel();
    host.audioRunning = false;
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed", "a destroyed"));
}

TEST_F(CommandMailboxTest, A_command_that_is_no_longer_pending_is_passed_back_without_running) {
    host.audioRunning = true;
    auto* const command = new Logged(log, "a", true, true);
    command->ClearPending();
    element.PostCommand(command);
    Block();
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a destroyed"));
    EXPECT_EQ(host.finished, 1U);
}

TEST_F(CommandMailboxTest, Commands_run_in_the_order_of_posting_and_the_childrens_come_first) {
    TestElement child(host);
    TestElement grandchild(host);
    child.AddChild(&grandchild);
    element.AddChild(&child);
    host.audioRunning = true;
    element.PostCommand(new Logged(log, "1"));
    child.PostCommand(new Logged(log, "2"));
    element.PostCommand(new Logged(log, "3"));
    grandchild.PostCommand(new Logged(log, "4"));
    Block();
    EXPECT_THAT(TakeLog(), ElementsAre("4 executed", "2 executed", "1 executed", "3 executed"));
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("1 destroyed", "3 destroyed", "2 destroyed", "4 destroyed"));
    EXPECT_EQ(element.idles, 1U);
    EXPECT_EQ(grandchild.idles, 1U);
}

TEST_F(CommandMailboxTest, An_element_that_defers_commands_leaves_them_in_the_queue) {
    host.audioRunning = true;
    element.defers = true;
    element.PostCommand(new Logged(log, "a"));
    Block();
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_EQ(element.drains, 0U);
    element.defers = false;
    Block();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed"));
}

TEST_F(CommandMailboxTest, OnCommandsDrained_follows_each_drain_also_of_an_empty_queue) {
    Block();
    EXPECT_EQ(element.drains, 1U);
}

TEST_F(CommandMailboxTest, A_frozen_element_drains_nothing_and_its_children_neither) {
    TestElement child(host);
    element.AddChild(&child);
    host.audioRunning = true;
    element.SetCommandsFrozen(true);
    child.PostCommand(new Logged(log, "a"));
    Block();
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_EQ(element.drains, 0U);
    element.SetCommandsFrozen(false);
    Block();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed"));
}

TEST_F(CommandMailboxTest, A_command_that_freezes_the_element_stops_the_drain_behind_itself) {
    host.audioRunning = true;
    auto* const freezing = new Logged(log, "a");
    freezing->onExecute = [this] { element.SetCommandsFrozen(true); };
    element.PostCommand(freezing);
    element.PostCommand(new Logged(log, "b"));
    Block();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed"));
    EXPECT_EQ(element.drains, 0U);
    element.SetCommandsFrozen(false);
    Block();
    EXPECT_THAT(TakeLog(), ElementsAre("b executed"));
    EXPECT_EQ(element.drains, 1U);
}

TEST_F(CommandMailboxTest, All_of_1024_waiting_commands_run_and_the_last_finds_no_way_back) {
    host.audioRunning = true;
    std::vector<Logged*> commands;
    for (int i = 0; i < 1024; ++i) {
        commands.push_back(new Logged(log, std::to_string(i)));
        element.PostCommand(commands.back());
    }
    Block();
    const Log executed = TakeLog();
    ASSERT_EQ(executed.size(), 1024U);
    EXPECT_EQ(executed.front(), "0 executed");
    EXPECT_EQ(executed.back(), "1023 executed");
    element.Idle();
    EXPECT_EQ(TakeLog().size(), 1023U);
    EXPECT_EQ(host.finished, 1023U);
    // Dropped with its memory, as the audio side must neither wait nor free; here it is known.
    delete commands.back();
}

TEST_F(CommandMailboxTest, Destruction_destroys_what_is_on_its_way_in_both_directions) {
    {
        TestElement mortal(host);
        host.audioRunning = true;
        mortal.PostCommand(new Logged(log, "back"));
        mortal.Process(4, audio.GetPointers());
        mortal.PostCommand(new Logged(log, "there"));
        TakeLog();
    }
    EXPECT_THAT(TakeLog(), ElementsAre("there destroyed", "back destroyed"));
    EXPECT_EQ(host.finished, 0U);
}

TEST_F(CommandMailboxTest, An_empty_function_object_throws_the_bad_call_error) {
    EXPECT_THROW(element.PostCommand(new FunctionObjectCommand({})), std::bad_function_call);
}

TEST_F(CommandMailboxTest, A_stage_that_throws_on_the_audio_side_is_not_run_again) {
    host.audioRunning = true;
    auto* const throwing = new Logged(log, "a", true, true);
    throwing->onExecute = [] { throw 1; };
    element.PostCommand(throwing);
    EXPECT_THROW(Block(), int);
    bool released = false;
    // The lock is recursive: only another thread can tell.
    std::thread([&] { released = std::unique_lock(host.audioLock, std::try_to_lock).owns_lock(); }).join();
    EXPECT_TRUE(released);
    TakeLog();
    Block();
    element.Idle();
    EXPECT_THAT(TakeLog(), ElementsAre("a destroyed"));
}

TEST_F(CommandMailboxTest, A_cancelled_flag_does_not_reach_the_audio_side) {
    host.audioRunning = true;
    auto* const command = new Logged(log, "a");
    element.PostCommand(command);
    command->Cancel();
    EXPECT_TRUE(command->IsPending());
    Block();
    EXPECT_THAT(TakeLog(), ElementsAre("a executed"));
}

} // namespace
} // namespace DSP::Testing
