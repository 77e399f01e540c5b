#include <resources.h>

#include <unistd.h>

#include <android-base/properties.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <dumpsys/dumpsys.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_apexsupport.h"
#include "log_capture.h"
#include "temp_dir.h"

namespace vendor::zentro::tevrash::audio::hal::utils {
namespace {

using android::base::INFO;
using android::base::WARNING;
using autl::test::FakeApexSupport;
using autl::test::LogCapture;
using autl::test::LogLine;
using autl::test::TempDir;
using testing::ElementsAre;

constexpr char kApex[] = "com.zentro.varsk.audio.resource";
constexpr char kTag[] = "AUtl::Resources";
const std::string kApexAudio = "/apex/com.zentro.varsk.audio.resource/etc/audio/";

// Makes `path` below the root: a folder when it ends in "/", else a file.
void Make(const TempDir& root, const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(root.path() + path).parent_path(),
                                        error);
    EXPECT_FALSE(error) << path;
    if (!path.ends_with('/')) std::ofstream(root.path() + path) << "x";
}

// The dump lines of `resources`, as one text.
std::string DumpText(Resources& resources, uint32_t indentation = 0,
                     std::vector<std::string_view> filters = {}) {
    std::stringbuf text;
    dumpsys::DumpsysInfo info(-1, indentation, std::move(filters));
    info.stream_buffer = &text;
    resources.Dump(info);
    return text.str();
}

TEST(ResourcesTest, GetFolderPath_SearchOrderAndFallbacks) {
    TempDir root;
    for (const std::string& path : std::vector<std::string>{
                 "/vendor/etc/audio/both/", kApexAudio + "both/", kApexAudio + "apex/",
                 "/vendor/etc/audio/file", "/vendor/etc/audio/a/b/", kApexAudio + "loop/"}) {
        Make(root, path);
    }
    // Asking about a link to itself fails: that counts as absent.
    ASSERT_EQ(symlink(root.Join("vendor/etc/audio/loop").c_str(),
                      root.Join("vendor/etc/audio/loop").c_str()),
              0);
    const struct {
        std::string key;
        std::string expected;  // below the root
    } cases[] = {
            {"both", "/vendor/etc/audio/both/"},
            {"apex", kApexAudio + "apex/"},
            {"file", "/vendor/etc/audio/file/"},  // any kind of entry counts
            {"loop", kApexAudio + "loop/"},
            {"a/b", "/vendor/etc/audio/a/b/"},
            {"Both", "/vendor/etc/"},
            {"vexa4", "/vendor/etc/ulq/"},
            {"dornwake", "/vendor/etc/ulq/"},
            {"kastrelion", "/vendor/etc/ulq/"},
            {"Kastrelion", "/vendor/etc/"},
            {"tuning", "/vendor/etc/"},
            {"", "/vendor/etc/audio//"},
    };
    Resources resources(root.path());
    for (const auto& c : cases) {
        EXPECT_EQ(resources.GetFolderPath(c.key), root.path() + c.expected) << c.key;
    }
}

// Without a root the answers are the device's own paths, here the fallbacks of a machine without
// the audio folders (a workstation).
TEST(ResourcesTest, DefaultRoot_DevicePaths) {
    if (access("/vendor/etc/audio", F_OK) == 0 || access(kApexAudio.c_str(), F_OK) == 0) {
        GTEST_SKIP() << "this machine has audio configuration folders";
    }
    LogCapture logs;
    Resources resources;
    EXPECT_EQ(resources.GetFolderPath("spatializer"), "/vendor/etc/spatializer/");
    EXPECT_EQ(resources.GetFolderPath(""), "/vendor/etc/");
    EXPECT_EQ(resources.GetFilePath("x", "a.xml"), "");
    EXPECT_THAT(logs.Lines(kTag),
                ElementsAre(LogLine{WARNING, kTag, "GetFilePath: /vendor/etc/a.xml not exist"}));
}

TEST(ResourcesTest, GetFolderPath_CachedForTheObjectsLife) {
    TempDir root;
    Make(root, "/vendor/etc/audio/gone/");
    Resources resources(root.path());
    EXPECT_EQ(resources.GetFolderPath("late"), root.path() + "/vendor/etc/");
    // First calls from several threads at once agree.
    std::vector<std::string> answers(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < answers.size(); ++i) {
        threads.emplace_back([&, i] {
            answers[i] = resources.GetFolderPath("gone");
            resources.GetFolderPath("own" + std::to_string(i));
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(answers, testing::Each(root.path() + "/vendor/etc/audio/gone/"));
    EXPECT_THAT(DumpText(resources), testing::StartsWith("Resources:\n  #: size: 10\n"));

    ASSERT_EQ(rmdir(root.Join("vendor/etc/audio/gone").c_str()), 0);
    Make(root, "/vendor/etc/audio/late/");
    EXPECT_EQ(resources.GetFolderPath("gone"), root.path() + "/vendor/etc/audio/gone/");
    EXPECT_EQ(resources.GetFolderPath("late"), root.path() + "/vendor/etc/");
    Resources fresh(root.path());
    EXPECT_EQ(fresh.GetFolderPath("gone"), root.path() + "/vendor/etc/");
    EXPECT_EQ(fresh.GetFolderPath("late"), root.path() + "/vendor/etc/audio/late/");
}

TEST(ResourcesTest, GetFilePath_AnyEntryFoundAtInfoMissingAtWarning) {
    TempDir root;
    Make(root, "/vendor/etc/audio/spatializer/config.xml");
    Make(root, "/vendor/etc/audio/spatializer/hrtf/left.bin");
    Resources resources(root.path());
    LogCapture logs;
    const std::string folder = root.path() + "/vendor/etc/audio/spatializer/";
    for (const std::string file : {"config.xml", "hrtf/left.bin", "hrtf"}) {
        EXPECT_EQ(resources.GetFilePath("spatializer", file), folder + file);
    }
    EXPECT_EQ(resources.GetFilePath("spatializer", "other.xml"), "");
    EXPECT_THAT(
            logs.Lines(kTag),
            ElementsAre(LogLine{INFO, kTag, "GetFilePath: " + folder + "config.xml exist"},
                        LogLine{INFO, kTag, "GetFilePath: " + folder + "hrtf/left.bin exist"},
                        LogLine{INFO, kTag, "GetFilePath: " + folder + "hrtf exist"},
                        LogLine{WARNING, kTag, "GetFilePath: " + folder + "other.xml not exist"}));
}

TEST(ResourcesTest, ApexVersion_ReadAtConstructionSplitAndDumped) {
#ifdef __ANDROID__
    if (android::base::GetIntProperty("ro.build.version.sdk", 0) < 37 &&
        android::base::GetProperty("ro.build.version.codename", "") == "REL") {
        GTEST_SKIP() << "this platform is too old to look an APEX up by name";
    }
#endif
    struct Case {
        int64_t version;  // -2: the APEX is not installed
        int32_t major;
        int32_t minor;
        const char* dumped;
    };
    const Case cases[] = {
            {-2, -1, -1, "{major: -1, minor: -1}"},
            {(int64_t{26} << 32) | 5, 26, 5, "{major: 1a, minor: 5}"},
            {int64_t{0x7fffffff} << 32 | 0x7fffffff, 0x7fffffff, 0x7fffffff,
             "{major: 7fffffff, minor: 2147483647}"},
            {static_cast<int64_t>(0xFFFFFFFF00000005), -1, 5, "{major: -1, minor: -1}"},
            {int64_t{26} << 32 | 0xFFFFFFFF, 26, -1, "{major: -1, minor: -1}"},
            {static_cast<int64_t>(0xFFFFFFFE00000010), -2, 16, "{major: -2, minor: 16}"},
            {int64_t{3} << 32 | 0x80000000, 3, INT32_MIN, "{major: 3, minor: -2147483648}"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.version);
        FakeApexSupport apex;
        if (c.version != -2) apex.Install(kApex, c.version);
        Resources resources;
        EXPECT_THAT(apex.CreateCalls(), ElementsAre(kApex));
        EXPECT_EQ(apex.OpenHandles(), 0);
        apex.Install(kApex, 1);  // read at construction only
        const ApexVersion version = resources.GetResourceApexVersion();
        EXPECT_EQ(version.major, c.major);
        EXPECT_EQ(version.minor, c.minor);
        EXPECT_EQ(DumpText(resources),
                  std::string("Resources:\n  #: size: 0\nAPEX version: ") + c.dumped + "\n");
    }
}

TEST(ResourcesTest, Dump_CacheAndVersionOneLineEach) {
    TempDir root;
    Make(root, "/vendor/etc/audio/foo/");
    Resources resources(root.path());
    resources.GetFolderPath("foo");
    EXPECT_EQ(DumpText(resources, 2), "  Resources:\n    #: size: 1\n    foo: " + root.path() +
                                              "/vendor/etc/audio/foo/\n"
                                              "  APEX version: {major: -1, minor: -1}\n");
    EXPECT_EQ(DumpText(resources, 0, {"AUtl::Res"}).substr(0, 11), "Resources:\n");
    EXPECT_EQ(DumpText(resources, 0, {"AUtl::Logger"}), "");

    // Every cached key once, in the cache's own order.
    resources.GetFolderPath("spatializer");
    resources.GetFolderPath("vexa4");
    std::istringstream text(DumpText(resources));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    EXPECT_THAT(lines, testing::UnorderedElementsAre(
                               "Resources:", "  #: size: 3",
                               "  foo: " + root.path() + "/vendor/etc/audio/foo/",
                               "  spatializer: " + root.path() + "/vendor/etc/spatializer/",
                               "  vexa4: " + root.path() + "/vendor/etc/ulq/",
                               "APEX version: {major: -1, minor: -1}"));
}

// The platform level is read once per process, so each case runs in a process of its own: a death
// test in the "threadsafe" style starts the test program anew. The exit code tells how many times
// the APEX was asked for.
TEST(ResourcesTest, ApexVersion_OnlyOnNewEnoughPlatforms) {
#ifdef __ANDROID__
    GTEST_SKIP() << "the build properties of a device cannot be set";
#endif
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    struct Case {
        const char* sdk;  // "" leaves the property missing
        const char* codename;
        int expected_calls;
    };
    const Case cases[] = {
            {"", "", 1},   {"36", "REL", 0},     {"37", "REL", 1}, {"40", "REL", 1},
            {"36", "", 1}, {"36", "Baklava", 1}, {"36", "rel", 1}, {"x", "REL", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.sdk) + "/" + c.codename);
        EXPECT_EXIT(
                {
                    android::base::SetProperty("ro.build.version.sdk", c.sdk);
                    android::base::SetProperty("ro.build.version.codename", c.codename);
                    FakeApexSupport apex;
                    apex.Install(kApex, 7);
                    Resources resources;
                    // Unasked, the version is unknown.
                    const int32_t minor = resources.GetResourceApexVersion().minor;
                    const size_t calls = apex.CreateCalls().size();
                    _exit(minor == (calls == 1 ? 7 : -1) ? calls : 100);
                },
                testing::ExitedWithCode(c.expected_calls), "");
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils
