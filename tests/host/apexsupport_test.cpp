#include <android/apexsupport.h>

#include <gtest/gtest.h>

namespace {

// No program runs from an APEX on a host: the platform's error for a program outside any APEX, and
// no handle.
TEST(ApexSupportTest, NoApexOnAHost) {
    AApexInfo* info = reinterpret_cast<AApexInfo*>(0x1);
    EXPECT_EQ(AApexInfo_create(&info), AAPEXINFO_NO_APEX);
    EXPECT_EQ(info, nullptr);
}

}  // namespace
