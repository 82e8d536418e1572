#include "audio/decode/REXLibrary_win32.h"

#include "svbase/util/Module.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <windows.h>

namespace Audio::Decode::REX {

namespace {

constexpr std::array<const char*, 2> libraryNames{"REX Shared Library Beta.dll", "REX Shared Library.dll"};

/// In a version resource: behind three numbers of 16 bits, the name "VS_VERSION_INFO" with its end, and what
/// makes that a multiple of four bytes.
constexpr std::size_t fixedInfoOffset = 40;

constexpr std::uint32_t requiredMajor = 1;
constexpr std::uint32_t leastMinorAndBuild = 1'001'001;

/// No window is to ask for a missing disk. Of this thread alone: others may be loading what they will.
class NoErrorDialogs : private noncopyable {
public:
    NoErrorDialogs() { SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before_); }
    ~NoErrorDialogs() { SetThreadErrorMode(before_, nullptr); }

private:
    DWORD before_ = 0;
};

bool isThisSystemSupported() {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    return GetVersionExA(&version) != FALSE &&
           IsSystemSupported(version.dwPlatformId, version.dwMajorVersion, version.dwMinorVersion);
}

/// What stopped the system from loading a library.
ErrorNumber numberOf(DWORD systemError) {
    switch (systemError) {
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return NotEnoughMemoryForLibrary;
    case ERROR_MOD_NOT_FOUND:
        return LibraryNotFound;
    default:
        return UnableToLoadLibrary;
    }
}

/// Null, and in result the reason, where no name leads to a library that loads. That one name is not there
/// is no reason where the other is and does not load.
std::shared_ptr<Util::Module> loadByName(ErrorNumber& result) {
    const NoErrorDialogs quiet;
    result = LibraryNotFound;
    for (const char* const name : libraryNames) {
        auto module = std::make_shared<Util::Module>(name);
        if (module->load()) {
            return module;
        }
        const ErrorNumber failure = numberOf(GetLastError());
        if (result == LibraryNotFound) {
            result = failure;
        }
    }
    return nullptr;
}

/// From the version resource of the file that a loaded module is of, as it lies in memory: the system's calls
/// for it would bring one more library into the process. A file without one is no library of the vendor's.
ErrorNumber checkVersionOf(const Util::Module& module) {
    const HMODULE handle = GetModuleHandleW(module.path().toNativeWide().c_str());
    const HRSRC place = FindResourceW(handle, MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
    const HGLOBAL resource = place == nullptr ? nullptr : LoadResource(handle, place);
    const auto* const bytes =
        static_cast<const std::uint8_t*>(resource == nullptr ? nullptr : LockResource(resource));
    if (handle == nullptr || bytes == nullptr ||
        SizeofResource(handle, place) < fixedInfoOffset + sizeof(VS_FIXEDFILEINFO)) {
        return UnableToLoadLibrary;
    }
    VS_FIXEDFILEINFO version{};
    std::memcpy(&version, bytes + fixedInfoOffset, sizeof version);
    if (version.dwSignature != VS_FFI_SIGNATURE) {
        return UnableToLoadLibrary;
    }
    return CheckVersion(
        HIWORD(version.dwFileVersionMS), LOWORD(version.dwFileVersionMS), HIWORD(version.dwFileVersionLS));
}

template<class Function>
bool find(const Util::Module& module, const char* const*& name, Function& function) {
    function = module.function<Function>(*name++);
    return function != nullptr;
}

bool findAll(const Util::Module& module, Functions& functions) {
    const char* const* name = functionNames.data();
    return find(module, name, functions.Open) && find(module, name, functions.Close) &&
           find(module, name, functions.REXCreate) && find(module, name, functions.REXDelete) &&
           find(module, name, functions.REXGetInfo) && find(module, name, functions.REXGetInfoFromBuffer) &&
           find(module, name, functions.REXGetCreatorInfo) && find(module, name, functions.REXGetSliceInfo) &&
           find(module, name, functions.REXSetOutputSampleRate) &&
           find(module, name, functions.REXRenderSlice) && find(module, name, functions.REXStartPreview) &&
           find(module, name, functions.REXStopPreview) &&
           find(module, name, functions.REXRenderPreviewBatch) &&
           find(module, name, functions.REXSetPreviewTempo);
}

} // namespace

bool IsSystemSupported(std::uint32_t platform, std::uint32_t major, std::uint32_t minor) {
    switch (platform) {
    case VER_PLATFORM_WIN32_NT:
        return major >= 4;
    case VER_PLATFORM_WIN32_WINDOWS:
        return major > 4 || (major == 4 && minor >= 10);
    default:
        return false;
    }
}

ErrorNumber CheckVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t build) {
    if (major != requiredMajor) {
        return major > requiredMajor ? InterfaceTooOld : LibraryTooOld;
    }
    return (minor + 1000) * 1000 + build >= leastMinorAndBuild ? NoError : LibraryTooOld;
}

std::int32_t LoadVendorLibrary(Functions& functions, std::shared_ptr<Util::Module>& module) {
    if (!isThisSystemSupported()) {
        return SystemNotSupported;
    }
    ErrorNumber result = NoError;
    std::shared_ptr<Util::Module> loaded = loadByName(result);
    if (loaded == nullptr) {
        return result;
    }
    if (const ErrorNumber version = checkVersionOf(*loaded); version != NoError) {
        return version;
    }
    Functions found;
    if (!findAll(*loaded, found)) {
        return UnableToLoadLibrary;
    }
    functions = found;
    module = std::move(loaded);
    return NoError;
}

std::shared_ptr<Library> ProcessLibrary() {
    static const auto library = std::make_shared<Library>(&LoadVendorLibrary);
    return library;
}

} // namespace Audio::Decode::REX
