#define LOG_TAG "AUtl::Resources"

#include <resources.h>

#include <android-base/format.h>
#include <android-base/logging.h>
#include <android-base/properties.h>
#include <android/apexsupport.h>
#include <dlfcn.h>

#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <dumpsys/dumpsys.h>
#include <dumpsys/yaml.h>

namespace vendor::zentro::tevrash::audio::hal::utils {

namespace {

constexpr char kResourceApexName[] = "com.zentro.varsk.audio.resource";
constexpr char kVendorAudioFolder[] = "/vendor/etc/audio/";
constexpr char kApexAudioFolder[] = "/apex/com.zentro.varsk.audio.resource/etc/audio/";
constexpr char kVendorFolder[] = "/vendor/etc/";

// Keys whose fallback is not "/vendor/etc/" itself.
struct Fallback {
    std::string_view key;
    std::string_view folder;
};
constexpr Fallback kFallbacks[] = {
        {"spatializer", "/vendor/etc/spatializer/"},
        {"vexa4", "/vendor/etc/ulq/"},
        {"dornwake", "/vendor/etc/ulq/"},
        {"kastrelion", "/vendor/etc/ulq/"},
};

// AApexInfo_createWithName exists from platform level 37 on; a pre-release platform has it too.
// The build properties do not change while the process lives, so they are read once.
bool PlatformHasApexInfoByName() {
    static const bool has_it = [] {
        const int sdk = android::base::GetIntProperty("ro.build.version.sdk", 10000);
        return sdk >= 37 || android::base::GetProperty("ro.build.version.codename", "") != "REL";
    }();
    return has_it;
}

// AApexInfo_createWithName comes with platform level 37, and no public header declares it yet. It
// is looked up at run time rather than called by name, so that the library compiles against headers
// with and without the declaration, and loads where libapexsupport lacks the symbol (a reference by
// name would stop the whole library from loading there, before the level check could run). A weak
// reference guarded by __builtin_available would not do: a vendor module is compiled at the
// platform's own API level, where the guard is settled at compile time and the reference stays
// strong.
using CreateWithName = AApexInfoError (*)(const char* name, AApexInfo** info);
constexpr char kCreateWithName[] = "AApexInfo_createWithName";

CreateWithName FindCreateWithName() {
    // The process's global scope first: a call by name would bind there.
    if (void* symbol = dlsym(RTLD_DEFAULT, kCreateWithName)) {
        return reinterpret_cast<CreateWithName>(symbol);
    }
    // On a device libapexsupport sits in the system's linker namespace, which the global scope of
    // a vendor library does not search; its own handle does. It is loaded already, as a library
    // this one needs, and stays loaded after the handle is closed.
    void* library = dlopen("libapexsupport.so", RTLD_NOW | RTLD_NOLOAD);
    if (library == nullptr) return nullptr;
    void* symbol = dlsym(library, kCreateWithName);
    dlclose(library);
    return reinterpret_cast<CreateWithName>(symbol);
}

int64_t ReadResourceApexVersion() {
    if (!PlatformHasApexInfoByName()) return -1;
    static const CreateWithName create_with_name = FindCreateWithName();
    if (create_with_name == nullptr) return -1;
    AApexInfo* info = nullptr;
    if (create_with_name(kResourceApexName, &info) != AAPEXINFO_OK) return -1;
    const int64_t version = AApexInfo_getVersion(info);
    AApexInfo_destroy(info);
    return version;
}

// Any kind of entry counts, not only a folder; an error while asking counts as absent.
bool Exists(const std::string& path) {
    std::error_code error;
    const std::filesystem::file_type type = std::filesystem::status(path, error).type();
    return type != std::filesystem::file_type::none && type != std::filesystem::file_type::not_found;
}

std::string FormatApexVersion(const ApexVersion& version) {
    if (version.major == -1 || version.minor == -1) return "{major: -1, minor: -1}";
    // The major half is shown in hexadecimal, the minor half in decimal.
    return fmt::format("{{major: {:x}, minor: {}}}", version.major, version.minor);
}

}  // namespace

Resources::Resources() : Resources(std::string()) {}

Resources::Resources(std::string root)
    : root_(std::move(root)), apex_version_(ReadResourceApexVersion()) {}

Resources::~Resources() = default;

std::string Resources::GetFolderPathInternal(const std::string& key) {
    // The vendor partition comes first, so that its copy of a folder overrides the APEX's.
    for (const char* base : {kVendorAudioFolder, kApexAudioFolder}) {
        std::string candidate = root_ + base + key;
        if (Exists(candidate)) return candidate + "/";
    }
    for (const Fallback& fallback : kFallbacks) {
        if (key == fallback.key) return root_ + std::string(fallback.folder);
    }
    return root_ + kVendorFolder;
}

std::string Resources::GetFolderPath(const std::string& key) {
    std::lock_guard lock(mutex_);
    if (const auto it = folders_.find(key); it != folders_.end()) return it->second;
    std::string folder = GetFolderPathInternal(key);
    folders_.emplace(key, folder);
    return folder;
}

std::string Resources::GetFilePath(const std::string& key, const std::string& file) {
    std::string path = GetFolderPath(key) + file;
    if (Exists(path)) {
        LOG(INFO) << "GetFilePath: " << path << " exist";
        return path;
    }
    LOG(WARNING) << "GetFilePath: " << path << " not exist";
    return "";
}

ApexVersion Resources::GetResourceApexVersion() const {
    const auto version = static_cast<uint64_t>(apex_version_);
    return {.major = static_cast<int32_t>(version >> 32),
            .minor = static_cast<int32_t>(version & 0xFFFFFFFFu)};
}

void Resources::Dump(const dumpsys::DumpsysInfo& info) {
    dumpsys::YamlMapping folders;
    {
        std::lock_guard lock(mutex_);
        folders.Put("#", "size: " + std::to_string(folders_.size()));
        for (const auto& [key, folder] : folders_) folders.Put(key, folder);
    }
    std::string folders_text = folders.ToString(true);
    if (folders_text.ends_with('\n')) folders_text.pop_back();

    dumpsys::YamlMapping dump;
    dump.Put("Resources", "\n" + folders_text);
    dump.Put("APEX version", FormatApexVersion(GetResourceApexVersion()));

    const std::string text = dump.ToString(true);
    for (size_t begin = 0; begin <= text.size();) {
        size_t end = text.find('\n', begin);
        if (end == std::string::npos) end = text.size();
        dumpsys::Dumpsys(info, LOG_TAG) << std::string_view(text).substr(begin, end - begin);
        begin = end + 1;
    }
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils
