#include "hosting/dx/CBaseObject_win32.h"

#include <atomic>

namespace Tarvik {

namespace {

std::atomic<long> objectsActive = 0;

} // namespace

long CBaseObject::ObjectsActive() noexcept {
    return objectsActive.load();
}

CBaseObject::CBaseObject(const char* name) noexcept : objectName(name) {
    ++objectsActive;
}

CBaseObject::~CBaseObject() {
    --objectsActive;
}

} // namespace Tarvik
