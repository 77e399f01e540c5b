// autl tap0: lists the frames of a capture that EncodedRecorder wrote, and turns the payloads of a
// PCM capture into a WAV file.

#include <android-base/stringprintf.h>

#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli.h"
#include "input_file.h"
#include "tap0.h"
#include "wave_output.h"

namespace autl {

extern const Command kTap0Command;

namespace {

using android::base::StringPrintf;
using capture::InputFile;
using capture::Tap0Error;
using capture::Tap0Format;
using capture::Tap0Frame;
using capture::Tap0Reader;
using nlohmann::ordered_json;

// Frames of one format word and payload length that follow each other without damage between.
struct Run {
    uint64_t offset = 0;
    uint64_t frames = 0;
    uint64_t length = 0;
    Tap0Format format;
};

void PrintRow(std::string_view first_columns, const Run& run) {
    std::cout << std::left << first_columns << std::setw(9) << run.length << std::setw(10)
              << run.format.channels << std::setw(8) << run.format.sample_rate << std::setw(14)
              << capture::SampleFormatName(run.format) << StringPrintf("0x%08x", run.format.word)
              << "\n";
}

ordered_json RowJson(const Run& run, bool summary) {
    ordered_json row = {{"offset", run.offset}};
    if (summary) row["frames"] = run.frames;
    row["length"] = run.length;
    row["channels"] = run.format.channels;
    row["sample_rate"] = run.format.sample_rate;
    row["format"] = capture::SampleFormatName(run.format);
    row["word"] = run.format.word;
    return row;
}

class InfoPrinter {
  public:
    InfoPrinter(bool summary, bool json) : summary_(summary), json_(json) {
        if (json_) {
            rows_ = ordered_json::array();
        } else {
            std::cout << (summary_ ? "first       frames   length   channels  rate    format       "
                                     " word\n"
                                   : "offset      length   channels  rate    format        word\n");
        }
    }

    void Add(const Tap0Frame& frame) {
        const bool same = run_.frames > 0 && frame.format.word == run_.format.word &&
                          frame.payload.size() == run_.length && frame.index == next_index_;
        if (frames_ > 0 && frame.format.word != format_.word) ++format_changes_;
        format_ = frame.format;
        ++frames_;
        bytes_ += frame.payload.size();
        next_index_ = frame.index + 1;
        if (summary_ && same) {
            ++run_.frames;
            return;
        }
        Flush();
        run_ = {frame.offset, 1, frame.payload.size(), frame.format};
        if (!summary_) Flush();
    }

    // Ends the listing and prints the totals; the damage goes to stderr.
    void Finish(const std::string& name, const std::vector<Tap0Error>& damage) {
        Flush();
        uint64_t skipped = 0;
        for (const Tap0Error& error : damage) skipped += error.skipped;
        const uint64_t frame_size = uint64_t(capture::SampleSize(format_)) * format_.channels;
        const bool timed = format_changes_ == 0 && frames_ > 0 && frame_size > 0;
        const double seconds = timed ? static_cast<double>(bytes_) /
                                               static_cast<double>(frame_size) / format_.sample_rate
                                     : 0;
        if (json_) {
            ordered_json damage_json = ordered_json::array();
            for (const Tap0Error& error : damage) {
                damage_json.push_back({{"frame", error.frame_index},
                                       {"offset", error.offset},
                                       {"skipped", error.skipped},
                                       {"message", error.message}});
            }
            PrintJson({{"file", name},
                       {summary_ ? "runs" : "frames", std::move(rows_)},
                       {"damage", std::move(damage_json)},
                       {"summary",
                        {{"frames", frames_},
                         {"payload_bytes", bytes_},
                         {"format_changes", format_changes_},
                         {"seconds", timed ? ordered_json(seconds) : ordered_json(nullptr)},
                         {"skipped_bytes", skipped}}}});
        } else {
            std::cout << frames_ << (frames_ == 1 ? " frame, " : " frames, ") << bytes_
                      << " payload bytes";
            if (format_changes_ > 0) {
                std::cout << ", " << format_changes_
                          << (format_changes_ == 1 ? " format change" : " format changes");
            } else if (timed) {
                std::cout << StringPrintf(", %.3f s of audio", seconds);
            }
            if (skipped > 0) std::cout << ", " << skipped << " bytes skipped";
            std::cout << "\n";
        }
        for (const Tap0Error& error : damage) Warn(kTap0Command, name + ": " + error.message);
    }

  private:
    void Flush() {
        if (run_.frames == 0) return;
        if (json_) {
            rows_.push_back(RowJson(run_, summary_));
        } else if (summary_) {
            PrintRow(StringPrintf("%-12llu%-9llu", static_cast<unsigned long long>(run_.offset),
                                  static_cast<unsigned long long>(run_.frames)),
                     run_);
        } else {
            PrintRow(StringPrintf("%-12llu", static_cast<unsigned long long>(run_.offset)), run_);
        }
        run_.frames = 0;
    }

    bool summary_;
    bool json_;
    ordered_json rows_;
    Run run_;
    uint64_t next_index_ = 0;
    uint64_t frames_ = 0;
    uint64_t bytes_ = 0;
    uint64_t format_changes_ = 0;
    Tap0Format format_;
};

int Info(const InputFile& file, bool summary, bool json) {
    InfoPrinter printer(summary, json);
    Tap0Reader reader(file.bytes(), /*skip_damage=*/true);
    while (const std::optional<Tap0Frame> frame = reader.Next()) printer.Add(*frame);
    std::vector<Tap0Error> damage = reader.skipped();
    if (reader.error().has_value()) damage.push_back(*reader.error());
    printer.Finish(file.name(), damage);
    return damage.empty() ? kExitSuccess : kExitFailure;
}

int Wav(const InputFile& file, const std::string& out_path, const WaveFormat& format) {
    std::string error;
    const capture::Tap0WaveOptions options{.skip_damage = true,
                                           .channels = format.channels,
                                           .sample_rate = format.sample_rate,
                                           .pcm_type = format.pcm_type};
    const std::optional<capture::Tap0WavePlan> plan =
            capture::PlanTap0Wave(file.bytes(), &error, options);
    if (!plan.has_value()) return Failure(kTap0Command, file.name() + ": " + error);
    const int status = WriteWaveFile(kTap0Command, file, out_path, [&](const auto& write) {
        return capture::WriteTap0Wave(file.bytes(), *plan, write);
    });
    if (status != kExitSuccess) return status;
    for (const Tap0Error& damage : plan->skipped)
        Warn(kTap0Command, file.name() + ": " + damage.message);
    if (plan->truncation.has_value()) {
        Warn(kTap0Command,
             file.name() + ": " + plan->truncation->message + "; the frame is left out");
    }
    std::string description = capture::DescribeTap0Format(plan->format);
    if (format.channels || format.sample_rate || format.pcm_type) {
        const auto& header = plan->header;
        description = StringPrintf(
                "0x%08x taken as %u channel%s, %u Hz, %s", plan->format.word, header.channels,
                header.channels == 1 ? "" : "s", header.sample_rate,
                toString(format.pcm_type.has_value() ? *format.pcm_type : *plan->format.pcm_type)
                        .c_str());
    }
    std::cout << out_path << ": " << plan->frames << (plan->frames == 1 ? " frame, " : " frames, ")
              << plan->data_size << " data bytes, " << description << "\n";
    return kExitSuccess;
}

int Run(int argc, char** argv) {
    static constexpr Option kOptions[] = {
            {"json", false}, {"summary", false}, kWaveOptions[0], kWaveOptions[1], kWaveOptions[2]};
    int status = kExitSuccess;
    const std::optional<ParsedArguments> parsed =
            ParseCommandLine(kTap0Command, argc, argv, kOptions, &status);
    if (!parsed.has_value()) return status;
    const Args& words = parsed->operands;
    if (words.empty()) return UsageError(kTap0Command, "missing action: info or wav");
    const std::string_view action = words[0];
    const size_t needed = action == "info" ? 2 : action == "wav" ? 3 : 0;
    if (needed == 0) {
        return UsageError(kTap0Command, "unknown action '" + std::string(action) + "'");
    }
    if (words.size() != needed) {
        return UsageError(kTap0Command, "wrong number of arguments for " + std::string(action));
    }
    for (const auto& [name, value] : parsed->options) {
        const bool for_info = name == "json" || name == "summary";
        if (for_info != (action == "info")) {
            return UsageError(kTap0Command, "--" + std::string(name) + " does not apply to " +
                                                    std::string(action));
        }
    }
    std::string error;
    const std::optional<WaveFormat> format = ParseWaveFormat(*parsed, &error);
    if (!format.has_value()) return UsageError(kTap0Command, error);
    const std::optional<InputFile> file = InputFile::Open(std::string(words[1]), &error);
    if (!file.has_value()) return Failure(kTap0Command, error);
    if (action == "info") return Info(*file, parsed->Has("summary"), parsed->Has("json"));
    return Wav(*file, std::string(words[2]), *format);
}

}  // namespace

const Command kTap0Command = {
        "tap0",
        "list the frames of a \"tap0\" capture, or turn it into a WAV file",
        "usage: autl tap0 info [--summary] [--json] FILE\n"
        "       autl tap0 wav [--rate R] [--channels C] [--format F] FILE OUT.wav\n"
        "\n"
        "Reads a capture that EncodedRecorder wrote (FILE, usually *.audio_enc; - reads standard\n"
        "input).\n"
        "\n"
        "  info  one line per frame: its offset in the file, payload length, channel count,\n"
        "        sample rate, sample format and format word; then a summary\n"
        "    --summary  one line per run of frames of equal format and length instead: the\n"
        "               first frame's offset and the number of frames\n"
        "    --json     the frames (or runs), the damage and the summary as one JSON object\n"
        "  wav   writes the payloads into OUT.wav behind a 44-byte header as WaveRecorder\n"
        "        writes it. Every frame must have the first one's format word, and it must be\n"
        "        PCM; a truncated last frame, as a killed process leaves it, is left out\n"
        "    --rate R, --channels C, --format F  what the header says instead of what the\n"
        "               format word tells (F: UINT_8_BIT, INT_16_BIT, INT_24_BIT, INT_32_BIT,\n"
        "               FIXED_Q_8_24 or FLOAT_32_BIT)\n"
        "\n"
        "The format word keeps the channel count modulo 8, and one rate code (shown as 48000)\n"
        "stands for 48000 Hz and every rate without a code of its own: 8000, 16000, 24000,\n"
        "32000, 44100, 96000 and 192000 have theirs. INT_32_BIT and FIXED_Q_8_24 share a code.\n"
        "Damage (a bad marker, format word or length, a torn or truncated frame) is reported on\n"
        "stderr with the frame's number and offset. Reading goes on at the next frame header\n"
        "found after it, saying how many bytes it skipped; `wav` leaves the damage out.\n"
        "Exit status: 0 done, 1 the file cannot be read or written, is damaged (info) or cannot\n"
        "be converted (wav), 2 usage error.\n",
        Run,
};

}  // namespace autl
