#pragma once

#include "directx/Interfaces.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace TestFilters {

/// Where a filter can do something else than it should.
enum class Place {
    creation,
    queryFilter,
    joinFilterGraph,
    enumPins,
    nextPin,
    queryDirection,
    queryMemInputPin,
    queryAccept,
    receiveConnection,
    notifyAllocator,
    connectOutput,
    run,
    stop,
    queryPersistStream,
    querySpecifyPages,
    getPages,
    receive,
    save,
    load,
    pageCreation,
    pageSetSite,
    pageSetObjects,
    pageGetInfo,
    pageActivate,
    pageShow,
    pageDeactivate,
    pageClearSite,
    pageClearObjects,
    destruction,
};

enum class Deed {
    /// Answers with a code and does nothing.
    answer,
    /// Writes through a null pointer.
    crash,
    /// Sleeps for ever.
    hang,
    /// A std::runtime_error.
    throwOwn,
    /// An exception as Microsoft's compiler raises it.
    throwOfAnother,
};

struct Act {
    Deed deed = Deed::answer;
    HRESULT code = E_FAIL;
};

/// How a filter hands on what it received.
enum class Delivery {
    /// In the sample that it came in.
    inPlace,
    /// In a sample of its own.
    copied,
    /// The first delayFrames of everything are held back until as many others have come.
    late,
    /// One frame more than it was given.
    more,
    nothing,
    inTwoPieces,
    /// From a thread of its own, which it waits for.
    ownThread,
    /// From a thread of its own, all the time while the graph runs, one frame at a time.
    flood,
};

/// What a host hands in at some of the places. What does not belong to the place is null or 0.
struct Handed {
    const AM_MEDIA_TYPE* type = nullptr;
    IMemAllocator* allocator = nullptr;
    IPropertyPageSite* site = nullptr;
    /// Whether an allocator is read-only, whether a page is modal, how it is to be shown.
    UINT argument = 0;
};

/// What a filter is, other than a gain of one half on floats with one pin each way.
struct Behaviour {
    Delivery delivery = Delivery::copied;
    std::uint32_t delayFrames = 0;
    unsigned inputPins = 1;
    unsigned outputPins = 1;
    bool integersOnly = false;
    bool persists = true;
    bool hasPage = false;
    std::map<Place, Act> acts;
    /// Once it is true, the acts are over, also of what was made before.
    std::shared_ptr<const bool> mended;
    /// Told each place as it is reached, before anything is done there.
    std::function<void(Place)> onArrival;
    /// Told what is handed in, as soon as the place is reached.
    std::function<void(Place, const Handed&)> onHanded;
};

/// Does what the behaviour has for the place. S_OK where it has nothing.
HRESULT arriveAt(const Behaviour& behaviour, Place place);
HRESULT arriveAt(const Behaviour& behaviour, Place place, const Handed& handed);

} // namespace TestFilters
