#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// What the vendor of REX loops publishes of the library that reads them: its numbers, its records, and its
/// entry points as C functions.
namespace Audio::Decode::REX {

/// What every call answers. The numbers from 100 on are also those of an attempt to load the library.
enum ErrorNumber : std::int32_t {
    NoError = 1,
    OperationAbortedByUser = 2,
    NoCreatorInfoAvailable = 3,
    NotEnoughMemoryForLibrary = 100,
    UnableToLoadLibrary = 101,
    LibraryTooOld = 102,
    LibraryNotFound = 103,
    /// Of the program, to which the library is too new.
    InterfaceTooOld = 104,
    OutOfMemory = 105,
    FileCorrupt = 106,
    FileTooNew = 107,
    FileHasZeroLoopLength = 108,
    SystemNotSupported = 109,
    LibraryNotInitialised = 200,
    LibraryAlreadyInitialised = 201,
    InvalidHandle = 202,
    InvalidSize = 203,
    InvalidArgument = 204,
    InvalidSlice = 205,
    InvalidSampleRate = 206,
    BufferTooSmall = 207,
    IsBeingPreviewed = 208,
    NotBeingPreviewed = 209,
    InvalidTempo = 210,
    UndefinedError = 666
};

/// A loop that the library has open.
using Handle = struct OpenLoop*;

/// Positions and lengths in music, for tempi in beats of a quarter note.
constexpr std::int32_t pulsesPerQuarter = 15360;

/// Of a loop. Tempi are in thousandths of a beat per minute.
struct Info {
    std::int32_t channels = 0;
    /// Of what is rendered, in frames per second.
    std::int32_t sampleRate = 0;
    std::int32_t sliceCount = 0;
    std::int32_t tempo = 0;
    /// That at which the slices' places are those of the recording.
    std::int32_t originalTempo = 0;
    std::int32_t lengthPulses = 0;
    std::int32_t timeSignatureNumerator = 0;
    std::int32_t timeSignatureDenominator = 0;
    /// Of the recording.
    std::int32_t bitDepth = 0;
};
static_assert(sizeof(Info) == 36);
static_assert(offsetof(Info, channels) == 0 && offsetof(Info, sampleRate) == 4);
static_assert(offsetof(Info, sliceCount) == 8 && offsetof(Info, tempo) == 12);
static_assert(offsetof(Info, originalTempo) == 16 && offsetof(Info, lengthPulses) == 20);
static_assert(offsetof(Info, timeSignatureNumerator) == 24 && offsetof(Info, timeSignatureDenominator) == 28);
static_assert(offsetof(Info, bitDepth) == 32);

struct SliceInfo {
    std::int32_t positionPulses = 0;
    std::int32_t lengthFrames = 0;

    friend bool operator==(const SliceInfo&, const SliceInfo&) = default;
};
static_assert(sizeof(SliceInfo) == 8);
static_assert(offsetof(SliceInfo, positionPulses) == 0 && offsetof(SliceInfo, lengthFrames) == 4);

/// Who made a loop: nothing here looks inside.
struct CreatorInfo;

/// Asked while a loop is opened, for whoever would like to stop that.
using CreateCallback = std::int32_t (*)(std::int32_t percentFinished, void* userData);

/// The library's entry points, in the order in which they are looked up. Sizes in bytes are of the record or
/// buffer beside them. outputs: one array of floats per channel, null for the second of a mono loop.
struct Functions {
    void (*Open)() = nullptr;
    void (*Close)() = nullptr;
    std::int32_t (*REXCreate)(
        Handle* handle, const char* buffer, std::int32_t size, CreateCallback callback,
        void* userData) = nullptr;
    void (*REXDelete)(Handle* handle) = nullptr;
    std::int32_t (*REXGetInfo)(Handle handle, std::int32_t size, Info* info) = nullptr;
    std::int32_t (*REXGetInfoFromBuffer)(
        std::int32_t bufferSize, const char* buffer, std::int32_t size, Info* info) = nullptr;
    std::int32_t (*REXGetCreatorInfo)(Handle handle, std::int32_t size, CreatorInfo* info) = nullptr;
    std::int32_t (*REXGetSliceInfo)(Handle handle, std::int32_t index, std::int32_t size, SliceInfo* info) =
        nullptr;
    std::int32_t (*REXSetOutputSampleRate)(Handle handle, std::int32_t sampleRate) = nullptr;
    std::int32_t (*REXRenderSlice)(
        Handle handle, std::int32_t index, std::int32_t bufferFrames, float* outputs[2]) = nullptr;
    std::int32_t (*REXStartPreview)(Handle handle) = nullptr;
    std::int32_t (*REXStopPreview)(Handle handle) = nullptr;
    std::int32_t (*REXRenderPreviewBatch)(Handle handle, std::int32_t frames, float* outputs[2]) = nullptr;
    std::int32_t (*REXSetPreviewTempo)(Handle handle, std::int32_t tempo) = nullptr;
};

/// The names of the pointers of Functions, in their order.
constexpr std::array<const char*, 14> functionNames{
    "Open",
    "Close",
    "REXCreate",
    "REXDelete",
    "REXGetInfo",
    "REXGetInfoFromBuffer",
    "REXGetCreatorInfo",
    "REXGetSliceInfo",
    "REXSetOutputSampleRate",
    "REXRenderSlice",
    "REXStartPreview",
    "REXStopPreview",
    "REXRenderPreviewBatch",
    "REXSetPreviewTempo"};
static_assert(sizeof(Functions) == functionNames.size() * sizeof(void (*)()));

} // namespace Audio::Decode::REX
