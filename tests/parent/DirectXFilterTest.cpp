#include "parent/DirectXFilter.h"

#include <gtest/gtest.h>

namespace Tarvik {
namespace {

using Registration = DirectXFilter::Registration;

DirectXFilter filter(Registration registration, const char* name, const char* listedName = "") {
    DirectXFilter result;
    result.classId = ClassIdFromString("0A000000-0000-4000-8000-00000000AFFE");
    result.name = name;
    result.listedName = listedName;
    result.registration = registration;
    result.module = "C:\\p\\a.dll";
    return result;
}

TEST(DirectXFilter, Its_identifier_is_its_class) {
    const PluginIdentifier identifier = filter(Registration::complete, "A").identifier();
    EXPECT_EQ(identifier.ToString(), "DX: 0A000000-0000-4000-8000-00000000AFFE");
    EXPECT_TRUE(identifier.IsComplete());
}

TEST(DirectXFilter, A_complete_registration_lacks_nothing) {
    EXPECT_EQ(filter(Registration::complete, "A", "B").lack(), "");
}

TEST(DirectXFilter, What_is_missing_is_told_apart) {
    EXPECT_EQ(filter(Registration::complete, "").lack(), "no name registered");
    EXPECT_EQ(filter(Registration::complete, "", "B").lack(), "no name registered, listed as \"B\"");
    EXPECT_EQ(filter(Registration::moduleMissing, "A").lack(), "module missing: C:\\p\\a.dll");
    EXPECT_EQ(filter(Registration::noModule, "A").lack(), "class without a module");
    EXPECT_EQ(filter(Registration::otherProcessor, "A").lack(), "class for 32-bit processes alone");
    EXPECT_EQ(filter(Registration::noClass, "A").lack(), "no class registered");
}

TEST(DirectXFilter, Name_and_module_can_both_be_missing) {
    EXPECT_EQ(
        filter(Registration::moduleMissing, "").lack(), "no name registered; module missing: C:\\p\\a.dll");
}

} // namespace
} // namespace Tarvik
