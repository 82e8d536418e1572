#include "hosting/PlatformCalls_win32.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <stdexcept>

#include <windows.h>

namespace {

/// By its identifier; 0 for none. Storage of a thread's own would lock and allocate.
std::atomic<std::uint32_t> watchedThread = 0;
static_assert(sizeof watchedThread == sizeof(std::uint32_t));

/// Where the code below finds it too. The system's function for it would be a call of its own.
std::uint32_t thisThread() {
    std::uint32_t identifier = 0;
    asm volatile("movl %%gs:0x48, %0" : "=r"(identifier));
    return identifier;
}

enum RuntimeCall : std::size_t {
    mutexLock,
    mutexTryLock,
    readLock,
    writeLock,
    wait,
    timedWait,
    runtimeCalls
};

constexpr std::array<const char*, runtimeCalls> runtimeNames = {
    "pthread_mutex_lock",    "pthread_mutex_trylock", "pthread_rwlock_rdlock",
    "pthread_rwlock_wrlock", "pthread_cond_wait",     "pthread_cond_timedwait"};

std::array<std::uint64_t, runtimeCalls> runtimeCounts{};

void count(RuntimeCall call) {
    if (watchedThread.load(std::memory_order_relaxed) == thisThread()) {
        ++runtimeCounts[call];
    }
}

/// Machine code that counts a call of the watched thread, changes no register and goes on to the function
/// that was called: as long as all others, so that one stands behind the other.
class CountingCode {
public:
    static constexpr std::size_t size = 64;

    CountingCode(std::uint64_t* counter, void* function) {
        Add({0x50});                                           // push rax
        Add({0x48, 0xB8}, &watchedThread);                     // mov rax, &watchedThread
        Add({0x8B, 0x00});                                     // mov eax, [rax]
        Add({0x65, 0x3B, 0x04, 0x25, 0x48, 0x00, 0x00, 0x00}); // cmp eax, gs:[0x48]
        Add({0x75, 0x0D});                                     // jne behind the count
        Add({0x48, 0xB8}, counter);                            // mov rax, counter
        Add({0x48, 0xFF, 0x00});                               // inc qword ptr [rax]
        Add({0x58});                                           // pop rax
        Add({0xFF, 0x25, 0x00, 0x00, 0x00, 0x00}, function);   // jmp function
    }

    const std::array<std::uint8_t, size>& Bytes() const { return bytes; }

private:
    void Add(std::initializer_list<std::uint8_t> code) { end = std::copy(code.begin(), code.end(), end); }
    void Add(std::initializer_list<std::uint8_t> code, const void* operand) {
        Add(code);
        std::memcpy(end, static_cast<const void*>(&operand), sizeof operand);
        end += sizeof operand;
    }

    std::array<std::uint8_t, size> bytes{};
    std::uint8_t* end = bytes.data();
};

} // namespace

// The linker has the program's calls of the runtime library's locks come here.
extern "C" {

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_trylock(pthread_mutex_t* mutex);
int __real_pthread_rwlock_rdlock(pthread_rwlock_t* lock);
int __real_pthread_rwlock_wrlock(pthread_rwlock_t* lock);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const struct timespec* until);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    count(mutexLock);
    return __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex) {
    count(mutexTryLock);
    return __real_pthread_mutex_trylock(mutex);
}

int __wrap_pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
    count(readLock);
    return __real_pthread_rwlock_rdlock(lock);
}

int __wrap_pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    count(writeLock);
    return __real_pthread_rwlock_wrlock(lock);
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    count(wait);
    return __real_pthread_cond_wait(condition, mutex);
}

int __wrap_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const struct timespec* until) {
    count(timedWait);
    return __real_pthread_cond_timedwait(condition, mutex, until);
}

} // extern "C"

PlatformCalls::PlatformCalls()
    : functions(ImportedFunctions()), counts(functions.size()),
      code(VirtualAlloc(
          nullptr, functions.size() * CountingCode::size, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE)) {
    if (code == nullptr) {
        throw std::runtime_error("no memory for code");
    }
    auto* const first = static_cast<std::uint8_t*>(code.get());
    for (std::size_t i = 0; i < functions.size(); ++i) {
        const CountingCode counting(&counts[i], *functions[i].place);
        std::memcpy(first + i * CountingCode::size, counting.Bytes().data(), CountingCode::size);
    }
    for (std::size_t i = 0; i < functions.size(); ++i) {
        replaced.push_back(std::make_unique<ReplacedImport>(functions[i], first + i * CountingCode::size));
    }
}

PlatformCalls::~PlatformCalls() {
    watchedThread = 0;
}

void PlatformCalls::FreePages::operator()(void* pages) const {
    VirtualFree(pages, 0, MEM_RELEASE);
}

void PlatformCalls::Begin() {
    std::fill(counts.begin(), counts.end(), 0);
    runtimeCounts = {};
    watchedThread = thisThread();
}

std::map<std::string, std::size_t> PlatformCalls::End() {
    watchedThread = 0;
    std::map<std::string, std::size_t> calls;
    for (std::size_t i = 0; i < functions.size(); ++i) {
        if (counts[i] != 0) {
            calls[functions[i].name] += counts[i];
        }
    }
    for (std::size_t i = 0; i < runtimeCalls; ++i) {
        if (runtimeCounts[i] != 0) {
            calls[runtimeNames[i]] += runtimeCounts[i];
        }
    }
    return calls;
}
