// autl calls: reads the interaction-log sections of a saved dump (a bugreport, a HAL's dump) back
// into calls: how often each was made, its errors and times, and a trace-event file of them for
// ui.perfetto.dev or chrome://tracing.

#include <android-base/stringprintf.h>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "call_log.h"
#include "cli.h"
#include "input_file.h"

namespace autl {

extern const Command kCallsCommand;

namespace {

using android::base::StringPrintf;
using calls::CallEntry;
using calls::CallLog;
using calls::CallLogSection;
using calls::CallStats;
using nlohmann::ordered_json;

// Unparsable lines named on stderr one by one; the rest are only counted.
constexpr size_t kReportedLines = 10;
constexpr size_t kReportedText = 80;

std::string SectionName(const CallLogSection& section) {
    if (section.title.empty()) return StringPrintf("Interaction logger at line %zu", section.line);
    std::string name = section.title;
    if (name.ends_with(':')) name.pop_back();
    return name;
}

std::string Errors(const CallStats& call) {
    std::string text;
    for (const auto& [ecode, count] : call.errors) {
        if (!text.empty()) text += ", ";
        text += StringPrintf("%d x%llu", ecode, static_cast<unsigned long long>(count));
    }
    return text;
}

std::string Span(const CallLogSection& section) {
    if (section.entries.empty()) return "";
    return ", " + section.entries.front().start.ToString() + " to " +
           section.entries.back().start.ToString();
}

void PrintText(const CallLog& log) {
    uint64_t entries = 0;
    uint64_t calls = 0;
    for (const CallLogSection& section : log.sections) {
        if (&section != &log.sections.front()) std::cout << "\n";
        std::cout << SectionName(section) << " (line " << section.line
                  << "): " << section.entries.size()
                  << (section.entries.size() == 1 ? " entry, " : " entries, ") << section.bytes
                  << " bytes charged" << Span(section) << "\n";
        const std::vector<CallStats> stats = calls::Summarize(section);
        size_t width = 4;
        for (const CallStats& call : stats) width = std::max(width, call.name.size());
        std::cout << "  " << std::left << std::setw(static_cast<int>(width)) << "call"
                  << "   calls   min us   avg us   max us  first               last                "
                     "errors\n";
        for (const CallStats& call : stats) {
            const auto time = [&call](int64_t value) {
                return call.timed_calls == 0 ? std::string("-") : std::to_string(value);
            };
            std::cout << "  " << std::left << std::setw(static_cast<int>(width)) << call.name
                      << std::right << std::setw(8) << call.calls << std::setw(9)
                      << time(call.min_us) << std::setw(9) << time(call.AverageUs()) << std::setw(9)
                      << time(call.max_us) << "  " << call.first.ToString() << "  "
                      << call.last.ToString();
            if (!call.errors.empty()) std::cout << "  " << Errors(call);
            std::cout << "\n";
            calls += call.calls;
        }
        entries += section.entries.size();
    }
    std::cout << "\n"
              << log.sections.size() << (log.sections.size() == 1 ? " section, " : " sections, ")
              << entries << (entries == 1 ? " entry, " : " entries, ") << calls
              << (calls == 1 ? " call, " : " calls, ") << log.unparsed.size()
              << (log.unparsed.size() == 1 ? " line" : " lines") << " not understood\n";
}

void PrintJsonSummary(const std::string& name, const CallLog& log) {
    ordered_json sections = ordered_json::array();
    for (const CallLogSection& section : log.sections) {
        ordered_json stats = ordered_json::array();
        for (const CallStats& call : calls::Summarize(section)) {
            ordered_json errors = ordered_json::array();
            for (const auto& [ecode, count] : call.errors) {
                errors.push_back({{"ecode", ecode}, {"calls", count}});
            }
            const auto time = [&call](int64_t value) {
                return call.timed_calls == 0 ? ordered_json(nullptr) : ordered_json(value);
            };
            stats.push_back({{"name", call.name},
                             {"calls", call.calls},
                             {"timed_calls", call.timed_calls},
                             {"errors", std::move(errors)},
                             {"min_us", time(call.min_us)},
                             {"avg_us", time(call.AverageUs())},
                             {"max_us", time(call.max_us)},
                             {"first", call.first.ToString()},
                             {"last", call.last.ToString()}});
        }
        sections.push_back(
                {{"line", section.line},
                 {"title", section.title},
                 {"layout", section.detailed ? "detailed" : "plain"},
                 {"entries", section.declared_entries},
                 {"entries_read", section.entries.size()},
                 {"bytes", section.bytes},
                 {"complete", section.complete},
                 {"first", section.entries.empty()
                                   ? ordered_json(nullptr)
                                   : ordered_json(section.entries.front().start.ToString())},
                 {"last", section.entries.empty()
                                  ? ordered_json(nullptr)
                                  : ordered_json(section.entries.back().start.ToString())},
                 {"calls", std::move(stats)}});
    }
    ordered_json unparsed = ordered_json::array();
    for (const calls::UnparsedLine& line : log.unparsed) {
        unparsed.push_back({{"line", line.line}, {"text", line.text}});
    }
    PrintJson(
            {{"file", name}, {"sections", std::move(sections)}, {"unparsed", std::move(unparsed)}});
}

// Chrome's trace-event format: one track (a thread of process 1) per section, one complete event
// per entry, timestamps in microseconds from the earliest entry of the dump.
ordered_json TraceJson(const std::string& name, const CallLog& log) {
    int64_t origin = INT64_MAX;
    for (const CallLogSection& section : log.sections) {
        if (!section.entries.empty()) origin = std::min(origin, section.entries.front().start_us);
    }
    ordered_json events = ordered_json::array();
    events.push_back(
            {{"ph", "M"}, {"pid", 1}, {"name", "process_name"}, {"args", {{"name", name}}}});
    int track = 0;
    for (const CallLogSection& section : log.sections) {
        ++track;
        events.push_back({{"ph", "M"},
                          {"pid", 1},
                          {"tid", track},
                          {"name", "thread_name"},
                          {"args", {{"name", SectionName(section)}}}});
        events.push_back({{"ph", "M"},
                          {"pid", 1},
                          {"tid", track},
                          {"name", "thread_sort_index"},
                          {"args", {{"sort_index", track}}}});
        for (size_t i = 0; i < section.entries.size(); ++i) {
            const CallEntry& entry = section.entries[i];
            ordered_json args = {
                    {"line", entry.line}, {"details", entry.details}, {"ecode", entry.ecode}};
            int64_t duration = std::max(entry.max_us, 0);
            if (entry.executing) {
                args["executing"] = true;
                duration = 0;
            } else if (entry.count > 1) {
                // A folded run's calls all began before the next entry did; they took at least
                // the sum of their times.
                duration = std::max<int64_t>(int64_t{entry.avg_us} * entry.count, 0);
                if (i + 1 < section.entries.size()) {
                    duration = std::max(duration, section.entries[i + 1].start_us - entry.start_us);
                }
                args["count"] = entry.count;
                args["min_us"] = entry.min_us;
                args["avg_us"] = entry.avg_us;
                args["max_us"] = entry.max_us;
            }
            if (entry.state.has_value()) {
                args["sco_enabled"] = entry.state->sco_enabled;
                args["a2dp_suspended"] = entry.state->a2dp_suspended;
                args["le_suspended"] = entry.state->le_suspended;
                args["audio_mode"] = entry.state->audio_mode;
            }
            events.push_back({{"name", entry.name},
                              {"cat", entry.ecode == 0 ? "call" : "call,error"},
                              {"ph", "X"},
                              {"ts", entry.start_us - origin},
                              {"dur", duration},
                              {"pid", 1},
                              {"tid", track},
                              {"args", std::move(args)}});
        }
    }
    return {{"traceEvents", std::move(events)},
            {"displayTimeUnit", "ms"},
            {"otherData", {{"source", name}}}};
}

int WriteTrace(const capture::InputFile& file, const std::string& path, const CallLog& log) {
    std::string error;
    std::optional<OutputFile> out = OutputFile::Create(path, &file, &error);
    if (!out.has_value()) return Failure(kCallsCommand, error);
    const std::string text =
            TraceJson(file.name(), log).dump(-1, ' ', false, ordered_json::error_handler_t::replace) +
            "\n";
    if (out->Write(text) && out->Close()) return kExitSuccess;
    error = out->WriteError();
    out->Discard();
    return Failure(kCallsCommand, error);
}

// Each section whose heading's count differs from the entries read, or that lacks its closing
// rule, and the lines not understood, on stderr.
void ReportDamage(const std::string& name, const CallLog& log) {
    for (const CallLogSection& section : log.sections) {
        if (section.declared_entries != section.entries.size()) {
            Warn(kCallsCommand,
                 StringPrintf("%s:%zu: the heading counts %llu entries, %zu read", name.c_str(),
                              section.line,
                              static_cast<unsigned long long>(section.declared_entries),
                              section.entries.size()));
        }
        if (!section.complete) {
            Warn(kCallsCommand, StringPrintf("%s:%zu: the section ends without its closing rule",
                                             name.c_str(), section.line));
        }
    }
    for (size_t i = 0; i < log.unparsed.size() && i < kReportedLines; ++i) {
        const calls::UnparsedLine& line = log.unparsed[i];
        std::string text = line.text.substr(0, kReportedText);
        if (text.size() < line.text.size()) text += "...";
        Warn(kCallsCommand,
             StringPrintf("%s:%zu: not understood: %s", name.c_str(), line.line, text.c_str()));
    }
    if (log.unparsed.size() > kReportedLines) {
        Warn(kCallsCommand, StringPrintf("%s: %zu more lines not understood", name.c_str(),
                                         log.unparsed.size() - kReportedLines));
    }
}

int Run(int argc, char** argv) {
    static constexpr Option kOptions[] = {{"json", false}, {"trace", true}};
    int status = kExitSuccess;
    const std::optional<ParsedArguments> parsed =
            ParseCommandLine(kCallsCommand, argc, argv, kOptions, &status);
    if (!parsed.has_value()) return status;
    if (parsed->operands.size() != 1) {
        return UsageError(kCallsCommand,
                          parsed->operands.empty() ? "missing FILE" : "one FILE only");
    }
    std::string error;
    const std::optional<capture::InputFile> file =
            capture::InputFile::Open(std::string(parsed->operands[0]), &error);
    if (!file.has_value()) return Failure(kCallsCommand, error);
    const CallLog log = calls::ParseCallLog(file->text());
    if (log.sections.empty()) {
        return Failure(kCallsCommand, file->name() + ": no interaction logger section");
    }
    if (const auto trace = parsed->Value("trace")) {
        if (const int written = WriteTrace(*file, std::string(*trace), log);
            written != kExitSuccess) {
            return written;
        }
    }
    if (parsed->Has("json")) {
        PrintJsonSummary(file->name(), log);
    } else {
        PrintText(log);
    }
    ReportDamage(file->name(), log);
    return kExitSuccess;
}

}  // namespace

const Command kCallsCommand = {
        "calls",
        "read the calls back from a saved dump; write them as a trace",
        "usage: autl calls [--json] [--trace OUT.json] FILE\n"
        "\n"
        "Reads every interaction-log section (what Logger::Dump and StreamLogger::Dump write,\n"
        "from its \"Interaction logger(N, B):\" heading to its closing rule) out of FILE: a dump,\n"
        "a bugreport or any text that holds one, at any indentation (- reads standard input).\n"
        "For each section, and in it for each call (class::function), prints the number of\n"
        "calls (folded runs count all theirs), the shortest, average and longest execution\n"
        "time, the start of its first and last entry, and its error codes with their number\n"
        "of calls. Calls still running at the dump count without a time.\n"
        "\n"
        "  --json           the same as one JSON object, with the lines not understood\n"
        "  --trace OUT.json writes the entries as Chrome trace events, for ui.perfetto.dev or\n"
        "                   chrome://tracing: a track per section, an event per entry (a folded\n"
        "                   run is one event carrying its count and times, lasting until the\n"
        "                   next entry began), the arguments, state and line in its details\n"
        "\n"
        "Entries carry no year: a section that passes New Year is placed in order. Lines of a\n"
        "section that do not read as entries are counted and named on stderr; they never stop\n"
        "the reading.\n"
        "Exit status: 0 done, 1 FILE cannot be read, holds no section or OUT.json cannot be\n"
        "written, 2 usage error.\n",
        Run,
};

}  // namespace autl
