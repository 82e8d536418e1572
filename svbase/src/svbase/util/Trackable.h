#pragma once

#include "svbase/util/Noncopyable.h"

#include <memory>

/// The proof that a listener lives: it holds nothing, its owner's end is what it tells.
struct TrackableInternals {};

/// Base of those who listen to a Signal; also useful as a member. With its destruction every weak token
/// expires at once, and with it every connection: no signal needs to be told, nobody disconnects by hand,
/// and listener and signal may go in either order, also in the middle of an emission.
/// A listener ends on the thread that its signals are emitted on.
class Trackable : noncopyable {
public:
    Trackable() : trackableInternals_(std::make_shared<TrackableInternals>()) {}

    /// Expires when this object is destroyed.
    std::weak_ptr<TrackableInternals> trackableToken() const { return trackableInternals_; }

private:
    std::shared_ptr<TrackableInternals> trackableInternals_;
};
