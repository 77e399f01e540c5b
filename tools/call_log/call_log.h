#pragma once

// Reads interaction-log sections back from a saved dump: the text that Logger::Dump (the detailed
// layout, with state columns and split lines) and StreamLogger::Dump (the plain layout) write,
// wherever it sits in a larger text (a bugreport, a HAL's own dump) and at any indentation.
//
//   const CallLog log = ParseCallLog(text);
//   for (const CallLogSection& section : log.sections)
//       for (const CallStats& call : Summarize(section)) Print(call.name, call.calls);
//   for (const UnparsedLine& line : log.unparsed) Report(line.line, line.text);
//
// Works on text in memory and fails on no input: what it cannot read it lists as unparsed.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace autl::calls {

// A start time as an entry prints it, "MM-DD HH:MM:SS.mmm": local time, without a year.
struct EntryTime {
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;

    // Microseconds since January 1, 00:00, in a leap year (so that February 29 exists).
    int64_t Microseconds() const;
    std::string ToString() const;
};

// The state columns of the detailed layout.
struct AudioState {
    bool sco_enabled = false;
    bool a2dp_suspended = false;
    bool le_suspended = false;
    int32_t audio_mode = 0;
};

struct CallEntry {
    // Of the entry's first line, from 1.
    size_t line = 0;
    EntryTime start;
    // Microseconds on the dump's time line: EntryTime::Microseconds plus a year for each New Year
    // passed since the first section's first entry (entries are oldest first; a start more than
    // half a year before the one above is in the next year).
    int64_t start_us = 0;
    // "IModule::setMasterMute": the class after its last "." and the function.
    std::string name;
    // From "args(" to the return value: "args(1): [mute: true], ret: true".
    std::string details;
    int32_t ecode = 0;
    // The number of calls: 1, or that of a folded run.
    int32_t count = 1;
    // Still running when the dump was taken: no time.
    bool executing = false;
    // Of a single call: its execution time in all three. Of a folded run: the run's statistics
    // as printed (the average truncated).
    int32_t min_us = 0;
    int32_t max_us = 0;
    int32_t avg_us = 0;
    // Detailed layout only.
    std::optional<AudioState> state;
};

struct CallLogSection {
    // Of the "Interaction logger(N, B):" heading, from 1.
    size_t line = 0;
    // The line right above the heading when it is indented less ("Module calls:"); else empty.
    std::string title;
    bool detailed = false;
    // The heading's numbers: the entries in the history and the bytes charged for them.
    uint64_t declared_entries = 0;
    uint64_t bytes = 0;
    std::vector<CallEntry> entries;
    // The closing rule was found; a dump cut short leaves a section without it.
    bool complete = false;
};

struct UnparsedLine {
    size_t line = 0;
    std::string text;
};

struct CallLog {
    std::vector<CallLogSection> sections;
    // Lines inside sections that are no part of an entry, and entries that do not read as one,
    // in the order of the text.
    std::vector<UnparsedLine> unparsed;
};

CallLog ParseCallLog(std::string_view text);

// One entry's text (without state columns or indentation), as LogEntry::ToString writes it.
std::optional<CallEntry> ParseCallEntry(std::string_view text);

// What one section says of one call (class::function).
struct CallStats {
    std::string name;
    // Folded runs count all their calls.
    uint64_t calls = 0;
    // The calls with an execution time: all but those still running.
    uint64_t timed_calls = 0;
    // Error code -> calls, for codes other than 0.
    std::map<int32_t, uint64_t> errors;
    int64_t min_us = 0;
    int64_t max_us = 0;
    // Over the timed calls; a folded run adds its printed average once per call.
    int64_t total_us = 0;
    // The start of the call's first entry and of its last one.
    EntryTime first;
    EntryTime last;

    int64_t AverageUs() const {
        return timed_calls == 0 ? 0 : total_us / static_cast<int64_t>(timed_calls);
    }
};

// Per call, in the order of the calls' first entries.
std::vector<CallStats> Summarize(const CallLogSection& section);

}  // namespace autl::calls
