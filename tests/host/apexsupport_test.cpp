#include <android/apexsupport.h>

#include <string>

#include <gtest/gtest.h>

namespace {

AApexInfo* const kUntouched = reinterpret_cast<AApexInfo*>(0x1);

// A host has no APEX: a lookup by name reports the APEX as not installed and hands out nothing.
TEST(ApexSupportTest, CreateWithName_NoApexOnAHost) {
    struct Case {
        std::string name;
        AApexInfoError expected;
    };
    const Case cases[] = {
            {"com.zentro.varsk.audio.resource", AAPEXINFO_INVALID_APEX},
            {"com.android.runtime", AAPEXINFO_INVALID_APEX},
            {"", AAPEXINFO_INVALID_APEX},
            {"com.\xc3\xa9t\xc3\xa9", AAPEXINFO_INVALID_APEX},  // "été", valid UTF-8
            {"\xf0\x9f\x8e\xb5", AAPEXINFO_INVALID_APEX},       // U+1F3B5
            {"com.\xff", AAPEXINFO_INVALID_APEX_NAME},          // never a UTF-8 byte
            {"com.\xc3", AAPEXINFO_INVALID_APEX_NAME},          // cut sequence
            {"\xc0\xae", AAPEXINFO_INVALID_APEX_NAME},          // overlong "."
            {"\xed\xa0\x80", AAPEXINFO_INVALID_APEX_NAME},      // surrogate
            {"\xf4\x90\x80\x80", AAPEXINFO_INVALID_APEX_NAME},  // above U+10FFFF
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AApexInfo* info = kUntouched;
        EXPECT_EQ(AApexInfo_createWithName(c.name.c_str(), &info), c.expected);
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
