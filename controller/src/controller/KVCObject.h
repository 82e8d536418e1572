#pragma once

namespace Controller {

/// The mark of what may stand at the end of a key path: travels in a boost::any as `KVCObject*`.
class KVCObject {
public:
    virtual ~KVCObject() = default;
};

} // namespace Controller
