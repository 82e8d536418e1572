#include "parent/ChildProcess.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

TEST(ExitStatus, An_exceptions_code_and_that_of_abort_are_crashes) {
    // Access violation, stack overrun found, of the C++ run-time, of a program's own, guard page, breakpoint,
    // a function that Wine lacks, abort.
    for (const std::uint32_t code :
         {0xC0000005U, 0xC0000409U, 0xE06D7363U, 0xE0000049U, 0x80000001U, 0x80000003U, 0x80000100U, 3U}) {
        EXPECT_TRUE((ExitStatus{code, false}.isCrash())) << std::hex << code;
    }
}

TEST(ExitStatus, What_a_process_gives_when_it_ends_itself_is_no_crash) {
    // Usual codes, exit(-1), exit(-2), E_NOTIMPL, E_FAIL, E_OUTOFMEMORY.
    for (const std::uint32_t code :
         {0U, 1U, 2U, 4U, 71U, 0x7FFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFEU, 0x80004001U, 0x80004005U,
          0x8007000EU}) {
        EXPECT_FALSE((ExitStatus{code, false}.isCrash())) << std::hex << code;
    }
}

TEST(ExitStatus, An_unknown_code_is_no_crash) {
    EXPECT_FALSE((ExitStatus{0xC0000005U, true}.isCrash()));
}

} // namespace
} // namespace Tarvik
