#pragma once

#include <windows.h>

/// Puts a function of the test's in the place of one that this program imports, for the scope. slot: the
/// import's pointer, which the linker calls "__imp_" and the name.
template<class Function>
class PatchedImport {
public:
    PatchedImport(Function& slot, Function replacement) : slot_(slot), original_(slot) { put(replacement); }
    ~PatchedImport() { put(original_); }
    PatchedImport(const PatchedImport&) = delete;
    PatchedImport& operator=(const PatchedImport&) = delete;

    Function original() const { return original_; }

private:
    void put(Function function) {
        DWORD before = 0;
        VirtualProtect(&slot_, sizeof slot_, PAGE_READWRITE, &before);
        // The caller stands in another source and reads the pointer at each call.
        *static_cast<Function volatile*>(&slot_) = function;
        VirtualProtect(&slot_, sizeof slot_, before, &before);
    }

    Function& slot_;
    Function original_;
};
