// autl wav: shows the header of a WAV file such as WaveRecorder writes, checks it against the file,
// and says whether it counts all the data on disk.

#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli.h"
#include "input_file.h"
#include "wav.h"

namespace autl {

extern const Command kWavCommand;

namespace {

using capture::IdText;
using capture::WaveHeader;

const char* AudioFormatName(uint16_t audio_format) {
    switch (audio_format) {
        case capture::kWavePcm:
            return "PCM";
        case capture::kWaveIeeeFloat:
            return "IEEE float";
        default:
            return "unknown";
    }
}

nlohmann::ordered_json HeaderJson(const std::string& name, const WaveHeader& header,
                                  uint64_t file_size, const std::vector<std::string>& problems) {
    return {{"file", name},
            {"chunk_id", IdText(header.chunk_id)},
            {"chunk_size", header.chunk_size},
            {"format", IdText(header.format)},
            {"fmt_id", IdText(header.fmt_id)},
            {"fmt_size", header.fmt_size},
            {"audio_format", header.audio_format},
            {"audio_format_name", AudioFormatName(header.audio_format)},
            {"channels", header.channels},
            {"sample_rate", header.sample_rate},
            {"byte_rate", header.byte_rate},
            {"block_align", header.block_align},
            {"bits_per_sample", header.bits_per_sample},
            {"data_id", IdText(header.data_id)},
            {"data_size", header.data_size},
            {"file_size", file_size},
            {"data_on_disk", file_size - capture::kWaveHeaderSize},
            {"problems", problems}};
}

void PrintHeader(const WaveHeader& header, uint64_t file_size) {
    const auto field = [](const char* name) -> std::ostream& {
        return std::cout << std::left << std::setw(18) << name;
    };
    field("chunk id") << "'" << IdText(header.chunk_id) << "'\n";
    field("chunk size") << header.chunk_size << "\n";
    field("format") << "'" << IdText(header.format) << "'\n";
    field("sub-chunk 1 id") << "'" << IdText(header.fmt_id) << "'\n";
    field("sub-chunk 1 size") << header.fmt_size << "\n";
    field("audio format") << header.audio_format << " (" << AudioFormatName(header.audio_format)
                          << ")\n";
    field("channels") << header.channels << "\n";
    field("sample rate") << header.sample_rate << "\n";
    field("byte rate") << header.byte_rate << "\n";
    field("block align") << header.block_align << "\n";
    field("bits per sample") << header.bits_per_sample << "\n";
    field("sub-chunk 2 id") << "'" << IdText(header.data_id) << "'\n";
    field("data size") << header.data_size << "\n";
    field("file size") << file_size << "\n";
    const uint64_t on_disk = file_size - capture::kWaveHeaderSize;
    field("data on disk") << on_disk << " bytes, ";
    if (on_disk == header.data_size) {
        std::cout << "all counted\n";
    } else if (on_disk > header.data_size) {
        std::cout << on_disk - header.data_size << " not counted\n";
    } else {
        std::cout << header.data_size - on_disk << " fewer than counted\n";
    }
}

int Info(const std::string& path, bool json) {
    std::string error;
    const std::optional<capture::InputFile> file = capture::InputFile::Open(path, &error);
    if (!file.has_value()) return Failure(kWavCommand, error);
    const uint64_t file_size = file->bytes().size();
    const std::optional<WaveHeader> header = capture::DecodeWaveHeader(file->bytes());
    if (!header.has_value()) {
        return Failure(kWavCommand, file->name() + ": " + std::to_string(file_size) +
                                            " bytes, fewer than a 44-byte WAV header");
    }
    const std::vector<std::string> problems = capture::CheckWaveHeader(*header, file_size);
    if (json) {
        PrintJson(HeaderJson(file->name(), *header, file_size, problems));
    } else {
        PrintHeader(*header, file_size);
    }
    for (const std::string& problem : problems) Warn(kWavCommand, file->name() + ": " + problem);
    return problems.empty() ? kExitSuccess : kExitFailure;
}

int Run(int argc, char** argv) {
    static constexpr Option kOptions[] = {{"json", false}};
    int status = kExitSuccess;
    const std::optional<ParsedArguments> parsed =
            ParseCommandLine(kWavCommand, argc, argv, kOptions, &status);
    if (!parsed.has_value()) return status;
    const Args& words = parsed->operands;
    if (words.empty()) return UsageError(kWavCommand, "missing action: info");
    if (words[0] != "info") {
        return UsageError(kWavCommand, "unknown action '" + std::string(words[0]) + "'");
    }
    if (words.size() != 2) return UsageError(kWavCommand, "wrong number of arguments for info");
    return Info(std::string(words[1]), parsed->Has("json"));
}

}  // namespace

const Command kWavCommand = {
        "wav",
        "show and check the header of a WAV file",
        "usage: autl wav info [--json] FILE\n"
        "\n"
        "Prints the fields of the 44-byte header that WaveRecorder writes, and how many of the\n"
        "data bytes in the file the header counts. A recorder killed while writing a chunk\n"
        "leaves a header that counts that chunk although the file holds less of it; the file\n"
        "still plays up to its end.\n"
        "Every inconsistency (ids, sizes against the file, byte rate and block align against\n"
        "channels and bits) is reported on stderr.\n"
        "\n"
        "  --json  the fields, the file size, the data on disk and the inconsistencies as one\n"
        "          JSON object\n"
        "\n"
        "A FILE of - reads standard input.\n"
        "Exit status: 0 a consistent header, 1 the file cannot be read, is shorter than a header\n"
        "or its header is inconsistent, 2 usage error.\n",
        Run,
};

}  // namespace autl
