#include "input_file.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace autl::capture {

std::optional<InputFile> InputFile::Open(const std::string& path, std::string* error) {
    InputFile input;
    const bool is_stdin = path == "-";
    input.name_ = is_stdin ? "standard input" : path;
    android::base::unique_fd owned;
    if (!is_stdin) owned.reset(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = is_stdin ? STDIN_FILENO : owned.get();
    struct stat status = {};
    if (fd < 0 || fstat(fd, &status) != 0) {
        *error = "cannot open " + input.name_ + ": " + strerror(errno);
        return std::nullopt;
    }
    if (S_ISREG(status.st_mode)) {
        input.identity_.emplace(status.st_dev, status.st_ino);
        // An empty file has nothing to map.
        if (status.st_size == 0) return input;
        input.mapping_ = android::base::MappedFile::FromFd(
                fd, 0, static_cast<size_t>(status.st_size), PROT_READ);
        if (input.mapping_ == nullptr) {
            *error = "cannot read " + input.name_ + ": " + strerror(errno);
            return std::nullopt;
        }
        return input;
    }
    // A device could be endless (/dev/zero) and a directory has no bytes; pipes and sockets end
    // when their writer is done.
    if (!is_stdin && !S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode)) {
        *error = "cannot read " + input.name_ + ": not a regular file";
        return std::nullopt;
    }
    if (!android::base::ReadFdToString(fd, &input.content_)) {
        *error = "cannot read " + input.name_ + ": " + strerror(errno);
        return std::nullopt;
    }
    return input;
}

bool InputFile::IsSameFile(int fd) const {
    struct stat status = {};
    return identity_.has_value() && fstat(fd, &status) == 0 &&
           identity_ == std::make_pair(status.st_dev, status.st_ino);
}

}  // namespace autl::capture
