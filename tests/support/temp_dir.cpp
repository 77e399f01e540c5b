#include "temp_dir.h"

#include <sys/stat.h>

#include <android-base/file.h>
#include <android-base/logging.h>

namespace autl::test {

TempDir::TempDir() : dir_(std::make_unique<TemporaryDir>()), path_(dir_->path) {
    // TemporaryDir reports no failure of its own; its path is then no folder.
    struct stat status;
    CHECK(stat(path_.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
            << "TempDir: cannot make a temporary folder " << path_;
}

TempDir::~TempDir() = default;

std::string ReadFile(const std::string& path) {
    std::string content;
    if (!android::base::ReadFileToString(path, &content, /*follow_symlinks=*/true)) content.clear();
    return content;
}

}  // namespace autl::test
