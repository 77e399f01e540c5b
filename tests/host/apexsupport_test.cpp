#include <android/apexsupport.h>

#include <gtest/gtest.h>

namespace {

AApexInfo* const kUntouched = reinterpret_cast<AApexInfo*>(0x1);

// A host has no APEX: a lookup by name reports the APEX as not installed and hands out nothing.
TEST(ApexSupportTest, CreateWithName_NoApexOnAHost) {
    for (const char* name : {"com.zentro.varsk.audio.resource", "com.android.runtime", ""}) {
        SCOPED_TRACE(name);
        AApexInfo* info = kUntouched;
        EXPECT_EQ(AApexInfo_createWithName(name, &info), AAPEXINFO_INVALID_APEX);
        EXPECT_EQ(info, nullptr);
    }
}

TEST(ApexSupportTest, Create_HostProgramsAreNotInAnApex) {
    AApexInfo* info = kUntouched;
    EXPECT_EQ(AApexInfo_create(&info), AAPEXINFO_NO_APEX);
    EXPECT_EQ(info, nullptr);
    AApexInfo_destroy(nullptr);  // ignored, as after a failed lookup
}

}  // namespace
