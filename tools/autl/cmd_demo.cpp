// autl demo: plays a HAL session on the host with the library doing its real job (stream and
// module calls logged, a stream recorded, resources resolved, a wake lock held) and ends with the
// dump that the HAL's dump(fd, args) would write, the FILTER arguments being the dump's arguments.

#include <dumpsys/dumpsys.h>
#include <resources.h>
#include <wake_lock.h>

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

#include "cli.h"
#include "demo_hal.h"

namespace autl {

extern const Command kDemoCommand;

namespace {

namespace utils = vendor::zentro::tevrash::audio::hal::utils;
using utils::dumpsys::Dumpsys;
using utils::dumpsys::DumpsysInfo;

constexpr int64_t kDefaultSeconds = 3;
constexpr int64_t kMaxSeconds = 3600;

// Keys and files the demo HAL looks up at start, as a HAL loads its configuration.
constexpr std::pair<const char*, const char*> kResourceFiles[] = {
        {"spatializer", "spatializer.xml"},
        {"vexa4", "vexa4_tuning.bin"},
        {"speaker", "speaker_protection.json"},
};

// A new folder named after the local time under the current directory.
std::optional<std::string> MakeSessionFolder(std::string* error) {
    const time_t now = time(nullptr);
    struct tm local {};
    localtime_r(&now, &local);
    char stamp[32];
    strftime(stamp, sizeof(stamp), "autl-demo-%Y%m%d-%H%M%S", &local);
    for (int attempt = 1; attempt < 100; ++attempt) {
        std::string folder = attempt == 1 ? stamp : stamp + ("-" + std::to_string(attempt));
        if (mkdir(folder.c_str(), 0755) == 0) return folder;
        if (errno != EEXIST) {
            *error = "cannot create folder '" + folder + "': " + std::strerror(errno);
            return std::nullopt;
        }
    }
    *error = std::string("cannot create a new folder named ") + stamp + "*";
    return std::nullopt;
}

std::optional<std::string> MakeFolder(const std::string& folder, std::string* error) {
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (code || !std::filesystem::is_directory(folder, code)) {
        *error = "cannot create folder '" + folder +
                 "': " + (code ? code.message() : std::string("not a directory"));
        return std::nullopt;
    }
    return folder;
}

void Progress(int64_t elapsed, int64_t seconds, const demo::DemoStreamOut& stream,
              const demo::DemoModule& module) {
    std::cerr << "autl demo: " << elapsed << "/" << seconds << " s, " << stream.commands()
              << " stream commands, " << module.calls() << " module calls" << std::endl;
}

int Run(int argc, char** argv) {
    static constexpr Option kOptions[] = {{"seconds", true}, {"out", true}, {"root", true}};
    int status = kExitSuccess;
    const std::optional<ParsedArguments> parsed =
            ParseCommandLine(kDemoCommand, argc, argv, kOptions, &status);
    if (!parsed.has_value()) return status;
    int64_t seconds = kDefaultSeconds;
    if (const auto text = parsed->Value("seconds")) {
        const std::optional<int64_t> value = ParseNumber(*text, 1, kMaxSeconds);
        if (!value) {
            return UsageError(kDemoCommand, "invalid --seconds '" + std::string(*text) +
                                                    "': expected a whole number from 1 to 3600");
        }
        seconds = *value;
    }
    std::optional<std::string> root;
    if (const auto text = parsed->Value("root")) {
        std::error_code code;
        if (!std::filesystem::is_directory(std::string(*text), code)) {
            return Failure(kDemoCommand, "--root '" + std::string(*text) + "' is not a folder");
        }
        root = std::string(*text);
    }
    std::string error;
    const std::optional<std::string> folder =
            parsed->Has("out") ? MakeFolder(std::string(*parsed->Value("out")), &error)
                               : MakeSessionFolder(&error);
    if (!folder) return Failure(kDemoCommand, error);

    // The session: a wake lock for its length (on a host without the kernel's wake lock files
    // the acquire fails and is logged), the configuration looked up, then a stream playing while
    // the module's calls come in.
    utils::WakeLock wake_lock("autl_demo");
    wake_lock.Acquire();
    utils::Resources resources(root.value_or(""));
    for (const auto& [key, file] : kResourceFiles) resources.GetFilePath(key, file);

    demo::DemoModule module;
    demo::DemoStreamOut stream(*folder);
    module.Start();
    if (!stream.Open()) return Failure(kDemoCommand, "the stream worker did not start");
    const auto start = std::chrono::steady_clock::now();
    for (int64_t elapsed = 1; elapsed <= seconds; ++elapsed) {
        std::this_thread::sleep_until(start + std::chrono::seconds(elapsed));
        Progress(elapsed, seconds, stream, module);
    }
    stream.Close();
    module.Stop();
    wake_lock.Release();

    // The dump, as the HAL writes it for `dumpsys <service> FILTER...`.
    std::vector<const char*> filters;
    for (std::string_view filter : parsed->operands) filters.push_back(filter.data());
    std::cout.flush();
    const DumpsysInfo info(STDOUT_FILENO, filters.data(), static_cast<uint32_t>(filters.size()));
    DumpsysInfo nested(info);
    nested.indentation += 2;
    Dumpsys(info, "AUtl::Logger") << "Module calls:";
    module.logger().Dump(nested);
    Dumpsys(info, "AUtl::Logger") << "Stream out 0 commands:";
    stream.logger().Dump(nested);
    resources.Dump(info);

    std::cout << "\nCaptures of stream out 0:\n";
    for (const std::string& path : stream.CapturePaths()) std::cout << "  " << path << "\n";
    return kExitSuccess;
}

}  // namespace

const Command kDemoCommand = {
        "demo",
        "play a HAL session on this machine and dump it",
        "usage: autl demo [--seconds N] [--out DIR] [--root DIR] [FILTER...]\n"
        "\n"
        "Plays a HAL session with the library: an output stream's worker takes a command every\n"
        "5 ms (start, bursts, pause, drain, standby, now and then a failed transfer), logs it\n"
        "with its reply and records the tone it plays as WAV and tap0 captures; module calls "
        "(mute,\n"
        "audio mode, SCO, output streams, patches) arrive on two threads and are logged into one\n"
        "logger; configuration files are looked up; a wake lock is held. Then it writes the HAL's\n"
        "dump to standard output and says where the captures are; `autl calls` reads that dump\n"
        "back. A progress line per second and the library's WARNING lines (INFO too with -v) go\n"
        "to standard error.\n"
        "\n"
        "  --seconds N  how long the session plays, 1 to 3600 (default 3)\n"
        "  --out DIR    the folder for the captures, created if missing (default: a new\n"
        "               autl-demo-<date>-<time> folder in the current directory)\n"
        "  --root DIR   look configuration files up under DIR instead of the device's /vendor\n"
        "               and /apex (for example DIR/vendor/etc/audio/spatializer/spatializer.xml)\n"
        "  FILTER...    the dump's arguments: only sections whose name starts with one of them\n"
        "               are written (AUtl::Logger, AUtl::Resources)\n",
        Run,
};

}  // namespace autl
