#include "svbase/util/Exception.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

namespace {

TEST(Exception, A_throw_site_reads_the_last_error) {
    try {
        errno = ENOSPC;
        THROW_HERE(Exception::Base, "Full");
    } catch (const Exception::Base& caught) {
        EXPECT_EQ(caught.lastError(), static_cast<std::uint32_t>(ENOSPC));
        return;
    }
    FAIL() << "nothing thrown";
}

} // namespace
