// ZeroMQ is compiled without ThreadSanitizer, which sees of it what it asks of the system, such as to send,
// to copy or to free the bytes of a message or to wait for a socket, and not the queues that order this
// between its threads and ours. Excused is what it does to both on the way, and nothing of our own code.

extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:zmq::encoder_base_t\n"
           "race:zmq::tcp_read\n"
           "race:zmq::tcp_write\n"
           "race:zmq::shared_message_memory_allocator\n"
           "race:zmq::msg_t::close\n"
           "race:zmq::epoll_t\n";
}
