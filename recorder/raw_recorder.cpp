#define LOG_TAG "AUtl::RawRecorder"

#include <recorder/raw_recorder.h>

#include <android-base/logging.h>
#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <utility>

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {

using aidl::android::media::audio::common::PcmType;

namespace {

// The derived recorders refuse chunks of 1 MiB and more, which also refuses every negative size.
constexpr uint32_t kMaxChunkSize = 0x100000;

bool IsRefusedChunk(const void* data, int size) {
    return size == 0 || static_cast<uint32_t>(size) >= kMaxChunkSize || data == nullptr;
}

void Put16(char* at, uint32_t value) {
    at[0] = static_cast<char>(value & 0xff);
    at[1] = static_cast<char>((value >> 8) & 0xff);
}

void Put32(char* at, uint32_t value) {
    Put16(at, value & 0xffff);
    Put16(at + 2, value >> 16);
}

uint32_t Get32(const char* at) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(at[i]);
    return value;
}

void PutId(char* at, const char (&id)[5]) {
    std::copy(id, id + 4, at);
}

// Offsets of the WAV header's fields.
constexpr int kChunkIdAt = 0;
constexpr int kChunkSizeAt = 4;
constexpr int kFormatAt = 8;
constexpr int kSubChunk1IdAt = 12;
constexpr int kSubChunk1SizeAt = 16;
constexpr int kAudioFormatAt = 20;
constexpr int kChannelCountAt = 22;
constexpr int kSampleRateAt = 24;
constexpr int kByteRateAt = 28;
constexpr int kBlockAlignAt = 32;
constexpr int kBitsPerSampleAt = 34;
constexpr int kSubChunk2IdAt = 36;
constexpr int kDataSizeAt = 40;

// The header's chunk size before any data: the 36 header bytes after the chunk size field.
constexpr uint32_t kEmptyChunkSize = 36;
constexpr uint32_t kWavePcm = 1;
constexpr uint32_t kWaveIeeeFloat = 3;

// Bytes per sample, indexed by PcmType: DEFAULT is recorded as 8-bit samples, FIXED_Q_8_24 as
// 32-bit PCM.
constexpr int kSampleSizes[] = {1, 2, 4, 4, 4, 3};

constexpr char kFrameMarker[] = "tap0";

// Codes of the format word; every rate without a code of its own, 48000 included, gets 5.
uint32_t SampleRateCode(int sample_rate) {
    switch (sample_rate) {
        case 8000:
            return 0;
        case 16000:
            return 1;
        case 24000:
            return 2;
        case 32000:
            return 3;
        case 44100:
            return 4;
        case 96000:
            return 6;
        case 192000:
            return 7;
        default:
            return 5;
    }
}

uint32_t SampleFormatCode(PcmType pcm_type) {
    switch (pcm_type) {
        case PcmType::DEFAULT:
            return 0x11;
        case PcmType::INT_32_BIT:
        case PcmType::FIXED_Q_8_24:
            return 0x17;
        case PcmType::FLOAT_32_BIT:
            return 0x06;
        case PcmType::INT_24_BIT:
            return 0x15;
        case PcmType::INT_16_BIT:
        default:
            return 0x13;
    }
}

// Bits 0-2 hold 7 and bit 12 holds 1; the channel count keeps its low three bits.
uint32_t FormatWord(int channel_count, int sample_rate, PcmType pcm_type) {
    return 7u | (1u << 12) | ((static_cast<uint32_t>(channel_count) & 7u) << 13) |
           (SampleRateCode(sample_rate) << 16) | (SampleFormatCode(pcm_type) << 20);
}

}  // namespace

RawRecorder::RawRecorder(std::string folder, std::string prefix)
    : RawRecorder(std::move(folder), std::move(prefix), ".raw") {}

RawRecorder::RawRecorder(std::string folder, std::string prefix, std::string extension)
    : folder_(std::move(folder)), prefix_(std::move(prefix)), extension_(std::move(extension)) {}

RawRecorder::~RawRecorder() = default;

void RawRecorder::Start() {
    if (started_) return;
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    char stamp[64] = "";
    strftime(stamp, sizeof(stamp), "-%Y-%m-%d-%H-%M-%S", &local);
    file_name_ = prefix_ + stamp + extension_;
    path_ = folder_ + "/" + file_name_;
    started_ = true;

    LOG(INFO) << "Start: touch a " << path_;
    {
        // Appending never truncates: a second start within the same second continues the file.
        std::ofstream file(path_, std::ios::out | std::ios::app);
        LOG(INFO) << "Start: " << file.is_open() << ", " << file.good();
    }
    if (chmod(path_.c_str(), 0644) != 0) {
        LOG(ERROR) << "Start: Failure to change mode of " << path_;
    }
    LOG(INFO) << "Start: recorder started";
}

void RawRecorder::Stop() {
    if (!started_) return;
    started_ = false;
    LOG(INFO) << "Stop: recorder stoped";
}

int RawRecorder::Record(void* data, int size) {
    if (size == 0 || data == nullptr || !started_) return 0;
    std::ofstream file(path_, std::ios::binary | std::ios::app);
    if (!file.is_open() || !file.good()) return 0;
    file.write(static_cast<const char*>(data), size);
    return size;
}

bool RawRecorder::IsStarted() const {
    return started_;
}

const std::string& RawRecorder::GetPath() const {
    return path_;
}

const std::string& RawRecorder::GetFileName() const {
    return file_name_;
}

WaveRecorder::WaveRecorder(std::string folder, std::string prefix, int32_t channel_count,
                           uint32_t sample_rate, PcmType pcm_type)
    : RawRecorder(std::move(folder), std::move(prefix), ".wav"),
      channel_count_(channel_count),
      sample_rate_(sample_rate),
      pcm_type_(pcm_type),
      header_() {
    PutId(&header_[kChunkIdAt], "RIFF");
    PutId(&header_[kFormatAt], "WAVE");
    PutId(&header_[kSubChunk1IdAt], "fmt ");
    Put32(&header_[kSubChunk1SizeAt], 16);
    PutId(&header_[kSubChunk2IdAt], "data");
}

void WaveRecorder::Start() {
    if (IsStarted()) return;
    RawRecorder::Start();
    // 32-bit arithmetic without checks; block align and bits per sample are 16-bit fields.
    const uint32_t sample_size = static_cast<uint32_t>(GetSampleSize());
    const uint32_t block_align = static_cast<uint32_t>(channel_count_) * sample_size;
    Put16(&header_[kAudioFormatAt], pcm_type_ == PcmType::FLOAT_32_BIT ? kWaveIeeeFloat : kWavePcm);
    Put16(&header_[kChannelCountAt], static_cast<uint32_t>(channel_count_));
    Put32(&header_[kSampleRateAt], sample_rate_);
    Put32(&header_[kByteRateAt], block_align * sample_rate_);
    Put16(&header_[kBlockAlignAt], block_align);
    Put16(&header_[kBitsPerSampleAt], sample_size * 8);
    Put32(&header_[kChunkSizeAt], kEmptyChunkSize);
    Put32(&header_[kDataSizeAt], 0);
}

int WaveRecorder::Record(void* data, int size) {
    if (IsRefusedChunk(data, size) || !IsStarted()) return 0;
    // Opening without truncating does not create the file: it is the one Start created.
    std::fstream file(GetPath(), std::ios::in | std::ios::out | std::ios::binary);
    // The sizes grow whether or not the file could be opened.
    Put32(&header_[kChunkSizeAt], Get32(&header_[kChunkSizeAt]) + static_cast<uint32_t>(size));
    Put32(&header_[kDataSizeAt], Get32(&header_[kDataSizeAt]) + static_cast<uint32_t>(size));
    // The header that counts the chunk goes first, then the chunk: after every Record the file is
    // a complete WAV file. A process killed between the two leaves a header that counts at most
    // this one chunk more than the file holds, which players read up to the end of the file.
    file.seekp(0);
    file.write(header_.data(), kHeaderSize);
    file.seekp(0, std::ios::end);
    file.write(static_cast<const char*>(data), size);
    return size;
}

int WaveRecorder::GetFrameSize() {
    // 32-bit and unchecked, as in the header: a huge channel count wraps instead of overflowing.
    return static_cast<int>(static_cast<uint32_t>(channel_count_) *
                            static_cast<uint32_t>(GetSampleSize()));
}

int WaveRecorder::GetSampleSize() {
    const auto index = static_cast<int>(pcm_type_);
    return index >= 0 && index < static_cast<int>(std::size(kSampleSizes)) ? kSampleSizes[index] : 0;
}

EncodedRecorder::EncodedRecorder(const std::string& folder, const std::string& prefix,
                                 int channel_count, int sample_rate, PcmType pcm_type)
    : RawRecorder(folder, prefix, ".audio_enc"), chunk_header_() {
    Put32(chunk_header_.data(), FormatWord(channel_count, sample_rate, pcm_type));
}

void EncodedRecorder::Start() {
    if (!IsStarted()) RawRecorder::Start();
}

int EncodedRecorder::Record(void* data, int size) {
    if (IsRefusedChunk(data, size) || !IsStarted()) return 0;
    std::ofstream file(GetPath(), std::ios::in | std::ios::out | std::ios::binary);
    return Encode(file, data, size);
}

int EncodedRecorder::Encode(std::ofstream& out, void* data, int size) {
    if (!out.is_open() || !out.good()) return -1;
    std::fill(chunk_header_.begin() + 4, chunk_header_.end(), 0);
    char length[4];
    Put32(length, static_cast<uint32_t>(size));
    // The stream's buffer takes the 20 header bytes, and a payload that does not fit goes out
    // with them: the frame reaches the file in one system call.
    out.seekp(0, std::ios::end);
    out.write(kFrameMarker, 4);
    out.write(chunk_header_.data(), static_cast<std::streamsize>(chunk_header_.size()));
    out.write(length, sizeof(length));
    out.write(static_cast<const char*>(data), size);
    out.close();
    return size + kFrameHeaderSize;
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
