#include <recorder/raw_recorder.h>

#include <android-base/stringprintf.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <memory>
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
std::string NameAt(const std::string& prefix, time_t when, const std::string& extension) {
    const time_t shifted = when + kZoneOffset;
    tm t = {};
    gmtime_r(&shifted, &t);
    return prefix +
           StringPrintf("-%04d-%02d-%02d-%02d-%02d-%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
                        t.tm_hour, t.tm_min, t.tm_sec) +
           extension;
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

class RecorderTest : public testing::Test {
  protected:
    void SetUp() override {
        const char* zone = getenv("TZ");
        saved_zone_ = zone != nullptr ? std::make_unique<std::string>(zone) : nullptr;
        setenv("TZ", kZone, 1);
        tzset();
        // Files would be created rw------- without the recorder's chmod.
        saved_umask_ = umask(077);
    }
    void TearDown() override {
        umask(saved_umask_);
        if (saved_zone_ != nullptr) {
            setenv("TZ", saved_zone_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

    std::string Folder() const { return dir_.path(); }

    TempDir dir_;
    LogCapture logs_;

  private:
    std::unique_ptr<std::string> saved_zone_;
    mode_t saved_umask_ = 0;
};

using RawRecorderTest = RecorderTest;
using WaveRecorderTest = RecorderTest;
using EncodedRecorderTest = RecorderTest;

TEST_F(RawRecorderTest, Start_CreatesAnEmptyFileNamedFromTheLocalTimeWithMode0644) {
    RawRecorder recorder(Folder(), "out");
    EXPECT_FALSE(recorder.IsStarted());
    EXPECT_EQ(recorder.GetPath(), "");
    EXPECT_EQ(recorder.GetFileName(), "");

    const time_t before = time(nullptr);
    recorder.Start();
    const time_t after = time(nullptr);

    EXPECT_TRUE(recorder.IsStarted());
    EXPECT_THAT(recorder.GetFileName(),
                AnyOf(NameAt("out", before, ".raw"), NameAt("out", after, ".raw")));
    const std::string path = Folder() + "/" + recorder.GetFileName();
    EXPECT_EQ(recorder.GetPath(), path);
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
    EXPECT_THAT(logs_.Lines(kTag), ElementsAre(LogLine{INFO, kTag, "Start: touch a " + path},
                                               LogLine{INFO, kTag, "Start: 1, 1"},
                                               LogLine{INFO, kTag, "Start: recorder started"}));
}

TEST_F(RawRecorderTest, StartAndStopTwice_SecondCallsDoNothing) {
    RawRecorder recorder(Folder(), "out");
    recorder.Start();
    const std::string name = recorder.GetFileName();
    logs_.Clear();

    recorder.Start();
    EXPECT_EQ(recorder.GetFileName(), name);
    EXPECT_THAT(logs_.Lines(kTag), ElementsAre());

    recorder.Stop();
    recorder.Stop();
    EXPECT_FALSE(recorder.IsStarted());
    EXPECT_EQ(recorder.GetFileName(), name);
    EXPECT_THAT(logs_.Lines(kTag), ElementsAre(LogLine{INFO, kTag, "Stop: recorder stoped"}));
}

TEST_F(RawRecorderTest, Record_AppendsTheBytesAndReturnsTheirCount) {
    RawRecorder recorder(Folder(), "out");
    recorder.Start();
    EXPECT_EQ(Record(recorder, Bytes(100, 'a')), 100);
    EXPECT_EQ(Record(recorder, Bytes(7, '\xf0')), 7);
    EXPECT_EQ(ReadFile(recorder.GetPath()), Bytes(100, 'a') + Bytes(7, '\xf0'));
}

// Only a size of zero is refused: no upper bound, and a negative size reaches the file, which
// takes nothing.
TEST_F(RawRecorderTest, Record_RefusesOnlyZeroNullAndNotStarted) {
    RawRecorder recorder(Folder(), "out");
    char byte = 'x';
    EXPECT_EQ(recorder.Record(&byte, 1), 0);
    recorder.Start();
    ASSERT_EQ(recorder.Record(&byte, 1), 1);

    EXPECT_EQ(recorder.Record(&byte, 0), 0);
    EXPECT_EQ(recorder.Record(nullptr, 1), 0);
    EXPECT_EQ(recorder.Record(&byte, -1), -1);
    std::string big = Bytes(kMiB + 1, 0);
    EXPECT_EQ(Record(recorder, big), kMiB + 1);
    EXPECT_EQ(ReadFile(recorder.GetPath()), "x" + big);

    const std::string path = recorder.GetPath();
    recorder.Stop();
    EXPECT_EQ(recorder.Record(&byte, 1), 0);
    EXPECT_EQ(ReadFile(path), "x" + big);
}

// Start, Stop, Start within one second: one name, and the second recording continues the file. A
// WAV header then counts the new chunks only. A run that crosses a second boundary proves nothing
// and is repeated.
TEST_F(RecorderTest, RestartWithinOneSecond_ContinuesTheSameFile) {
    using Make = std::function<std::unique_ptr<RawRecorder>(const std::string&)>;
    struct Case {
        Make make;
        std::string file;  // after "first" and "second!"
    };
    const Case cases[] = {
            {[](const std::string& folder) { return std::make_unique<RawRecorder>(folder, "r"); },
             "firstsecond!"},
            {[](const std::string& folder) {
                 return std::make_unique<WaveRecorder>(folder, "w", 2, 48000, PcmType::INT_16_BIT);
             },
             WaveHeader(1, 2, 48000, 192000, 4, 16, 7) + "firstsecond!"},
            {[](const std::string& folder) {
                 return std::make_unique<EncodedRecorder>(folder, "e", 2, 48000,
                                                          PcmType::INT_16_BIT);
             },
             Frame(0x01355007, "first") + Frame(0x01355007, "second!")},
    };
    for (const Case& c : cases) {
        bool within_one_second = false;
        for (int attempt = 0; attempt < 5 && !within_one_second; ++attempt) {
            TempDir dir;
            std::unique_ptr<RawRecorder> recorder = c.make(dir.path());
            const time_t before = time(nullptr);
            recorder->Start();
            Record(*recorder, "first");
            const std::string name = recorder->GetFileName();
            recorder->Stop();
            recorder->Start();
            Record(*recorder, "second!");
            within_one_second = time(nullptr) == before;
            if (!within_one_second) continue;
            EXPECT_EQ(recorder->GetFileName(), name);
            EXPECT_EQ(ReadFile(dir.Join(name)), c.file);
        }
        EXPECT_TRUE(within_one_second) << "every attempt crossed a second boundary";
    }
}

// The failure to create the file shows in the log only: the recorder counts as started, and each
// recorder answers Record in its own way.
TEST_F(RawRecorderTest, MissingFolder_LogsTheFailureAndRecordsNothing) {
    const std::string folder = Folder() + "/missing";
    char bytes[4] = {1, 2, 3, 4};
    struct Case {
        std::function<std::unique_ptr<RawRecorder>()> make;
        int result;
    };
    const Case cases[] = {
            {[&] { return std::make_unique<RawRecorder>(folder, "raw"); }, 0},
            {[&] {
                 return std::make_unique<WaveRecorder>(folder, "wav", 2, 48000, PcmType::INT_16_BIT);
             },
             4},
            {[&] {
                 return std::make_unique<EncodedRecorder>(folder, "enc", 2, 48000,
                                                          PcmType::INT_16_BIT);
             },
             -1},
    };
    for (const Case& c : cases) {
        logs_.Clear();
        std::unique_ptr<RawRecorder> recorder = c.make();
        recorder->Start();
        const std::string path = recorder->GetPath();
        EXPECT_EQ(path, folder + "/" + recorder->GetFileName());
        EXPECT_THAT(logs_.Lines(kTag),
                    ElementsAre(LogLine{INFO, kTag, "Start: touch a " + path},
                                LogLine{INFO, kTag, "Start: 0, 0"},
                                LogLine{ERROR, kTag, "Start: Failure to change mode of " + path},
                                LogLine{INFO, kTag, "Start: recorder started"}));
        EXPECT_TRUE(recorder->IsStarted());
        EXPECT_EQ(recorder->Record(bytes, 4), c.result) << path;
        EXPECT_EQ(recorder->Record(bytes, 4), c.result) << path;
    }
    EXPECT_NE(access(folder.c_str(), F_OK), 0);
}

TEST_F(WaveRecorderTest, Header_FollowsThePcmType) {
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
        EXPECT_EQ(recorder.GetFileName().substr(recorder.GetFileName().size() - 4), ".wav");
        EXPECT_EQ(ReadFile(recorder.GetPath()), "");
        EXPECT_EQ(Record(recorder, "123456"), 6);
        EXPECT_EQ(ReadFile(recorder.GetPath()), c.header + "123456");
    }
}

TEST_F(WaveRecorderTest, Record_RewritesTheHeaderAndAppendsEachChunk) {
    WaveRecorder recorder(Folder(), "wav", 2, 48000, PcmType::INT_16_BIT);
    recorder.Start();
    EXPECT_EQ(Record(recorder, Bytes(100, 'a')), 100);
    EXPECT_EQ(ReadFile(recorder.GetPath()),
              WaveHeader(1, 2, 48000, 192000, 4, 16, 100) + Bytes(100, 'a'));
    EXPECT_EQ(Record(recorder, Bytes(50, 'A')), 50);
    EXPECT_EQ(ReadFile(recorder.GetPath()),
              WaveHeader(1, 2, 48000, 192000, 4, 16, 150) + Bytes(100, 'a') + Bytes(50, 'A'));
    recorder.Stop();
    EXPECT_EQ(ReadFile(recorder.GetPath()).size(), 194u);
}

TEST_F(WaveRecorderTest, StartWithoutRecord_LeavesAnEmptyFile) {
    WaveRecorder recorder(Folder(), "wav", 2, 48000, PcmType::INT_16_BIT);
    recorder.Start();
    recorder.Stop();
    struct stat status = {};
    ASSERT_EQ(stat(recorder.GetPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
}

// Record opens the file that Start created and creates no other; the chunk is still counted.
TEST_F(WaveRecorderTest, FileRemovedAfterStart_RecordCountsTheChunkAndCreatesNothing) {
    WaveRecorder recorder(Folder(), "wav", 1, 16000, PcmType::INT_16_BIT);
    recorder.Start();
    ASSERT_EQ(unlink(recorder.GetPath().c_str()), 0);
    EXPECT_EQ(Record(recorder, Bytes(10, 'a')), 10);
    EXPECT_NE(access(recorder.GetPath().c_str(), F_OK), 0);

    // Once the file is back, the header counts the lost chunk too.
    ASSERT_TRUE(std::ofstream(recorder.GetPath()).is_open());
    EXPECT_EQ(Record(recorder, Bytes(2, 'b')), 2);
    EXPECT_EQ(ReadFile(recorder.GetPath()),
              WaveHeader(1, 1, 16000, 32000, 2, 16, 12) + Bytes(2, 'b'));
}

TEST_F(EncodedRecorderTest, FormatWord_PacksChannelsRateAndSampleFormat) {
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
        EXPECT_EQ(Record(recorder, "x"), 21);
        EXPECT_EQ(ReadFile(recorder.GetPath()), Frame(c.word, "x"));
    }
}

TEST_F(EncodedRecorderTest, Record_AppendsOneFramePerCall) {
    EncodedRecorder recorder(Folder(), "enc", 2, 48000, PcmType::INT_16_BIT);
    recorder.Start();
    EXPECT_EQ(recorder.GetFileName().substr(recorder.GetFileName().size() - 10), ".audio_enc");
    EXPECT_EQ(ReadFile(recorder.GetPath()), "");
    EXPECT_EQ(Record(recorder, Bytes(10, 'a')), 30);
    EXPECT_EQ(ReadFile(recorder.GetPath()), Frame(0x01355007, Bytes(10, 'a')));
    EXPECT_EQ(Record(recorder, Bytes(1920, 0)), 1940);
    EXPECT_EQ(Record(recorder, "z"), 21);
    EXPECT_EQ(ReadFile(recorder.GetPath()), Frame(0x01355007, Bytes(10, 'a')) +
                                                    Frame(0x01355007, Bytes(1920, 0)) +
                                                    Frame(0x01355007, "z"));
}

// The WAV and tap0 recorders refuse chunks of 1 MiB and more, and so every negative size.
TEST_F(RecorderTest, WaveAndEncoded_RefuseEmptyNullOversizedAndNotStarted) {
    const std::string largest = Bytes(kMiB - 1, 0);
    struct Case {
        std::unique_ptr<RawRecorder> recorder;
        int accepted;
        std::string file;
    };
    Case cases[] = {
            {std::make_unique<WaveRecorder>(Folder(), "wav", 1, 8000, PcmType::DEFAULT), kMiB - 1,
             WaveHeader(1, 1, 8000, 8000, 1, 8, kMiB - 1) + largest},
            {std::make_unique<EncodedRecorder>(Folder(), "enc", 1, 8000, PcmType::DEFAULT),
             kMiB - 1 + 20, Frame(0x01103007, largest)},
    };
    for (Case& c : cases) {
        RawRecorder& recorder = *c.recorder;
        EXPECT_EQ(Record(recorder, "abc"), 0);
        recorder.Start();
        SCOPED_TRACE(recorder.GetFileName());
        std::string too_big = Bytes(kMiB, 0);
        EXPECT_EQ(Record(recorder, too_big), 0);
        EXPECT_EQ(recorder.Record(too_big.data(), -1), 0);
        EXPECT_EQ(recorder.Record(too_big.data(), -5), 0);
        EXPECT_EQ(recorder.Record(too_big.data(), 0), 0);
        EXPECT_EQ(recorder.Record(nullptr, 4), 0);
        EXPECT_EQ(ReadFile(recorder.GetPath()), "");

        EXPECT_EQ(Record(recorder, largest), c.accepted);
        EXPECT_EQ(ReadFile(recorder.GetPath()), c.file);
        recorder.Stop();
        EXPECT_EQ(Record(recorder, "abc"), 0);
        EXPECT_EQ(ReadFile(recorder.GetPath()), c.file);
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
