#pragma once

// A fresh folder under $TMPDIR (or /tmp), removed with everything in it on destruction.

#include <string>

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
    std::string path_;
};

// The whole content of a file; empty when it cannot be read.
std::string ReadFile(const std::string& path);

}  // namespace autl::test
