#include "svbase/util/PathSystem.h"

#include "svbase/util/Path.h"

#include <string>

#include <windows.h>

namespace Util::Path::System {

namespace {

// Runs a call that wants a buffer and answers the size it needs, until it fits.
template<class Call>
String collect(Call call) {
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;) {
        const DWORD needed = call(static_cast<DWORD>(buffer.size()), buffer.data());
        if (needed == 0) {
            return {};
        }
        if (needed < buffer.size()) {
            return String::fromWide(buffer.data(), needed);
        }
        buffer.resize(needed + 1);
    }
}

} // namespace

String home() {
    return collect([](DWORD size, wchar_t* out) { return GetEnvironmentVariableW(L"HOME", out, size); });
}

String complete(const String& path) {
    const std::wstring wide = path.replace('/', '\\').toNativeWide();
    return collect(
        [&wide](DWORD size, wchar_t* out) { return GetFullPathNameW(wide.c_str(), size, out, nullptr); });
}

String decorate(const String& path) {
    if (path.isEmpty()) {
        return path;
    }
    // The prefix switches off every other rule, so only a complete path may have it. "/x" has no drive yet.
    const bool unc = path.startsWith("//");
    const bool complete = unc || (isAbsolute(path) && !path.startsWith("/"));
    const String whole = complete ? path : normalise(System::complete(path));
    const String native = whole.replace('/', '\\');
    return whole.startsWith("//") ? String("\\\\?\\UNC") + native.mid(1) : String("\\\\?\\") + native;
}

} // namespace Util::Path::System
