#pragma once

// Captures android-base log lines for assertions. While a LogCapture lives, every LOG line of the
// process is recorded (severity, tag, message) and the minimum severity is VERBOSE; on destruction
// the stderr logger and the previous minimum severity come back.
//
//   LogCapture logs;
//   wake_lock.Acquire();
//   EXPECT_THAT(logs.Lines("AUtl::WakeLock"),
//               ElementsAre(LogLine{WARNING, "AUtl::WakeLock", "Acquire: failed to ..."}));

#include <android-base/logging.h>

#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace autl::test {

struct LogLine {
    android::base::LogSeverity severity;
    std::string tag;
    std::string message;

    bool operator==(const LogLine&) const = default;
};
std::ostream& operator<<(std::ostream& out, const LogLine& line);

class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Every line so far, or those with the given tag, in the order they were logged.
    std::vector<LogLine> Lines() const;
    std::vector<LogLine> Lines(std::string_view tag) const;
    // The messages alone, of the lines with the given tag.
    std::vector<std::string> Messages(std::string_view tag) const;
    void Clear();

  private:
    void Record(android::base::LogSeverity severity, const char* tag, const char* message);

    mutable std::mutex mutex_;
    std::vector<LogLine> lines_;
    android::base::LogSeverity previous_severity_;
};

}  // namespace autl::test
