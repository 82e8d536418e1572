#include "audio/decode/REXError.h"

#include "audio/decode/REXInterface.h"

#include <algorithm>
#include <array>

namespace Audio::Decode::REX {

namespace {

struct Entry {
    ErrorNumber number;
    const char* text;
};

constexpr std::array entries{
    Entry{NoError, "no error"},
    Entry{OperationAbortedByUser, "stopped by the user"},
    Entry{NoCreatorInfoAvailable, "the file does not name its creator"},
    Entry{NotEnoughMemoryForLibrary, "the system has no room for the REX library"},
    Entry{UnableToLoadLibrary, "the REX library cannot be loaded"},
    Entry{LibraryTooOld, "the REX library is too old"},
    Entry{LibraryNotFound, "the REX library was not found"},
    Entry{InterfaceTooOld, "the REX library is too new"},
    Entry{OutOfMemory, "out of memory"},
    Entry{FileCorrupt, "the file is damaged"},
    Entry{FileTooNew, "the file is newer than the REX library"},
    Entry{FileHasZeroLoopLength, "the loop has no length"},
    Entry{SystemNotSupported, "the operating system is too old for the REX library"},
    Entry{LibraryNotInitialised, "the REX library is not initialised"},
    Entry{LibraryAlreadyInitialised, "the REX library is initialised already"},
    Entry{InvalidHandle, "invalid handle"},
    Entry{InvalidSize, "invalid size"},
    Entry{InvalidArgument, "invalid argument"},
    Entry{InvalidSlice, "invalid slice"},
    Entry{InvalidSampleRate, "invalid sample rate"},
    Entry{BufferTooSmall, "the buffer is too small"},
    Entry{IsBeingPreviewed, "the loop is being previewed"},
    Entry{NotBeingPreviewed, "the loop is not being previewed"},
    Entry{InvalidTempo, "invalid tempo"},
    Entry{UndefinedError, "undefined error"}};

} // namespace

String ErrorText(std::int32_t error) {
    const auto* const entry =
        std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.number == error; });
    return String("%1 (%2)").arg(entry == entries.end() ? "unknown error" : entry->text).arg(error);
}

} // namespace Audio::Decode::REX
