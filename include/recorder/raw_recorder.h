#pragma once

// Recorders: capture the bytes that pass through a stream into files in a folder, for debugging.
// RawRecorder writes the bytes as they come, WaveRecorder a WAV file whose header is rewritten with
// every chunk, EncodedRecorder one self-describing "tap0" frame per chunk.
//
//   WaveRecorder recorder("/data/vendor/audio", "out_speaker", 2, 48000, PcmType::INT_16_BIT);
//   recorder.Start();                 // creates out_speaker-2026-11-15-14-03-09.wav, mode 0644
//   recorder.Record(buffer, bytes);   // on the stream's thread, once per buffer
//   recorder.Stop();
//
// No file stays open between calls: Start creates the file, and every Record opens it, writes and
// closes it again. Whatever a Record has written is in the file when it returns, so a crash or a
// kill of the process loses nothing already recorded, and another process can read the file at
// any time. Each call costs a few system calls (open, write, close) on the calling thread.
//
// File names are the prefix, the local time as "-%Y-%m-%d-%H-%M-%S" and the extension. Two starts
// within one second use the same name; since files are opened for appending, the second recording
// continues the first file. Since names are predictable, a symlink or FIFO found at the name is
// never followed or waited on: the file then counts as one that cannot be opened. Descriptors are
// closed on exec.
//
// No lock is taken: a recorder belongs to the thread that drives the recorded stream, and calls
// from several threads must be serialised by the caller.

#include <aidl/android/media/audio/common/PcmType.h>

#include <array>
#include <cstdint>
#include <string>

namespace vendor::zentro::tevrash::audio::hal::utils::recorder {

class RawRecorder {
  public:
    // Not started; files are named prefix-<local time>.raw in folder.
    RawRecorder(std::string folder, std::string prefix);
    // Neither stops nor logs.
    virtual ~RawRecorder();
    RawRecorder(const RawRecorder&) = delete;
    RawRecorder& operator=(const RawRecorder&) = delete;

    // Names a new file from the local time and creates it (never truncating an existing one) with
    // mode 0644. Does nothing when started. A file that cannot be created only shows in the log
    // ("Start: 0, 0"): the recorder counts as started all the same.
    virtual void Start();
    // Does nothing when not started; writes nothing to the file.
    virtual void Stop();
    // Appends size bytes of data to the file, creating it again with mode 0644 if it has
    // disappeared. Returns size once the file opened (a negative size writes nothing), 0 when size
    // is 0, data is null, the recorder is not started, or the file cannot be opened. Whether the
    // write itself succeeded is not checked.
    virtual int Record(void* data, int size);

    bool IsStarted() const;
    // Full path of the current file; empty before the first Start.
    const std::string& GetPath() const;
    const std::string& GetFileName() const;

  protected:
    // extension includes its dot, for example ".raw".
    RawRecorder(std::string folder, std::string prefix, std::string extension);

  private:
    bool started_ = false;
    std::string path_;
    const std::string folder_;
    const std::string prefix_;
    const std::string extension_;
    std::string file_name_;
};

// A canonical RIFF/WAVE file with a 44-byte header: PCM, or IEEE float for FLOAT_32_BIT. The header
// is written again before every chunk, so the file is a valid WAV file after every Record and Stop
// has nothing to finish. The header that counts a chunk is written before the chunk is appended, so
// a process killed inside Record leaves a header that counts every data byte on disk, or those and
// the chunk it was about to append.
class WaveRecorder : public RawRecorder {
  public:
    // Files are named prefix-<local time>.wav in folder. DEFAULT is recorded as 8-bit samples and
    // FIXED_Q_8_24 as 32-bit PCM; a pcm_type outside the enumeration gives zero sample sizes.
    WaveRecorder(std::string folder, std::string prefix, int32_t channel_count,
                 uint32_t sample_rate, aidl::android::media::audio::common::PcmType pcm_type);

    // Creates the empty file as RawRecorder::Start does and resets the header's sizes. The header
    // reaches the file with the first Record: a recording without chunks leaves an empty file.
    void Start() override;
    // Rewrites the header and appends the chunk. Returns 0 when size is 0, 1 MiB or more (or
    // negative), data is null, or the recorder is not started; otherwise size, even when the file
    // could not be opened or written (the header's sizes count the chunk all the same).
    int Record(void* data, int size) override;

    // channel count × GetSampleSize().
    int GetFrameSize();
    // Bytes per sample of the PCM type; 0 for a value outside the enumeration.
    int GetSampleSize();

    static constexpr int kHeaderSize = 44;

  private:
    const int32_t channel_count_;
    const uint32_t sample_rate_;
    const aidl::android::media::audio::common::PcmType pcm_type_;
    // Laid out exactly as written to the file, little-endian.
    std::array<char, kHeaderSize> header_;
};

// One frame per chunk, with no file header: "tap0", a 32-bit format word (channel count, sample
// rate and sample format codes), 8 zero bytes, the payload length (signed 32-bit) and the payload,
// all little-endian. The format word is fixed at construction: the channel count keeps its low
// three bits, rates without a code of their own (48000 among them) get code 5, PCM types outside
// the enumeration the code of INT_16_BIT.
class EncodedRecorder : public RawRecorder {
  public:
    // Files are named prefix-<local time>.audio_enc in folder.
    EncodedRecorder(const std::string& folder, const std::string& prefix, int channel_count,
                    int sample_rate, aidl::android::media::audio::common::PcmType pcm_type);

    // Creates the empty file as RawRecorder::Start does; a capture has no file header.
    void Start() override;
    // Appends one frame. Returns size + 20; 0 when size is 0, 1 MiB or more (or negative), data is
    // null, or the recorder is not started; -1 when the file cannot be opened. Whether the writes
    // succeeded is not checked.
    int Record(void* data, int size) override;

    static constexpr int kFrameHeaderSize = 20;

  private:
    // Writes one frame to fd, opened for appending: size + 20, or -1 (and nothing written) when
    // fd is -1 (the file could not be opened).
    int Encode(int fd, void* data, int size);

    // The format word, then 8 reserved bytes that are zeroed before every frame.
    std::array<char, 12> chunk_header_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::recorder
