#include "parent/ScanRunner.h"

#include <gtest/gtest.h>

#include <sys/time.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace Tarvik {
namespace {

using namespace std::chrono_literals;

/// A scanner of a told behaviour, played by a peer of another language in Wine's place.
class ScanTask : public testing::Test {
protected:
    void SetUp() override {
        setenv("TARVIK_WINE", TARVIK_FAKE_WINE, 1);
        folder_ = std::filesystem::path(testing::TempDir()) /
                  ("scan-task-" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
        std::filesystem::create_directories(folder_);
        std::ofstream(folder_ / "TarvikScannerLauncher.exe") << "stands there";
    }
    void TearDown() override {
        std::filesystem::remove_all(folder_);
        unsetenv("TARVIK_WINE");
    }

    ScannerSettings settings(const std::string& behaviour) const {
        const auto scanner = folder_ / (behaviour + ".exe");
        std::ofstream(scanner) << "stands there";
        return {String(scanner.string()), "vendor", "product"};
    }

    ScanOutcome scan(const std::string& behaviour, ScanLimits limits = {}) {
        ScanRunner runner(settings(behaviour), limits);
        return runner.run({plugin_}, {PluginIdentifier::ForVST("C:/known.dll", 7)}).at(0);
    }

    static void drive(Tarvik::ScanTask& task) {
        while (!task.finished()) {
            auto items = task.pollItems();
            zmq::poll(items, 20ms);
            task.step();
        }
    }

    std::filesystem::path folder_;
    PluginIdentifier plugin_ = PluginIdentifier::ForVST("C:/plugins/a.dll", 0);
};

TEST_F(ScanTask, A_report_gives_result_name_and_identifier) {
    const ScanOutcome outcome = scan("reports");
    EXPECT_EQ(outcome.verdict, ScanVerdict::reported);
    EXPECT_EQ(outcome.result, ScanResultEffect);
    EXPECT_EQ(outcome.name, String("vendor|product|VST: 0x00000007,C:\\known.dll"));
    EXPECT_EQ(outcome.identifier.vstKey, plugin_.vstKey);
    EXPECT_EQ(outcome.exit.value.code, 0U);
    EXPECT_FALSE(outcome.emptyReport);
}

TEST_F(ScanTask, An_empty_report_body_is_a_report) {
    const ScanOutcome outcome = scan("reports_nothing");
    EXPECT_EQ(outcome.verdict, ScanVerdict::reported);
    EXPECT_TRUE(outcome.emptyReport);
    EXPECT_EQ(outcome.result, ScanResultUnconfirmed);
    EXPECT_EQ(outcome.identifier, plugin_);
}

TEST_F(ScanTask, A_reported_identifier_that_cannot_be_read_is_kept_as_it_came) {
    const ScanOutcome outcome = scan("reports_unreadable_identifier");
    EXPECT_EQ(outcome.verdict, ScanVerdict::reported);
    EXPECT_EQ(outcome.result, ScanResultEffect);
    EXPECT_EQ(outcome.identifier, plugin_);
    EXPECT_EQ(outcome.unreadIdentifier, "VST: 'A,B1',C:\\plugins\\a.dll");
}

TEST_F(ScanTask, A_report_without_an_identifier_leaves_the_one_that_was_handed_out) {
    const ScanOutcome outcome = scan("reports_two_elements");
    EXPECT_EQ(outcome.verdict, ScanVerdict::reported);
    EXPECT_EQ(outcome.name, "Name");
    EXPECT_EQ(outcome.identifier, plugin_);
    EXPECT_TRUE(outcome.unreadIdentifier.isEmpty());
}

TEST_F(ScanTask, A_report_followed_by_a_crash_is_still_a_report) {
    const ScanOutcome outcome = scan("reports_and_crashes");
    EXPECT_EQ(outcome.verdict, ScanVerdict::reported);
    EXPECT_EQ(outcome.result, ScanResultEffect);
    EXPECT_EQ(outcome.exit.value.code, 0xC0000005U);
}

TEST_F(ScanTask, A_report_followed_by_an_end_without_waiting_is_still_a_report) {
    EXPECT_EQ(scan("reports_and_ends_at_once").verdict, ScanVerdict::reported);
}

TEST_F(ScanTask, A_process_that_hangs_after_its_report_is_ended_and_reported) {
    const ScanOutcome outcome = scan("reports_and_hangs", {60s, 100ms});
    EXPECT_EQ(outcome.verdict, ScanVerdict::reported);
    EXPECT_LT(outcome.duration, 30s);
}

TEST_F(ScanTask, What_a_process_sends_after_its_report_changes_nothing) {
    const ScanOutcome outcome = scan("asks_again");
    EXPECT_EQ(outcome.verdict, ScanVerdict::reported);
    EXPECT_EQ(outcome.result, ScanResultEffect);
    EXPECT_LT(outcome.duration, 30s);
}

TEST_F(ScanTask, An_exception_code_blames_the_plug_in_for_a_crash) {
    const ScanOutcome outcome = scan("crashes");
    EXPECT_EQ(outcome.verdict, ScanVerdict::crashed);
    EXPECT_TRUE(blamesPlugin(outcome.verdict));
    EXPECT_EQ(outcome.exit.value.code, 0xC0000005U);
    EXPECT_EQ(outcome.asked, plugin_);
}

TEST_F(ScanTask, The_code_of_abort_is_a_crash) {
    EXPECT_EQ(scan("aborts").verdict, ScanVerdict::crashed);
}

TEST_F(ScanTask, Exit_0_without_a_report_is_an_early_end) {
    const ScanOutcome outcome = scan("exits_0");
    EXPECT_EQ(outcome.verdict, ScanVerdict::endedEarly);
    EXPECT_TRUE(blamesPlugin(outcome.verdict));
}

TEST_F(ScanTask, Another_code_without_a_report_is_an_early_end) {
    const ScanOutcome outcome = scan("exits_7");
    EXPECT_EQ(outcome.verdict, ScanVerdict::endedEarly);
    EXPECT_EQ(outcome.exit.value.code, 7U);
}

TEST_F(ScanTask, Code_2_before_the_watchdog_can_have_run_out_is_an_early_end) {
    EXPECT_EQ(scan("exits_2_at_once").verdict, ScanVerdict::endedEarly);
}

TEST_F(ScanTask, Code_2_when_the_watchdog_may_have_run_out_is_a_hang) {
    ScanLimits limits;
    limits.watchdogEarliest = 500ms;
    const ScanOutcome outcome = scan("exits_2_a_second_later", limits);
    EXPECT_EQ(outcome.verdict, ScanVerdict::hung);
    EXPECT_TRUE(blamesPlugin(outcome.verdict));
    EXPECT_EQ(outcome.exit.value.code, 2U);
    EXPECT_GE(outcome.duration, 1s);
}

TEST_F(ScanTask, A_process_that_holds_a_plug_in_past_the_limit_hangs) {
    const ScanOutcome outcome = scan("hangs", {2s, 1s});
    EXPECT_EQ(outcome.verdict, ScanVerdict::hung);
    EXPECT_TRUE(blamesPlugin(outcome.verdict));
}

TEST_F(ScanTask, A_process_that_never_asks_blames_no_plug_in) {
    const ScanOutcome outcome = scan("never_asks", {500ms, 1s});
    EXPECT_EQ(outcome.verdict, ScanVerdict::notConnected);
    EXPECT_FALSE(blamesPlugin(outcome.verdict));
}

TEST_F(ScanTask, A_process_that_ends_before_asking_blames_no_plug_in) {
    const ScanOutcome outcome = scan("ends_before_asking");
    EXPECT_EQ(outcome.verdict, ScanVerdict::notConnected);
    EXPECT_EQ(outcome.exit.value.code, 1U);
}

TEST_F(ScanTask, A_launcher_that_dies_leaves_an_unknown_code) {
    EXPECT_TRUE(scan("launcher_dies").exit.value.unknown);
    const ScanOutcome outcome = scan("dies_with_launcher");
    EXPECT_EQ(outcome.verdict, ScanVerdict::endedEarly);
    EXPECT_TRUE(outcome.exit.value.unknown);
}

TEST_F(ScanTask, A_process_that_asks_and_is_gone_is_handed_nothing) {
    zmq::context_t context;
    Tarvik::ScanTask task(context, settings("asks_and_ends"), {plugin_, {}, "v", "p"});
    task.start();
    // Nothing is looked at before the end is there, and the request, sent before it, with it.
    std::vector<zmq::pollitem_t> items = task.pollItems();
    ASSERT_EQ(zmq::poll(&items.back(), 1, 20s), 1);
    drive(task);
    EXPECT_EQ(task.outcome().verdict, ScanVerdict::notConnected);
    EXPECT_FALSE(blamesPlugin(task.outcome().verdict));
    EXPECT_EQ(task.outcome().exit.value.code, 1U);
}

TEST_F(ScanTask, What_the_protocol_does_not_allow_of_a_request_ends_the_process_and_blames_no_plug_in) {
    for (const char* behaviour : {"asks_wrongly", "asks_with_body"}) {
        const ScanOutcome outcome = scan(behaviour);
        EXPECT_EQ(outcome.verdict, ScanVerdict::protocolViolation) << behaviour;
        EXPECT_FALSE(blamesPlugin(outcome.verdict));
        EXPECT_FALSE(outcome.detail.isEmpty()) << behaviour;
        EXPECT_LT(outcome.duration, 30s) << behaviour;
    }
}

TEST_F(ScanTask, What_it_does_not_allow_of_a_process_that_holds_a_plug_in_blames_that) {
    for (const char* behaviour : {"reports_garbage", "reports_one_frame", "asks_while_it_holds"}) {
        const ScanOutcome outcome = scan(behaviour);
        EXPECT_EQ(outcome.verdict, ScanVerdict::corrupted) << behaviour;
        EXPECT_TRUE(blamesPlugin(outcome.verdict));
        EXPECT_EQ(outcome.asked, plugin_);
        EXPECT_FALSE(outcome.exit.valid);
        EXPECT_FALSE(outcome.detail.isEmpty()) << behaviour;
        EXPECT_LT(outcome.duration, 30s) << behaviour;
    }
}

TEST_F(ScanTask, A_report_of_a_few_megabytes_is_taken_and_a_larger_one_is_cut_off) {
    EXPECT_EQ(scan("reports_much").name.length(), 3'000'000U);
    const ScanOutcome outcome = scan("reports_too_much");
    EXPECT_EQ(outcome.verdict, ScanVerdict::endedEarly);
    EXPECT_TRUE(outcome.name.isEmpty());
}

TEST_F(ScanTask, A_scanner_that_its_launcher_cannot_start_is_no_plug_ins_fault) {
    const ScanOutcome outcome = scan("cannot_be_started");
    EXPECT_EQ(outcome.verdict, ScanVerdict::notStarted);
    EXPECT_FALSE(blamesPlugin(outcome.verdict));
    EXPECT_EQ(outcome.detail, "CreateProcess failed with system error 193");
    EXPECT_FALSE(outcome.exit.valid);
}

TEST_F(ScanTask, A_missing_scanner_is_named) {
    ScanRunner runner({String((folder_ / "absent.exe").string()), "v", "p"});
    const ScanOutcome outcome = runner.run({plugin_}).at(0);
    EXPECT_EQ(outcome.verdict, ScanVerdict::notStarted);
    EXPECT_TRUE(outcome.detail.indexOf(String("absent.exe")).valid);
}

TEST_F(ScanTask, A_missing_wine_is_no_plug_ins_fault) {
    setenv("TARVIK_WINE", "/nonexistent/wine", 1);
    EXPECT_EQ(scan("reports").verdict, ScanVerdict::notStarted);
}

TEST_F(ScanTask, What_does_not_survive_the_identifiers_text_cannot_be_handed_out) {
    for (const PluginIdentifier& identifier :
         {PluginIdentifier::ForVST("C:/plugins/a,b.dll", 0), PluginIdentifier::ForVST("C:/plugins/a.dll ", 0),
          PluginIdentifier::ForVST("C:/plugins/a.dll", 0x31422C41),
          PluginIdentifier::ForVST("C:/plugins/a.dll", 0x62312561)}) {
        plugin_ = identifier;
        const ScanOutcome outcome = scan("reports");
        EXPECT_EQ(outcome.verdict, ScanVerdict::notAddressable) << identifier.ToString().c_str();
        EXPECT_FALSE(blamesPlugin(outcome.verdict));
        EXPECT_FALSE(outcome.exit.valid);
    }
}

TEST_F(ScanTask, A_run_scans_one_plug_in_after_the_other_in_their_order) {
    ScanRunner runner(settings("reports"));
    std::vector<PluginIdentifier> plugins;
    for (std::uint32_t i = 1; i <= 5; ++i) {
        plugins.push_back(PluginIdentifier::ForVST("C:/a.dll", i));
    }
    std::vector<std::uint32_t> told;
    const auto outcomes = runner.run(
        plugins, {}, [&told](const ScanOutcome& outcome) { told.push_back(outcome.identifier.vstId); });
    ASSERT_EQ(outcomes.size(), plugins.size());
    for (std::size_t i = 0; i < plugins.size(); ++i) {
        EXPECT_EQ(outcomes[i].verdict, ScanVerdict::reported);
        EXPECT_EQ(outcomes[i].identifier.vstId, plugins[i].vstId);
    }
    EXPECT_EQ(told, (std::vector<std::uint32_t>{1, 2, 3, 4, 5}));
}

TEST_F(ScanTask, A_signal_that_the_program_handles_does_not_end_a_run) {
    struct sigaction handled{};
    struct sigaction before{};
    static std::atomic<int> alarms;
    handled.sa_handler = [](int) { ++alarms; };
    sigaction(SIGALRM, &handled, &before);
    const itimerval often{{0, 10'000}, {0, 10'000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const ScanOutcome outcome = scan("exits_2_a_second_later");
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_GT(alarms, 10);
    EXPECT_EQ(outcome.verdict, ScanVerdict::endedEarly);
}

TEST_F(ScanTask, Several_tasks_run_side_by_side_on_one_thread) {
    zmq::context_t context;
    std::vector<std::unique_ptr<Tarvik::ScanTask>> tasks;
    for (std::uint32_t i = 0; i < 4; ++i) {
        WorkItem item;
        item.identifier = PluginIdentifier::ForVST("C:/a.dll", i + 1);
        tasks.push_back(std::make_unique<Tarvik::ScanTask>(context, settings("reports"), item));
        tasks.back()->start();
    }
    for (bool running = true; running;) {
        std::vector<zmq::pollitem_t> items;
        running = false;
        for (const auto& task : tasks) {
            if (!task->finished()) {
                const auto own = task->pollItems();
                items.insert(items.end(), own.begin(), own.end());
                running = true;
            }
        }
        if (running) {
            zmq::poll(items, 1000ms);
        }
        for (const auto& task : tasks) {
            if (!task->finished()) {
                task->step();
            }
        }
    }
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(tasks[i]->outcome().verdict, ScanVerdict::reported);
        EXPECT_EQ(tasks[i]->outcome().identifier.vstId, i + 1);
    }
}

} // namespace
} // namespace Tarvik
