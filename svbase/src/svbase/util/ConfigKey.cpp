#include "svbase/util/ConfigKey.h"

#include <algorithm>
#include <string>

namespace Util {

namespace {

constexpr char literalSlash = '\a';

/// Only separators are slashes in the result.
std::string withoutEscapes(const String& text) {
    return String(text.c_str()).replace("\\/", String("\a")).replace('\\', '/').toStdString();
}

std::string joined(const String& basePath, const String& path) {
    std::string base = withoutEscapes(basePath);
    std::string rest = withoutEscapes(path);
    if (base.empty()) {
        // Nothing to stand below: a slash in front would make the first component an empty one.
        return rest;
    }
    if (base.back() == '/') {
        base.pop_back();
    }
    if (!rest.empty() && rest.front() == '/') {
        rest.erase(0, 1);
    }
    return base + "/" + rest;
}

String finished(std::string text, bool isSubkey) {
    if (isSubkey) {
        std::replace(text.begin(), text.end(), '/', '\\');
    }
    std::replace(text.begin(), text.end(), literalSlash, '/');
    return String(std::move(text));
}

} // namespace

ConfigKey ConfigKey::ofValue(const String& basePath, const String& key) {
    const std::string text = joined(basePath, key);
    const std::size_t cut = text.rfind('/');
    if (cut == std::string::npos) {
        return {finished(withoutEscapes(basePath), true), finished(text, false)};
    }
    return {finished(text.substr(0, cut), true), finished(text.substr(cut + 1), false)};
}

String ConfigKey::ofSubkey(const String& basePath, const String& path) {
    if (path.isEmpty()) {
        return finished(withoutEscapes(basePath), true);
    }
    return finished(joined(basePath, path), true);
}

} // namespace Util
