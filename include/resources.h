#pragma once

// Where the HAL's configuration and tuning files live. A folder is named by a short key and found
// on the vendor partition ("/vendor/etc/audio/<key>/"), then in the resource APEX
// ("/apex/com.zentro.varsk.audio.resource/etc/audio/<key>/"), else in a fixed fallback under
// "/vendor/etc/". Each key is searched once; the answer is kept for the life of the object.
//
//   Resources resources;
//   std::string config = resources.GetFilePath("spatializer", "spatializer.xml");
//   if (config.empty()) return false;   // missing; a WARNING line names the path tried
//   LoadSpatializerConfig(config);
//
// The APEX version is read once, at construction, and shown in the dump with the cached folders. It
// is unknown where the platform cannot look an APEX up by name (before level 37).

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

namespace vendor::zentro::tevrash::audio::hal::utils {

namespace dumpsys {
struct DumpsysInfo;
}  // namespace dumpsys

// The two 32-bit halves of the resource APEX's 64-bit version; both -1 when it is unknown.
struct ApexVersion {
    int32_t major;
    int32_t minor;
};

class Resources {
  public:
    Resources();
    // Host testing: root is put in front of every path that is searched and returned ("/tmp/t"
    // gives "/tmp/t/vendor/etc/audio/foo/"). Resources() is Resources("").
    explicit Resources(std::string root);
    virtual ~Resources();

    Resources(const Resources&) = delete;
    Resources& operator=(const Resources&) = delete;

    // Writes the cached folders and the APEX version, one dump line each, titled
    // "AUtl::Resources". Takes the cache mutex only to copy the cache, not while writing.
    virtual void Dump(const dumpsys::DumpsysInfo& info);

    // The folder of `key`, ending in "/" and never empty; a key that matches nothing on disk gets
    // its fallback folder. The first call for a key searches the file system under the cache
    // mutex; later calls return the same answer even if the folders have changed since. Safe from
    // any thread; not for an audio thread (file-system access).
    std::string GetFolderPath(const std::string& key);

    // GetFolderPath(key) + file when that path exists (any kind of entry), else "". Logs the path
    // at INFO when found and at WARNING when not.
    std::string GetFilePath(const std::string& key, const std::string& file);

    ApexVersion GetResourceApexVersion() const;

  private:
    // The uncached search.
    std::string GetFolderPathInternal(const std::string& key);

    const std::string root_;
    std::mutex mutex_;
    std::unordered_map<std::string, std::string> folders_;  // guarded by mutex_
    const int64_t apex_version_;                            // -1 when unknown
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils
