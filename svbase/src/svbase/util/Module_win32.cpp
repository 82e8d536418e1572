#include "svbase/util/Module.h"

#include <utility>
#include <windows.h>

namespace Util {

Module::Module(String path) : path_(std::move(path)) {}

Module::~Module() {
    if (handle_ != nullptr && !keepLoaded_) {
        FreeLibrary(static_cast<HMODULE>(handle_));
    }
}

bool Module::load() {
    if (handle_ == nullptr) {
        handle_ = LoadLibraryW(path_.toNativeWide().c_str());
    }
    return isLoaded();
}

void* Module::find(const char* name) const {
    if (handle_ == nullptr) {
        return nullptr;
    }
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

} // namespace Util
