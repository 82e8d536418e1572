#include "parent/ScanRunner.h"

#include <gtest/gtest.h>

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

    ScanOutcome scan(const std::string& behaviour, ScanLimits limits = {}) {
        const auto scanner = folder_ / (behaviour + ".exe");
        std::ofstream(scanner) << "stands there";
        ScanRunner runner({String(scanner.string()), "vendor", "product"}, limits);
        return runner.run({plugin_}, {PluginIdentifier::ForVST("C:/known.dll", 7)}).at(0);
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

TEST_F(ScanTask, What_the_protocol_does_not_allow_ends_the_process) {
    for (const char* behaviour : {"asks_wrongly", "asks_with_body", "reports_garbage", "reports_one_frame"}) {
        const ScanOutcome outcome = scan(behaviour);
        EXPECT_EQ(outcome.verdict, ScanVerdict::protocolViolation) << behaviour;
        EXPECT_FALSE(outcome.detail.isEmpty()) << behaviour;
        EXPECT_LT(outcome.duration, 30s) << behaviour;
    }
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

TEST_F(ScanTask, A_path_with_a_comma_cannot_be_handed_out) {
    plugin_ = PluginIdentifier::ForVST("C:/plugins/a,b.dll", 0);
    const ScanOutcome outcome = scan("reports");
    EXPECT_EQ(outcome.verdict, ScanVerdict::notAddressable);
    EXPECT_FALSE(outcome.exit.valid);
}

TEST_F(ScanTask, A_run_scans_one_plug_in_after_the_other_in_their_order) {
    const auto scanner = folder_ / "reports.exe";
    std::ofstream(scanner) << "stands there";
    ScanRunner runner({String(scanner.string()), "vendor", "product"});
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

TEST_F(ScanTask, Several_tasks_run_side_by_side_on_one_thread) {
    zmq::context_t context;
    const auto scanner = folder_ / "reports.exe";
    std::ofstream(scanner) << "stands there";
    std::vector<std::unique_ptr<Tarvik::ScanTask>> tasks;
    for (std::uint32_t i = 0; i < 4; ++i) {
        WorkItem item;
        item.identifier = PluginIdentifier::ForVST("C:/a.dll", i + 1);
        tasks.push_back(std::make_unique<Tarvik::ScanTask>(
            context, ScannerSettings{String(scanner.string()), "v", "p"}, item));
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
