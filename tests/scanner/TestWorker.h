#pragma once

#include "protocol/ScanReport.h"
#include "protocol/WorkItem.h"
#include "scanner/ScanWorker.h"
#include "svbase/util/checked_value.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tarvik {

using Frames = std::vector<std::string>;

inline constexpr float shortTimeoutSeconds = 0.05f;
inline constexpr float generousTimeoutSeconds = 20.0f;

/// A worker whose scan is the test's, and which shows its fields.
class TestWorker : public ScanWorker {
public:
    using ScanWorker::context;
    using ScanWorker::endpoint;
    using ScanWorker::hostProduct;
    using ScanWorker::hostVendor;
    using ScanWorker::knownPlugins;
    using ScanWorker::pluginName;
    using ScanWorker::ScanWorker;
    using ScanWorker::workItem;

    std::function<std::int32_t(TestWorker&)> scan = [](TestWorker&) { return ScanResultUnconfirmed; };
    /// In front of each wait, with its number from 1 on; what it answers is the wait's answer if it has one.
    std::function<checked_value<bool>(zmq::socket_t&, int)> beforeWait;
    float timeoutSeconds = generousTimeoutSeconds;
    int scans = 0;
    int waits = 0;
    /// The order of scans (s), waits (w) and waits that raised an error (e).
    std::string steps;
    /// What HandleReply answered, where it came to an answer.
    checked_value<bool> handled;

protected:
    std::int32_t Scan() override {
        ++scans;
        steps += 's';
        return scan(*this);
    }
    float GetReplyTimeoutSeconds() override { return timeoutSeconds; }
    bool WaitForReply(zmq::socket_t& socket) override {
        ++waits;
        steps += 'w';
        const auto answer = beforeWait ? beforeWait(socket, waits) : checked_value<bool>();
        try {
            return answer.valid ? answer.value : ScanWorker::WaitForReply(socket);
        } catch (const zmq::error_t&) {
            steps += 'e';
            throw;
        }
    }
    bool HandleReply(zmq::socket_t& socket) override {
        handled = ScanWorker::HandleReply(socket);
        return handled.value;
    }
};

/// A REP socket that the worker reaches without a network.
class Parent {
public:
    explicit Parent(const char* where = "inproc://parent") : socket_(*context, zmq::socket_type::rep) {
        socket_.set(zmq::sockopt::linger, 0);
        socket_.set(zmq::sockopt::rcvtimeo, 20000);
        socket_.bind(where);
        endpoint = socket_.get(zmq::sockopt::last_endpoint);
    }

    Frames receive() {
        Frames frames;
        zmq::message_t message;
        do {
            if (!socket_.recv(message)) {
                ADD_FAILURE() << "the worker said nothing";
                return frames;
            }
            frames.push_back(message.to_string());
        } while (message.more());
        return frames;
    }

    /// Nothing has come, and with the worker gone nothing will.
    bool isSilent() {
        zmq::pollitem_t item{socket_.handle(), 0, ZMQ_POLLIN, 0};
        return zmq::poll(&item, 1, std::chrono::milliseconds(20)) == 0;
    }

    /// From now on nobody receives.
    void close() { socket_.close(); }

    void send(const Frames& frames) {
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const bool last = i + 1 == frames.size();
            socket_.send(zmq::buffer(frames[i]), last ? zmq::send_flags::none : zmq::send_flags::sndmore);
        }
    }

    std::shared_ptr<zmq::context_t> context = std::make_shared<zmq::context_t>();
    std::string endpoint;

private:
    zmq::socket_t socket_;
};

inline std::string bytesOf(const msgpack::sbuffer& buffer) {
    return std::string(buffer.data(), buffer.size());
}

inline std::string body(const char* identifier) {
    WorkItem item;
    item.identifier.FromString(identifier);
    item.hostVendor = "Vendor";
    item.hostProduct = "Product";
    item.knownPlugins.insert(PluginIdentifier::ForVST("C:/B.dll", 7));
    return bytesOf(EncodeWorkItem(item));
}

inline ScanReport decodeReport(const std::string& bytes) {
    return DecodeScanReport(bytes.data(), bytes.size()).value;
}

} // namespace Tarvik
