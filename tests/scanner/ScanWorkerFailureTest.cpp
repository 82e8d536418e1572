#include "scanner/ScanWorker.h"
#include "scanner/TestWorker.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

using namespace Tarvik;

TEST(ScanWorker, An_exception_from_the_scan_ends_the_exchange_without_a_report) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.scan = [](TestWorker&) -> std::int32_t { throw std::runtime_error("broken plug-in"); };
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    parent.send({"SCAN_WORKREPLY", "\x90"});
    running.join();
    EXPECT_EQ(worker.steps, "ws");
    EXPECT_TRUE(parent.isSilent());
}

TEST(ScanWorker, An_exception_that_is_no_std_exception_passes_through) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.scan = [](TestWorker&) -> std::int32_t { throw 42; };
    auto running = std::async(std::launch::async, [&worker] { worker.Run(); });
    parent.receive();
    parent.send({"SCAN_WORKREPLY", "\x90"});
    EXPECT_THROW(running.get(), int);
    EXPECT_EQ(worker.steps, "ws");
    EXPECT_TRUE(parent.isSilent());
}

TEST(ScanWorker, A_wait_on_a_context_that_has_ended_is_an_error_and_ends_the_exchange) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.beforeWait = [&](zmq::socket_t&, int) {
        parent.context->shutdown();
        return checked_value<bool>();
    };
    worker.Run();
    EXPECT_EQ(worker.steps, "we");
}

TEST(ScanWorker, A_time_out_is_cut_to_whole_milliseconds) {
    // Rounded down, it would be -1 and never run out.
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.timeoutSeconds = -0.0009f;
    worker.Run();
    EXPECT_EQ(worker.steps, "w");
}

TEST(ScanWorker, A_receive_that_would_have_to_wait_counts_as_an_empty_message) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    // The socket claims to be readable, and has nothing: an empty message without a further part.
    worker.beforeWait = [](zmq::socket_t& socket, int) {
        socket.set(zmq::sockopt::rcvtimeo, 0);
        return checked_value<bool>(true);
    };
    worker.Run();
    EXPECT_EQ(worker.steps, "w");
    EXPECT_EQ(worker.handled, checked_value<bool>(false));
    EXPECT_EQ(parent.receive(), (Frames{"SCAN_WORKREQUEST"}));
    EXPECT_TRUE(parent.isSilent());
}

TEST(ScanWorker, A_send_that_would_have_to_wait_counts_as_sent) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    std::promise<void> scanning;
    std::promise<void> closed;
    worker.beforeWait = [](zmq::socket_t& socket, int number) {
        socket.set(zmq::sockopt::sndtimeo, 0);
        return number == 1 ? checked_value<bool>() : checked_value<bool>(false);
    };
    worker.scan = [&](TestWorker&) {
        scanning.set_value();
        closed.get_future().wait();
        return ScanResultUnconfirmed;
    };
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    parent.send({"SCAN_WORKREPLY", "\x90"});
    scanning.get_future().wait();
    parent.close();
    closed.set_value();
    running.join();
    EXPECT_EQ(worker.handled, checked_value<bool>(true));
    EXPECT_EQ(worker.steps, "wsw");
}

TEST(ScanWorker, The_acknowledgement_is_not_read) {
    Parent parent;
    TestWorker worker(parent.context, parent.endpoint.c_str());
    worker.beforeWait = [](zmq::socket_t& socket, int number) {
        if (number == 1) {
            return checked_value<bool>();
        }
        // The socket claims to have it. Whoever reads now waits for this long.
        socket.set(zmq::sockopt::rcvtimeo, 20000);
        return checked_value<bool>(true);
    };
    std::thread running([&worker] { worker.Run(); });
    parent.receive();
    parent.send({"SCAN_WORKREPLY", "\x90"});
    parent.receive();
    const auto reported = std::chrono::steady_clock::now();
    running.join();
    EXPECT_LT(std::chrono::steady_clock::now() - reported, std::chrono::seconds(10));
    EXPECT_EQ(worker.steps, "wsw");
}

TEST(ScanWorker, A_report_that_cannot_be_packed_goes_out_as_an_empty_frame) {
    // Each allocation after the scan fails in its turn. One ahead of the packing ends the exchange; one of
    // the packing leaves the frame empty; behind it there is none.
    int without = 0;
    int empty = 0;
    bool whole = false;
    for (unsigned failing = 1; !whole && failing < 200; ++failing) {
        Parent parent;
        TestWorker worker(parent.context, parent.endpoint.c_str());
        worker.scan = [failing](TestWorker& w) {
            w.pluginName = String(std::string(100, 'n'));
            FailAllocation(failing);
            return ScanResultEffect;
        };
        bool failed = false;
        worker.beforeWait = [&failed](zmq::socket_t&, int number) {
            failed = failed || AllocationFailed();
            FailAllocation(0);
            return number == 1 ? checked_value<bool>() : checked_value<bool>(false);
        };
        std::thread running([&] {
            worker.Run();
            failed = failed || AllocationFailed();
        });
        parent.receive();
        parent.send({"SCAN_WORKREPLY", body("VST: 'abcd',C:\\a folder with a long name\\A.dll")});
        running.join();
        if (!worker.handled.valid) {
            EXPECT_EQ(empty, 0);
            ++without;
            EXPECT_TRUE(parent.isSilent());
            continue;
        }
        const Frames report = parent.receive();
        ASSERT_EQ(report.size(), 2U);
        EXPECT_EQ(report[0], "SCAN_WORKCOMPLETE");
        EXPECT_EQ(report[1].empty(), failed);
        empty += failed ? 1 : 0;
        whole = !failed;
    }
    EXPECT_GT(without, 0);
    EXPECT_GT(empty, 0);
    EXPECT_TRUE(whole);
}

TEST(ScanWorker, An_unusable_endpoint_ends_the_exchange_before_it_begins) {
    for (const char* endpoint :
         {"", "nonsense", "foo://127.0.0.1:1", "tcp://", "tcp://127.0.0.1", "tcp://127.0.0.1:notaport"}) {
        TestWorker worker(std::make_shared<zmq::context_t>(), endpoint);
        worker.Run();
        EXPECT_EQ(worker.waits, 0) << endpoint;
    }
}

TEST(ScanWorker, A_context_that_has_ended_ends_the_exchange) {
    const auto context = std::make_shared<zmq::context_t>();
    context->shutdown();
    TestWorker worker(context, "inproc://parent");
    worker.Run();
    EXPECT_EQ(worker.waits, 0);
}
