#include "hosting/vst/LibraryImage.h"
#include "hosting/vst/VSTLibrary.h"

#include "svbase/util/CriticalSection.h"
#include "svbase/util/Module.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/Path.h"

#include <windows.h>

#include <imagehlp.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>

namespace Tarvik {

namespace {

class ErrorModeScope : private noncopyable {
public:
    explicit ErrorModeScope(UINT mode) : previous_(SetErrorMode(mode)) {}
    ~ErrorModeScope() { SetErrorMode(previous_); }

private:
    UINT previous_;
};

struct CloseOwned {
    void operator()(void* handle) const {
        if (handle != INVALID_HANDLE_VALUE) {
            CloseHandle(handle);
        }
    }
};
using OwnedHandle = std::unique_ptr<void, CloseOwned>;

struct UnmapView {
    void operator()(void* view) const { UnmapViewOfFile(view); }
};

struct UnloadImage {
    void operator()(LOADED_IMAGE* image) const { ImageUnload(image); }
};

// How far a mapped file may be read: to the end of its last page.
std::span<const std::uint8_t> mappedBytes(const void* address) {
    MEMORY_BASIC_INFORMATION region{};
    if (VirtualQuery(address, &region, sizeof region) == 0 || region.State != MEM_COMMIT) {
        return {};
    }
    return {static_cast<const std::uint8_t*>(address), region.RegionSize};
}

// None for a text that the ANSI code page cannot hold: a similar character would name another file.
std::optional<std::string> toAnsi(const String& text) {
    const std::wstring wide = text.toNativeWide();
    BOOL replaced = FALSE;
    std::string ansi(wide.size() * 4 + 1, '\0');
    const int size = WideCharToMultiByte(
        CP_ACP, WC_NO_BEST_FIT_CHARS, wide.c_str(), -1, ansi.data(), static_cast<int>(ansi.size()), nullptr,
        &replaced);
    if (size == 0 || replaced != FALSE) {
        return std::nullopt;
    }
    ansi.resize(static_cast<std::size_t>(size) - 1);
    return ansi;
}

// The system's image library is made for one thread at a time. Never destroyed, as whoever loads at the end
// of the process may still want it.
Util::CriticalSection& imageHelpLock = *new Util::CriticalSection("VSTLibrary Image Critical Section");

std::vector<MachineType> readByImageHelp(const String& path) {
    // A bare name would be looked for in the current directory first.
    const auto file = toAnsi(Util::Path::toNative(path));
    const auto directory = toAnsi(Util::Path::toNative(Util::Path::directory(path)));
    if (!file || !directory) {
        return {};
    }
    const std::lock_guard guard(imageHelpLock);
    const std::unique_ptr<LOADED_IMAGE, UnloadImage> image(ImageLoad(file->c_str(), directory->c_str()));
    if (!image) {
        return {};
    }
    // A file that ends inside its headers loads all the same, so its own header pointers are not followed.
    const auto bytes = mappedBytes(image->MappedAddress);
    return readPortableExecutable(bytes.first(std::min<std::size_t>(bytes.size(), image->SizeOfImage)));
}

std::vector<MachineType> readFromFile(const String& path) {
    const OwnedHandle file(CreateFileW(
        Util::Path::toSystem(path).toNativeWide().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (file.get() == INVALID_HANDLE_VALUE || GetFileSizeEx(file.get(), &size) == 0) {
        return {};
    }
    const OwnedHandle mapping(CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (!mapping) {
        return {};
    }
    const std::unique_ptr<void, UnmapView> view(MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0));
    if (!view) {
        return {};
    }
    return readPortableExecutable(
        {static_cast<const std::uint8_t*>(view.get()), static_cast<std::size_t>(size.QuadPart)});
}

} // namespace

String VSTLibrary::LoadPath(const String& path) {
    // Only a path that is too long otherwise gets the prefix, which many effects cannot read.
    String native = Util::Path::toNative(path);
    return native.toNativeWide().size() < MAX_PATH ? native : Util::Path::toSystem(path);
}

bool VSTLibrary::LoadQuietly(Util::Module& module) {
    const ErrorModeScope quiet(SEM_FAILCRITICALERRORS);
    return module.load();
}

std::vector<MachineType> VSTLibrary::ReadMachineTypes(const String& path) {
    std::vector<MachineType> machines = readByImageHelp(path);
    // ImageLoad takes names of the ANSI code page, up to MAX_PATH characters; libraries have others.
    return machines.empty() ? readFromFile(path) : machines;
}

} // namespace Tarvik
