#include "temp_dir.h"

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace autl::test {

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern =
            std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/autl-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed for " + pattern);
    }
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace autl::test
