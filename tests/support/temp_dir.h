#pragma once

// A fresh folder in the system's temporary storage (android-base's TemporaryDir: $TMPDIR, else
// /data/local/tmp on a device and /tmp on a host), removed with everything in it on destruction.
// A folder that cannot be made ends the test program with a message naming the path.

#include <memory>
#include <string>

class TemporaryDir;

namespace autl::test {

class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // Absolute path, without a trailing "/".
    const std::string& path() const { return path_; }
    // path() + "/" + name.
    std::string Join(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::unique_ptr<TemporaryDir> dir_;
    std::string path_;
};

// The whole content of a file; empty when it cannot be read.
std::string ReadFile(const std::string& path);

}  // namespace autl::test
