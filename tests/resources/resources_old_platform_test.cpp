// The library on today's platform: this program has no fake, so it runs on the host stand-in of
// libapexsupport, which lacks AApexInfo_createWithName as the platform does before level 37.

#include <resources.h>

#include <dlfcn.h>

#include <android-base/properties.h>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils {
namespace {

// The library loads all the same (a call by name would already fail this program's link), and
// where the platform level lets it ask, it finds nothing to ask and answers the version as unknown.
TEST(ResourcesTest, ApexVersion_UnknownWithoutCreateWithName) {
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "AApexInfo_createWithName"), nullptr);
    android::base::SetProperty("ro.build.version.sdk", "37");
    android::base::SetProperty("ro.build.version.codename", "REL");
    const ApexVersion version = Resources().GetResourceApexVersion();
    EXPECT_EQ(version.major, -1);
    EXPECT_EQ(version.minor, -1);
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils
