#include "hosting/ForeignCall.h"

#include <windows.h>

// The language extension for structured exceptions does not exist in every compiler that builds this, so the
// frame that catches them is written out: a call with a handler of its own, and a second way out of it.
// Returns 0 when the call returned, 1 when the handler took an exception.
extern "C" int tarvikGuardedCall(void (*call)(void*), void* context);
extern "C" char tarvikGuardedCallCaught;

asm(R"(
    .text
    .globl tarvikGuardedCall
    .globl tarvikGuardedCallCaught
    .def tarvikGuardedCall; .scl 2; .type 32; .endef
    .seh_proc tarvikGuardedCall
tarvikGuardedCall:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    .seh_handler tarvikGuardHandler, @except
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    xorl %eax, %eax
    addq $40, %rsp
    ret
tarvikGuardedCallCaught:
    movl $1, %eax
    addq $40, %rsp
    ret
    .seh_endproc
)");

// The code under which the Microsoft compiler, and those compatible with it, raise C++ exceptions.
static constexpr DWORD microsoftException = 0xE06D7363;

extern "C" EXCEPTION_DISPOSITION tarvikGuardHandler(
    EXCEPTION_RECORD* exception, void* frame, CONTEXT* context, DISPATCHER_CONTEXT* dispatcher) {
    const bool unwinding = (exception->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) != 0;
    if (!unwinding && exception->ExceptionCode == microsoftException) {
        // Runs the destructors of the foreign frames and does not come back.
        RtlUnwindEx(frame, &tarvikGuardedCallCaught, exception, nullptr, context, dispatcher->HistoryTable);
    }
    return ExceptionContinueSearch;
}

namespace Tarvik {

void guardForeignCall(void (*call)(void*), void* context) {
    if (tarvikGuardedCall(call, context) != 0) {
        throw ForeignException();
    }
}

} // namespace Tarvik
