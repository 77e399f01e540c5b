#include <recorder/raw_recorder.h>

#include <android-base/stringprintf.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "little_endian.h"
#include "log_capture.h"
#include "temp_dir.h"

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {
namespace {

using aidl::android::media::audio::common::PcmType;
using android::base::ERROR;
using android::base::INFO;
using android::base::StringPrintf;
using autl::test::Le16;
using autl::test::Le32;
using autl::test::LogCapture;
using autl::test::LogLine;
using autl::test::ReadFile;
using autl::test::TempDir;
using testing::AnyOf;
using testing::ElementsAre;

constexpr char kTag[] = "AUtl::RawRecorder";
constexpr int kMiB = 1 << 20;

// The tests run in a zone 14 hours east of UTC, without daylight saving, so that a name built from
// UTC instead of the local time shows.
constexpr char kZone[] = "XYZ-14";
constexpr time_t kZoneOffset = 14 * 3600;

// The name of a file started at `when`, built without the recorder's formatting code.
std::string NameAt(const std::string& prefix, time_t when, const char* extension = ".raw") {
    const time_t shifted = when + kZoneOffset;
    tm t = {};
    gmtime_r(&shifted, &t);
    return prefix +
           StringPrintf("-%04d-%02d-%02d-%02d-%02d-%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
                        t.tm_hour, t.tm_min, t.tm_sec) +
           extension;
}

mode_t Mode(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

std::string Bytes(size_t size, char first) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(first + i);
    return bytes;
}

int Record(RawRecorder& recorder, std::string bytes) {
    return recorder.Record(bytes.data(), static_cast<int>(bytes.size()));
}

std::string WaveHeader(uint16_t audio_format, uint16_t channels, uint32_t rate, uint32_t byte_rate,
                       uint16_t block_align, uint16_t bits, uint32_t data_size) {
    return "RIFF" + Le32(36 + data_size) + "WAVE" + "fmt " + Le32(16) + Le16(audio_format) +
           Le16(channels) + Le32(rate) + Le32(byte_rate) + Le16(block_align) + Le16(bits) + "data" +
           Le32(data_size);
}

std::string Frame(uint32_t format_word, const std::string& payload) {
    return "tap0" + Le32(format_word) + std::string(8, '\0') +
           Le32(static_cast<uint32_t>(payload.size())) + payload;
}

// A raw, a WAV (2 channels, 48000 Hz, 16 bits) and a tap0 recorder of the same stream.
std::vector<std::unique_ptr<RawRecorder>> EveryKind(const std::string& folder) {
    std::vector<std::unique_ptr<RawRecorder>> recorders;
    recorders.push_back(std::make_unique<RawRecorder>(folder, "raw"));
    recorders.push_back(
            std::make_unique<WaveRecorder>(folder, "wav", 2, 48000, PcmType::INT_16_BIT));
    recorders.push_back(
            std::make_unique<EncodedRecorder>(folder, "enc", 2, 48000, PcmType::INT_16_BIT));
    return recorders;
}

class RecorderTest : public testing::Test {
  protected:
    void SetUp() override {
        if (const char* zone = getenv("TZ")) saved_zone_ = zone;
        setenv("TZ", kZone, 1);
        tzset();
        // Files would be created rw------- without the recorder's chmod.
        saved_umask_ = umask(077);
    }
    void TearDown() override {
        umask(saved_umask_);
        saved_zone_ ? setenv("TZ", saved_zone_->c_str(), 1) : unsetenv("TZ");
        tzset();
    }

    TempDir dir_;
    LogCapture logs_;
    std::optional<std::string> saved_zone_;
    mode_t saved_umask_ = 0;
};

// Start touches an empty file named from the local time, with mode 0644; a second Start or Stop
// does nothing.
TEST_F(RecorderTest, StartAndStop_CreateTheFileOnce) {
    RawRecorder recorder(dir_.path(), "out");
    const time_t before = time(nullptr);
    recorder.Start();
    const time_t after = time(nullptr);
    const std::string name = recorder.GetFileName();
    EXPECT_THAT(name, AnyOf(NameAt("out", before), NameAt("out", after)));
    const std::string path = dir_.Join(name);
    EXPECT_EQ(recorder.GetPath(), path);
    EXPECT_EQ(ReadFile(path), "");
    EXPECT_EQ(Mode(path), S_IFREG | 0644u);

    recorder.Start();
    recorder.Stop();
    recorder.Stop();
    EXPECT_FALSE(recorder.IsStarted());
    EXPECT_EQ(recorder.GetFileName(), name);
    EXPECT_THAT(logs_.Lines(kTag), ElementsAre(LogLine{INFO, kTag, "Start: touch a " + path},
                                               LogLine{INFO, kTag, "Start: 1, 1"},
                                               LogLine{INFO, kTag, "Start: recorder started"},
                                               LogLine{INFO, kTag, "Stop: recorder stoped"}));
}

// The raw recorder refuses only a size of zero, null data and a stopped recorder: it has no upper
// bound, and a negative size reaches the file, which takes nothing. The WAV and tap0 recorders
// refuse chunks of 1 MiB and more, and so every negative size.
TEST_F(RecorderTest, Record_RefusesAsEachKindPromises) {
    const std::string too_big = Bytes(kMiB, 0);
    const std::string largest = Bytes(kMiB - 1, 7);
    const struct {
        int too_big;   // result for 1 MiB
        int negative;  // result for -1
        int largest;   // result for 1 MiB - 1
        std::string file;
    } cases[] = {
            {kMiB, -1, kMiB - 1, too_big + largest},
            {0, 0, kMiB - 1, WaveHeader(1, 2, 48000, 192000, 4, 16, kMiB - 1) + largest},
            {0, 0, kMiB - 1 + 20, Frame(0x01355007, largest)},
    };
    const std::vector<std::unique_ptr<RawRecorder>> recorders = EveryKind(dir_.path());
    for (size_t i = 0; i < recorders.size(); ++i) {
        RawRecorder& recorder = *recorders[i];
        EXPECT_EQ(Record(recorder, "abc"), 0);
        recorder.Start();
        SCOPED_TRACE(recorder.GetFileName());
        EXPECT_EQ(Record(recorder, too_big), cases[i].too_big);
        EXPECT_EQ(recorder.Record(Bytes(4, 'a').data(), -1), cases[i].negative);
        EXPECT_EQ(recorder.Record(Bytes(4, 'a').data(), 0), 0);
        EXPECT_EQ(recorder.Record(nullptr, 4), 0);
        EXPECT_EQ(Record(recorder, largest), cases[i].largest);
        EXPECT_EQ(ReadFile(recorder.GetPath()), cases[i].file);
        recorder.Stop();
        EXPECT_EQ(Record(recorder, "abc"), 0);
        EXPECT_EQ(ReadFile(recorder.GetPath()), cases[i].file);
    }
}

// Start, Stop, Start within one second: one name, and the second recording continues the file. A
// WAV header then counts the new chunks only. A run that crosses a second boundary proves nothing
// and is repeated.
TEST_F(RecorderTest, RestartWithinOneSecond_ContinuesTheSameFile) {
    const std::string files[] = {"firstsecond!",
                                 WaveHeader(1, 2, 48000, 192000, 4, 16, 7) + "firstsecond!",
                                 Frame(0x01355007, "first") + Frame(0x01355007, "second!")};
    bool within_one_second = false;
    for (int attempt = 0; attempt < 5 && !within_one_second; ++attempt) {
        TempDir dir;
        const std::vector<std::unique_ptr<RawRecorder>> recorders = EveryKind(dir.path());
        std::vector<std::string> names;
        const time_t before = time(nullptr);
        for (const auto& recorder : recorders) {
            recorder->Start();
            Record(*recorder, "first");
            names.push_back(recorder->GetFileName());
            recorder->Stop();
            recorder->Start();
            Record(*recorder, "second!");
        }
        within_one_second = time(nullptr) == before;
        for (size_t i = 0; within_one_second && i < recorders.size(); ++i) {
            EXPECT_EQ(recorders[i]->GetFileName(), names[i]);
            EXPECT_EQ(ReadFile(dir.Join(names[i])), files[i]);
        }
    }
    EXPECT_TRUE(within_one_second) << "every attempt crossed a second boundary";
}

// A file that cannot be opened shows in the log only: the recorder counts as started, and each
// recorder answers Record in its own way. So it goes in a folder that does not exist, and where a
// symlink or a FIFO was planted at the (predictable) name: the symlink is not followed, the FIFO
// not waited on.
TEST_F(RecorderTest, FileCannotBeOpened_LogsTheFailureAndRecordsNothing) {
    const std::string victim = dir_.Join("victim");
    std::ofstream(victim) << "precious";
    const char* const kNames[][2] = {{"raw", ".raw"}, {"wav", ".wav"}, {"enc", ".audio_enc"}};
    const int results[] = {0, 4, -1};
    char bytes[4] = {1, 2, 3, 4};
    enum Planted { kMissingFolder, kSymlink, kFifo };
    for (const Planted planted : {kMissingFolder, kSymlink, kFifo}) {
        const std::string folder = dir_.Join(std::to_string(planted));
        ASSERT_TRUE(planted == kMissingFolder || mkdir(folder.c_str(), 0755) == 0);
        const std::vector<std::unique_ptr<RawRecorder>> recorders = EveryKind(folder);
        for (size_t i = 0; i < recorders.size(); ++i) {
            RawRecorder& recorder = *recorders[i];
            // Every name that Start may choose within the next ten seconds.
            const time_t now = time(nullptr);
            for (time_t when = now; planted != kMissingFolder && when < now + 10; ++when) {
                const std::string name = folder + "/" + NameAt(kNames[i][0], when, kNames[i][1]);
                ASSERT_EQ(planted == kFifo ? mkfifo(name.c_str(), 0666)
                                           : symlink(victim.c_str(), name.c_str()),
                          0);
            }
            logs_.Clear();
            recorder.Start();
            const std::string path = recorder.GetPath();
            EXPECT_EQ(path, folder + "/" + recorder.GetFileName());
            EXPECT_THAT(logs_.Lines(kTag),
                        ElementsAre(LogLine{INFO, kTag, "Start: touch a " + path},
                                    LogLine{INFO, kTag, "Start: 0, 0"},
                                    LogLine{ERROR, kTag, "Start: Failure to change mode of " + path},
                                    LogLine{INFO, kTag, "Start: recorder started"}));
            EXPECT_TRUE(recorder.IsStarted());
            EXPECT_EQ(recorder.Record(bytes, 4), results[i]) << path;
            EXPECT_EQ(recorder.Record(bytes, 4), results[i]) << path;
        }
    }
    EXPECT_NE(access(dir_.Join("0").c_str(), F_OK), 0);
    EXPECT_EQ(ReadFile(victim), "precious");
    EXPECT_EQ(Mode(victim), S_IFREG | 0600u);
}

// Start leaves the file empty; each chunk rewrites the header, which counts every chunk so far.
TEST_F(RecorderTest, WaveHeader_FollowsThePcmType) {
    struct Case {
        int pcm_type;
        int channels;
        uint32_t rate;
        int sample_size;
        std::string header;  // for 6 data bytes
    };
    const Case cases[] = {
            {0, 2, 8000, 1, WaveHeader(1, 2, 8000, 16000, 2, 8, 6)},
            {1, 2, 48000, 2, WaveHeader(1, 2, 48000, 192000, 4, 16, 6)},
            {2, 1, 44100, 4, WaveHeader(1, 1, 44100, 176400, 4, 32, 6)},
            {3, 2, 48000, 4, WaveHeader(1, 2, 48000, 384000, 8, 32, 6)},
            {4, 2, 48000, 4, WaveHeader(3, 2, 48000, 384000, 8, 32, 6)},
            {5, 1, 16000, 3, WaveHeader(1, 1, 16000, 48000, 3, 24, 6)},
            {6, 2, 48000, 0, WaveHeader(1, 2, 48000, 0, 0, 0, 6)},
            {-1, 2, 48000, 0, WaveHeader(1, 2, 48000, 0, 0, 0, 6)},
            {1, 8, 192000, 2, WaveHeader(1, 8, 192000, 3072000, 16, 16, 6)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pcm_type);
        TempDir dir;
        WaveRecorder recorder(dir.path(), "wav", c.channels, c.rate,
                              static_cast<PcmType>(c.pcm_type));
        EXPECT_EQ(recorder.GetSampleSize(), c.sample_size);
        EXPECT_EQ(recorder.GetFrameSize(), c.channels * c.sample_size);
        recorder.Start();
        EXPECT_TRUE(recorder.GetFileName().ends_with(".wav"));
        EXPECT_EQ(ReadFile(recorder.GetPath()), "");
        EXPECT_EQ(Record(recorder, "1234"), 4);
        EXPECT_EQ(Record(recorder, "56"), 2);
        EXPECT_EQ(ReadFile(recorder.GetPath()), c.header + "123456");
    }
}

// A file removed after Start: the raw recorder creates it again, with the mode Start gave it; the
// others create nothing. The WAV recorder counts the lost chunk all the same, in the header it
// writes once the file is back.
TEST_F(RecorderTest, FileRemovedAfterStart_OnlyTheRawRecorderCreatesItAgain) {
    const struct {
        int lost;  // result for the chunk while the file is gone
        int back;  // result for the chunk once it is back
        std::string file;
    } cases[] = {
            {10, 2, Bytes(10, 'a') + Bytes(2, 'b')},
            {10, 2, WaveHeader(1, 2, 48000, 192000, 4, 16, 12) + Bytes(2, 'b')},
            {-1, 22, Frame(0x01355007, Bytes(2, 'b'))},
    };
    const std::vector<std::unique_ptr<RawRecorder>> recorders = EveryKind(dir_.path());
    for (size_t i = 0; i < recorders.size(); ++i) {
        RawRecorder& recorder = *recorders[i];
        recorder.Start();
        const std::string path = recorder.GetPath();
        SCOPED_TRACE(path);
        ASSERT_EQ(unlink(path.c_str()), 0);
        EXPECT_EQ(Record(recorder, Bytes(10, 'a')), cases[i].lost);
        if (i == 0) {
            EXPECT_EQ(Mode(path), S_IFREG | 0644u);
        } else {
            EXPECT_EQ(Mode(path), 0u);
            ASSERT_TRUE(std::ofstream(path).is_open());
        }
        EXPECT_EQ(Record(recorder, Bytes(2, 'b')), cases[i].back);
        EXPECT_EQ(ReadFile(path), cases[i].file);
    }
}

TEST_F(RecorderTest, EncodedFormatWord_PacksChannelsRateAndSampleFormat) {
    struct Case {
        int channels;
        int rate;
        int pcm_type;
        uint32_t word;
    };
    const Case cases[] = {
            {2, 48000, 1, 0x01355007},  {1, 16000, 4, 0x00613007},  {9, 48000, 1, 0x01353007},
            {8, 48000, 1, 0x01351007},  {7, 8000, 0, 0x0110f007},   {1, 24000, 2, 0x01723007},
            {1, 32000, 3, 0x01733007},  {1, 44100, 5, 0x01543007},  {1, 96000, 1, 0x01363007},
            {1, 192000, 1, 0x01373007}, {1, 22050, 1, 0x01353007},  {1, 48000, 6, 0x01353007},
            {1, 48000, -3, 0x01353007}, {-1, 48000, 1, 0x0135f007},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(StringPrintf("%d channels, %d Hz, type %d", c.channels, c.rate, c.pcm_type));
        TempDir dir;
        EncodedRecorder recorder(dir.path(), "enc", c.channels, c.rate,
                                 static_cast<PcmType>(c.pcm_type));
        recorder.Start();
        EXPECT_TRUE(recorder.GetFileName().ends_with(".audio_enc"));
        EXPECT_EQ(ReadFile(recorder.GetPath()), "");
        EXPECT_EQ(Record(recorder, "x"), 21);
        EXPECT_EQ(ReadFile(recorder.GetPath()), Frame(c.word, "x"));
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
