#include "audio/decode/MediaLibrary_win32.h"

#include "svbase/util/Module.h"

#include <mutex>
#include <optional>
#include <utility>

namespace Audio::Decode::WMA {

namespace {

/// Wine exports WMValidateData and has nothing behind it: a call ends the process. Without it, what a file
/// is must come from its name, or from trying.
bool canValidate() {
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    return system == nullptr || GetProcAddress(system, "wine_get_version") == nullptr;
}

MediaLibrary::EntryPoints entryPointsOf(const Util::Module& module) {
    return {
        module.function<CreateSyncReader>("WMCreateSyncReader"),
        canValidate() ? module.function<ValidateData>("WMValidateData") : nullptr};
}

struct SystemLibrary {
    std::mutex mutex;
    std::shared_ptr<const MediaLibrary> library;
    std::optional<std::shared_ptr<const MediaLibrary>> substitute;
};

SystemLibrary& systemLibrary() {
    static SystemLibrary library;
    return library;
}

} // namespace

std::shared_ptr<const MediaLibrary> MediaLibrary::system() {
    SystemLibrary& here = systemLibrary();
    const std::lock_guard lock(here.mutex);
    if (here.substitute) {
        return *here.substitute;
    }
    if (here.library == nullptr) {
        auto module = std::make_unique<Util::Module>(mediaLibraryName);
        if (!module->load()) {
            return nullptr;
        }
        // Readers leave threads behind, which must find their code until the process is gone.
        module->setKeepLoaded(true);
        here.library = std::shared_ptr<const MediaLibrary>(new MediaLibrary(std::move(module)));
    }
    return here.library;
}

MediaLibrary::Substitute::Substitute(std::shared_ptr<const MediaLibrary> library) {
    const std::lock_guard lock(systemLibrary().mutex);
    systemLibrary().substitute = std::move(library);
}

MediaLibrary::Substitute::~Substitute() {
    const std::lock_guard lock(systemLibrary().mutex);
    systemLibrary().substitute.reset();
}

MediaLibrary::MediaLibrary(const EntryPoints& entryPoints) : entryPoints_(entryPoints) {}

MediaLibrary::MediaLibrary(std::unique_ptr<Util::Module> module)
    : module_(std::move(module)), entryPoints_(entryPointsOf(*module_)) {}

MediaLibrary::~MediaLibrary() = default;

bool MediaLibrary::IsMediaData(std::span<const std::uint8_t> bytes) const {
    if (entryPoints_.validateData == nullptr) {
        return false;
    }
    auto size = static_cast<DWORD>(bytes.size());
    // Declared to take bytes that it may write to, and documented only to look at them.
    return SUCCEEDED(entryPoints_.validateData(const_cast<BYTE*>(bytes.data()), &size));
}

} // namespace Audio::Decode::WMA
