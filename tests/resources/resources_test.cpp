#include <resources.h>

#include <android/apexsupport.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/properties.h>
#include <android-base/strings.h>

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <dumpsys/dumpsys.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "golden.h"
#include "log_capture.h"

// libapexsupport as platform level 37 has it: AApexInfo_createWithName finds an APEX of version
// `installed`, if set. The library looks that call up at run time, in the program's exported
// symbols (see CMakeLists.txt and Android.bp).
struct AApexInfo {
    int64_t version;
};

namespace {
std::optional<int64_t> installed;
std::vector<std::string> asked;  // the names passed to AApexInfo_createWithName
int open_handles = 0;
}  // namespace

extern "C" {

// Declared by no public header yet.
AApexInfoError AApexInfo_createWithName(const char* name, AApexInfo** info);

AApexInfoError AApexInfo_createWithName(const char* name, AApexInfo** info) {
    asked.emplace_back(name);
    *info = installed.has_value() ? new AApexInfo{*installed} : nullptr;
    open_handles += *info != nullptr;
    return *info != nullptr ? AAPEXINFO_OK : AAPEXINFO_INVALID_APEX;
}

void AApexInfo_destroy(AApexInfo* info) {
    open_handles -= info != nullptr;
    delete info;
}

int64_t AApexInfo_getVersion(const AApexInfo* info) {
    return info->version;
}

}  // extern "C"

namespace vendor::zentro::tevrash::audio::hal::utils {
namespace {

using testing::ElementsAre;

constexpr char kApex[] = "com.zentro.varsk.audio.resource";
const std::string kApexAudio = "/apex/com.zentro.varsk.audio.resource/etc/audio/";

std::string DumpText(Resources& resources, uint32_t indentation = 0,
                     std::vector<std::string_view> filters = {}) {
    std::stringbuf text;
    dumpsys::DumpsysInfo info(-1, indentation, std::move(filters));
    info.stream_buffer = &text;
    resources.Dump(info);
    return text.str();
}

// Folder and file lookups, their log lines and a dump, compared whole with
// tests/data/resources/lookups.txt, the temporary root written as "ROOT".
TEST(ResourcesTest, Lookups_GoldenText) {
    TemporaryDir dir;
    const std::string root = dir.path;
    std::error_code error;  // the overloads that never throw: device tests build without exceptions
    for (const std::string& path : std::vector<std::string>{
                 "/vendor/etc/audio/both/", kApexAudio + "both/", kApexAudio + "apex/",
                 "/vendor/etc/audio/a/b/", kApexAudio + "loop/", "/vendor/etc/audio/gone/",
                 "/vendor/etc/audio/spatializer/hrtf/"}) {
        std::filesystem::create_directories(root + path, error);
    }
    for (const std::string path : {"/vendor/etc/audio/file", "/vendor/etc/audio/spatializer/x"}) {
        ASSERT_TRUE(android::base::WriteStringToFile("x", root + path));
    }
    // Asking about a link to itself fails: that counts as absent. Any other kind of entry counts.
    const std::string loop = root + "/vendor/etc/audio/loop";
    ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
    Resources resources(root);
    std::string text;
    for (const char* key : {"both", "apex", "file", "loop", "a/b", "Both", "vexa4", "dornwake",
                            "kastrelion", "late", "", "gone"}) {
        text += std::string(key) + ": " + resources.GetFolderPath(key) + "\n";
    }
    EXPECT_THAT(DumpText(resources), testing::StartsWith("Resources:\n  #: size: 12\n"));
    // The answers are cached for the object's life.
    ASSERT_TRUE(std::filesystem::remove(root + "/vendor/etc/audio/gone", error));
    ASSERT_TRUE(std::filesystem::create_directory(root + "/vendor/etc/audio/late", error));
    Resources fresh(root);
    for (const char* key : {"gone", "late"}) {
        text += std::string(key) + ": " + resources.GetFolderPath(key) + " now " +
                fresh.GetFolderPath(key) + "\n";
    }
    autl::test::LogCapture logs;
    for (const char* file : {"x", "hrtf", "other"}) text += fresh.GetFilePath("spatializer", file);
    text += fresh.GetFilePath("x", "y") + "\n";
    for (const std::string& line : logs.Lines("AUtl::Resources")) text += line + "\n";
    Resources one(root);
    one.GetFolderPath("a/b");
    text += DumpText(one, 2, {"AUtl::Res"}) + DumpText(one, 0, {"AUtl::Logger"});
    text = android::base::StringReplace(text, root, "ROOT", true);
    EXPECT_EQ(text, autl::test::Golden("resources/lookups.txt", text));
}

TEST(ResourcesTest, ApexVersion_ReadAtConstructionSplitAndDumped) {
#ifdef __ANDROID__
    if (android::base::GetIntProperty("ro.build.version.sdk", 0) < 37 &&
        android::base::GetProperty("ro.build.version.codename", "") == "REL") {
        GTEST_SKIP() << "this platform is too old to look an APEX up by name";
    }
#endif
    // Each version as read, then dumped, into tests/data/resources/apex_versions.txt.
    std::string text;
    for (const std::optional<int64_t> version : std::vector<std::optional<int64_t>>{
                 std::nullopt, int64_t{26} << 32 | 5, int64_t{0x7fffffff} << 32 | 0x7fffffff,
                 static_cast<int64_t>(0xFFFFFFFF00000005), int64_t{26} << 32 | 0xFFFFFFFF,
                 static_cast<int64_t>(0xFFFFFFFE00000010), int64_t{3} << 32 | 0x80000000}) {
        installed = version;
        asked.clear();
        Resources resources;
        EXPECT_THAT(asked, ElementsAre(kApex));
        EXPECT_EQ(open_handles, 0);
        installed = 1;  // read at construction only
        const ApexVersion read = resources.GetResourceApexVersion();
        text += std::to_string(read.major) + ", " + std::to_string(read.minor) + ": " +
                DumpText(resources);
    }
    EXPECT_EQ(text, autl::test::Golden("resources/apex_versions.txt", text));
}

// The platform level is read once per process, so each case runs in a process of its own: a death
// test in the "threadsafe" style starts the test program anew. The exit code tells how many times
// the APEX was asked for.
TEST(ResourcesTest, ApexVersion_OnlyOnNewEnoughPlatforms) {
#ifdef __ANDROID__
    GTEST_SKIP() << "the build properties of a device cannot be set";
#endif
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The level, the codename ("" leaves a property missing) and how many times the APEX is asked.
    const std::tuple<const char*, const char*, int> cases[] = {
            {"", "", 1}, {"36", "REL", 0}, {"37", "REL", 1}, {"36", "Baklava", 1}};
    for (const auto& [sdk, codename, expected_calls] : cases) {
        SCOPED_TRACE(std::string(sdk) + "/" + codename);
        EXPECT_EXIT(
                {
                    android::base::SetProperty("ro.build.version.sdk", sdk);
                    android::base::SetProperty("ro.build.version.codename", codename);
                    installed = 7;
                    asked.clear();
                    // Unasked, the version is unknown.
                    const int32_t minor = Resources().GetResourceApexVersion().minor;
                    _exit(minor == (asked.size() == 1 ? 7 : -1) ? asked.size() : 100);
                },
                testing::ExitedWithCode(expected_calls), "");
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils
