#include "svbase/util/Exception.h"

#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(Exception, Its_description_stands_behind_the_destructor) {
    EXPECT_EQ(virtualSlot(&Exception::Base::description), destructorSlots);
}

TEST(Exception, Has_no_location_at_first) {
    const Exception::Base exception("Broken");
    EXPECT_EQ(exception.message().toStdString(), "Broken");
    EXPECT_TRUE(exception.file().isNull());
    EXPECT_EQ(exception.line(), -1);
    EXPECT_EQ(exception.lastError(), 0xFFFFFFFFU);
    EXPECT_EQ(
        exception.description().toStdString(),
        "Base:\n\tBroken\n\t (-1): Thrown, GetLastError(): 4294967295\n");
}

TEST(Exception, Describes_message_place_and_last_error) {
    Exception::Base exception("Broken");
    exception.setLocation("a/File.cpp", 12, 3000000000U);
    EXPECT_EQ(
        exception.description().toStdString(),
        "Base:\n\tBroken\n\ta/File.cpp (12): Thrown, GetLastError(): 3000000000\n");
}

TEST(Exception, A_placeholder_in_the_message_stays) {
    Exception::Base exception("At %1 of %2");
    exception.setLocation("f", 1, 2);
    EXPECT_EQ(
        exception.description().toStdString(), "Base:\n\tAt %1 of %2\n\tf (1): Thrown, GetLastError(): 2\n");
}

TEST(Exception, DataStreamIO_signs_its_description) {
    Util::Exception::DataStreamIO exception("Cut");
    exception.setLocation("f", 1, 2);
    const Exception::Base& base = exception;
    EXPECT_EQ(
        base.description().toStdString(),
        "Base:\n\tCut\n\tf (1): Thrown, GetLastError(): 2\n\nDataStreamIO\n");
}

TEST(Exception, A_throw_site_leaves_its_own_file_and_line) {
    std::int32_t line = 0;
    try {
        line = __LINE__ + 1;
        THROW_HERE(Util::Exception::DataStreamIO, String("Byte %1").arg(7));
    } catch (const Exception::Base& caught) {
        EXPECT_EQ(caught.message().toStdString(), "Byte 7");
        EXPECT_TRUE(caught.file().endsWith("tests/svbase/ExceptionTest.cpp")) << caught.file().c_str();
        EXPECT_EQ(caught.line(), line);
        return;
    }
    FAIL() << "nothing thrown";
}

} // namespace
