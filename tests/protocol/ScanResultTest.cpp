#include "protocol/ScanResult.h"

#include <gtest/gtest.h>

using namespace Tarvik;

TEST(ScanResult, The_codes_that_travel_keep_their_values) {
    EXPECT_EQ(ScanResultEffect, 2);
    EXPECT_EQ(ScanResultInstrument, 3);
    EXPECT_EQ(ScanResultUnconfirmed, 4);
    EXPECT_EQ(ScanResultNoEditor, 5);
    EXPECT_EQ(ScanResultShell, 6);
    EXPECT_EQ(ScanResultWrongArchitecture, 7);
    EXPECT_EQ(ScanResultKnown, 9);
    EXPECT_EQ(ScanResultCoreLibrary, 10);
    EXPECT_EQ(ScanResultReserved, 11);
}
