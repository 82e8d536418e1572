#pragma once

#include "hosting/vst/VSTHostCall.h"
#include "svbase/util/Noncopyable.h"

#include <atomic>
#include <forward_list>

namespace Tarvik {

/// A handler and its context, which the host may exchange while effects call on threads of their own.
///
/// A pair is complete before the store of `current`, a release, publishes it, and never changes again: a
/// caller that loads it with acquire has a handler and the context that was given with it. Pairs stay until
/// the hook goes, since nobody knows which callers still hold one.
class VSTHostCallHook : private noncopyable {
public:
    struct Target {
        /// Null: nobody answers.
        VSTHostCallHandler handler = nullptr;
        void* context = nullptr;
    };

    /// Calls that begin from now on find this one; calls that run already may be with the previous one still,
    /// so that its context must outlive them. Takes memory for each pair that it was not given before. [main]
    void Set(VSTHostCallHandler handler, void* context);

    /// [any]
    Target Get() const noexcept;

private:
    std::forward_list<Target> targets;
    std::atomic<const Target*> current = nullptr;
};

} // namespace Tarvik
