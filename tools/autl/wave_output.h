#pragma once

// What `autl raw wav` and `autl tap0 wav` share: the options that describe the audio (--rate,
// --channels, --format) and the writing of a WAV file that is removed again when it fails.

#include <aidl/android/media/audio/common/PcmType.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "cli.h"

namespace autl {

namespace capture {
class InputFile;
}

inline constexpr Option kWaveOptions[] = {{"rate", true}, {"channels", true}, {"format", true}};

// The audio as the options describe it; each is empty when not given.
struct WaveFormat {
    std::optional<uint32_t> sample_rate;
    std::optional<uint16_t> channels;
    std::optional<aidl::android::media::audio::common::PcmType> pcm_type;
};

// The values of --rate (1 to 1000000), --channels (1 to 256) and --format (a PcmType name,
// any case). Empty, with the reason in *error, when one is invalid.
std::optional<WaveFormat> ParseWaveFormat(const ParsedArguments& parsed, std::string* error);

// Creates out_path (which must not be the input) and calls write, which writes the whole file
// through the function it is given; a failure removes the file and is reported for `command`.
// Returns kExitSuccess or kExitFailure.
int WriteWaveFile(
        const Command& command, const capture::InputFile& input, const std::string& out_path,
        const std::function<bool(const std::function<bool(std::span<const uint8_t>)>&)>& write);

}  // namespace autl
