#include <recorder/raw_recorder.h>

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "little_endian.h"
#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {
namespace {

using aidl::android::media::audio::common::PcmType;
using autl::test::Le16;
using autl::test::Le32;
using testing::ElementsAre;

constexpr int kMiB = 1 << 20;
const std::string kStarted = "I Start: recorder started";

// The name of a file started at `when` in a zone 14 hours east of UTC without daylight saving (so
// that a name built from UTC instead of the local time shows), built without the recorder's code.
std::string NameAt(const std::string& prefix, time_t when, const char* extension) {
    const time_t shifted = when + 14 * 3600;
    tm t = {};
    gmtime_r(&shifted, &t);
    return prefix +
           android::base::StringPrintf("-%04d-%02d-%02d-%02d-%02d-%02d", t.tm_year + 1900,
                                       t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec) +
           extension;
}

std::string Read(const std::string& path) {
    std::string content;
    android::base::ReadFileToString(path, &content);
    return content;
}

mode_t Mode(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
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
    // Every test of this program runs in that zone; files would be created rw------- without the
    // recorder's chmod.
    void SetUp() override {
        setenv("TZ", "XYZ-14", 1);
        tzset();
        umask(077);
    }

    TemporaryDir dir_;
    autl::test::LogCapture logs_;
};

// Start creates an empty file named from the local time, with mode 0644, and never truncates one
// that is there (a second Start within the same second continues the file); a second Start or
// Stop does nothing.
TEST_F(RecorderTest, StartAndStop_CreateTheFileOnce) {
    RawRecorder recorder(dir_.path, "out");
    const time_t before = time(nullptr);
    recorder.Start();
    const std::string name = recorder.GetFileName();
    EXPECT_THAT(name, testing::AnyOf(NameAt("out", before, ".raw"),
                                     NameAt("out", time(nullptr), ".raw")));
    const std::string path = std::string(dir_.path) + "/" + name;
    EXPECT_EQ(recorder.GetPath() + ": " + Read(path), path + ": ");
    EXPECT_EQ(Mode(path), S_IFREG | 0644u);
    recorder.Start();
    recorder.Stop();
    recorder.Stop();
    EXPECT_FALSE(recorder.IsStarted());
    EXPECT_THAT(logs_.Lines("AUtl::RawRecorder"),
                ElementsAre("I Start: touch a " + path, "I Start: 1, 1", kStarted,
                            "I Stop: recorder stoped"));

    const time_t now = time(nullptr);
    for (time_t when = now; when < now + 10; ++when) {
        ASSERT_TRUE(android::base::WriteStringToFile(
                "old", std::string(dir_.path) + "/" + NameAt("again", when, ".raw")));
    }
    RawRecorder again(dir_.path, "again");
    again.Start();
    EXPECT_EQ(Record(again, "new"), 3);
    EXPECT_EQ(Read(again.GetPath()), "oldnew");
    EXPECT_EQ(Mode(again.GetPath()), S_IFREG | 0644u);
}

// The raw recorder refuses only a size of zero, null data and a stopped recorder: it has no upper
// bound, and a negative size reaches the file, which takes nothing. The WAV and tap0 recorders
// refuse chunks of 1 MiB and more, and so every negative size. When the file, or the whole folder,
// disappears in the middle of a recording (the capture folder wiped while a stream runs), every
// call keeps the result each recorder promises: the raw recorder creates the file again, with the
// mode Start gave it; the WAV recorder does not report file errors. A recording started once the
// folder is back works as usual.
TEST_F(RecorderTest, Record_RefusesAndFailsAsEachKindPromises) {
    const std::string folder = std::string(dir_.path) + "/captures";
    const std::string too_big(kMiB, 'b'), largest(kMiB - 1, 'l'), chunk(100, 'c');
    const struct {
        int too_big, negative, largest, file_gone, folder_gone, recorded;
        std::string file, restarted;
    } cases[] = {
            {kMiB, -1, kMiB - 1, 100, 0, 100, too_big + largest, chunk},
            {0, 0, kMiB - 1, 100, 100, 100,
             WaveHeader(1, 2, 48000, 192000, 4, 16, kMiB - 1) + largest,
             WaveHeader(1, 2, 48000, 192000, 4, 16, 100) + chunk},
            {0, 0, kMiB - 1 + 20, -1, -1, 120, Frame(0x01355007, largest), Frame(0x01355007, chunk)},
    };
    const std::vector<std::unique_ptr<RawRecorder>> recorders = EveryKind(folder);
    std::error_code error;  // the overloads that never throw: device tests build without exceptions
    for (size_t i = 0; i < recorders.size(); ++i) {
        RawRecorder& recorder = *recorders[i];
        const auto& c = cases[i];
        ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
        EXPECT_EQ(Record(recorder, "abc"), 0);
        recorder.Start();
        SCOPED_TRACE(recorder.GetFileName());
        EXPECT_EQ(Record(recorder, too_big), c.too_big);
        EXPECT_EQ(recorder.Record(dir_.path, -1), c.negative);
        EXPECT_EQ(recorder.Record(dir_.path, 0), 0);
        EXPECT_EQ(recorder.Record(nullptr, 4), 0);
        EXPECT_EQ(Record(recorder, largest), c.largest);
        EXPECT_EQ(Read(recorder.GetPath()), c.file);
        ASSERT_EQ(unlink(recorder.GetPath().c_str()), 0);
        EXPECT_EQ(Record(recorder, chunk), c.file_gone);
        EXPECT_EQ(Mode(recorder.GetPath()), i == 0 ? S_IFREG | 0644u : 0u);
        std::filesystem::remove_all(folder, error);
        EXPECT_EQ(Record(recorder, chunk), c.folder_gone);
        EXPECT_TRUE(recorder.IsStarted());
        recorder.Stop();
        EXPECT_EQ(Record(recorder, "abc"), 0);
        ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
        recorder.Start();
        EXPECT_EQ(Record(recorder, chunk), c.recorded);
        EXPECT_EQ(Read(recorder.GetPath()), c.restarted);
        std::filesystem::remove_all(folder, error);
    }
}

// A file that cannot be opened shows in the log only: the recorder counts as started and records
// nothing. So it goes where a symlink or a FIFO was planted at the (predictable) name: the symlink
// is not followed, the FIFO not waited on. Every kind of recorder opens its file the same way.
TEST_F(RecorderTest, FileCannotBeOpened_LogsTheFailureAndRecordsNothing) {
    const std::string victim = std::string(dir_.path) + "/victim";
    ASSERT_TRUE(android::base::WriteStringToFile("precious", victim));
    for (const char* planted : {"fifo", "symlink"}) {
        // Every name that Start may choose within the next ten seconds.
        const time_t now = time(nullptr);
        for (time_t when = now; when < now + 10; ++when) {
            const std::string name = std::string(dir_.path) + "/" + NameAt(planted, when, ".raw");
            ASSERT_EQ(planted[0] == 'f' ? mkfifo(name.c_str(), 0666)
                                        : symlink(victim.c_str(), name.c_str()),
                      0);
        }
        RawRecorder recorder(dir_.path, planted);
        autl::test::LogCapture logs;
        recorder.Start();
        const std::string path = recorder.GetPath();
        EXPECT_THAT(logs.Lines("AUtl::RawRecorder"),
                    ElementsAre("I Start: touch a " + path, "I Start: 0, 0",
                                "E Start: Failure to change mode of " + path, kStarted));
        EXPECT_TRUE(recorder.IsStarted());
        EXPECT_EQ(Record(recorder, "abcd"), 0);
    }
    EXPECT_EQ(Read(victim), "precious");
    EXPECT_EQ(Mode(victim), S_IFREG | 0600u);
}

// The WAV header follows the PCM type; each chunk rewrites it, counting every chunk so far. The
// tap0 format word packs the channel count's low three bits, the rate's code and the sample
// format's.
TEST_F(RecorderTest, WaveHeaderAndFormatWord_FollowTheStreamsFormat) {
    const struct {
        int pcm_type, channels;
        uint32_t rate, sample_size, word;
    } cases[] = {
            {0, 7, 8000, 1, 0x0110f007},   {1, 2, 48000, 2, 0x01355007},
            {2, 1, 24000, 4, 0x01723007},  {3, 1, 32000, 4, 0x01733007},
            {4, 1, 16000, 4, 0x00613007},  {5, 1, 44100, 3, 0x01543007},
            {6, 1, 48000, 0, 0x01353007},  {-3, 1, 48000, 0, 0x01353007},
            {1, 9, 48000, 2, 0x01353007},  {1, 8, 192000, 2, 0x01371007},
            {1, 1, 96000, 2, 0x01363007},  {1, 1, 22050, 2, 0x01353007},
            {1, -1, 48000, 2, 0x0135f007},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);  // the row
        TemporaryDir dir;
        const auto pcm_type = static_cast<PcmType>(c.pcm_type);
        WaveRecorder wave(dir.path, "wav", c.channels, c.rate, pcm_type);
        EncodedRecorder encoded(dir.path, "enc", c.channels, static_cast<int>(c.rate), pcm_type);
        const uint32_t frame_size = static_cast<uint32_t>(c.channels) * c.sample_size;
        EXPECT_EQ(wave.GetSampleSize(), static_cast<int>(c.sample_size));
        EXPECT_EQ(wave.GetFrameSize(), static_cast<int>(frame_size));
        wave.Start();
        encoded.Start();
        EXPECT_TRUE(wave.GetFileName().ends_with(".wav") &&
                    encoded.GetFileName().ends_with(".audio_enc"));
        EXPECT_EQ(Read(wave.GetPath()) + Read(encoded.GetPath()), "");
        EXPECT_EQ(Record(wave, "1234"), 4);
        EXPECT_EQ(Record(wave, "56"), 2);
        EXPECT_EQ(Read(wave.GetPath()),
                  WaveHeader(c.pcm_type == 4 ? 3 : 1, static_cast<uint16_t>(c.channels), c.rate,
                             frame_size * c.rate, static_cast<uint16_t>(frame_size),
                             static_cast<uint16_t>(c.sample_size * 8), 6) +
                          "123456");
        EXPECT_EQ(Record(encoded, "x"), 21);
        EXPECT_EQ(Read(encoded.GetPath()), Frame(c.word, "x"));
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
