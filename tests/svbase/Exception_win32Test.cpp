#include "svbase/util/Exception.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

TEST(Exception, A_throw_site_reads_the_last_error) {
    try {
        SetLastError(ERROR_DISK_FULL);
        THROW_HERE(Exception::Base, "Full");
    } catch (const Exception::Base& caught) {
        EXPECT_EQ(caught.lastError(), DWORD{ERROR_DISK_FULL});
        return;
    }
    FAIL() << "nothing thrown";
}

} // namespace
