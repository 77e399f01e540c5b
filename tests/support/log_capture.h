#pragma once

// Captures android-base log lines for assertions. While a LogCapture lives, every LOG line of the
// process is recorded at any severity; Lines(tag) gives those of one tag, in order, each as its
// severity's letter and its message. On destruction the stderr logger and the previous minimum
// severity come back.
//
//   LogCapture logs;
//   wake_lock.Acquire();
//   EXPECT_THAT(logs.Lines("AUtl::WakeLock"), ElementsAre("W Acquire: failed to ..."));

#include <android-base/logging.h>

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace autl::test {

class LogCapture {
  public:
    LogCapture() : previous_(android::base::SetMinimumLogSeverity(android::base::VERBOSE)) {
        android::base::SetLogger([this](android::base::LogId, android::base::LogSeverity severity,
                                        const char* tag, const char*, unsigned int,
                                        const char* message) {
            std::lock_guard lock(mutex_);
            lines_.emplace_back(tag != nullptr ? tag : "",
                                std::string(1, "VDIWEFF"[severity]) + " " + message);
        });
    }
    ~LogCapture() {
        android::base::SetLogger(android::base::StderrLogger);
        android::base::SetMinimumLogSeverity(previous_);
    }

    std::vector<std::string> Lines(std::string_view tag) const {
        std::lock_guard lock(mutex_);
        std::vector<std::string> lines;
        for (const auto& [line_tag, line] : lines_) {
            if (line_tag == tag) lines.push_back(line);
        }
        return lines;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::pair<std::string, std::string>> lines_;
    android::base::LogSeverity previous_;
};

}  // namespace autl::test
