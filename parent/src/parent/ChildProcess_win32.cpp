#include "parent/ChildProcess.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <system_error>
#include <thread>

namespace Tarvik {

namespace {

/// The form in which the C run-time's argument splitter gives the argument back unchanged.
std::wstring quoted(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
        return argument;
    }
    std::wstring result = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        // Backslashes are literal unless a quote follows; before a quote each one is doubled.
        result.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        result += c;
    }
    result.append(backslashes * 2, L'\\');
    return result + L'"';
}

class Handle : noncopyable {
public:
    Handle() = default;
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle() { close(); }

    HANDLE get() const { return handle_; }
    HANDLE* out() { return &handle_; }
    void close() {
        if (handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE) {
            CloseHandle(handle_);
        }
        handle_ = nullptr;
    }

private:
    HANDLE handle_ = nullptr;
};

String lastErrorText(const char* operation) {
    return String("%1 failed with system error %2").arg(operation).arg(GetLastError());
}

/// What a process is given besides its command line: one handle that it inherits and no other, whatever else
/// here may be inherited (the host's own, and those that go to another process that is started meanwhile),
/// and the job that it is in from its first moment.
class StartAttributes : noncopyable {
public:
    ~StartAttributes() {
        if (list_ != nullptr) {
            DeleteProcThreadAttributeList(list_);
        }
    }

    /// Both are kept until this object goes. False with the system's error.
    bool prepare(HANDLE inherited, HANDLE job) {
        constexpr DWORD count = 2;
        SIZE_T bytes = 0;
        InitializeProcThreadAttributeList(nullptr, count, 0, &bytes);
        memory_.resize(bytes);
        auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
        if (!InitializeProcThreadAttributeList(list, count, 0, &bytes)) {
            return false;
        }
        list_ = list;
        inherited_ = inherited;
        job_ = job;
        return set(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, inherited_) &&
               set(PROC_THREAD_ATTRIBUTE_JOB_LIST, job_);
    }

    LPPROC_THREAD_ATTRIBUTE_LIST list() const { return list_; }

private:
    bool set(DWORD_PTR attribute, HANDLE& handle) {
        return UpdateProcThreadAttribute(list_, 0, attribute, &handle, sizeof handle, nullptr, nullptr) != 0;
    }

    std::vector<std::byte> memory_;
    LPPROC_THREAD_ATTRIBUTE_LIST list_ = nullptr;
    HANDLE inherited_ = nullptr;
    HANDLE job_ = nullptr;
};

/// Two threads know of a process: the one that owns this object, and the watcher, which run() starts last and
/// the destructor joins, so that it finds everything as run() left it. The watcher alone writes code_, and
/// then state_ with release; whoever reads state_ as other than running with acquire may read code_. kill()
/// may come from any thread while the object lives: it says so in killed_ before it ends the job, so that the
/// watcher, which sees the end that this makes, does not take the job's code for the program's own.
class Win32ChildProcess final : public ChildProcess {
public:
    ~Win32ChildProcess() override {
        kill();
        if (watcher_.joinable()) {
            watcher_.join();
        }
    }

    String run(const std::vector<String>& command, std::function<void()> onEnd) {
        std::wstring line;
        for (const String& argument : command) {
            line += (line.empty() ? L"" : L" ") + quoted(argument.toNativeWide());
        }

        *job_.out() = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        if (job_.get() == nullptr ||
            !SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
            return lastErrorText("CreateJobObject");
        }

        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        Handle nul(CreateFileW(
            L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
            OPEN_EXISTING, 0, nullptr));
        if (nul.get() == INVALID_HANDLE_VALUE) {
            return lastErrorText("Opening NUL");
        }
        StartAttributes attributes;
        if (!attributes.prepare(nul.get(), job_.get())) {
            return lastErrorText("UpdateProcThreadAttribute");
        }
        STARTUPINFOEXW startup{};
        startup.StartupInfo.cb = sizeof startup;
        startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup.StartupInfo.hStdInput = startup.StartupInfo.hStdOutput = startup.StartupInfo.hStdError =
            nul.get();
        startup.lpAttributeList = attributes.list();

        // Born in the job: nothing that it starts can slip out, and it goes with this process even when this
        // one is ended on the way.
        PROCESS_INFORMATION info{};
        if (!CreateProcessW(
                nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT,
                nullptr, nullptr, &startup.StartupInfo, &info)) {
            return lastErrorText("CreateProcess");
        }
        *process_.out() = info.hProcess;
        CloseHandle(info.hThread);

        try {
            watcher_ = std::thread([this, onEnd = std::move(onEnd)] {
                WaitForSingleObject(process_.get(), INFINITE);
                DWORD code = 0;
                const bool known = GetExitCodeProcess(process_.get(), &code) != 0;
                code_ = code;
                state_.store(
                    known && !killed_ ? State::ended : State::endedUnknown, std::memory_order_release);
                onEnd();
            });
        } catch (const std::system_error& failure) {
            return String("No thread to watch the process: %1").arg(failure.what());
        }
        return {};
    }

    void kill() override {
        if (state_.load(std::memory_order_acquire) == State::running) {
            killed_ = true;
        }
        // The first process may be gone and its family not.
        TerminateJobObject(job_.get(), 1);
    }

    checked_value<ExitStatus> exitStatus() const override {
        switch (state_.load(std::memory_order_acquire)) {
        case State::running:
            return {};
        case State::ended:
            return ExitStatus{code_, false};
        case State::endedUnknown:
            break;
        }
        return ExitStatus{0, true};
    }

    String startError() const override { return {}; }

private:
    enum class State { running, ended, endedUnknown };

    Handle job_;
    Handle process_;
    std::thread watcher_;
    std::atomic<bool> killed_{false};
    std::uint32_t code_ = 0;
    std::atomic<State> state_{State::running};
};

} // namespace

expected<std::unique_ptr<ChildProcess>, String>
ChildProcess::start(const std::vector<String>& command, std::function<void()> onEnd) {
    auto process = std::make_unique<Win32ChildProcess>();
    const String error = process->run(command, std::move(onEnd));
    if (!error.isEmpty()) {
        return unexpected(error);
    }
    return std::unique_ptr<ChildProcess>(std::move(process));
}

} // namespace Tarvik
