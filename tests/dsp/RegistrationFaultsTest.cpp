#include "dsp/RegistrationFaults.h"

#include <gtest/gtest.h>

namespace DSP {
namespace {

TEST(RegistrationFaultsTest, Texts) {
    EXPECT_EQ(RegistrationFaults::NameTaken("Gain"), "Parameter \"Gain\" has already been registered");
    EXPECT_EQ(RegistrationFaults::NotRegistered(3), "Parameter index 3 has not been registered");
    EXPECT_EQ(
        RegistrationFaults::SameName(4), "Parameter registration for parameter index 4 failed. Was there "
                                         "already a parameter with the same ID?");
    EXPECT_EQ(
        RegistrationFaults::WrongIndex(5, 6),
        "Parameter registration for parameter index 5 returned in the wrong index: 6");
}

} // namespace
} // namespace DSP
