#include "support/TrivialEffect.h"

#include <cstdlib>
#include <stdexcept>
#include <windows.h>

// One library for each vice in each place: TEST_VICE and TEST_PLACE name one of the enumerators below, and
// the build compiles this file once for each pair.

namespace {

enum class Vice {
    null_write,
    stack_overflow,
    abort,
    exit_0,
    ExitProcess,
    TerminateProcess,
    cpp_exception,     ///< std::runtime_error
    foreign_exception, ///< a C++ exception that is no std::exception
    msvc_exception,    ///< a C++ exception as most plug-ins throw it: built by Microsoft's compiler
    structured_exception,
    endless_loop,
    endless_sleep,
    message_box,
};

enum class Place {
    DllMain,
    entry_point,
    effOpen,
    effGetEffectName,
    effClose,
    detach, ///< DllMain again, when the process ends
};

constexpr Vice vice = Vice::TEST_VICE;
constexpr Place place = Place::TEST_PLACE;

// Codes whose lowest eight bits tell them apart: a parent that is no Windows program sees no more.
constexpr UINT codeOfExitProcess = 71;
constexpr UINT codeOfTerminateProcess = 72;
constexpr DWORD codeOfMsvcException = 0xE06D7363;
constexpr DWORD codeOfStructuredException = 0xE0000049; // lowest bits 73

volatile bool always = true;

// Each call hands its frame to the next: what is passed on cannot be turned into a loop.
__attribute__((noinline)) int overflow(volatile char* callers) {
    volatile char area[4096];
    area[0] = callers[0];
    return always ? overflow(area) + area[0] : 0;
}

void commit(Vice which) {
    switch (which) {
    case Vice::null_write: {
        volatile int* volatile nowhere = nullptr;
        *nowhere = 1;
        break;
    }
    case Vice::stack_overflow: {
        volatile char first = 0;
        overflow(&first);
        break;
    }

    case Vice::abort:
        std::abort();
    case Vice::exit_0:
        std::exit(0);
    case Vice::ExitProcess:
        ExitProcess(codeOfExitProcess);
        break;
    case Vice::TerminateProcess:
        TerminateProcess(GetCurrentProcess(), codeOfTerminateProcess);
        break;
    case Vice::cpp_exception:
        throw std::runtime_error("thrown by a plug-in");
    case Vice::foreign_exception:
        throw 42;
    case Vice::msvc_exception: {
        // What its runtime raises, with nothing thrown: mark, object, description.
        const ULONG_PTR arguments[] = {0x19930520, 0, 0};
        RaiseException(codeOfMsvcException, EXCEPTION_NONCONTINUABLE, 3, arguments);
        break;
    }
    case Vice::structured_exception:
        RaiseException(codeOfStructuredException, 0, 0, nullptr);
        break;
    case Vice::endless_loop:
        while (always) {
        }
        break;
    case Vice::endless_sleep:
        while (always)
            Sleep(INFINITE);
        break;
    case Vice::message_box:
        MessageBoxW(nullptr, L"Please register.", L"A plug-in", MB_OK);
        break;
    }
}

void arriveAt(Place here) {
    if (here == place)
        commit(vice);
}

class ViciousEffect : public TrivialEffect {
public:
    explicit ViciousEffect(audioMasterCallback callback) : TrivialEffect(callback) {
        name = "Vicious";
        effect.uniqueID = fourLetters("Vice");
    }

protected:
    std::intptr_t dispatch(
        std::int32_t opcode, std::int32_t index, std::intptr_t value, void* pointer, float opt) override {
        switch (opcode) {
        case effOpen:
            arriveAt(Place::effOpen);
            break;
        case effGetEffectName:
            arriveAt(Place::effGetEffectName);
            break;
        case effClose:
            arriveAt(Place::effClose);
            break;
        default:
            break;
        }
        return TrivialEffect::dispatch(opcode, index, value, pointer, opt);
    }
};

} // namespace

TEST_PLUGIN_ENTRY(host) {
    arriveAt(Place::entry_point);
    return (new ViciousEffect(host))->abi();
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID);
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        arriveAt(Place::DllMain);
    else if (reason == DLL_PROCESS_DETACH)
        arriveAt(Place::detach);
    return TRUE;
}
