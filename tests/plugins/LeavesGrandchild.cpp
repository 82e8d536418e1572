#include "support/TrivialEffect.h"

#include <string>
#include <windows.h>

namespace {

HINSTANCE library = nullptr;

/// Starts "Grandchild.exe" from beside the library, and leaves it running.
void leaveGrandchild() {
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(library, program.data(), static_cast<DWORD>(program.size())));
    program.resize(program.find_last_of(L'\\') + 1);
    program += L"Grandchild.exe";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(
            program.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
}

class LeavesGrandchild : public TrivialEffect {
public:
    explicit LeavesGrandchild(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Leaves Grandchild";
        effect.uniqueID = fourLetters("Gran");
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        if (opcode == effOpen)
            leaveGrandchild();
        return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    return (new LeavesGrandchild(host))->abi();
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID);
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        library = module;
    return TRUE;
}
