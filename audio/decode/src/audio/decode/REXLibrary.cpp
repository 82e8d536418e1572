#include "audio/decode/REXLibrary.h"

#include "svbase/util/Module.h"

#include <mutex>
#include <type_traits>
#include <utility>

namespace Audio::Decode::REX {

Library::Library(Loader loader) : loader_(std::move(loader)) {}

Library::~Library() {
    if (loaded_) {
        functions_.Close();
    }
}

std::int32_t Library::Load() {
    const std::lock_guard guard(lock_);
    if (loaded_) {
        return NoError;
    }
    const std::int32_t result = loader_(functions_, module_);
    if (result == NoError) {
        // A library that does not come up says so itself, from the first call on.
        functions_.Open();
        loaded_ = true;
    }
    return result;
}

bool Library::IsLoaded() const {
    const std::lock_guard guard(lock_);
    return loaded_;
}

template<class Function, class... Arguments>
std::int32_t Library::call(Function Functions::* function, Arguments... arguments) {
    const std::lock_guard guard(lock_);
    if (!loaded_) {
        return LibraryNotInitialised;
    }
    if constexpr (std::is_void_v<decltype((functions_.*function)(arguments...))>) {
        (functions_.*function)(arguments...);
        return NoError;
    } else {
        return (functions_.*function)(arguments...);
    }
}

std::int32_t Library::REXCreate(
    Handle* handle, const char* buffer, std::int32_t size, CreateCallback callback, void* userData) {
    return call(&Functions::REXCreate, handle, buffer, size, callback, userData);
}

std::int32_t Library::REXDelete(Handle* handle) {
    return call(&Functions::REXDelete, handle);
}

std::int32_t Library::REXGetInfo(Handle handle, std::int32_t size, Info* info) {
    return call(&Functions::REXGetInfo, handle, size, info);
}

std::int32_t
Library::REXGetInfoFromBuffer(std::int32_t bufferSize, const char* buffer, std::int32_t size, Info* info) {
    return call(&Functions::REXGetInfoFromBuffer, bufferSize, buffer, size, info);
}

std::int32_t Library::REXGetCreatorInfo(Handle handle, std::int32_t size, CreatorInfo* info) {
    return call(&Functions::REXGetCreatorInfo, handle, size, info);
}

std::int32_t Library::REXGetSliceInfo(Handle handle, std::int32_t index, std::int32_t size, SliceInfo* info) {
    return call(&Functions::REXGetSliceInfo, handle, index, size, info);
}

std::int32_t Library::REXSetOutputSampleRate(Handle handle, std::int32_t sampleRate) {
    return call(&Functions::REXSetOutputSampleRate, handle, sampleRate);
}

std::int32_t
Library::REXRenderSlice(Handle handle, std::int32_t index, std::int32_t bufferFrames, float* outputs[2]) {
    return call(&Functions::REXRenderSlice, handle, index, bufferFrames, outputs);
}

std::int32_t Library::REXStartPreview(Handle handle) {
    return call(&Functions::REXStartPreview, handle);
}

std::int32_t Library::REXStopPreview(Handle handle) {
    return call(&Functions::REXStopPreview, handle);
}

std::int32_t Library::REXRenderPreviewBatch(Handle handle, std::int32_t frames, float* outputs[2]) {
    return call(&Functions::REXRenderPreviewBatch, handle, frames, outputs);
}

std::int32_t Library::REXSetPreviewTempo(Handle handle, std::int32_t tempo) {
    return call(&Functions::REXSetPreviewTempo, handle, tempo);
}

} // namespace Audio::Decode::REX
