#include "directx/Behaviour.h"

#include <stdexcept>

namespace TestFilters {

namespace {

constexpr DWORD codeOfMicrosoftException = 0xE06D7363;

volatile bool always = true;

} // namespace

HRESULT arriveAt(const Behaviour& behaviour, Place place) {
    if (behaviour.onArrival) {
        behaviour.onArrival(place);
    }
    const auto found = behaviour.acts.find(place);
    if (found == behaviour.acts.end() || (behaviour.mended && *behaviour.mended)) {
        return S_OK;
    }
    switch (found->second.deed) {
    case Deed::answer:
        return found->second.code;
    case Deed::crash: {
        volatile int* volatile nowhere = nullptr;
        *nowhere = 1;
        break;
    }
    case Deed::hang:
        while (always) {
            Sleep(INFINITE);
        }
        break;
    case Deed::throwOwn:
        throw std::runtime_error("thrown by a filter");
    case Deed::throwOfAnother: {
        // What that run-time library raises, with nothing thrown: mark, object, description.
        const ULONG_PTR arguments[] = {0x19930520, 0, 0};
        RaiseException(codeOfMicrosoftException, EXCEPTION_NONCONTINUABLE, 3, arguments);
        break;
    }
    }
    return E_UNEXPECTED;
}

HRESULT arriveAt(const Behaviour& behaviour, Place place, const Handed& handed) {
    if (behaviour.onHanded) {
        behaviour.onHanded(place, handed);
    }
    return arriveAt(behaviour, place);
}

} // namespace TestFilters
