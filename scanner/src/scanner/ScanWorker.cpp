#include "scanner/ScanWorker.h"

#include "protocol/MessageNames.h"
#include "protocol/ScanReport.h"
#include "protocol/WorkItem.h"
#include "scanner/BodyMessage.h"

#include <chrono>
#include <exception>
#include <string_view>
#include <utility>

namespace Tarvik {
namespace {

// The wrapper raises zmq::error_t for every failure but EAGAIN, for which it answers that nothing was
// transferred. That is no failure here: the exchange goes on, after a receive with an empty message.

void send(zmq::socket_t& socket, std::string_view name, zmq::send_flags flags) {
    static_cast<void>(socket.send(zmq::buffer(name), flags));
}

void send(zmq::socket_t& socket, zmq::message_t message) {
    static_cast<void>(socket.send(message, zmq::send_flags::none));
}

zmq::message_t receive(zmq::socket_t& socket) {
    zmq::message_t message;
    static_cast<void>(socket.recv(message, zmq::recv_flags::none));
    return message;
}

} // namespace

ScanWorker::ScanWorker(std::shared_ptr<zmq::context_t> sharedContext, String parentEndpoint)
    : context(std::move(sharedContext)), endpoint(std::move(parentEndpoint)) {}

ScanWorker::~ScanWorker() = default;

void ScanWorker::Run() {
    try {
        zmq::socket_t socket(*context, zmq::socket_type::req);
        socket.connect(endpoint.c_str());
        send(socket, MessageName::workRequest, zmq::send_flags::none);
        if (WaitForReply(socket) && HandleReply(socket)) {
            // Gives the report time to arrive: the acknowledgement itself says nothing new, and is not read.
            WaitForReply(socket);
        }
    } catch (const std::exception& failure) {
        // There is no message for errors on the wire, and nobody else listens.
        static_cast<void>(failure.what());
    }
}

float ScanWorker::GetReplyTimeoutSeconds() {
    return 10.0f;
}

bool ScanWorker::HandleReply(zmq::socket_t& socket) {
    const zmq::message_t name = receive(socket);
    if (!name.more()) {
        return false;
    }
    if (name.to_string_view() != MessageName::workReply) {
        return false;
    }
    const zmq::message_t body = receive(socket);
    if (body.more()) {
        return false;
    }
    WorkItem item = DecodeWorkItem(body.data(), body.size());
    workItem = std::move(item.identifier);
    knownPlugins.swap(item.knownPlugins);
    hostVendor = std::move(item.hostVendor);
    hostProduct = std::move(item.hostProduct);

    const std::int32_t result = Scan();

    const ScanReport report{result, pluginName, workItem};
    zmq::message_t packed = BodyMessageOrEmpty([&report] { return EncodeScanReport(report); });
    send(socket, MessageName::workComplete, zmq::send_flags::sndmore);
    send(socket, std::move(packed));
    return true;
}

bool ScanWorker::WaitForReply(zmq::socket_t& socket) {
    zmq::pollitem_t item{socket.handle(), 0, ZMQ_POLLIN, 0};
    const auto timeoutMs = static_cast<long>(GetReplyTimeoutSeconds() * 1000.0f);
    return zmq::poll(&item, 1, std::chrono::milliseconds(timeoutMs)) > 0 && (item.revents & ZMQ_POLLIN) != 0;
}

} // namespace Tarvik
