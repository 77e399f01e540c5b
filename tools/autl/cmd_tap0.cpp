// autl tap0: lists the frames of a capture that EncodedRecorder wrote, and turns the payloads of a
// PCM capture into a WAV file.

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/stringprintf.h>

#include <fstream>
#include <iomanip>
#include <iostream>
#include <optional>
#include <string>

#include "cli.h"
#include "mapped_file.h"
#include "tap0.h"

namespace autl {

extern const Command kTap0Command;

namespace {

using android::base::StringPrintf;
using capture::MappedFile;
using capture::Tap0Format;
using capture::Tap0Frame;
using capture::Tap0Reader;

std::optional<MappedFile> OpenCapture(const std::string& path) {
    std::string error;
    std::optional<MappedFile> file = MappedFile::Open(path, &error);
    if (!file.has_value()) Failure(kTap0Command, error);
    return file;
}

void PrintFrame(const Tap0Frame& frame) {
    std::cout << std::left << std::setw(12) << frame.offset << std::setw(9) << frame.payload.size()
              << std::setw(10) << frame.format.channels << std::setw(8) << frame.format.sample_rate
              << std::setw(14) << capture::SampleFormatName(frame.format)
              << StringPrintf("0x%08x", frame.format.word) << "\n";
}

int Info(const std::string& path) {
    const std::optional<MappedFile> file = OpenCapture(path);
    if (!file.has_value()) return kExitFailure;
    std::cout << "offset      length   channels  rate    format        word\n";
    Tap0Reader reader(file->bytes());
    uint64_t frames = 0;
    uint64_t bytes = 0;
    uint64_t format_changes = 0;
    Tap0Format format;
    while (const std::optional<Tap0Frame> frame = reader.Next()) {
        PrintFrame(*frame);
        if (frames > 0 && frame->format.word != format.word) ++format_changes;
        format = frame->format;
        ++frames;
        bytes += frame->payload.size();
    }
    std::cout << frames << (frames == 1 ? " frame, " : " frames, ") << bytes << " payload bytes";
    const uint64_t frame_size = uint64_t(capture::SampleSize(format)) * format.channels;
    if (format_changes > 0) {
        std::cout << ", " << format_changes
                  << (format_changes == 1 ? " format change" : " format changes");
    } else if (frames > 0 && frame_size > 0) {
        std::cout << StringPrintf(", %.3f s of audio",
                                  static_cast<double>(bytes) / frame_size / format.sample_rate);
    }
    std::cout << "\n";
    if (reader.error().has_value())
        return Failure(kTap0Command, path + ": " + reader.error()->message);
    return kExitSuccess;
}

bool IsSameFile(const std::string& a, const std::string& b) {
    struct stat first = {};
    struct stat second = {};
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

int Wav(const std::string& path, const std::string& out_path) {
    const std::optional<MappedFile> file = OpenCapture(path);
    if (!file.has_value()) return kExitFailure;
    std::string error;
    const std::optional<capture::Tap0WavePlan> plan = capture::PlanTap0Wave(file->bytes(), &error);
    if (!plan.has_value()) return Failure(kTap0Command, path + ": " + error);
    // Writing over the capture would change the bytes being converted.
    if (IsSameFile(path, out_path)) {
        return Failure(kTap0Command, out_path + " is the capture itself");
    }
    std::ofstream out(out_path, std::ios::binary | std::ios::trunc);
    if (!out.is_open())
        return Failure(kTap0Command, "cannot write " + out_path + ": " + strerror(errno));
    if (!capture::WriteTap0Wave(file->bytes(), *plan, out)) {
        const int error_number = errno;
        unlink(out_path.c_str());
        return Failure(kTap0Command, "cannot write " + out_path + ": " + strerror(error_number));
    }
    if (plan->truncation.has_value()) {
        std::cerr << "autl tap0: " << path << ": " << plan->truncation->message
                  << "; the frame is left out\n";
    }
    std::cout << out_path << ": " << plan->frames << (plan->frames == 1 ? " frame, " : " frames, ")
              << plan->data_size << " data bytes, " << capture::DescribeTap0Format(plan->format)
              << "\n";
    return kExitSuccess;
}

int Run(const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {});
    if (!parsed.error.empty()) return UsageError(kTap0Command, parsed.error);
    const Args& words = parsed.positional;
    if (words.empty()) return UsageError(kTap0Command, "missing action: info or wav");
    const std::string_view action = words[0];
    const size_t needed = action == "info" ? 2 : action == "wav" ? 3 : 0;
    if (needed == 0)
        return UsageError(kTap0Command, "unknown action '" + std::string(action) + "'");
    if (words.size() != needed) {
        return UsageError(kTap0Command, "wrong number of arguments for " + std::string(action));
    }
    if (action == "info") return Info(std::string(words[1]));
    return Wav(std::string(words[1]), std::string(words[2]));
}

}  // namespace

const Command kTap0Command = {
        "tap0",
        "list the frames of a \"tap0\" capture, or turn it into a WAV file",
        "usage: autl tap0 info FILE\n"
        "       autl tap0 wav FILE OUT.wav\n"
        "\n"
        "Reads a capture that EncodedRecorder wrote (FILE, usually *.audio_enc).\n"
        "\n"
        "  info  one line per frame: its offset in the file, payload length, channel count,\n"
        "        sample rate, sample format and format word; then a summary\n"
        "  wav   writes the payloads into OUT.wav behind a 44-byte header as WaveRecorder\n"
        "        writes it. Every frame must have the first one's format word, and it must be\n"
        "        PCM; a truncated last frame, as a killed process leaves it, is left out\n"
        "\n"
        "The format word keeps the channel count modulo 8, and one rate code (shown as 48000)\n"
        "stands for 48000 Hz and every rate without a code of its own: 8000, 16000, 24000,\n"
        "32000, 44100, 96000 and 192000 have theirs. INT_32_BIT and FIXED_Q_8_24 share a code.\n"
        "Damage (a bad marker, format word or length, a truncated frame) is reported with the\n"
        "frame's number and offset; nothing after it is read.\n"
        "Exit status: 0 done, 1 the file cannot be read, is damaged or cannot be converted,\n"
        "2 usage error.\n",
        Run,
};

}  // namespace autl
