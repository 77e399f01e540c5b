#include "wave_output.h"

#include <strings.h>

#include "input_file.h"

namespace autl {

namespace {

using aidl::android::media::audio::common::PcmType;

// Every PcmType, by the name toString gives it; UINT_8_BIT is DEFAULT's other name.
constexpr std::pair<const char*, PcmType> kPcmTypes[] = {
        {"DEFAULT", PcmType::DEFAULT},           {"UINT_8_BIT", PcmType::UINT_8_BIT},
        {"INT_16_BIT", PcmType::INT_16_BIT},     {"INT_24_BIT", PcmType::INT_24_BIT},
        {"INT_32_BIT", PcmType::INT_32_BIT},     {"FIXED_Q_8_24", PcmType::FIXED_Q_8_24},
        {"FLOAT_32_BIT", PcmType::FLOAT_32_BIT},
};

}  // namespace

std::optional<WaveFormat> ParseWaveFormat(const ParsedArguments& parsed, std::string* error) {
    WaveFormat format;
    if (const auto text = parsed.Value("rate")) {
        const std::optional<int64_t> rate = ParseNumber(*text, 1, 1000000);
        if (!rate.has_value()) {
            *error = "invalid --rate '" + std::string(*text) + "': expected 1 to 1000000 Hz";
            return std::nullopt;
        }
        format.sample_rate = static_cast<uint32_t>(*rate);
    }
    if (const auto text = parsed.Value("channels")) {
        const std::optional<int64_t> channels = ParseNumber(*text, 1, 256);
        if (!channels.has_value()) {
            *error = "invalid --channels '" + std::string(*text) + "': expected 1 to 256";
            return std::nullopt;
        }
        format.channels = static_cast<uint16_t>(*channels);
    }
    if (const auto text = parsed.Value("format")) {
        const std::string name(*text);
        for (const auto& [pcm_name, pcm_type] : kPcmTypes) {
            if (strcasecmp(name.c_str(), pcm_name) == 0) format.pcm_type = pcm_type;
        }
        if (!format.pcm_type.has_value()) {
            *error = "invalid --format '" + name +
                     "': expected UINT_8_BIT, INT_16_BIT, INT_24_BIT, INT_32_BIT, FIXED_Q_8_24 or "
                     "FLOAT_32_BIT";
            return std::nullopt;
        }
    }
    return format;
}

int WriteWaveFile(
        const Command& command, const capture::InputFile& input, const std::string& out_path,
        const std::function<bool(const std::function<bool(std::span<const uint8_t>)>&)>& write) {
    std::string error;
    std::optional<OutputFile> out = OutputFile::Create(out_path, &input, &error);
    if (!out.has_value()) return Failure(command, error);
    const bool written =
            write([&out](std::span<const uint8_t> bytes) { return out->Write(bytes); }) &&
            out->Close();
    if (written) return kExitSuccess;
    // A file that lacks some of its audio would play as if it held all of it.
    error = out->WriteError();
    out->Discard();
    return Failure(command, error);
}

}  // namespace autl
