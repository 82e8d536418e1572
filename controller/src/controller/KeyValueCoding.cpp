#include "controller/KeyValueCoding.h"

namespace Controller {

namespace {

/// Where a path goes on, behind its first dot.
struct Step {
    KeyValueCoding* next;
    String rest;
};

Step followHead(KeyValueCoding& from, const String& path, String::size_type dot) {
    const boost::any head = from.valueForKey(path.left(dot));
    KeyValueCoding* const* const next = boost::any_cast<KeyValueCoding*>(&head);
    return {next == nullptr ? nullptr : *next, path.mid(dot + 1)};
}

} // namespace

boost::any KeyValueCoding::valueForKey(const String&) {
    return {};
}

KVCObject* KeyValueCoding::objectForKey(const String& key) {
    const boost::any value = valueForKey(key);
    KVCObject* const* const object = boost::any_cast<KVCObject*>(&value);
    return object == nullptr ? nullptr : *object;
}

boost::any KeyValueCoding::valueForKeyPath(const String& path) {
    const auto dot = path.indexOf('.');
    if (!dot) {
        return valueForKey(path);
    }
    const Step step = followHead(*this, path, dot.value);
    return step.next == nullptr ? boost::any() : step.next->valueForKeyPath(step.rest);
}

KVCObject* KeyValueCoding::objectForKeyPath(const String& path) {
    const auto dot = path.indexOf('.');
    if (!dot) {
        return objectForKey(path);
    }
    const Step step = followHead(*this, path, dot.value);
    return step.next == nullptr ? nullptr : step.next->objectForKeyPath(step.rest);
}

std::span<const String> KeyValueCoding::allKeys() {
    return {};
}

} // namespace Controller
