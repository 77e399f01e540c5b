#define LOG_TAG "AUtl::RawRecorder"

#include <recorder/raw_recorder.h>

#include <android-base/file.h>
#include <android-base/logging.h>
#include <android-base/macros.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {

using aidl::android::media::audio::common::PcmType;
using android::base::unique_fd;
using android::base::WriteFully;

namespace {

constexpr mode_t kFileMode = 0644;

// Every open of a recording file. The name is predictable (prefix and time), so a final symlink
// planted there is not followed, and a FIFO planted there fails the open instead of blocking the
// stream's thread (O_NONBLOCK changes nothing for a regular file). The descriptor is not inherited
// by programs the HAL runs.
constexpr int kOpenFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

unique_fd Open(const std::string& path, int flags) {
    return unique_fd(TEMP_FAILURE_RETRY(open(path.c_str(), flags | kOpenFlags, kFileMode)));
}

// Opens the file for appending, creating it if it has disappeared since Start, with the mode Start
// gives (the umask would narrow it).
unique_fd OpenForAppend(const std::string& path) {
    unique_fd file = Open(path, O_WRONLY | O_APPEND);
    if (file.ok() || errno != ENOENT) return file;
    file = Open(path, O_WRONLY | O_APPEND | O_CREAT | O_EXCL);
    if (file.ok()) {
        fchmod(file.get(), kFileMode);
    } else if (errno == EEXIST) {  // created by someone else meanwhile
        file = Open(path, O_WRONLY | O_APPEND);
    }
    return file;
}

// Writes the pieces in order and in one system call, unless the kernel takes only a part (a full
// disk); the rest then follows piece by piece.
bool WritePieces(int fd, const char* head, size_t head_size, const void* tail, size_t tail_size) {
    iovec pieces[] = {{const_cast<char*>(head), head_size}, {const_cast<void*>(tail), tail_size}};
    const ssize_t written = TEMP_FAILURE_RETRY(writev(fd, pieces, 2));
    if (written < 0) return false;
    size_t done = static_cast<size_t>(written);
    if (done < head_size) {
        if (!WriteFully(fd, head + done, head_size - done)) return false;
        done = head_size;
    }
    done -= head_size;
    return WriteFully(fd, static_cast<const char*>(tail) + done, tail_size - done);
}

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
    // Never truncated: a second start within the same second continues the file.
    unique_fd file = Open(path_, O_WRONLY | O_APPEND | O_CREAT);
    const int open_error = errno;
    // Whether the file is open and whether it is ready for writing: both 1, or both 0.
    LOG(INFO) << "Start: " << file.ok() << ", " << file.ok();
    // A file that exists but cannot be written still gets its mode, as its owner may give it.
    if (!file.ok() && open_error == EACCES) file = Open(path_, O_RDONLY);
    if (!file.ok() || fchmod(file.get(), kFileMode) != 0) {
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
    const unique_fd file = OpenForAppend(path_);
    if (!file.ok()) return 0;
    // A negative size writes nothing and is returned all the same.
    if (size > 0) WriteFully(file.get(), data, static_cast<size_t>(size));
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
    // Not created: it is the one Start created.
    const unique_fd file = Open(GetPath(), O_WRONLY);
    // The sizes grow whether or not the file could be opened.
    Put32(&header_[kChunkSizeAt], Get32(&header_[kChunkSizeAt]) + static_cast<uint32_t>(size));
    Put32(&header_[kDataSizeAt], Get32(&header_[kDataSizeAt]) + static_cast<uint32_t>(size));
    // The header that counts the chunk goes first, then the chunk: after every Record the file is
    // a complete WAV file. A process killed between the two leaves a header that counts at most
    // this one chunk more than the file holds, which players read up to the end of the file.
    if (file.ok() && TEMP_FAILURE_RETRY(pwrite(file.get(), header_.data(), kHeaderSize, 0)) >= 0 &&
        lseek(file.get(), 0, SEEK_END) >= 0) {
        WriteFully(file.get(), data, static_cast<size_t>(size));
    }
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
    // Not created: it is the one Start created. Every frame goes to the end.
    const unique_fd file = Open(GetPath(), O_WRONLY | O_APPEND);
    return Encode(file.get(), data, size);
}

int EncodedRecorder::Encode(int fd, void* data, int size) {
    if (fd < 0) return -1;
    std::fill(chunk_header_.begin() + 4, chunk_header_.end(), 0);
    char head[kFrameHeaderSize];
    std::copy(kFrameMarker, kFrameMarker + 4, head);
    std::copy(chunk_header_.begin(), chunk_header_.end(), head + 4);
    Put32(head + 16, static_cast<uint32_t>(size));
    // The whole frame in one system call, as far as the kernel takes it.
    WritePieces(fd, head, sizeof(head), data, static_cast<size_t>(size));
    return size + kFrameHeaderSize;
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
