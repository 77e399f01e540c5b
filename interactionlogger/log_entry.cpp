#include <interactionlogger/logger.h>

#include <android-base/stringprintf.h>

#include <time.h>

#include <charconv>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using android::base::StringAppendF;

namespace {

// A number in decimal, as "%d" or "%zu" prints it.
template <typename Number>
void AppendNumber(std::string* text, Number number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    text->append(digits, static_cast<size_t>(end - digits));
}

}  // namespace

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
    SecondText second;
    AppendText(&text, &second);
    return text;
}

void LogEntry::AppendText(std::string* text, SecondText* second) const {
    // "MM-DD hh:mm:ss.mmm" in local time.
    const auto since_epoch = start_time.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since_epoch);
    if (second->length == 0 || second->seconds != seconds.count()) {
        const time_t time = static_cast<time_t>(seconds.count());
        struct tm local {};
        localtime_r(&time, &local);
        second->length = strftime(second->text, sizeof(second->text), "%m-%d %T", &local);
        second->seconds = seconds.count();
    }
    text->append(second->text, second->length);
    const auto millis = static_cast<int>((since_epoch - seconds).count() / 1000);
    if (millis >= 0) {
        const char digits[] = {'.', static_cast<char>('0' + millis / 100),
                               static_cast<char>('0' + millis / 10 % 10),
                               static_cast<char>('0' + millis % 10)};
        text->append(digits, sizeof(digits));
    } else {
        StringAppendF(text, ".%03d", millis);
    }

    *text += ' ';
    const size_t dot = class_name.rfind('.');
    *text += dot == std::string_view::npos ? class_name : class_name.substr(dot + 1);
    *text += "::";
    *text += function_name;
    *text += ": args(";
    AppendNumber(text, arguments.size());
    *text += ')';
    if (arguments.empty()) {
        *text += ", ";
    } else {
        *text += ": [";
        for (size_t i = 0; i < arguments.size(); ++i) {
            if (i > 0) *text += ", ";
            arguments[i].AppendText(text);
        }
        *text += "], ";
    }
    if (ret.has_value()) {
        ret->AppendText(text);
    } else {
        *text += "ret: not set";
    }
    *text += ", ecode: ";
    AppendNumber(text, ecode);
    *text += ", ";
    if (count < 2) {
        if (execution_time == -1) {
            *text += "time: executing";
        } else {
            *text += "time: ";
            AppendNumber(text, execution_time);
            *text += " us";
        }
        return;
    }
    *text += "contiguous calls: [count: ";
    AppendNumber(text, count);
    *text += ", max: ";
    AppendNumber(text, max_time);
    *text += " us, min: ";
    AppendNumber(text, min_time);
    *text += " us, avg: ";
    AppendNumber(text, total_time / count);
    *text += " us]";
}

std::string LogEntry::ToStringPrefix() const {
    std::string prefix;
    AppendPrefix(&prefix);
    return prefix;
}

void LogEntry::AppendPrefix(std::string* text) const {
    // Written once per dumped entry: the columns are built on the stack and appended in one go.
    char prefix[24] = {'|', sco_enabled ? '*' : ' ',  '|', a2dp_suspended ? '*' : ' ',
                       '|', le_suspended ? '*' : ' ', '|'};
    char* end = prefix + 7;
    if (audio_mode != 0) {
        end = std::to_chars(end, prefix + sizeof(prefix) - 2, audio_mode).ptr;
    } else {
        *end++ = ' ';
    }
    *end++ = '|';
    *end++ = ' ';
    text->append(prefix, static_cast<size_t>(end - prefix));
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
