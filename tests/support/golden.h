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

// Where the file tests/data/<name> is for this test program.
inline std::string DataPath(const std::string& name) {
#ifdef AUTL_TEST_DATA
    return AUTL_TEST_DATA "/" + name;
#else
    return android::base::GetExecutableDirectory() + "/tests/data/" + name;
#endif
}

inline std::string Golden(const std::string& name, const std::string& actual) {
    const std::string path = DataPath(name);
    if (getenv("AUTL_UPDATE_GOLDEN") != nullptr) android::base::WriteStringToFile(actual, path);
    std::string golden;
    EXPECT_TRUE(android::base::ReadFileToString(path, &golden)) << path;
    return golden;
}

}  // namespace autl::test
