// The least program that a scanner's parent would not notice: one request, one library, one report.
// Arguments: the endpoint and the library's path, so that nothing of the work item has to be read.

#include "TrivialHost.h"

#include <zmq.h>

#include <objbase.h>
#include <ole2.h>
#include <shellapi.h>

#include <cstring>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    static_cast<void>(OleInitialize(nullptr));
    int count = 0;
    LPWSTR* arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 3) {
        return 1;
    }
    char endpoint[128];
    WideCharToMultiByte(CP_UTF8, 0, arguments[1], -1, endpoint, sizeof endpoint, nullptr, nullptr);

    void* context = zmq_ctx_new();
    void* socket = zmq_socket(context, ZMQ_REQ);
    if (zmq_connect(socket, endpoint) != 0) {
        return 2;
    }
    const auto send = [socket](const char* bytes, int flags) {
        zmq_send(socket, bytes, std::strlen(bytes), flags);
    };
    const auto receive = [socket] {
        zmq_msg_t message;
        zmq_msg_init(&message);
        do {
            zmq_msg_recv(&message, socket, 0);
        } while (zmq_msg_more(&message));
        zmq_msg_close(&message);
    };
    send("SCAN_WORKREQUEST", 0);
    receive();
    if (!openAndClose(arguments[2])) {
        return 3;
    }
    send("SCAN_WORKCOMPLETE", ZMQ_SNDMORE);
    send("\x93\x04\xa0\x91\xa4None", 0);
    receive();
    zmq_close(socket);
    zmq_ctx_term(context);
    return 0;
}
