#include "scanner/ScanWorker.h"

#include "scanner/TestWorker.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <type_traits>

using namespace Tarvik;

namespace {

/// Answers with what every worker inherits.
class DefaultWorker : public ScanWorker {
public:
    using ScanWorker::GetReplyTimeoutSeconds;
    using ScanWorker::ScanWorker;

protected:
    std::int32_t Scan() override { return ScanResultUnconfirmed; }
};

/// Runs the exchange with a parent that sends this reply. Expects no scan, no report, and a normal return.
void expectGivesUpOn(const Frames& reply, const std::string& what) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    parent.send(reply);
    running.join();
    EXPECT_EQ(worker.scans, 0) << what;
    EXPECT_EQ(worker.waits, 1) << what;
    EXPECT_TRUE(parent.isSilent()) << what;
}

} // namespace

TEST(ScanWorker, Construction_shares_the_context_copies_the_endpoint_and_connects_nothing) {
    Parent parent;
    {
        const TestWorker worker(parent.context, parent.endpoint.c_str());
        EXPECT_EQ(parent.context.use_count(), 2);
        EXPECT_EQ(worker.endpoint, parent.endpoint.c_str());
        EXPECT_EQ(worker.workItem.format, PluginFormat::None);
        EXPECT_TRUE(worker.knownPlugins.empty());
        EXPECT_TRUE(worker.pluginName.isEmpty());
    }
    EXPECT_EQ(parent.context.use_count(), 1);
    EXPECT_TRUE(parent.isSilent());
}

TEST(ScanWorker, The_parent_has_ten_seconds_for_each_answer) {
    Parent parent;
    DefaultWorker worker(parent.context, parent.endpoint.c_str());
    EXPECT_EQ(worker.GetReplyTimeoutSeconds(), 10.0f);
}

TEST(ScanWorker, An_exchange_asks_scans_reports_and_waits_for_the_acknowledgement) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.scan = [](TestWorker& w) {
        EXPECT_EQ(w.workItem.ToString(), "VST: 0x00000000,C:\\A.dll");
        EXPECT_EQ(w.hostVendor, "Vendor");
        EXPECT_EQ(w.hostProduct, "Product");
        EXPECT_EQ(w.knownPlugins.size(), 1u);
        w.pluginName = "Name";
        w.workItem.vstId = 0x64636261;
        return ScanResultEffect;
    };
    std::thread running([&worker] { worker.Run(); });
    EXPECT_EQ(parent.receive(), (Frames{"SCAN_WORKREQUEST"}));
    parent.send({"SCAN_WORKREPLY", body("VST: 0x00000000,C:\\A.dll")});
    const Frames report = parent.receive();
    parent.send({"SCAN_WORKRECORDED"});
    running.join();
    EXPECT_EQ(worker.steps, "wsw");
    ASSERT_EQ(report.size(), 2u);
    EXPECT_EQ(report[0], "SCAN_WORKCOMPLETE");
    EXPECT_EQ(report[1], "\x93\x02\xa4Name\x91\xb4VST: 'abcd',C:\\A.dll");
}

TEST(ScanWorker, An_exchange_works_over_the_network) {
    Parent parent("tcp://127.0.0.1:*");
    TestWorker worker(parent.context, parent.endpoint.c_str());
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    parent.send({"SCAN_WORKREPLY", "\x90"});
    EXPECT_EQ(parent.receive(), (Frames{"SCAN_WORKCOMPLETE", "\x93\x04\xa0\x91\xa4None"}));
    parent.send({"SCAN_WORKRECORDED"});
    running.join();
}

TEST(ScanWorker, An_empty_array_is_a_work_item_of_format_None) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    parent.send({"SCAN_WORKREPLY", "\x90"});
    EXPECT_EQ(parent.receive(), (Frames{"SCAN_WORKCOMPLETE", "\x93\x04\xa0\x91\xa4None"}));
    parent.send({""});
    running.join();
    EXPECT_EQ(worker.scans, 1);
}

TEST(ScanWorker, A_silent_parent_ends_the_exchange_after_one_wait) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.timeoutSeconds = shortTimeoutSeconds;
    const auto start = std::chrono::steady_clock::now();
    worker.Run();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(49));
    EXPECT_EQ(worker.steps, "w");
    EXPECT_EQ(parent.receive(), (Frames{"SCAN_WORKREQUEST"}));
    EXPECT_TRUE(parent.isSilent());
}

TEST(ScanWorker, A_parent_that_never_acknowledges_still_gets_its_report) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.scan = [](TestWorker& w) {
        w.timeoutSeconds = shortTimeoutSeconds;
        return ScanResultShell;
    };
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    parent.send({"SCAN_WORKREPLY", "\x90"});
    running.join();
    EXPECT_EQ(worker.steps, "wsw");
    EXPECT_EQ(decodeReport(parent.receive().back()).result, ScanResultShell);
}

TEST(ScanWorker, What_the_acknowledgement_says_is_not_read) {
    for (const Frames& acknowledgement : {Frames{""}, Frames{"no"}, Frames{"a", "b", "c"}, Frames{"\xc1"}}) {
        Parent parent;
        TestWorker worker(parent.context, parent.endpoint.c_str());
        std::thread running([&worker] { worker.Run(); });
        parent.receive();
        parent.send({"SCAN_WORKREPLY", "\x90"});
        parent.receive();
        parent.send(acknowledgement);
        running.join();
        EXPECT_EQ(worker.steps, "wsw");
    }
}

TEST(ScanWorker, A_reply_of_one_frame_is_given_up) {
    expectGivesUpOn({"SCAN_WORKREPLY"}, "name alone");
    expectGivesUpOn({"\x90"}, "body alone");
    expectGivesUpOn({""}, "empty");
}

TEST(ScanWorker, A_reply_of_three_frames_is_given_up) {
    expectGivesUpOn({"SCAN_WORKREPLY", "\x90", ""}, "three");
    expectGivesUpOn({"SCAN_WORKREPLY", "\x90", "\x90", "\x90"}, "four");
}

TEST(ScanWorker, A_reply_of_another_name_is_given_up) {
    using namespace std::string_literals;
    for (const std::string& name :
         {""s, "SCAN_WORKREPL"s, "SCAN_WORKREPLYX"s, "SCAN_WORKREPLY\0"s, "scan_workreply"s,
          "SCAN_WORKREQUEST"s, "SCAN_WORKRECORDED"s}) {
        expectGivesUpOn({name, "\x90"}, name);
    }
}

TEST(ScanWorker, A_malformed_body_is_given_up) {
    using namespace std::string_literals;
    for (const std::string& malformed :
         {""s, "\xc1"s, "\xc0"s, "\x80"s, "\x94"s, "\x91\xa0"s, "\x91\x91\x01"s, "\x92\x91\xa0\xc0"s,
          "\x93\x91\xa0\x90\x01"s, "\xdd\xff\xff\xff\xff"s, "\xdf\xff\xff\xff\xff"s, "\xdb\xff\xff\xff\xff"s,
          std::string(1'000'000, '\x91'), std::string(1'000'000, '\xdd')}) {
        expectGivesUpOn({"SCAN_WORKREPLY", malformed}, malformed.substr(0, 20));
    }
}

TEST(ScanWorker, Random_bodies_scan_or_are_given_up) {
    std::mt19937 random(99);
    Parent parent;
    for (int round = 0; round < 200; ++round) {
        std::string bytes = body("VST: 'abcd',C:\\A.dll");
        for (unsigned change = 0; change < 4; ++change) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        TestWorker worker(parent.context, parent.endpoint.c_str());
        worker.scan = [](TestWorker& w) {
            w.timeoutSeconds = 0;
            return ScanResultUnconfirmed;
        };
        std::thread running([&worker] { worker.Run(); });
        parent.receive();
        parent.send({"SCAN_WORKREPLY", bytes});
        running.join();
        if (worker.scans == 1) {
            EXPECT_EQ(parent.receive().front(), "SCAN_WORKCOMPLETE");
            parent.send({"SCAN_WORKRECORDED"});
        } else {
            EXPECT_TRUE(parent.isSilent());
        }
    }
}

TEST(ScanWorker, A_text_that_does_not_parse_is_scanned_as_None) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    // "VST: 'abcd',C:\A,B.dll"
    parent.send({"SCAN_WORKREPLY", "\x91\x91\xb6VST: 'abcd',C:\\A,B.dll"});
    EXPECT_EQ(parent.receive().back(), "\x93\x04\xa0\x91\xa4None");
    parent.send({""});
    running.join();
    EXPECT_EQ(worker.scans, 1);
}

// The layout that the declaration promises.

TEST(ScanWorker, Its_operations_stand_in_this_order) {
    class Opened : public ScanWorker {
    public:
        static auto scan() { return &Opened::Scan; }
        static auto timeout() { return &Opened::GetReplyTimeoutSeconds; }
        static auto handle() { return &Opened::HandleReply; }
        static auto wait() { return &Opened::WaitForReply; }
    };
    EXPECT_EQ(
        virtualSlots(Opened::scan(), Opened::timeout(), Opened::handle(), Opened::wait()),
        slotsFrom(destructorSlots, 4));
}

TEST(ScanWorker, Its_fields_stand_in_this_order) {
    const TestWorker worker(std::make_shared<zmq::context_t>(), "");
    const void* const fields[] = {&worker.context,    &worker.endpoint,    &worker.workItem,
                                  &worker.hostVendor, &worker.hostProduct, &worker.knownPlugins,
                                  &worker.pluginName};
    EXPECT_TRUE(std::is_sorted(std::begin(fields), std::end(fields), std::less<const void*>()));
}

TEST(ScanWorker, That_it_cannot_be_copied_is_its_own_affair) {
    static_assert(std::is_base_of_v<noncopyable, ScanWorker>);
    static_assert(!std::is_convertible_v<ScanWorker*, noncopyable*>);
    static_assert(!std::is_copy_constructible_v<TestWorker>);
}
