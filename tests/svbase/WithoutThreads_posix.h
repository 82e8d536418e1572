#pragma once

#include <cstddef>
#include <pthread.h>

/// While one lives, the system has no thread to give: no stack of the default size fits into any memory.
class WithoutThreads {
public:
    WithoutThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 47);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~WithoutThreads() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    WithoutThreads(const WithoutThreads&) = delete;
    WithoutThreads& operator=(const WithoutThreads&) = delete;

private:
    pthread_attr_t before_;
};
