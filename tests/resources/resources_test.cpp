#include <resources.h>

#include <unistd.h>

#include <android-base/properties.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
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
constexpr char kVendorAudio[] = "/vendor/etc/audio/";
constexpr char kApexAudio[] = "/apex/com.zentro.varsk.audio.resource/etc/audio/";

// A device tree under a temporary root.
class FakeRoot {
  public:
    const std::string& path() const { return dir_.path(); }
    void AddFolder(const std::string& path) { std::filesystem::create_directories(Full(path)); }
    void AddFile(const std::string& path) {
        std::filesystem::create_directories(std::filesystem::path(Full(path)).parent_path());
        std::ofstream(Full(path)) << "x";
    }
    void AddLink(const std::string& path, const std::string& target) {
        std::filesystem::create_directories(std::filesystem::path(Full(path)).parent_path());
        std::filesystem::create_symlink(target, Full(path));
    }
    void Remove(const std::string& path) { std::filesystem::remove_all(Full(path)); }
    std::string Full(const std::string& path) const { return dir_.path() + path; }

  private:
    TempDir dir_;
};

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
    enum Kind { kFolder, kFile, kLoop };
    struct Entry {
        Kind kind;
        std::string path;
    };
    struct Case {
        const char* name;
        std::vector<Entry> entries;
        std::string key;
        std::string expected;  // below the root
    };
    const std::vector<Case> cases = {
            {"vendor before apex",
             {{kFolder, "/vendor/etc/audio/foo"}, {kFolder, std::string(kApexAudio) + "foo"}},
             "foo",
             "/vendor/etc/audio/foo/"},
            {"apex alone",
             {{kFolder, std::string(kApexAudio) + "foo"}},
             "foo",
             std::string(kApexAudio) + "foo/"},
            {"a file counts", {{kFile, "/vendor/etc/audio/foo"}}, "foo", "/vendor/etc/audio/foo/"},
            {"error counts as absent",
             {{kLoop, "/vendor/etc/audio/foo"}, {kFolder, std::string(kApexAudio) + "foo"}},
             "foo",
             std::string(kApexAudio) + "foo/"},
            {"key with a slash",
             {{kFolder, "/vendor/etc/audio/a/b"}},
             "a/b",
             "/vendor/etc/audio/a/b/"},
            {"other case misses", {{kFolder, "/vendor/etc/audio/foo"}}, "Foo", "/vendor/etc/"},
            {"spatializer", {}, "spatializer", "/vendor/etc/spatializer/"},
            {"vexa4", {}, "vexa4", "/vendor/etc/ulq/"},
            {"dornwake", {}, "dornwake", "/vendor/etc/ulq/"},
            {"kastrelion", {}, "kastrelion", "/vendor/etc/ulq/"},
            {"fallback is case-sensitive", {}, "Kastrelion", "/vendor/etc/"},
            {"any other key", {}, "tuning", "/vendor/etc/"},
            {"empty key", {}, "", "/vendor/etc/"},
            {"empty key, audio folder present",
             {{kFolder, "/vendor/etc/audio"}},
             "",
             "/vendor/etc/audio//"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FakeRoot root;
        for (const Entry& entry : c.entries) {
            switch (entry.kind) {
                case kFolder:
                    root.AddFolder(entry.path);
                    break;
                case kFile:
                    root.AddFile(entry.path);
                    break;
                case kLoop:
                    root.AddLink(entry.path, root.Full(entry.path));
                    break;
            }
        }
        Resources resources(root.path());
        EXPECT_EQ(resources.GetFolderPath(c.key), root.path() + c.expected);
    }
}

// Without a root the answers are the device's own paths. A workstation has no /vendor/etc/audio.
TEST(ResourcesTest, DefaultRoot_DevicePaths) {
    ASSERT_FALSE(std::filesystem::exists(kVendorAudio));
    Resources resources;
    EXPECT_EQ(resources.GetFolderPath("spatializer"), "/vendor/etc/spatializer/");
    EXPECT_EQ(resources.GetFolderPath("dornwake"), "/vendor/etc/ulq/");
    EXPECT_EQ(resources.GetFolderPath("tuning"), "/vendor/etc/");
}

TEST(ResourcesTest, GetFolderPath_CachedForTheObjectsLife) {
    FakeRoot root;
    root.AddFolder("/vendor/etc/audio/gone");
    Resources resources(root.path());

    EXPECT_EQ(resources.GetFolderPath("gone"), root.path() + "/vendor/etc/audio/gone/");
    EXPECT_EQ(resources.GetFolderPath("late"), root.path() + "/vendor/etc/");
    root.Remove("/vendor/etc/audio/gone");
    root.AddFolder("/vendor/etc/audio/late");
    EXPECT_EQ(resources.GetFolderPath("gone"), root.path() + "/vendor/etc/audio/gone/");
    EXPECT_EQ(resources.GetFolderPath("late"), root.path() + "/vendor/etc/");

    // A new object searches again.
    Resources fresh(root.path());
    EXPECT_EQ(fresh.GetFolderPath("gone"), root.path() + "/vendor/etc/");
    EXPECT_EQ(fresh.GetFolderPath("late"), root.path() + "/vendor/etc/audio/late/");
}

TEST(ResourcesTest, GetFolderPath_ConcurrentFirstCallsAgree) {
    FakeRoot root;
    root.AddFolder(std::string(kApexAudio) + "shared");
    Resources resources(root.path());
    constexpr int kThreads = 8;
    std::vector<std::string> answers(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            answers[i] = resources.GetFolderPath("shared");
            resources.GetFolderPath("own" + std::to_string(i));
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& answer : answers) {
        EXPECT_EQ(answer, root.path() + kApexAudio + "shared/");
    }
    EXPECT_THAT(DumpText(resources), testing::StartsWith("Resources:\n  #: size: 9\n"));
}

TEST(ResourcesTest, GetFilePath_ExistingEntry_PathWithInfo) {
    FakeRoot root;
    root.AddFile("/vendor/etc/audio/spatializer/config.xml");
    root.AddFile("/vendor/etc/audio/spatializer/hrtf/left.bin");
    Resources resources(root.path());
    LogCapture logs;

    const std::string folder = root.path() + "/vendor/etc/audio/spatializer/";
    EXPECT_EQ(resources.GetFilePath("spatializer", "config.xml"), folder + "config.xml");
    EXPECT_EQ(resources.GetFilePath("spatializer", "hrtf/left.bin"), folder + "hrtf/left.bin");
    EXPECT_EQ(resources.GetFilePath("spatializer", "hrtf"), folder + "hrtf");

    EXPECT_THAT(logs.Lines(kTag),
                ElementsAre(LogLine{INFO, kTag, "GetFilePath: " + folder + "config.xml exist"},
                            LogLine{INFO, kTag, "GetFilePath: " + folder + "hrtf/left.bin exist"},
                            LogLine{INFO, kTag, "GetFilePath: " + folder + "hrtf exist"}));
}

TEST(ResourcesTest, GetFilePath_Missing_EmptyWithWarning) {
    {
        LogCapture logs;
        Resources resources;
        EXPECT_EQ(resources.GetFilePath("x", "a.xml"), "");
        EXPECT_THAT(logs.Lines(kTag),
                    ElementsAre(LogLine{WARNING, kTag, "GetFilePath: /vendor/etc/a.xml not exist"}));
    }
    {
        FakeRoot root;
        root.AddFolder("/vendor/etc/audio/spatializer");
        LogCapture logs;
        Resources resources(root.path());
        EXPECT_EQ(resources.GetFilePath("spatializer", "config.xml"), "");
        EXPECT_THAT(logs.Messages(kTag),
                    ElementsAre("GetFilePath: " + root.path() +
                                "/vendor/etc/audio/spatializer/config.xml not exist"));
    }
}

TEST(ResourcesTest, ApexVersion_ReadAtConstructionSplitAndDumped) {
    struct Case {
        int64_t version;  // -2: the APEX is not installed
        int32_t major;
        int32_t minor;
        const char* dumped;
    };
    const Case cases[] = {
            {-2, -1, -1, "{major: -1, minor: -1}"},
            {-1, -1, -1, "{major: -1, minor: -1}"},
            {(int64_t{26} << 32) | 5, 26, 5, "{major: 1a, minor: 5}"},
            {0, 0, 0, "{major: 0, minor: 0}"},
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
    FakeApexSupport apex;
    apex.Install(kApex, (int64_t{26} << 32) | 5);
    FakeRoot root;
    root.AddFolder("/vendor/etc/audio/foo");
    Resources resources(root.path());
    resources.GetFolderPath("foo");

    EXPECT_EQ(DumpText(resources, 2),
              "  Resources:\n"
              "    #: size: 1\n"
              "    foo: " +
                      root.path() +
                      "/vendor/etc/audio/foo/\n"
                      "  APEX version: {major: 1a, minor: 5}\n");
    EXPECT_EQ(DumpText(resources, 0, {"AUtl::Res"}).substr(0, 11), "Resources:\n");
    EXPECT_EQ(DumpText(resources, 0, {"AUtl::Logger"}), "");

    // Several keys: every cached key once, in the cache's own order.
    resources.GetFolderPath("spatializer");
    resources.GetFolderPath("vexa4");
    std::istringstream lines(DumpText(resources));
    std::vector<std::string> dumped;
    for (std::string line; std::getline(lines, line);) dumped.push_back(line);
    ASSERT_EQ(dumped.size(), 6u);
    EXPECT_EQ(dumped[0], "Resources:");
    EXPECT_EQ(dumped[1], "  #: size: 3");
    EXPECT_EQ(std::set<std::string>(dumped.begin() + 2, dumped.begin() + 5),
              (std::set<std::string>{"  foo: " + root.path() + "/vendor/etc/audio/foo/",
                                     "  spatializer: " + root.path() + "/vendor/etc/spatializer/",
                                     "  vexa4: " + root.path() + "/vendor/etc/ulq/"}));
    EXPECT_EQ(dumped[5], "APEX version: {major: 1a, minor: 5}");
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
                    const bool read = resources.GetResourceApexVersion().minor == 7;
                    _exit(read == (apex.CreateCalls().size() == 1) ? apex.CreateCalls().size()
                                                                   : 100);
                },
                testing::ExitedWithCode(c.expected_calls), "");
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils
