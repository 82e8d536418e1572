#include "svbase/util/ConfigFile.h"
#include "svbase/util/ConfigStore.h"

#include "support/MemoryFolder_posix.h"
#include "svbase/TemporaryDirectory.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Util::ConfigFile;
using Bytes = std::vector<std::uint8_t>;

/// An environment variable, put back at the end. Null: not set.
class Variable {
public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* now = std::getenv(name)) {
            before_ = now;
        }
        set(value);
    }
    ~Variable() { set(before_ ? before_->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    void set(const char* value) const {
        if (value == nullptr) {
            ::unsetenv(name_);
        } else {
            ::setenv(name_, value, 1);
        }
    }

private:
    const char* name_;
    std::optional<std::string> before_;
};

class PosixConfigFile : public testing::Test {
protected:
    explicit PosixConfigFile(const fs::path& parent = memoryFolder()) : directory(parent) {}

    fs::path folder() const { return directory.path() / "tarvik-plugin-scanner"; }
    fs::path file() const { return folder() / "current-user.preferences"; }
    std::string text() const { return directory.bytes(u8"tarvik-plugin-scanner/current-user.preferences"); }
    void put(const std::string& bytes) const {
        fs::create_directories(folder());
        directory.file(u8"tarvik-plugin-scanner/current-user.preferences", bytes);
    }
    std::set<std::string> files() const {
        std::set<std::string> names;
        if (fs::exists(folder())) {
            for (const fs::directory_entry& entry : fs::directory_iterator(folder())) {
                names.insert(entry.path().filename().string());
            }
        }
        return names;
    }

    TemporaryDirectory directory;
    Variable configuration{"XDG_CONFIG_HOME", directory.path().c_str()};
    ConfigFile config{"S"};
};

const std::string head = "Preferences of Tarvik Plugin Scanner, format 1\n";

TEST_F(PosixConfigFile, Keeps_a_hive_in_a_file_of_the_programs_folder) {
    config.writeInt("one", 1);
    EXPECT_EQ(text(), head + "value S one 4 01000000\nend\n");
    EXPECT_THAT(files(), UnorderedElementsAre("current-user.preferences", "current-user.lock"));
}

TEST_F(PosixConfigFile, Hives_have_files_of_their_own) {
    using Hive = ConfigFile::Hive;
    std::int32_t value = 0;
    for (const Hive hive : {Hive::ClassesRoot, Hive::CurrentUser, Hive::LocalMachine, Hive::Users}) {
        ConfigFile("S", hive).writeInt("one", ++value);
    }
    value = 0;
    for (const Hive hive : {Hive::ClassesRoot, Hive::CurrentUser, Hive::LocalMachine, Hive::Users}) {
        EXPECT_EQ(ConfigFile("S", hive).readInt("one", 0), ++value);
    }
    for (const char* name : {"classes-root", "current-user", "local-machine", "users"}) {
        EXPECT_TRUE(fs::exists(folder() / (std::string(name) + ".preferences"))) << name;
    }
}

TEST_F(PosixConfigFile, A_hive_that_does_not_exist_keeps_nothing) {
    ConfigFile odd("S", static_cast<ConfigFile::Hive>(5));
    odd.writeInt("one", 1);
    odd.removeValue("one");
    odd.removeKey("one");
    EXPECT_EQ(odd.readInt("one", 0), 0);
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(PosixConfigFile, Reading_and_removing_create_no_file) {
    EXPECT_EQ(config.readInt("one", 5), 5);
    config.removeValue("one");
    config.removeKey("a/b");
    std::vector<String> names;
    config.subkeys(names, "");
    EXPECT_FALSE(fs::exists(folder()));
}

TEST_F(PosixConfigFile, Writing_what_stands_there_already_leaves_the_file) {
    config.writeInt("one", 1);
    struct stat before = {};
    ASSERT_EQ(::stat(file().c_str(), &before), 0);
    config.writeInt("ONE", 1);
    config.removeValue("missing");
    struct stat after = {};
    ASSERT_EQ(::stat(file().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(PosixConfigFile, Is_readable_by_its_user_alone) {
    config.writeInt("one", 1);
    struct stat status = {};
    ASSERT_EQ(::stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(PosixConfigFile, Without_a_configured_folder_the_home_has_it) {
    const Variable home("HOME", directory.path().c_str());
    for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative"}) {
        configuration.set(unusable);
        config.writeInt("one", 1);
        const fs::path folders = directory.path() / ".config";
        EXPECT_TRUE(fs::exists(folders / "tarvik-plugin-scanner" / "current-user.preferences"));
        EXPECT_EQ(config.readInt("one", 0), 1);
        fs::remove_all(folders);
    }
}

TEST_F(PosixConfigFile, Without_any_folder_nothing_is_kept) {
    configuration.set(nullptr);
    for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative"}) {
        const Variable home("HOME", unusable);
        config.writeInt("one", 1);
        config.removeValue("one");
        EXPECT_EQ(config.readInt("one", 0), 0);
    }
    EXPECT_FALSE(fs::exists("relative"));
}

TEST_F(PosixConfigFile, Folders_on_the_way_are_made) {
    configuration.set((directory.path() / "a" / "b\\c").c_str());
    config.writeInt("one", 1);
    EXPECT_TRUE(fs::exists(directory.path() / "a" / "b\\c" / "tarvik-plugin-scanner"));
    EXPECT_EQ(config.readInt("one", 0), 1);
}

TEST_F(PosixConfigFile, Where_no_folder_can_be_made_nothing_is_kept) {
    configuration.set(directory.file(u8"file", "").c_str());
    config.writeInt("one", 1);
    EXPECT_EQ(config.readInt("one", 0), 0);
    configuration.set("/dev/null/x");
    config.writeInt("one", 1);
    EXPECT_EQ(config.readInt("one", 0), 0);
}

TEST_F(PosixConfigFile, Of_a_damaged_file_the_rest_is_read) {
    const std::string damaged = head + "value S one 4 01000000\nvalue S tw\xFF\nvalue S three 4 03000000\n";
    put(damaged);
    EXPECT_EQ(config.readInt("one", 0), 1);
    EXPECT_EQ(config.readInt("three", 0), 3);
    EXPECT_EQ(text(), damaged) << "a reader mends nothing";
    EXPECT_THAT(files(), ElementsAre("current-user.preferences"));
}

TEST_F(PosixConfigFile, A_damaged_file_is_kept_when_the_first_change_replaces_it) {
    const std::string damaged = head + "value S one 4 01000000\nvalue S tw\xFF\n";
    put(damaged);
    config.removeValue("missing");
    EXPECT_EQ(text(), damaged) << "nothing changed";
    config.writeInt("three", 3);
    EXPECT_EQ(text(), head + "value S one 4 01000000\nvalue S three 4 03000000\nend\n");
    EXPECT_EQ(directory.bytes(u8"tarvik-plugin-scanner/current-user.preferences.damaged-1"), damaged);
    config.writeInt("four", 4);
    EXPECT_FALSE(fs::exists(file().string() + ".damaged-2")) << "the file is whole again";
    put("noise");
    config.writeInt("five", 5);
    EXPECT_EQ(directory.bytes(u8"tarvik-plugin-scanner/current-user.preferences.damaged-1"), damaged);
    EXPECT_EQ(directory.bytes(u8"tarvik-plugin-scanner/current-user.preferences.damaged-2"), "noise");
    EXPECT_EQ(text(), head + "value S five 4 05000000\nend\n");
}

TEST_F(PosixConfigFile, An_empty_file_is_a_store_without_values) {
    put("");
    EXPECT_EQ(config.readInt("one", 5), 5);
    config.writeInt("one", 1);
    EXPECT_EQ(config.readInt("one", 5), 1);
    EXPECT_THAT(files(), UnorderedElementsAre("current-user.preferences", "current-user.lock"));
}

TEST_F(PosixConfigFile, What_is_no_file_is_left_alone) {
    fs::create_directories(file());
    config.writeInt("one", 1);
    EXPECT_EQ(config.readInt("one", 0), 0);
    EXPECT_TRUE(fs::is_directory(file()));
    fs::remove(file());
    ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
    config.writeInt("one", 1);
    EXPECT_EQ(config.readInt("one", 0), 0);
    EXPECT_TRUE(fs::is_fifo(file()));
}

TEST_F(PosixConfigFile, A_file_that_cannot_be_opened_is_left_alone) {
    fs::create_directories(folder());
    // By nobody, whatever may be done to files: a link to itself.
    fs::create_symlink(file(), file());
    config.writeInt("one", 1);
    EXPECT_EQ(config.readInt("one", 0), 0);
    EXPECT_TRUE(fs::is_symlink(file()));
}

TEST_F(PosixConfigFile, A_file_that_is_too_large_is_left_alone) {
    put(head + "value S one 4 01000000\nend\n");
    fs::resize_file(file(), (64U << 20U) + 1);
    config.writeInt("one", 2);
    EXPECT_EQ(config.readInt("one", 0), 0);
    EXPECT_EQ(fs::file_size(file()), (64U << 20U) + 1);
}

TEST_F(PosixConfigFile, A_value_that_would_make_the_file_too_large_is_not_written) {
    config.writeInt("one", 1);
    config.writeBlob("blob", Bytes(33U << 20U));
    EXPECT_EQ(config.readInt("one", 0), 1);
    Bytes blob;
    EXPECT_FALSE(config.readBlob("blob", blob));
    EXPECT_THAT(files(), UnorderedElementsAre("current-user.preferences", "current-user.lock"));
}

TEST_F(PosixConfigFile, A_link_to_the_file_stays_one) {
    fs::create_directories(folder());
    const fs::path real = directory.path() / "elsewhere";
    directory.file(u8"elsewhere", head + "end\n");
    fs::create_symlink(real, file());
    config.writeInt("one", 1);
    EXPECT_TRUE(fs::is_symlink(file()));
    EXPECT_EQ(directory.bytes(u8"elsewhere"), head + "value S one 4 01000000\nend\n");
    EXPECT_EQ(config.readInt("one", 0), 1);
}

TEST_F(PosixConfigFile, What_a_killed_writer_left_unfinished_is_in_nobodys_way) {
    config.writeInt("one", 1);
    directory.file(u8"tarvik-plugin-scanner/current-user.preferences.new", std::string(10'000, 'x'));
    EXPECT_EQ(config.readInt("one", 0), 1);
    config.writeInt("two", 2);
    EXPECT_EQ(text(), head + "value S one 4 01000000\nvalue S two 4 02000000\nend\n");
    EXPECT_THAT(files(), UnorderedElementsAre("current-user.preferences", "current-user.lock"));
}

TEST_F(PosixConfigFile, A_failed_write_leaves_the_file_of_before) {
    config.writeInt("one", 1);
    // In the place of the text to come.
    fs::create_directory(file().string() + ".new");
    config.writeInt("one", 2);
    EXPECT_EQ(config.readInt("one", 0), 1);
}

TEST_F(PosixConfigFile, When_a_damaged_file_cannot_be_kept_it_is_not_replaced) {
    put("noise");
    // More than the process may write.
    struct rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit none = {3, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
    config.writeInt("one", 1);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, ignored);
    EXPECT_EQ(text(), "noise");
    EXPECT_THAT(files(), UnorderedElementsAre("current-user.preferences", "current-user.lock"));
}

TEST_F(PosixConfigFile, After_a_thousand_damaged_files_none_is_replaced_any_more) {
    put("noise");
    for (int i = 1; i <= 1000; ++i) {
        directory.file(u8"tarvik-plugin-scanner/x", "older");
        fs::rename(folder() / "x", file().string() + ".damaged-" + std::to_string(i));
    }
    config.writeInt("one", 1);
    EXPECT_EQ(text(), "noise");
    EXPECT_EQ(directory.bytes(u8"tarvik-plugin-scanner/current-user.preferences.damaged-1000"), "older");
    fs::remove(file().string() + ".damaged-7");
    config.writeInt("one", 1);
    EXPECT_EQ(config.readInt("one", 0), 1);
    EXPECT_EQ(directory.bytes(u8"tarvik-plugin-scanner/current-user.preferences.damaged-7"), "noise");
}

/// How often this process has the file open.
int openDescriptors(const fs::path& path) {
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        count += fs::read_symlink(entry.path(), gone) == path ? 1 : 0;
    }
    return count;
}

/// How often the thread has given up the processor of its own accord.
long pausesOf(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
    const std::string word = "voluntary_ctxt_switches:";
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(word)) {
            return std::stol(line.substr(word.size()));
        }
    }
    return -1;
}

TEST_F(PosixConfigFile, A_writer_waits_for_the_lock_and_a_reader_does_not) {
    config.writeInt("one", 1);
    const fs::path lockFile = folder() / "current-user.lock";
    const int lock = ::open(lockFile.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(lock, 0);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    std::atomic<pid_t> id = 0;
    std::thread writer([&] {
        id = ::gettid();
        ConfigFile("S").writeInt("one", 2);
    });
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    const auto until = [&](const auto& condition) {
        while (!condition() && std::chrono::steady_clock::now() < limit) {
            std::this_thread::yield();
        }
        return condition();
    };
    EXPECT_TRUE(until([&] { return openDescriptors(lockFile) == 2; })) << "the test's and the writer's";
    const long pauses = pausesOf(id);
    EXPECT_TRUE(until([&] { return pausesOf(id) >= pauses + 3; }))
        << "it has tried, in vain, and tries again";
    EXPECT_EQ(config.readInt("one", 0), 1);
    // As another holder of the lock would.
    put(head + "value S one 4 01000000\nvalue S two 4 02000000\nend\n");
    ::close(lock);
    writer.join();
    EXPECT_EQ(config.readInt("one", 0), 2);
    EXPECT_EQ(config.readInt("two", 0), 2) << "it read before it had the lock";
}

TEST_F(PosixConfigFile, A_stopped_holder_of_the_lock_keeps_a_change_from_being_made_and_nobody_for_ever) {
    using std::chrono::steady_clock;
    config.writeInt("one", 1);
    const std::string lockFile = folder() / "current-user.lock";
    const pid_t holder = ::fork();
    if (holder == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int lock = ::open(lockFile.c_str(), O_RDWR | O_CLOEXEC);
        if (lock < 0 || ::flock(lock, LOCK_EX) != 0) {
            ::_exit(1);
        }
        ::raise(SIGSTOP);
        ::_exit(0);
    }
    ASSERT_GT(holder, 0);
    int status = 0;
    ASSERT_EQ(::waitpid(holder, &status, WUNTRACED), holder);
    ASSERT_TRUE(WIFSTOPPED(status));

    const auto begin = steady_clock::now();
    config.writeInt("one", 2);
    const auto waited = steady_clock::now() - begin;
    EXPECT_EQ(config.readInt("one", 0), 1);
    EXPECT_GE(waited, std::chrono::seconds(2)) << "others that only take their time are waited for";
    EXPECT_LT(waited, std::chrono::seconds(30));
    EXPECT_THAT(files(), UnorderedElementsAre("current-user.preferences", "current-user.lock"));

    ASSERT_EQ(::kill(holder, SIGKILL), 0);
    ASSERT_EQ(::waitpid(holder, nullptr, 0), holder);
    config.writeInt("one", 3);
    EXPECT_EQ(config.readInt("one", 0), 3);
}

/// Runs the body in a child, and gives its identifier. Its end is _exit(0).
template<class Body>
pid_t inChild(const Body& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        ::_exit(0);
    }
    return child;
}

TEST_F(PosixConfigFile, Two_processes_that_write_different_keys_lose_nothing) {
    constexpr int values = 100;
    std::vector<pid_t> children;
    for (int child = 0; child < 2; ++child) {
        children.push_back(inChild([&] {
            for (int i = 0; i < values; ++i) {
                ConfigFile("S").writeInt(String("%1/%2").arg(child).arg(i), i);
            }
        }));
        ASSERT_GT(children.back(), 0);
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    for (int child = 0; child < 2; ++child) {
        for (int i = 0; i < values; ++i) {
            EXPECT_EQ(config.readInt(String("%1/%2").arg(child).arg(i), -1), i);
        }
    }
}

/// Where flushing takes its time, so that a kill finds something unfinished.
class PosixConfigFileOnDisk : public PosixConfigFile {
protected:
    PosixConfigFileOnDisk() : PosixConfigFile(fs::temp_directory_path()) {}
};

TEST_F(PosixConfigFileOnDisk, A_writer_that_is_killed_leaves_a_whole_file_fifty_times) {
    using namespace std::chrono_literals;
    const std::string unfinishedFile = file().string() + ".new";
    std::mt19937 random(1);
    int unfinished = 0;
    for (int round = 0; round < 50; ++round) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = inChild([&] {
            // Of one length, so that half of an old text and half of a new one would be noticed by the bytes.
            for (unsigned i = 0;; ++i) {
                ConfigFile("S").writeBlob("blob", Bytes(100'000, static_cast<std::uint8_t>(i)));
                if (::write(ends[1], "", 1) != 1) {
                    return;
                }
            }
        });
        ASSERT_GT(child, 0);
        ::close(ends[1]);
        char told = 0;
        for (auto writes = 1 + random() % 3; writes > 0; --writes) {
            ASSERT_EQ(::read(ends[0], &told, 1), 1);
        }
        // Every other time in the middle of the next write where it can be met, else anywhere.
        const auto now = std::chrono::steady_clock::now;
        const auto until = now() + (round % 2 == 0 ? std::chrono::microseconds(random() % 3000) : 200ms);
        while (now() < until && (round % 2 == 0 || ::access(unfinishedFile.c_str(), F_OK) != 0)) {
        }
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        ::close(ends[0]);
        unfinished += fs::exists(unfinishedFile) ? 1 : 0;

        Util::ConfigStore store;
        ASSERT_TRUE(store.read(text())) << "round " << round;
        Bytes blob;
        ASSERT_TRUE(config.readBlob("blob", blob));
        ASSERT_EQ(blob.size(), 100'000U);
        ASSERT_EQ(blob, Bytes(blob.size(), blob[0])) << "round " << round;
        config.writeInt("after", round);
        ASSERT_EQ(config.readInt("after", -1), round) << "the lock ended with its holder";
    }
    EXPECT_GT(unfinished, 0) << "no kill met a write";
    EXPECT_THAT(files(), testing::Not(testing::Contains(testing::HasSubstr("damaged"))));
}

} // namespace
