#include "mapped_file.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <utility>

namespace autl::capture {

std::optional<MappedFile> MappedFile::Open(const std::string& path, std::string* error) {
    const android::base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (fd.get() < 0 || fstat(fd.get(), &status) != 0) {
        *error = "cannot open " + path + ": " + strerror(errno);
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        *error = "cannot read " + path + ": not a regular file";
        return std::nullopt;
    }
    const auto size = static_cast<size_t>(status.st_size);
    // An empty file has nothing to map.
    if (size == 0) return MappedFile(nullptr, 0);
    void* data = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd.get(), 0);
    if (data == MAP_FAILED) {
        *error = "cannot read " + path + ": " + strerror(errno);
        return std::nullopt;
    }
    return MappedFile(static_cast<const uint8_t*>(data), size);
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    if (this != &other) {
        Unmap();
        data_ = std::exchange(other.data_, nullptr);
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

MappedFile::~MappedFile() {
    Unmap();
}

void MappedFile::Unmap() {
    if (data_ != nullptr) munmap(const_cast<uint8_t*>(data_), size_);
    data_ = nullptr;
    size_ = 0;
}

}  // namespace autl::capture
