// The autl program, run on files that the recorders wrote (some of them damaged afterwards), on
// saved dumps and on its own demo: the transcripts tests/data/autl/*.txt hold each command and what
// it printed, compared whole. They share one folder and run in order.

#include <android-base/file.h>
#include <recorder/raw_recorder.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "little_endian.h"
#include "transcript.h"

namespace autl {
namespace {

using aidl::android::media::audio::common::PcmType;
using test::Le32;
using vendor::zentro::tevrash::audio::hal::utils::recorder::EncodedRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::RawRecorder;
using vendor::zentro::tevrash::audio::hal::utils::recorder::WaveRecorder;

class AutlTest : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directory(Path("recording"));
        std::filesystem::create_directory_symlink(AUTL_TEST_DATA "/calls", Path("calls"));
        const std::vector<std::string> chunks = {std::string(1920, 'a'), std::string(6, 'b')};
        Record("empty.audio_enc", Encoded(2, 48000, PcmType::INT_16_BIT), {});
        const std::string capture =
                Record("capture.audio_enc", Encoded(1, 44100, PcmType::INT_24_BIT), chunks);
        Record("runs.audio_enc", Encoded(2, 48000, PcmType::INT_16_BIT), {"ab", "cd", "efg"});
        // Data after a frame that is not one.
        Write("damaged.audio_enc", Record("damaged", Encoded(1, 16000, PcmType::FLOAT_32_BIT),
                                          {std::string(1920, 'a'), "0123456789"}) +
                                           "tap1 and the rest");
        // Three recordings in one file, the second in another format.
        Write("changing.audio_enc",
              Record("1", Encoded(2, 48000, PcmType::INT_16_BIT), {"ab"}) +
                      Record("2", Encoded(1, 8000, PcmType::DEFAULT), {"cd"}) +
                      Record("3", Encoded(2, 48000, PcmType::INT_16_BIT), {"ef"}));
        // Cut 30 bytes into a third frame, as a killed recorder leaves it.
        Write("cut.audio_enc", capture + capture.substr(0, 30));
        // The disk filled 120 bytes into the second frame; the third one was written later.
        const std::string frames = Record("torn", Encoded(1, 44100, PcmType::INT_24_BIT),
                                          {chunks[0], std::string(1920, 'x'), chunks[1]});
        Write("torn.audio_enc", frames.substr(0, 1940 + 120) + frames.substr(2 * 1940));
        Record("capture.raw", RawRecorder(Path("recording"), "r"), chunks);
        // What converting capture.audio_enc and capture.raw must write.
        Record("expected.wav", Wave(1, 44100, PcmType::INT_24_BIT), chunks);
        const std::string wav = Record("stereo.wav", Wave(2, 48000, PcmType::INT_16_BIT),
                                       {std::string(100, 'a'), std::string(50, 'a')});
        // Data after what the header counts, as a second recording in the same second leaves it.
        Write("extra.wav", wav + std::string(10, 'b'));
        // Byte rate 1000 and data size 200.
        Write("bad.wav", std::string(wav).replace(28, 4, "\xe8\x03\0\0", 4).replace(40, 1, "\xc8"));
        Write("short.wav", "RIFF");
        setenv("AUTL_VERSION", AUTL_VERSION, 1);

        // The format word keeps the channel count's low three bits, the rates that have a code of
        // their own and five sample formats: fN.audio_enc and the WAV file fN.wav that converting
        // it must give, for that format as the word tells it.
        const struct {
            int channels, rate, type, decoded_channels, decoded_rate, decoded_type;
        } kFormats[] = {
                {2, 48000, 1, 2, 48000, 1}, {1, 16000, 4, 1, 16000, 4},
                {6, 44100, 5, 6, 44100, 5}, {2, 8000, 3, 2, 8000, 2},
                {4, 96000, 2, 4, 96000, 2}, {7, 192000, 0, 7, 192000, 0},
                {3, 24000, 1, 3, 24000, 1}, {5, 32000, 1, 5, 32000, 1},
                {9, 48000, 1, 1, 48000, 1}, {6, 22050, 2, 6, 48000, 2},
                {4, 96000, 6, 4, 96000, 1},
        };
        const std::vector<std::string> payloads = {"x", std::string(1920, 'y'),
                                                   std::string(4097, 'z')};
        for (size_t i = 0; i < std::size(kFormats); ++i) {
            const auto& f = kFormats[i];
            const std::string name = "f" + std::to_string(i);
            Record(name + ".audio_enc", Encoded(f.channels, f.rate, PcmType(f.type)), payloads);
            Record(name + ".wav", Wave(f.decoded_channels, f.decoded_rate, PcmType(f.decoded_type)),
                   payloads);
        }
        Record("largest.audio_enc", Encoded(2, 48000, PcmType::INT_16_BIT),
               {std::string((1 << 20) - 1, 'x')});

        // A frame, then a second one damaged in one way, each file named after what is wrong.
        const std::string first = Frame(0x01355007, "0123456789");
        const std::string second = Frame(0x01355007, "abcdefghij");
        const auto with = [&](size_t at, const std::string& bytes) {
            return first + std::string(second).replace(at, bytes.size(), bytes);
        };
        for (const auto& [name, capture] :
             std::initializer_list<std::pair<std::string, std::string>>{
                     {"marker", with(0, "tap1")},
                     {"marker-bytes", with(0, std::string("\0\1ap", 4))},
                     {"marker-short", first + "tX"},
                     {"header-short", first + "ta"},
                     {"header-19", first + second.substr(0, 19)},
                     {"payload-none", first + second.substr(0, 20)},
                     {"payload-short", first + second.substr(0, 27)},
                     {"length-negative", with(16, Le32(-5))},
                     {"length-0", with(16, Le32(0))},
                     {"length-1MiB", with(16, Le32(1 << 20))},
                     {"word-marker-bits", with(4, Le32(0x01355006))},
                     {"word-bit-19", with(4, Le32(0x01355007 | 1u << 19))},
                     {"reserved", with(15, "\x01")},
                     // Cut after 3 payload bytes by a full disk; the next frame was written later.
                     {"torn", first + second.substr(0, 23) + first},
                     // Captures that cannot become WAV files.
                     {"format-change", first + Frame(0x00613007, "xy")},
                     {"not-pcm", Frame(0x02a53007, "ab")},
                     {"no-channels", Frame(0x01351007, "ab")},
             }) {
            Write("damaged-" + name + ".audio_enc", capture);
        }
    }

    static std::string Frame(uint32_t word, const std::string& payload) {
        return "tap0" + Le32(word) + std::string(8, '\0') + Le32(payload.size()) + payload;
    }

    EncodedRecorder Encoded(int channels, int rate, PcmType type) {
        return EncodedRecorder(Path("recording"), "r", channels, rate, type);
    }
    WaveRecorder Wave(int channels, int rate, PcmType type) {
        return WaveRecorder(Path("recording"), "r", channels, rate, type);
    }
    // Records the chunks, and moves the file to `name` in the test's folder; its content.
    std::string Record(const std::string& name, RawRecorder&& recorder,
                       const std::vector<std::string>& chunks) {
        recorder.Start();
        for (std::string chunk : chunks) recorder.Record(chunk.data(), std::ssize(chunk));
        std::filesystem::rename(recorder.GetPath(), Path(name));
        std::string content;
        EXPECT_TRUE(android::base::ReadFileToString(Path(name), &content)) << name;
        return content;
    }
    void Write(const std::string& name, const std::string& content) {
        ASSERT_TRUE(android::base::WriteStringToFile(content, Path(name)));
    }
    std::string Path(const std::string& name) { return std::string(dir_.path) + "/" + name; }

    TemporaryDir dir_;
};

TEST_F(AutlTest, Transcripts) {
    for (const char* name : {"command_line", "capture", "calls", "demo"}) {
        test::ExpectTranscript("autl/" + std::string(name) + ".txt", dir_.path, AUTL_TOOL);
    }
}

}  // namespace
}  // namespace autl
