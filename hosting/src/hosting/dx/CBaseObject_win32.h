#pragma once

#include "svbase/util/Noncopyable.h"

namespace Tarvik {

/// The base of all COM objects of this folder, in the form of DirectShow's published class library: counts
/// the living ones, and names them for a debugger's eyes.
class CBaseObject : private noncopyable {
public:
    /// How many objects live in the process. [any]
    static long ObjectsActive() noexcept;

    const char* ObjectName() const noexcept { return objectName; }

protected:
    /// name: a literal.
    explicit CBaseObject(const char* name) noexcept;
    ~CBaseObject();

private:
    const char* objectName;
};

} // namespace Tarvik
