#pragma once

// A file's bytes, mapped read-only for the readers of captures, however large the file.
//
//   std::string error;
//   std::optional<MappedFile> file = MappedFile::Open(path, &error);
//   if (!file.has_value()) Fail(error);   // "cannot open x.wav: No such file or directory"
//   Tap0Reader reader(file->bytes());

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace autl::capture {

class MappedFile {
  public:
    // The file's bytes as they are at the call (a file that grows later shows its old size).
    // Empty, with a message naming the path and the reason in *error, when path cannot be opened,
    // is no regular file or cannot be mapped.
    static std::optional<MappedFile> Open(const std::string& path, std::string* error);

    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    ~MappedFile();

    std::span<const uint8_t> bytes() const { return {data_, size_}; }

  private:
    MappedFile(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    void Unmap();

    const uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

}  // namespace autl::capture
