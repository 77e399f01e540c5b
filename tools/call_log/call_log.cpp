#include "call_log.h"

#include <android-base/stringprintf.h>

#include <algorithm>
#include <charconv>

namespace autl::calls {

namespace {

using android::base::StringPrintf;

constexpr std::string_view kHeading = "Interaction logger(";
// The detailed layout's six header lines, its opening rule's prefix and its rules' widths.
constexpr std::string_view kStateHeader[] = {
        "   -- SCO Enabled",
        "  /  -- A2DP Suspended",
        " |  /  -- LE Suspended",
        " | |  /  -- Audio Mode",
        " | | |  /",
        " | | | |",
};
constexpr std::string_view kEmptyState = "| | | | | ";
constexpr size_t kRuleWidth = 142;
constexpr size_t kDetailedRuleWidth = kEmptyState.size() + kRuleWidth;
// Split lines continue after four more spaces.
constexpr std::string_view kContinuation = "    ";

constexpr int64_t kMicrosecondsPerDay = int64_t{86400} * 1000 * 1000;
constexpr int64_t kLeapYearUs = 366 * kMicrosecondsPerDay;
// A time line of more years than this comes from damage, not from a device's uptime; capping it
// keeps every time far from overflowing.
constexpr int64_t kMaxTimelineUs = 10000 * kLeapYearUs;
constexpr int kDaysBeforeMonth[] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};

bool IsRule(std::string_view text, size_t width) {
    return text.size() == width && text.find_first_not_of('=') == std::string_view::npos;
}

size_t Indentation(std::string_view line) {
    const size_t indentation = line.find_first_not_of(' ');
    return indentation == std::string_view::npos ? line.size() : indentation;
}

template <typename T>
bool ParseWhole(std::string_view text, T* value) {
    const char* end = text.data() + text.size();
    const auto [ptr, error] = std::from_chars(text.data(), end, *value);
    return !text.empty() && error == std::errc() && ptr == end;
}

// Consumes `prefix` from the front of *text.
bool Consume(std::string_view* text, std::string_view prefix) {
    if (!text->starts_with(prefix)) return false;
    text->remove_prefix(prefix.size());
    return true;
}

// Consumes a signed decimal number up to `until` from the front of *text, and `until`.
bool ConsumeNumber(std::string_view* text, std::string_view until, int32_t* value) {
    const size_t end = text->find(until);
    if (end == std::string_view::npos || !ParseWhole(text->substr(0, end), value)) return false;
    text->remove_prefix(end + until.size());
    return true;
}

// "Interaction logger(N, B):" with the numbers read.
bool ParseHeading(std::string_view text, uint64_t* entries, uint64_t* bytes) {
    if (!Consume(&text, kHeading) || !text.ends_with("):")) return false;
    text.remove_suffix(2);
    const size_t comma = text.find(", ");
    return comma != std::string_view::npos && ParseWhole(text.substr(0, comma), entries) &&
           ParseWhole(text.substr(comma + 2), bytes);
}

// "|*| | |3| ": the state columns of the detailed layout; *size gets their length.
std::optional<AudioState> ParseState(std::string_view text, size_t* size) {
    const auto flag = [](char c, bool* value) {
        *value = c == '*';
        return c == '*' || c == ' ';
    };
    AudioState state;
    if (text.size() < kEmptyState.size() || text[0] != '|' || text[2] != '|' || text[4] != '|' ||
        text[6] != '|' || !flag(text[1], &state.sco_enabled) ||
        !flag(text[3], &state.a2dp_suspended) || !flag(text[5], &state.le_suspended)) {
        return std::nullopt;
    }
    const size_t end = text.find("| ", 7);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view mode = text.substr(7, end - 7);
    if (mode != " " && !ParseWhole(mode, &state.audio_mode)) return std::nullopt;
    *size = end + 2;
    return state;
}

std::optional<EntryTime> ParseTime(std::string_view text) {
    // "MM-DD HH:MM:SS.mmm"
    if (text.size() != 18 || text[2] != '-' || text[5] != ' ' || text[8] != ':' ||
        text[11] != ':' || text[14] != '.') {
        return std::nullopt;
    }
    const auto field = [&text](size_t at, size_t size, int min, int max, int* value) {
        const std::string_view digits = text.substr(at, size);
        return std::all_of(digits.begin(), digits.end(),
                           [](char c) { return c >= '0' && c <= '9'; }) &&
               ParseWhole(digits, value) && *value >= min && *value <= max;
    };
    EntryTime time;
    if (!field(0, 2, 1, 12, &time.month) || !field(3, 2, 1, 31, &time.day) ||
        !field(6, 2, 0, 23, &time.hour) || !field(9, 2, 0, 59, &time.minute) ||
        !field(12, 2, 0, 60, &time.second) || !field(15, 3, 0, 999, &time.millisecond)) {
        return std::nullopt;
    }
    return time;
}

// Collects the sections of one text.
class Parser {
  public:
    explicit Parser(std::string_view text) {
        while (!text.empty()) {
            const size_t end = text.find('\n');
            std::string_view line = text.substr(0, end);
            // A dump saved on another system may end its lines with "\r\n".
            if (line.ends_with('\r')) line.remove_suffix(1);
            lines_.push_back(line);
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        }
    }

    CallLog Parse() {
        for (size_t i = 0; i < lines_.size();) {
            const std::string_view line = lines_[i];
            const size_t indentation = Indentation(line);
            CallLogSection section;
            if (!ParseHeading(line.substr(indentation), &section.declared_entries, &section.bytes)) {
                ++i;
                continue;
            }
            section.line = i + 1;
            if (i > 0 && Indentation(lines_[i - 1]) < indentation) {
                const std::string_view above = lines_[i - 1];
                section.title = std::string(above.substr(Indentation(above)));
            }
            i = ParseSection(i + 1, indentation, &section);
            log_.sections.push_back(std::move(section));
        }
        AlignYears();
        return std::move(log_);
    }

  private:
    // The line's text after the section's indentation; empty when it is indented less, which
    // ends the section.
    std::optional<std::string_view> Inside(size_t i, size_t indentation) const {
        if (i >= lines_.size()) return std::nullopt;
        const std::string_view line = lines_[i];
        if (Indentation(line) < indentation) return std::nullopt;
        const std::string_view text = line.substr(indentation);
        uint64_t entries = 0;
        uint64_t bytes = 0;
        if (ParseHeading(text, &entries, &bytes)) return std::nullopt;
        return text;
    }

    void Unparsed(size_t i, std::string_view text) {
        log_.unparsed.push_back({i + 1, std::string(text)});
    }

    // Reads the section after its heading; returns the index of the first line after it.
    size_t ParseSection(size_t i, size_t indentation, CallLogSection* section) {
        std::optional<std::string_view> text = Inside(i, indentation);
        if (!text.has_value()) return i;
        section->detailed = *text == kStateHeader[0];
        if (section->detailed) {
            for (std::string_view expected : kStateHeader) {
                text = Inside(i, indentation);
                if (text != expected) return i;
                ++i;
            }
            text = Inside(i, indentation);
            if (!text.has_value() || !text->starts_with(kEmptyState) ||
                !IsRule(text->substr(kEmptyState.size()), kRuleWidth)) {
                return i;
            }
        } else if (!IsRule(*text, kRuleWidth)) {
            return i;
        }
        ++i;
        const size_t closing = section->detailed ? kDetailedRuleWidth : kRuleWidth;
        // The entry being read: its first line, state columns and text so far.
        std::optional<size_t> entry_line;
        std::string entry_text;
        std::string entry_state;
        const auto finish = [&] {
            if (!entry_line.has_value()) return;
            std::optional<CallEntry> entry = ParseCallEntry(entry_text);
            if (entry.has_value()) {
                entry->line = *entry_line + 1;
                if (section->detailed) {
                    size_t size = 0;
                    entry->state = ParseState(entry_state, &size);
                }
                AddEntry(std::move(*entry), section);
            } else {
                Unparsed(*entry_line, entry_text);
            }
            entry_line.reset();
        };
        for (; (text = Inside(i, indentation)).has_value(); ++i) {
            if (IsRule(*text, closing)) {
                finish();
                section->complete = true;
                return i + 1;
            }
            if (!section->detailed) {
                finish();
                entry_line = i;
                entry_text = *text;
                continue;
            }
            size_t state_size = 0;
            if (!ParseState(*text, &state_size).has_value()) {
                finish();
                Unparsed(i, *text);
                continue;
            }
            const std::string_view state = text->substr(0, state_size);
            const std::string_view rest = text->substr(state_size);
            if (rest.starts_with(kContinuation)) {
                if (entry_line.has_value() && state == entry_state) {
                    entry_text += rest.substr(kContinuation.size());
                } else {
                    Unparsed(i, *text);
                }
                continue;
            }
            finish();
            entry_line = i;
            entry_state = state;
            entry_text = rest;
        }
        finish();
        return i;
    }

    // Places the entry on the section's time line: entries are oldest first, so a start more
    // than half a year before the previous one has passed into the next year.
    void AddEntry(CallEntry entry, CallLogSection* section) {
        entry.start_us = entry.start.Microseconds();
        if (!section->entries.empty()) {
            const int64_t previous = section->entries.back().start_us;
            while (entry.start_us < previous - kLeapYearUs / 2 && entry.start_us < kMaxTimelineUs) {
                entry.start_us += kLeapYearUs;
            }
        }
        section->entries.push_back(std::move(entry));
    }

    // Moves each section by whole years to lie within half a year of the first section, so that
    // sections of one dump share a time line across New Year.
    void AlignYears() {
        std::optional<int64_t> reference;
        for (CallLogSection& section : log_.sections) {
            if (section.entries.empty()) continue;
            const int64_t first = section.entries.front().start_us;
            if (!reference.has_value()) reference = first;
            int64_t shift = 0;
            while (first + shift < *reference - kLeapYearUs / 2) shift += kLeapYearUs;
            while (first + shift > *reference + kLeapYearUs / 2) shift -= kLeapYearUs;
            for (CallEntry& entry : section.entries) entry.start_us += shift;
        }
    }

    std::vector<std::string_view> lines_;
    CallLog log_;
};

}  // namespace

int64_t EntryTime::Microseconds() const {
    const int64_t day_of_year = kDaysBeforeMonth[month - 1] + day - 1;
    return day_of_year * kMicrosecondsPerDay +
           ((int64_t{hour} * 60 + minute) * 60 + second) * 1000000 + int64_t{millisecond} * 1000;
}

std::string EntryTime::ToString() const {
    return StringPrintf("%02d-%02d %02d:%02d:%02d.%03d", month, day, hour, minute, second,
                        millisecond);
}

std::optional<CallEntry> ParseCallEntry(std::string_view text) {
    CallEntry entry;
    const std::optional<EntryTime> start = ParseTime(text.substr(0, 18));
    if (!start.has_value() || text.size() < 19 || text[18] != ' ') return std::nullopt;
    entry.start = *start;
    text.remove_prefix(19);
    const size_t args = text.find(": args(");
    if (args == std::string_view::npos || args == 0) return std::nullopt;
    entry.name = std::string(text.substr(0, args));
    text.remove_prefix(args + 2);
    // The return value's text may hold anything; the error code and the time are what follow
    // its last ", ecode: ".
    const size_t ecode = text.rfind(", ecode: ");
    if (ecode == std::string_view::npos) return std::nullopt;
    entry.details = std::string(text.substr(0, ecode));
    text.remove_prefix(ecode + 9);
    if (!ConsumeNumber(&text, ", ", &entry.ecode)) return std::nullopt;
    if (text == "time: executing") {
        entry.executing = true;
        return entry;
    }
    if (Consume(&text, "time: ")) {
        if (!ConsumeNumber(&text, " us", &entry.min_us) || !text.empty()) return std::nullopt;
        entry.max_us = entry.avg_us = entry.min_us;
        return entry;
    }
    if (!Consume(&text, "contiguous calls: [count: ") ||
        !ConsumeNumber(&text, ", max: ", &entry.count) ||
        !ConsumeNumber(&text, " us, min: ", &entry.max_us) ||
        !ConsumeNumber(&text, " us, avg: ", &entry.min_us) ||
        !ConsumeNumber(&text, " us]", &entry.avg_us) || !text.empty() || entry.count < 2) {
        return std::nullopt;
    }
    return entry;
}

CallLog ParseCallLog(std::string_view text) {
    return Parser(text).Parse();
}

std::vector<CallStats> Summarize(const CallLogSection& section) {
    std::vector<CallStats> calls;
    std::map<std::string_view, size_t> index;
    for (const CallEntry& entry : section.entries) {
        const auto [it, added] = index.emplace(entry.name, calls.size());
        if (added) {
            calls.push_back({});
            calls.back().name = entry.name;
            calls.back().first = entry.start;
        }
        CallStats& call = calls[it->second];
        call.calls += static_cast<uint64_t>(entry.count);
        call.last = entry.start;
        if (entry.ecode != 0) call.errors[entry.ecode] += static_cast<uint64_t>(entry.count);
        if (entry.executing) continue;
        call.min_us =
                call.timed_calls == 0 ? entry.min_us : std::min<int64_t>(call.min_us, entry.min_us);
        call.max_us =
                call.timed_calls == 0 ? entry.max_us : std::max<int64_t>(call.max_us, entry.max_us);
        call.timed_calls += static_cast<uint64_t>(entry.count);
        // Saturates rather than overflows on counts and times that only damage makes so large.
        if (__builtin_add_overflow(call.total_us, int64_t{entry.avg_us} * entry.count,
                                   &call.total_us)) {
            call.total_us = entry.avg_us < 0 ? INT64_MIN : INT64_MAX;
        }
    }
    return calls;
}

}  // namespace autl::calls
