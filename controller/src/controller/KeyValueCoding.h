#pragma once

#include "controller/KVCObject.h"
#include "svbase/util/String.h"

#include <boost/any.hpp>
#include <span>

namespace Controller {

/// Reaches what an object owns by a dotted path of names, without knowing its type: how a layout file finds
/// a parameter. A path that leads nowhere is no error: the result is empty. [ui]
///
/// An inner step is a boost::any that holds a `KeyValueCoding*`, a last one usually a `KVCObject*`: held as
/// exactly these pointer types, since a boost::any knows no base classes. Neither is owned.
class KeyValueCoding {
public:
    virtual ~KeyValueCoding() = default;

    /// What stands under one name. This one knows no names and gives an empty any.
    virtual boost::any valueForKey(const String& key);

    /// valueForKey's result as an object; null when it holds anything else.
    virtual KVCObject* objectForKey(const String& key);

    /// Resolves "head.rest": the value of the head must be a KeyValueCoding, which resolves the rest. The
    /// rest may be empty and may hold more dots. A path without a dot is a key.
    virtual boost::any valueForKeyPath(const String& path);
    virtual KVCObject* objectForKeyPath(const String& path);

    /// The names that valueForKey answers, as far as the class tells; none here. Valid while the object
    /// lives.
    virtual std::span<const String> allKeys();

protected:
    KeyValueCoding() = default;
};

} // namespace Controller
