#include "AudioPathCount.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TARVIK_ALLOCATOR_HOOKS 1
#endif

namespace {

thread_local DSP::Testing::AudioPathCounts counts;

template<class Function>
Function next(const char* name, std::atomic<Function>& cache) {
    Function found = cache.load(std::memory_order_relaxed);
    if (!found) {
        found = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
        cache.store(found, std::memory_order_relaxed);
    }
    return found;
}

} // namespace

namespace DSP::Testing {

AudioPathCounts GetAudioPathCounts() noexcept {
    return counts;
}

} // namespace DSP::Testing

#ifdef TARVIK_ALLOCATOR_HOOKS

// The sanitizer's allocator tells of each call. Not every compiler brings the header that declares this.
extern "C" int __sanitizer_install_malloc_and_free_hooks(
    void (*allocated)(const volatile void* memory, std::size_t size),
    void (*freed)(const volatile void* memory));

namespace {

void countAllocation(const volatile void*, std::size_t) {
    ++counts.allocations;
}

void countFree(const volatile void*) {
    ++counts.frees;
}

const int installed = __sanitizer_install_malloc_and_free_hooks(countAllocation, countFree);

} // namespace

#else

// The C library's allocator under its other names: the C++ operators end here as well.
extern "C" {

void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* memory, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* memory) noexcept;

void* malloc(std::size_t size) noexcept {
    ++counts.allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    ++counts.allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept {
    ++counts.allocations;
    return __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    ++counts.allocations;
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    ++counts.allocations;
    *memory = __libc_memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}

void free(void* memory) noexcept {
    ++counts.frees;
    __libc_free(memory);
}

} // extern "C"

#endif

#ifdef __SANITIZE_THREAD__

// ThreadSanitizer takes the locks' names for itself.
namespace DSP::Testing {

bool CountsLocks() noexcept {
    return false;
}

} // namespace DSP::Testing

#else

namespace DSP::Testing {

bool CountsLocks() noexcept {
    return true;
}

} // namespace DSP::Testing

extern "C" {

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static std::atomic<int (*)(pthread_mutex_t*)> cache;
    ++counts.locks;
    return next("pthread_mutex_lock", cache)(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static std::atomic<int (*)(pthread_mutex_t*)> cache;
    ++counts.locks;
    return next("pthread_mutex_trylock", cache)(mutex);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
    static std::atomic<int (*)(pthread_rwlock_t*)> cache;
    ++counts.locks;
    return next("pthread_rwlock_rdlock", cache)(lock);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
    static std::atomic<int (*)(pthread_rwlock_t*)> cache;
    ++counts.locks;
    return next("pthread_rwlock_wrlock", cache)(lock);
}

} // extern "C"

#endif
