#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>

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
    /// Told each place as it is reached, before anything is done there.
    std::function<void(Place)> onArrival;
};

/// Does what the behaviour has for the place. S_OK where it has nothing.
HRESULT arriveAt(const Behaviour& behaviour, Place place);

} // namespace TestFilters
