#include "svbase/util/CriticalSection.h"

#include <memory>
#include <mutex>
#include <new>
#include <utility>

namespace Util {

namespace {

std::recursive_mutex* mutex(std::byte* bytes) {
    return std::launder(reinterpret_cast<std::recursive_mutex*>(bytes));
}

} // namespace

CriticalSection::CriticalSection(String name) : name_(std::move(name)) {
    static_assert(sizeof(std::recursive_mutex) <= sizeof native_);
    new (native_) std::recursive_mutex;
}

CriticalSection::~CriticalSection() {
    std::destroy_at(mutex(native_));
}

void CriticalSection::lock() {
    mutex(native_)->lock();
}

bool CriticalSection::try_lock() {
    return mutex(native_)->try_lock();
}

void CriticalSection::unlock() {
    mutex(native_)->unlock();
}

} // namespace Util
