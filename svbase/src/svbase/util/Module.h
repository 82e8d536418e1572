#pragma once

#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"

namespace Util {

/// A library of code that is loaded on request and freed with this object, unless it is to stay. Loading
/// runs the library's own start-up code on the calling thread, whatever that does.
/// [any one thread]
class Module : noncopyable {
public:
    /// path: in the platform's native form, or a bare file name for the system to find. Loads nothing yet.
    explicit Module(String path);
    /// Frees a loaded library unless setKeepLoaded(true) was called.
    ~Module();

    /// True when the library is loaded, now or already. On false the system's last error stands
    /// (GetLastError, dlerror).
    bool load();
    bool isLoaded() const { return handle_ != nullptr; }

    /// The address of an exported function or object; null when there is none or nothing is loaded. Valid
    /// while the library is loaded.
    void* find(const char* name) const;

    /// The same as a function of type F: `module.function<int (*)()>("answer")`.
    template<class F>
    F function(const char* name) const {
        return reinterpret_cast<F>(find(name));
    }

    /// For libraries that leave threads, windows or callbacks behind, whose code must outlive this object.
    void setKeepLoaded(bool keep) { keepLoaded_ = keep; }
    bool isKeptLoaded() const { return keepLoaded_; }

    const String& path() const { return path_; }

private:
    String path_;
    void* handle_ = nullptr;
    bool keepLoaded_ = false;
};

} // namespace Util
