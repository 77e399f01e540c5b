#include <interactionlogger/logger.h>

#include <android-base/stringprintf.h>

#include <time.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using android::base::StringAppendF;

LogEntry::LogEntry(std::string_view class_name, std::string_view function_name,
                   std::vector<Argument> arguments)
    : class_name(class_name),
      function_name(function_name),
      start_time(std::chrono::time_point_cast<std::chrono::microseconds>(
              std::chrono::system_clock::now())),
      steady_start_time(std::chrono::steady_clock::now()),
      arguments(std::move(arguments)) {
    for (const Argument& argument : this->arguments) arguments_size += argument.size;
}

void LogEntry::SetExecutionTimeMs() {
    SetExecutionTime(std::chrono::steady_clock::now());
}

void LogEntry::SetExecutionTime(SteadyTime end) {
    const auto elapsed = end - steady_start_time;
    execution_time = static_cast<int32_t>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count() / 1000);
    max_time = execution_time;
    min_time = execution_time;
    total_time = execution_time;
}

std::string LogEntry::ToString() const {
    std::string text;
    text.reserve(160);

    // "MM-DD hh:mm:ss.mmm" in local time.
    const auto since_epoch = start_time.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since_epoch);
    const time_t time = static_cast<time_t>(seconds.count());
    struct tm local {};
    localtime_r(&time, &local);
    char calendar[32];
    const size_t length = strftime(calendar, sizeof(calendar), "%m-%d %T", &local);
    text.append(calendar, length);
    StringAppendF(&text, ".%03d", static_cast<int>((since_epoch - seconds).count() / 1000));

    text += ' ';
    const size_t dot = class_name.rfind('.');
    text += dot == std::string_view::npos ? class_name : class_name.substr(dot + 1);
    text += "::";
    text += function_name;
    StringAppendF(&text, ": args(%zu)", arguments.size());
    if (arguments.empty()) {
        text += ", ";
    } else {
        text += ": [";
        for (size_t i = 0; i < arguments.size(); ++i) {
            if (i > 0) text += ", ";
            text += arguments[i].ToString();
        }
        text += "], ";
    }
    text += ret.has_value() ? ret->ToString() : "ret: not set";
    StringAppendF(&text, ", ecode: %d, ", ecode);
    if (count < 2) {
        if (execution_time == -1) {
            text += "time: executing";
        } else {
            StringAppendF(&text, "time: %d us", execution_time);
        }
    } else {
        StringAppendF(&text, "contiguous calls: [count: %d, max: %d us, min: %d us, avg: %d us]",
                      count, max_time, min_time, total_time / count);
    }
    return text;
}

std::string LogEntry::ToStringPrefix() const {
    std::string prefix = "|";
    prefix += sco_enabled ? '*' : ' ';
    prefix += '|';
    prefix += a2dp_suspended ? '*' : ' ';
    prefix += '|';
    prefix += le_suspended ? '*' : ' ';
    prefix += '|';
    prefix += audio_mode != 0 ? std::to_string(audio_mode) : " ";
    prefix += "| ";
    return prefix;
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
