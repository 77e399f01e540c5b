#pragma once

// The text of a golden file under tests/data/, for the caller to compare whole with what the code
// wrote; with AUTL_UPDATE_GOLDEN set, `actual` is written there first. The host build passes the
// folder as AUTL_TEST_DATA; on a device the files are installed beside the test program.
//
//   EXPECT_EQ(text, Golden("dumpsys/render.txt", text));

#include <android-base/file.h>
#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

namespace autl::test {

inline std::string Golden(const std::string& name, const std::string& actual) {
#ifdef AUTL_TEST_DATA
    const std::string path = AUTL_TEST_DATA "/" + name;
#else
    const std::string path = android::base::GetExecutableDirectory() + "/tests/data/" + name;
#endif
    if (getenv("AUTL_UPDATE_GOLDEN") != nullptr) android::base::WriteStringToFile(actual, path);
    std::string golden;
    EXPECT_TRUE(android::base::ReadFileToString(path, &golden)) << path;
    return golden;
}

}  // namespace autl::test
