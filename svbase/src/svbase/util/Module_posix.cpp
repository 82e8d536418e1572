#include "svbase/util/Module.h"

#include <dlfcn.h>
#include <utility>

namespace Util {

Module::Module(String path) : path_(std::move(path)) {}

Module::~Module() {
    if (handle_ != nullptr && !keepLoaded_) {
        dlclose(handle_);
    }
}

bool Module::load() {
    if (handle_ == nullptr) {
        // Symbols stay private to the library: two plug-ins may define the same names.
        handle_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    }
    return isLoaded();
}

void* Module::find(const char* name) const {
    return handle_ == nullptr ? nullptr : dlsym(handle_, name);
}

} // namespace Util
