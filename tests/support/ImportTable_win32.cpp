#include "support/ImportTable_win32.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include <windows.h>

namespace {

template<class T>
const T* at(std::uintptr_t relative) {
    return reinterpret_cast<const T*>(reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr)) + relative);
}

bool isCode(const void* address) {
    MEMORY_BASIC_INFORMATION about{};
    constexpr DWORD executable =
        PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return VirtualQuery(address, &about, sizeof about) != 0 && (about.Protect & executable) != 0;
}

void write(void** place, void* value) {
    DWORD before = 0;
    if (VirtualProtect(static_cast<void*>(place), sizeof *place, PAGE_READWRITE, &before) == 0) {
        throw std::runtime_error("the import table cannot be written to");
    }
    std::memcpy(static_cast<void*>(place), static_cast<const void*>(&value), sizeof value);
    VirtualProtect(static_cast<void*>(place), sizeof *place, before, &before);
}

ImportedFunction find(const char* name) {
    const std::vector<ImportedFunction> functions = ImportedFunctions();
    const auto found =
        std::find_if(functions.begin(), functions.end(), [&](const ImportedFunction& function) {
            return function.name == name;
        });
    if (found == functions.end()) {
        throw std::runtime_error(std::string("this program does not import ") + name);
    }
    return *found;
}

} // namespace

std::vector<ImportedFunction> ImportedFunctions() {
    const auto* headers =
        at<IMAGE_NT_HEADERS>(static_cast<std::uintptr_t>(at<IMAGE_DOS_HEADER>(0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<ImportedFunction> functions;
    for (const auto* library = at<IMAGE_IMPORT_DESCRIPTOR>(directory.VirtualAddress); library->Name != 0;
         ++library) {
        const auto* names = at<IMAGE_THUNK_DATA>(library->OriginalFirstThunk);
        void** place = const_cast<void**>(at<void*>(library->FirstThunk));
        for (; names->u1.AddressOfData != 0; ++names, ++place) {
            if (!IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal) && isCode(*place)) {
                const auto* entry = at<IMAGE_IMPORT_BY_NAME>(names->u1.AddressOfData);
                functions.push_back({reinterpret_cast<const char*>(entry->Name), place});
            }
        }
    }
    return functions;
}

ReplacedImport::ReplacedImport(const char* name, void* replacement)
    : ReplacedImport(find(name), replacement) {}

ReplacedImport::ReplacedImport(const ImportedFunction& function, void* replacement)
    : place(function.place), original(*function.place) {
    write(place, replacement);
}

ReplacedImport::~ReplacedImport() {
    write(place, original);
}
