#include "svbase/util/Directory.h"

#include "svbase/util/FileSystem.h"
#include "svbase/util/Path.h"

#include <cerrno>
#include <utility>
#include <vector>

namespace Util {

namespace {

// Begins like a UNC path but lacks the server or the share.
bool isMalformedUnc(const String& path) {
    if (!path.replace('\\', '/').startsWith("//")) {
        return false;
    }
    const String normal = Path::normalise(path);
    if (!normal.startsWith("//")) {
        // What a "\\?\" prefix stood before is a path of another kind.
        return normal.length() <= 1;
    }
    return !normal.mid(2).indexOf('/').valid;
}

} // namespace

Directory::Directory(String path) : path_(std::move(path)) {}

bool Directory::exists() const {
    return FileSystem::isDirectory(path_);
}

expected<void, File::Error> Directory::create(bool withParents) const {
    if (!withParents) {
        return make(path_);
    }
    if (isMalformedUnc(path_)) {
        return unexpected(File::Error(
            File::Error::General, "Create(true) failed.  Input looks like a malformed UNC path", path_));
    }
    String at = Path::normalise(path_);
    if (at.isEmpty()) {
        return unexpected(File::Error(File::Error::General, "path parsing failed", path_));
    }
    std::vector<String> missing;
    while (!at.isEmpty() && !FileSystem::isDirectory(at)) {
        missing.push_back(at);
        const String parent = Path::directory(at);
        if (parent == at) {
            break;
        }
        at = parent;
    }
    for (; !missing.empty(); missing.pop_back()) {
        // Somebody else may have made it meanwhile.
        if (expected<void, File::Error> made = make(missing.back());
            !made && !FileSystem::isDirectory(missing.back())) {
            return made;
        }
    }
    return {};
}

expected<void, File::Error> Directory::make(const String& path) const {
    if (!FileSystem::makeDirectory(path)) {
        const unsigned error = static_cast<unsigned>(errno);
        return unexpected(File::Error(File::Error::General, "_wmkdir() failed", path, error));
    }
    return {};
}

} // namespace Util
