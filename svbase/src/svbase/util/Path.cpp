#include "svbase/util/Path.h"

#include "svbase/util/PathSystem.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Util::Path {

namespace {

constexpr std::string_view longPrefix = "//?/";
constexpr std::string_view longUncPrefix = "//?/UNC/";

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// A path in parts: what stands before the names, and the names.
struct Parts {
    std::string root;
    std::vector<std::string_view> names;
    bool rooted = false;
    // Names of the root that ".." cannot take away: server and share.
    std::size_t fixed = 0;
};

void addName(Parts& parts, std::string_view name) {
    if (name.empty() || name == ".") {
        return;
    }
    if (name != "..") {
        parts.names.push_back(name);
        return;
    }
    const bool removable =
        parts.names.size() > parts.fixed && !parts.names.empty() && parts.names.back() != "..";
    if (removable) {
        parts.names.pop_back();
    } else if (!parts.rooted) {
        parts.names.push_back(name);
    }
}

Parts parse(std::string_view text) {
    Parts parts;
    if (text.starts_with("//")) {
        parts.root.assign(2, '/');
        parts.rooted = true;
        parts.fixed = 2;
    } else {
        if (text.size() >= 2 && isLetter(text[0]) && text[1] == ':') {
            parts.root = text.substr(0, 2);
            text.remove_prefix(2);
        }
        if (text.starts_with('/')) {
            parts.root += '/';
            parts.rooted = true;
        }
    }
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('/', start), text.size());
        addName(parts, text.substr(start, end - start));
        start = end + 1;
    }
    if (parts.fixed != 0 && parts.names.empty()) {
        parts.root.pop_back();
    }
    return parts;
}

std::string join(const Parts& parts) {
    std::string text = parts.root;
    for (std::size_t i = 0; i < parts.names.size(); ++i) {
        if (i != 0) {
            text += '/';
        }
        text += parts.names[i];
    }
    return text;
}

// Separators turned and the home directory filled in.
std::string plain(const String& path) {
    const String turned = String(path.c_str()).replace('\\', '/');
    const String home = turned.startsWith("~/") ? System::home() : String();
    return home.isEmpty() ? turned.toStdString() : (home.replace('\\', '/') + turned.mid(1)).toStdString();
}

std::string_view withoutLongPrefix(std::string_view text, std::string& buffer) {
    if (text.starts_with(longUncPrefix)) {
        buffer = "//";
        return buffer += text.substr(longUncPrefix.size());
    }
    return text.starts_with(longPrefix) ? text.substr(longPrefix.size()) : text;
}

} // namespace

String normalise(const String& path) {
    std::string text = plain(path);
    if (text.empty()) {
        return path.isNull() ? path : String("");
    }
    const bool homeless = text.starts_with("~/");
    // Taking names away can bring a prefix or a drive letter to the front, so go on until nothing changes.
    for (bool changed = true; changed;) {
        std::string buffer;
        std::string next = join(parse(withoutLongPrefix(text, buffer)));
        changed = next != text;
        text = std::move(next);
    }
    if (text.empty()) {
        text = '.';
    }
    if (!homeless && text.starts_with("~/")) {
        // A directory that is really called "~" must not read as the home directory the next time.
        text.insert(0, "./");
    }
    return String(std::move(text));
}

String toNative(const String& path) {
    String native = normalise(path).replace('/', '\\');
    return native.endsWith("\\") ? native.left(native.length() - 1) : native;
}

String toSystem(const String& path) {
    return System::decorate(normalise(path));
}

bool isAbsolute(const String& path) {
    const String normal = normalise(path);
    if (normal.startsWith("/")) {
        return true;
    }
    return normal.length() >= 3 && isLetter(normal[0]) && normal[1] == ':' && normal[2] == '/';
}

String absolute(const String& path) {
    const String normal = normalise(path);
    return normal.isEmpty() || isAbsolute(normal) ? normal : normalise(System::complete(normal));
}

bool sameFile(const String& a, const String& b) {
    return normalise(a).toLower() == normalise(b).toLower() || absolute(a).toLower() == absolute(b).toLower();
}

String fileName(const String& path) {
    const String normal = normalise(path);
    const Parts parts = parse(normal.view());
    return parts.names.size() <= parts.fixed ? String("") : String(std::string(parts.names.back()));
}

String directory(const String& path) {
    const String normal = normalise(path);
    Parts parts = parse(normal.view());
    if (parts.names.size() > parts.fixed) {
        parts.names.pop_back();
    }
    return String(join(parts));
}

} // namespace Util::Path
