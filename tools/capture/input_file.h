#pragma once

// The bytes of an input of the capture and dump readers: a file mapped read-only, however large,
// or what a pipe or standard input ("-") holds, read whole.
//
//   std::string error;
//   std::optional<InputFile> input = InputFile::Open(path, &error);
//   if (!input.has_value()) Fail(error);   // "cannot open x.wav: No such file or directory"
//   Tap0Reader reader(input->bytes());

#include <android-base/mapped_file.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace autl::capture {

class InputFile {
  public:
    // A regular file is mapped as it is at the call (a file that grows later shows its old size);
    // "-" (standard input), a pipe or a socket is read to its end. Empty, with a message naming the
    // path and the reason in *error, when path cannot be opened or read, or is a directory or a
    // device.
    static std::optional<InputFile> Open(const std::string& path, std::string* error);

    std::span<const uint8_t> bytes() const {
        const std::string_view all = text();
        return {reinterpret_cast<const uint8_t*>(all.data()), all.size()};
    }
    std::string_view text() const {
        return mapping_ != nullptr ? std::string_view(mapping_->data(), mapping_->size())
                                   : std::string_view(content_);
    }
    // The name for messages: the path, or "standard input" for "-".
    const std::string& name() const { return name_; }
    // Whether `fd` is this input's own file, so that writing to it would change what is read.
    bool IsSameFile(int fd) const;

  private:
    InputFile() = default;

    std::string name_;
    std::unique_ptr<android::base::MappedFile> mapping_;
    // What was read, when nothing is mapped.
    std::string content_;
    std::optional<std::pair<dev_t, ino_t>> identity_;
};

}  // namespace autl::capture
