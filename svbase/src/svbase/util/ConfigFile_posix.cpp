// The registry's place is taken by one file per hive, <configuration
// folder>/tarvik-plugin-scanner/<hive>.preferences, with the text of a ConfigStore. A writer holds the lock
// of <hive>.lock from reading to renaming, so that changes of several threads and processes follow each
// other; the lock ends with its process. A holder that is stopped, by a debugger or a signal, would keep it
// without end: a change that has waited for longestWait is dropped. It writes <hive>.preferences.new and
// renames that into place, so that readers, who take no lock, see the text of before or after, and a process
// that is killed leaves one of the two.
//
// Of a damaged file, what can be read still counts. Before the first change replaces it, it is kept as
// <hive>.preferences.damaged-<number>; where that fails, nothing is changed. A file that exists and cannot be
// read, or is larger than maxBytes, is left alone.

#include "svbase/util/ConfigSystem.h"

#include "svbase/util/ConfigStore.h"
#include "svbase/util/Noncopyable.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Util::ConfigSystem {

namespace {

constexpr std::size_t maxBytes = std::size_t{64} << 20U;
constexpr int maxDamagedCopies = 1000;

// A change takes some milliseconds, most of them the disk's. The system's own way to wait knows no limit.
constexpr std::chrono::seconds longestWait{5};
constexpr std::chrono::milliseconds pauseBetweenTries{1};

class Descriptor : noncopyable {
public:
    Descriptor(const std::string& path, int flags)
        : descriptor_(::open(path.c_str(), flags | O_CLOEXEC, 0600)) {}
    ~Descriptor() { close(); }

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

    bool close() {
        const int closing = std::exchange(descriptor_, -1);
        return closing >= 0 && ::close(closing) == 0;
    }

private:
    int descriptor_;
};

const char* nameOf(ConfigFile::Hive hive) {
    switch (hive) {
    case ConfigFile::Hive::ClassesRoot:
        return "classes-root";
    case ConfigFile::Hive::CurrentUser:
        return "current-user";
    case ConfigFile::Hive::LocalMachine:
        return "local-machine";
    case ConfigFile::Hive::Users:
        return "users";
    }
    return nullptr;
}

bool isAbsolute(const char* path) {
    return path != nullptr && *path == '/';
}

/// Empty when there is none. A relative path in the environment is no answer.
std::string folder() {
    if (const char* configured = std::getenv("XDG_CONFIG_HOME"); isAbsolute(configured)) {
        return std::string(configured) + "/tarvik-plugin-scanner";
    }
    if (const char* home = std::getenv("HOME"); isAbsolute(home)) {
        return std::string(home) + "/.config/tarvik-plugin-scanner";
    }
    return {};
}

/// With all folders on the way. Whether that succeeded shows when a file in it is opened.
void makeFolder(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        ::mkdir(path.substr(0, slash).c_str(), 0700);
        if (slash == std::string::npos) {
            return;
        }
    }
}

/// False when something failed; a file that is not there is empty.
bool readFile(const std::string& path, std::string& text) {
    text.clear();
    // A pipe in the file's place must not hold us up.
    const Descriptor file(path, O_RDONLY | O_NONBLOCK);
    if (!file.isOpen()) {
        return errno == ENOENT;
    }
    struct stat status = {};
    if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    for (;;) {
        char buffer[16384];
        const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
        if (count == 0) {
            return true;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        text.append(buffer, static_cast<std::size_t>(count));
        if (text.size() > maxBytes) {
            return false;
        }
    }
}

/// The whole text on the disk, or false.
bool writeFile(const std::string& path, int flags, std::string_view text) {
    Descriptor file(path, O_WRONLY | O_CREAT | flags);
    while (file.isOpen() && !text.empty()) {
        const ssize_t count = ::write(file.get(), text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    // Renaming may reach the disk before the text does: a machine that loses power would have neither.
    return file.isOpen() && ::fsync(file.get()) == 0 && file.close();
}

bool keepDamaged(const std::string& path, std::string_view text) {
    for (int number = 1; number <= maxDamagedCopies; ++number) {
        const std::string copy = path + ".damaged-" + std::to_string(number);
        if (::access(copy.c_str(), F_OK) != 0) {
            const bool kept = writeFile(copy, O_EXCL, text);
            if (!kept) {
                ::unlink(copy.c_str());
            }
            return kept;
        }
    }
    return false;
}

/// The file itself, where a link to it stands in its place: the link is the user's, and stays.
std::string linked(const std::string& path) {
    char* resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr) {
        return path;
    }
    std::string target(resolved);
    std::free(resolved);
    return target;
}

class HiveFile {
public:
    explicit HiveFile(ConfigFile::Hive hive) : folder_(folder()) {
        if (const char* name = nameOf(hive); name != nullptr && !folder_.empty()) {
            base_ = folder_ + "/" + name;
        }
    }

    bool load(ConfigStore& store) const {
        std::string text;
        if (base_.empty() || !readFile(path(), text)) {
            return false;
        }
        store.read(text);
        return true;
    }

    /// change: bool(ConfigStore&), true when it changed something.
    template<class Change>
    void change(const Change& change) const {
        if (base_.empty()) {
            return;
        }
        const Descriptor lock(base_ + ".lock", O_RDWR | O_CREAT);
        if (!lock.isOpen() || !wait(lock)) {
            return;
        }
        const std::string target = linked(path());
        std::string text;
        if (!readFile(target, text)) {
            return;
        }
        ConfigStore store;
        const bool whole = store.read(text);
        if (!change(store) || (!whole && !keepDamaged(target, text))) {
            return;
        }
        text = store.text();
        const std::string unfinished = target + ".new";
        if (text.size() > maxBytes || !writeFile(unfinished, O_TRUNC, text) ||
            ::rename(unfinished.c_str(), target.c_str()) != 0) {
            ::unlink(unfinished.c_str());
        }
    }

    template<class Change>
    void changeOrCreate(const Change& change) const {
        if (!base_.empty()) {
            makeFolder(folder_);
        }
        this->change(change);
    }

private:
    std::string path() const { return base_ + ".preferences"; }

    static bool wait(const Descriptor& lock) {
        const auto limit = std::chrono::steady_clock::now() + longestWait;
        while (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() >= limit) {
                return false;
            }
            std::this_thread::sleep_for(pauseBetweenTries);
        }
        return true;
    }

    std::string folder_;
    std::string base_;
};

} // namespace

checked_value<ConfigValue> read(ConfigFile::Hive hive, const ConfigKey& key, const Wanted& wanted) {
    ConfigStore store;
    if (!HiveFile(hive).load(store)) {
        return {};
    }
    const ConfigValue* value = store.value(key);
    if (value == nullptr || !wanted.accepts(value->type, value->data.size())) {
        return {};
    }
    return *value;
}

void write(
    ConfigFile::Hive hive, const ConfigKey& key, std::uint32_t type, const void* data, std::uint32_t size) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    HiveFile(hive).changeOrCreate(
        [&](ConfigStore& store) { return store.setValue(key, {type, {bytes, bytes + size}}); });
}

void removeValue(ConfigFile::Hive hive, const ConfigKey& key) {
    HiveFile(hive).change([&](ConfigStore& store) { return store.removeValue(key); });
}

void removeSubkey(ConfigFile::Hive hive, const ConfigKey& key) {
    HiveFile(hive).change([&](ConfigStore& store) { return store.removeSubkey(key); });
}

std::vector<String> subkeys(ConfigFile::Hive hive, const String& subkey) {
    ConfigStore store;
    return HiveFile(hive).load(store) ? store.subkeys(subkey) : std::vector<String>();
}

std::vector<String> valueNames(ConfigFile::Hive hive, const String& subkey) {
    ConfigStore store;
    return HiveFile(hive).load(store) ? store.valueNames(subkey) : std::vector<String>();
}

} // namespace Util::ConfigSystem
