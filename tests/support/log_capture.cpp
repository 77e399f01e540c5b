#include "log_capture.h"

namespace autl::test {

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    static constexpr const char* kNames[] = {
            "VERBOSE", "DEBUG", "INFO", "WARNING", "ERROR", "FATAL_WITHOUT_ABORT", "FATAL"};
    const auto index = static_cast<size_t>(line.severity);
    return out << "{" << (index < std::size(kNames) ? kNames[index] : "?") << ", \"" << line.tag
               << "\", \"" << line.message << "\"}";
}

LogCapture::LogCapture()
    : previous_severity_(android::base::SetMinimumLogSeverity(android::base::VERBOSE)) {
    android::base::SetLogger([this](android::base::LogId, android::base::LogSeverity severity,
                                    const char* tag, const char*, unsigned int,
                                    const char* message) { Record(severity, tag, message); });
}

LogCapture::~LogCapture() {
    android::base::SetLogger(android::base::StderrLogger);
    android::base::SetMinimumLogSeverity(previous_severity_);
}

void LogCapture::Record(android::base::LogSeverity severity, const char* tag, const char* message) {
    std::lock_guard lock(mutex_);
    lines_.push_back({severity, tag != nullptr ? tag : "", message != nullptr ? message : ""});
}

std::vector<LogLine> LogCapture::Lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

std::vector<LogLine> LogCapture::Lines(std::string_view tag) const {
    std::vector<LogLine> lines = Lines();
    std::erase_if(lines, [&](const LogLine& line) { return line.tag != tag; });
    return lines;
}

std::vector<std::string> LogCapture::Messages(std::string_view tag) const {
    std::vector<std::string> messages;
    for (LogLine& line : Lines(tag)) messages.push_back(std::move(line.message));
    return messages;
}

void LogCapture::Clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
}

}  // namespace autl::test
