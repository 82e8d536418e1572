#include "svbase/util/NativeThread.h"

#include "svbase/util/Module.h"

#include <cstring>
#include <objbase.h>
#include <process.h>
#include <utility>
#include <windows.h>

namespace Util {

namespace {

using Body = std::function<void()>;

unsigned __stdcall enter(void* argument) {
    const std::unique_ptr<Body> body(static_cast<Body*>(argument));
    (*body)();
    return 0;
}

class WindowsThread final : public NativeThread {
public:
    explicit WindowsThread(HANDLE handle) : handle_(handle) {}
    ~WindowsThread() override { CloseHandle(handle_); }

    bool wait(checked_value<std::uint32_t> timeoutMilliseconds) override {
        return WaitForSingleObject(handle_, timeoutMilliseconds.value_or(INFINITE)) != WAIT_TIMEOUT;
    }

    void terminate() override {
        // The end is asynchronous: waited for, so that it comes before the object's.
        if (TerminateThread(handle_, 0)) {
            WaitForSingleObject(handle_, INFINITE);
        }
    }

private:
    HANDLE handle_;
};

/// The multimedia class scheduler, looked up once; the program starts without it where it does not exist.
class MultimediaScheduler {
public:
    MultimediaScheduler() {
        library_.setKeepLoaded(true);
        if (library_.load()) {
            setCharacteristics_ = library_.function<SetCharacteristics>("AvSetMmThreadCharacteristicsA");
            setPriority_ = library_.function<SetPriority>("AvSetMmThreadPriority");
        }
    }

    /// Puts the calling thread into the class for audio, at high priority.
    bool join() const {
        if (setCharacteristics_ == nullptr || setPriority_ == nullptr) {
            return false;
        }
        DWORD task = 0;
        const HANDLE handle = setCharacteristics_("Pro Audio", &task);
        return handle != nullptr && setPriority_(handle, highPriority);
    }

private:
    using SetCharacteristics = HANDLE(WINAPI*)(LPCSTR, LPDWORD);
    using SetPriority = BOOL(WINAPI*)(HANDLE, int);
    static constexpr int highPriority = 2;

    Module library_{"avrt.dll"};
    SetCharacteristics setCharacteristics_ = nullptr;
    SetPriority setPriority_ = nullptr;
};

int nativePriority(Thread::Priority priority) {
    switch (priority) {
    case Thread::Priority::Idle:
        return THREAD_PRIORITY_IDLE;
    case Thread::Priority::Lowest:
        return THREAD_PRIORITY_LOWEST;
    case Thread::Priority::BelowNormal:
        return THREAD_PRIORITY_BELOW_NORMAL;
    case Thread::Priority::AboveNormal:
        return THREAD_PRIORITY_ABOVE_NORMAL;
    case Thread::Priority::Highest:
        return THREAD_PRIORITY_HIGHEST;
    case Thread::Priority::TimeCritical:
    case Thread::Priority::ProAudio:
        return THREAD_PRIORITY_TIME_CRITICAL;
    case Thread::Priority::Normal:
        break;
    }
    return THREAD_PRIORITY_NORMAL;
}

constexpr DWORD nameException = 0x406D1388;

/// What debuggers read from the exception's parameters.
struct NameRecord {
    DWORD type;
    LPCSTR name;
    DWORD threadId;
    DWORD flags;
};
static_assert(sizeof(NameRecord) == 3 * sizeof(ULONG_PTR));

LONG CALLBACK ignoreName(EXCEPTION_POINTERS* pointers) {
    return pointers->ExceptionRecord->ExceptionCode == nameException ? EXCEPTION_CONTINUE_EXECUTION
                                                                     : EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

std::shared_ptr<NativeThread> NativeThread::create(std::function<void()> body) {
    auto argument = std::make_unique<Body>(std::move(body));
    const auto handle =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, enter, argument.get(), 0, nullptr));
    if (handle == nullptr) {
        return nullptr;
    }
    argument.release();
    return std::make_shared<WindowsThread>(handle);
}

void NativeThread::setPriority(Thread::Priority priority) {
    if (priority == Thread::Priority::ProAudio) {
        static const MultimediaScheduler scheduler;
        if (scheduler.join()) {
            return;
        }
    }
    SetThreadPriority(GetCurrentThread(), nativePriority(priority));
}

void NativeThread::announceName(const String& name) {
    // Without a debugger the exception would end the process. The handler goes first, so that no other one
    // takes the announcement for a crash, and only for as long as the raising takes.
    void* const handler = AddVectoredExceptionHandler(1, ignoreName);
    if (handler == nullptr) {
        return;
    }
    const NameRecord record{0x1000, name.c_str(), GetCurrentThreadId(), 0};
    ULONG_PTR parameters[3];
    static_assert(sizeof parameters == sizeof record);
    std::memcpy(parameters, &record, sizeof record);
    RaiseException(nameException, 0, 3, parameters);
    RemoveVectoredExceptionHandler(handler);
}

void NativeThread::enterApartment() {
    CoInitialize(nullptr);
}

void NativeThread::leaveApartment() {
    CoUninitialize();
}

} // namespace Util
