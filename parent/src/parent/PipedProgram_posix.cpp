#include "parent/PipedProgram_posix.h"

#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

namespace Tarvik {

namespace {

bool isLocaleOfUTF8() {
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return false;
    }
    const bool is = std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
    freelocale(locale);
    return is;
}

std::vector<std::string> childEnvironment() {
    std::vector<std::string> result;
    // Wine takes the names of files by the locale, as ASCII where there is none.
    const bool keepsLocale = isLocaleOfUTF8();
    if (!keepsLocale) {
        result.emplace_back("LC_ALL=C.UTF-8");
    }
    bool hasDebug = false;
    bool hasOverrides = false;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        hasDebug = hasDebug || std::strncmp(*entry, "WINEDEBUG=", 10) == 0;
        hasOverrides = hasOverrides || std::strncmp(*entry, "WINEDLLOVERRIDES=", 17) == 0;
        if (keepsLocale || std::strncmp(*entry, "LC_ALL=", 7) != 0) {
            result.emplace_back(*entry);
        }
    }
    if (!hasDebug) {
        result.emplace_back("WINEDEBUG=-all");
    }
    if (!hasOverrides) {
        result.emplace_back("WINEDLLOVERRIDES=winedbg.exe=d;mscoree,mshtml=");
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

class FileActions : noncopyable {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

} // namespace

Pipe::~Pipe() {
    close(0);
    close(1);
}

bool Pipe::open() {
    return pipe2(ends_, O_CLOEXEC) == 0;
}

void Pipe::close(int end) {
    if (ends_[end] >= 0) {
        ::close(ends_[end]);
    }
    ends_[end] = -1;
}

PipedProgram::~PipedProgram() {
    kill();
    while (pid_ >= 0 && waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

String PipedProgram::start(const std::vector<String>& command) {
    std::vector<std::string> arguments;
    arguments.reserve(command.size());
    for (const String& argument : command) {
        arguments.push_back(argument.toStdString());
    }
    std::vector<std::string> environment = childEnvironment();

    if (!output_.open() || fcntl(output_.readEnd(), F_SETFL, O_NONBLOCK) != 0 || !lifeline_.open()) {
        return String("pipe failed: %1").arg(std::strerror(errno));
    }
    FileActions actions;
    posix_spawn_file_actions_adddup2(actions.get(), lifeline_.readEnd(), 0);
    posix_spawn_file_actions_adddup2(actions.get(), output_.writeEnd(), 1);
    posix_spawn_file_actions_addopen(actions.get(), 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int error = posix_spawnp(
        &pid, arguments[0].c_str(), actions.get(), nullptr, pointers(arguments).data(),
        pointers(environment).data());
    if (error != 0) {
        // The path is from outside, and may look like a place for the reason.
        return command[0] + ": " + std::strerror(error);
    }
    pid_ = pid;
    output_.closeWriteEnd();
    lifeline_.closeReadEnd();
    return {};
}

void PipedProgram::kill() const {
    // Of a program that never started, this number would mean every process there is.
    if (pid_ >= 0) {
        ::kill(pid_, SIGKILL);
    }
}

void PipedProgram::waitForEnd() const {
    siginfo_t info{};
    // Leaves the zombie: see the class.
    while (waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
}

bool PipedProgram::hasEnded() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT | WNOHANG) == 0 &&
           info.si_pid == pid_;
}

std::size_t PipedProgram::read(char* buffer, std::size_t size) const {
    const ssize_t count = ::read(output_.readEnd(), buffer, size);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool PipedProgram::outputHasEnded() const {
    pollfd each{output_.readEnd(), POLLIN, 0};
    return poll(&each, 1, 0) == 1 && (each.revents & POLLHUP) != 0 && (each.revents & POLLIN) == 0;
}

void PipedProgram::waitForOutput(std::chrono::milliseconds time) const {
    pollfd each{output_.readEnd(), POLLIN, 0};
    // Whatever it answers, the caller looks for itself.
    static_cast<void>(poll(&each, 1, static_cast<int>(time.count())));
}

} // namespace Tarvik
