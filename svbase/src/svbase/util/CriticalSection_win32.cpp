#include "svbase/util/CriticalSection.h"

#include <new>
#include <utility>
#include <windows.h>

namespace Util {

namespace {

CRITICAL_SECTION* section(std::byte* bytes) {
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(bytes));
}

} // namespace

CriticalSection::CriticalSection(String name) : name_(std::move(name)) {
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof native_);
    InitializeCriticalSection(new (native_) CRITICAL_SECTION);
}

CriticalSection::~CriticalSection() {
    DeleteCriticalSection(section(native_));
}

void CriticalSection::lock() {
    EnterCriticalSection(section(native_));
}

bool CriticalSection::try_lock() {
    return TryEnterCriticalSection(section(native_)) != 0;
}

void CriticalSection::unlock() {
    LeaveCriticalSection(section(native_));
}

} // namespace Util
