#include "directx/TestFactory.h"

#include "directx/TestFilter.h"
#include "directx/TestPage.h"

namespace TestFilters {

HRESULT makeTestFilter(const Behaviour& behaviour, const std::vector<CLSID>& pages, REFIID iid, void** out) {
    const HRESULT answer = arriveAt(behaviour, Place::creation);
    return SUCCEEDED(answer) ? handOut(new TestFilter(behaviour, pages), iid, out) : answer;
}

HRESULT makeTestPage(const Behaviour& behaviour, REFIID iid, void** out) {
    const HRESULT answer = arriveAt(behaviour, Place::pageCreation);
    return SUCCEEDED(answer) ? handOut(new TestPage(behaviour), iid, out) : answer;
}

} // namespace TestFilters
