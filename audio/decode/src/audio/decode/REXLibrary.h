#pragma once

#include "audio/decode/REXInterface.h"

#include "svbase/util/CriticalSection.h"
#include "svbase/util/Noncopyable.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace Util {
class Module;
}

namespace Audio::Decode::REX {

/// The vendor's library, loaded when it is first wanted and closed at the end of this object. Until it is
/// there each call answers LibraryNotInitialised and does nothing.
///
/// The vendor promises nothing about threads, so a lock lets one call in at a time. [any]
class Library : private noncopyable {
public:
    /// Finds the library. NoError: all functions are set, and module is what they stand in; it may be null
    /// for functions of this program. Otherwise an ErrorNumber, and both are as they were.
    using Loader = std::function<std::int32_t(Functions& functions, std::shared_ptr<Util::Module>& module)>;

    /// Loads nothing yet.
    explicit Library(Loader loader);
    ~Library();

    /// Loads and opens the library; NoError at once where it is open. After a failure the next call tries
    /// again: somebody may have installed it.
    std::int32_t Load();
    bool IsLoaded() const;

    /// The library's functions by their own names, as REXInterface.h has them.
    std::int32_t
    REXCreate(Handle* handle, const char* buffer, std::int32_t size, CreateCallback callback, void* userData);
    std::int32_t REXDelete(Handle* handle);
    std::int32_t REXGetInfo(Handle handle, std::int32_t size, Info* info);
    std::int32_t
    REXGetInfoFromBuffer(std::int32_t bufferSize, const char* buffer, std::int32_t size, Info* info);
    std::int32_t REXGetCreatorInfo(Handle handle, std::int32_t size, CreatorInfo* info);
    std::int32_t REXGetSliceInfo(Handle handle, std::int32_t index, std::int32_t size, SliceInfo* info);
    std::int32_t REXSetOutputSampleRate(Handle handle, std::int32_t sampleRate);
    std::int32_t
    REXRenderSlice(Handle handle, std::int32_t index, std::int32_t bufferFrames, float* outputs[2]);
    std::int32_t REXStartPreview(Handle handle);
    std::int32_t REXStopPreview(Handle handle);
    std::int32_t REXRenderPreviewBatch(Handle handle, std::int32_t frames, float* outputs[2]);
    std::int32_t REXSetPreviewTempo(Handle handle, std::int32_t tempo);

private:
    template<class Function, class... Arguments>
    std::int32_t call(Function Functions::* function, Arguments... arguments);

    const Loader loader_;
    mutable Util::CriticalSection lock_{"REX Library Critical Section"};
    std::shared_ptr<Util::Module> module_;
    Functions functions_;
    bool loaded_ = false;
};

} // namespace Audio::Decode::REX
