#include "hosting/dx/TaskMemory_win32.h"

#include "hosting/dx/DirectShow_win32.h"

#include <gtest/gtest.h>

#include <mutex>
#include <set>

namespace {

/// Asked by the allocator before and after each of its operations.
class Spy final : public IMallocSpy {
public:
    static Spy& Instance() {
        // Never destroyed: the allocator keeps it.
        static Spy& spy = *new Spy;
        return spy;
    }

    void Begin() {
        const std::lock_guard guard(lock);
        blocks.clear();
        allocated = 0;
    }
    std::uint64_t Allocated() {
        const std::lock_guard guard(lock);
        return allocated;
    }
    std::size_t Left() {
        const std::lock_guard guard(lock);
        return blocks.size();
    }
    void Fail(unsigned number) {
        const std::lock_guard guard(lock);
        thread = GetCurrentThreadId();
        allocationsUntilFailure = number;
        failed = false;
    }
    bool Failed() {
        const std::lock_guard guard(lock);
        return failed;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IMallocSpy);
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) override {
        const std::lock_guard guard(lock);
        if (allocationsUntilFailure == 0 || thread != GetCurrentThreadId() || --allocationsUntilFailure > 0) {
            return size;
        }
        failed = true;
        return 0;
    }
    void* STDMETHODCALLTYPE PostAlloc(void* block) override {
        const std::lock_guard guard(lock);
        if (block != nullptr) {
            blocks.insert(block);
            ++allocated;
        }
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, WINBOOL) override {
        const std::lock_guard guard(lock);
        blocks.erase(block);
        return block;
    }
    void STDMETHODCALLTYPE PostFree(WINBOOL) override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** out, WINBOOL) override {
        const std::lock_guard guard(lock);
        wasCounted = blocks.erase(block) > 0;
        *out = block;
        return size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, WINBOOL) override {
        const std::lock_guard guard(lock);
        if (wasCounted && block != nullptr) {
            blocks.insert(block);
        }
        return block;
    }
    void* STDMETHODCALLTYPE PreGetSize(void* block, WINBOOL) override { return block; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, WINBOOL) override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* block, WINBOOL) override { return block; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, WINBOOL, int answer) override { return answer; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}

private:
    Spy() { EXPECT_EQ(CoRegisterMallocSpy(this), S_OK); }
    virtual ~Spy() = default;

    std::mutex lock;
    std::set<void*> blocks;
    std::uint64_t allocated = 0;
    /// The platform makes the two calls of one operation one after the other.
    bool wasCounted = false;
    DWORD thread = 0;
    unsigned allocationsUntilFailure = 0;
    bool failed = false;
};

} // namespace

TaskMemory::TaskMemory() {
    Spy::Instance().Begin();
}

TaskMemory::~TaskMemory() {
    Spy::Instance().Fail(0);
}

std::uint64_t TaskMemory::Allocated() const {
    return Spy::Instance().Allocated();
}

std::size_t TaskMemory::Left() const {
    return Spy::Instance().Left();
}

void TaskMemory::FailAllocation(unsigned number) {
    Spy::Instance().Fail(number);
}

bool TaskMemory::AllocationFailed() const {
    return Spy::Instance().Failed();
}
