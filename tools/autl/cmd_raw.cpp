// autl raw: turns a capture that RawRecorder wrote (the stream's bytes, nothing else) into a WAV
// file, given what the bytes are.

#include <android-base/stringprintf.h>

#include <iostream>
#include <optional>
#include <string>

#include "cli.h"
#include "input_file.h"
#include "wav.h"
#include "wave_output.h"

namespace autl {

extern const Command kRawCommand;

namespace {

using android::base::StringPrintf;

int Wav(const capture::InputFile& file, const std::string& out_path, const WaveFormat& format) {
    const uint64_t size = file.bytes().size();
    if (size > capture::kMaxWaveDataSize) {
        return Failure(kRawCommand,
                       StringPrintf("%s: %llu bytes, more than a WAV file counts (%llu)",
                                    file.name().c_str(), static_cast<unsigned long long>(size),
                                    static_cast<unsigned long long>(capture::kMaxWaveDataSize)));
    }
    const capture::WaveHeader header = *capture::MakePcmWaveHeader(
            *format.pcm_type, *format.channels, *format.sample_rate, static_cast<uint32_t>(size));
    const int status = WriteWaveFile(kRawCommand, file, out_path, [&](const auto& write) {
        return write(capture::EncodeWaveHeader(header)) && write(file.bytes());
    });
    if (status != kExitSuccess) return status;
    if (const uint64_t partial = size % header.block_align; partial != 0) {
        Warn(kRawCommand, StringPrintf("%s: the last %llu bytes make no whole frame of %u bytes",
                                       file.name().c_str(), static_cast<unsigned long long>(partial),
                                       header.block_align));
    }
    std::cout << out_path << ": " << size << " data bytes, "
              << StringPrintf("%u channel%s, %u Hz, ", header.channels,
                              header.channels == 1 ? "" : "s", header.sample_rate)
              << toString(*format.pcm_type)
              << StringPrintf(", %.3f s of audio\n",
                              static_cast<double>(size / header.block_align) / header.sample_rate);
    return kExitSuccess;
}

int Run(int argc, char** argv) {
    int status = kExitSuccess;
    const std::optional<ParsedArguments> parsed =
            ParseCommandLine(kRawCommand, argc, argv, kWaveOptions, &status);
    if (!parsed.has_value()) return status;
    const Args& words = parsed->operands;
    if (words.empty()) return UsageError(kRawCommand, "missing action: wav");
    if (words[0] != "wav") {
        return UsageError(kRawCommand, "unknown action '" + std::string(words[0]) + "'");
    }
    if (words.size() != 3) return UsageError(kRawCommand, "wrong number of arguments for wav");
    std::string error;
    const std::optional<WaveFormat> format = ParseWaveFormat(*parsed, &error);
    if (!format.has_value()) return UsageError(kRawCommand, error);
    for (const Option& option : kWaveOptions) {
        if (!parsed->Has(option.name)) {
            return UsageError(kRawCommand, std::string("missing --") + option.name +
                                                   ": a raw capture does not say it");
        }
    }
    const std::optional<capture::InputFile> file =
            capture::InputFile::Open(std::string(words[1]), &error);
    if (!file.has_value()) return Failure(kRawCommand, error);
    return Wav(*file, std::string(words[2]), *format);
}

}  // namespace

const Command kRawCommand = {
        "raw",
        "turn a raw capture into a WAV file",
        "usage: autl raw wav --rate R --channels C --format F FILE OUT.wav\n"
        "\n"
        "Writes the bytes of FILE, a capture that RawRecorder wrote (usually *.raw; - reads\n"
        "standard input), into OUT.wav behind the 44-byte header that WaveRecorder writes for\n"
        "the same stream. A raw capture holds the stream's bytes only, so the options say what\n"
        "they are:\n"
        "\n"
        "  --rate R      the sample rate in Hz, 1 to 1000000\n"
        "  --channels C  the channel count, 1 to 256\n"
        "  --format F    the PcmType: UINT_8_BIT, INT_16_BIT, INT_24_BIT, INT_32_BIT,\n"
        "                FIXED_Q_8_24 or FLOAT_32_BIT\n"
        "\n"
        "Bytes at the end that make no whole frame are kept and reported.\n"
        "Exit status: 0 done, 1 FILE cannot be read or OUT.wav cannot be written, 2 usage error.\n",
        Run,
};

}  // namespace autl
