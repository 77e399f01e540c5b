#include <android/apexsupport.h>

#include <gtest/gtest.h>

namespace {

// A host has no APEX: lookups report the platform's errors for a program outside any APEX and for
// an APEX that is not installed, and hand out nothing.
TEST(ApexSupportTest, NoApexOnAHost) {
    AApexInfo* const untouched = reinterpret_cast<AApexInfo*>(0x1);
    AApexInfo* info = untouched;
    EXPECT_EQ(AApexInfo_create(&info), AAPEXINFO_NO_APEX);
    EXPECT_EQ(info, nullptr);
    for (const char* name : {"com.zentro.varsk.audio.resource", "com.android.runtime", ""}) {
        SCOPED_TRACE(name);
        info = untouched;
        EXPECT_EQ(AApexInfo_createWithName(name, &info), AAPEXINFO_INVALID_APEX);
        EXPECT_EQ(info, nullptr);
    }
    AApexInfo_destroy(nullptr);  // ignored, as after a failed lookup
}

}  // namespace
