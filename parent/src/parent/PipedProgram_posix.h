#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

#include <chrono>
#include <cstddef>
#include <vector>

#include <sys/types.h>

namespace Tarvik {

/// A pipe, each end until it is closed. Neither is inherited but as a child's standard stream.
class Pipe : noncopyable {
public:
    ~Pipe();

    /// False with errno.
    bool open();
    int readEnd() const { return ends_[0]; }
    int writeEnd() const { return ends_[1]; }
    void closeReadEnd() { close(0); }
    void closeWriteEnd() { close(1); }

private:
    void close(int end);

    int ends_[2] = {-1, -1};
};

/// A running program with two pipes. On one it writes to us. The other is its lifeline: nothing is written to
/// it, and its end tells the program that we are gone, however we went. Standard error leads nowhere. The
/// environment is this process's, and what Wine needs so that a crash ends a process instead of opening a
/// debugger, unless the user chose otherwise.
///
/// The process is reaped by the destructor alone. Until then its number, be it a zombie's, belongs to no
/// other, so that any thread may ask of it and kill it.
class PipedProgram : noncopyable {
public:
    PipedProgram() = default;
    /// Ends the process, and waits for that.
    ~PipedProgram();

    /// Once. Gives the system's reason where the program cannot be started.
    String start(const std::vector<String>& command);

    /// Harmless after the end, and where nothing was started.
    void kill() const;
    void waitForEnd() const;
    bool hasEnded() const;

    /// What was written and not read yet, up to size bytes; 0 for nothing. Never waits: whatever the program
    /// left behind may hold the other end.
    std::size_t read(char* buffer, std::size_t size) const;
    /// Whether everything was read and nobody holds the other end any more.
    bool outputHasEnded() const;
    /// Returns when there is something to read, when all other ends are closed, or after the time.
    void waitForOutput(std::chrono::milliseconds time) const;

private:
    pid_t pid_ = -1;
    Pipe output_;
    Pipe lifeline_;
};

} // namespace Tarvik
