#include "hosting/ElementLibraryExports.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

TEST(ElementLibraryExports, Are_the_published_names) {
    EXPECT_STREQ(ElementLibraryExports::getNumElements, "ElementFactory_GetNumElements");
    EXPECT_STREQ(ElementLibraryExports::create, "ElementFactory_Create");
    EXPECT_STREQ(ElementLibraryExports::destroy, "ElementFactory_Destroy");
    EXPECT_STREQ(ElementLibraryExports::getElementName, "ElementFactory_GetElementName");
}

} // namespace
} // namespace Tarvik
