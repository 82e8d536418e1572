#pragma once

#include "hosting/dx/ComTest_win32.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The platform's filter graph and its memory allocators: the real ones, each behind an object that counts
/// its references in the ledger, tells what is called, and fails where a test wants it to.
class WatchedPlatform : private noncopyable {
public:
    WatchedPlatform();
    ~WatchedPlatform();

    /// What was called, in its order: "graph: AddFilter plug-in", "allocator 1: Commit", "sample 1: end", ...
    std::vector<std::string> calls;
    /// What a call answers instead of being passed on. "graph: AddFilter 2" is the second one.
    std::map<std::string, HRESULT> failures;
    /// What the first allocator was asked for. Borrowed: dangling when it has gone.
    IMemAllocator* firstAllocator = nullptr;
    std::optional<ALLOCATOR_PROPERTIES> requested;
    struct BufferRequest {
        bool hasBegin;
        bool hasEnd;
        DWORD flags;
    };
    std::optional<BufferRequest> bufferRequested;
    /// Changes what the first allocator says that it has.
    std::function<void(ALLOCATOR_PROPERTIES&)> changeActual;
    /// Told each filter that is added.
    std::function<void(IBaseFilter*)> onAddFilter;
    /// Told the type, or null, of each connection.
    std::function<void(const AM_MEDIA_TYPE*)> onConnectDirect;
    /// How many of the platform's objects had references left when the one in front of them went.
    int unsettled = 0;

    /// Notes the call with what it is about, and gives the failure that the test wants of it.
    HRESULT Arrive(const std::string& call, const std::string& argument = {});

private:
    std::map<std::string, int> counts;
    int allocators = 0;
    std::unique_ptr<ClassObject> graphClass;
    std::unique_ptr<ClassObject> allocatorClass;
};
