// A Logger driven by a random program (Begin on four handles, their SetReturn, SetErrorCode, Close,
// moves and destruction, the single producer's Append, folds, resets, dumps, audio state changes)
// against a model that balances, folds and attributes as the logger promises. After every step the
// byte count is 192 plus the arguments' sizes summed over the model's entries; a dump shows exactly
// the model's entries: state columns, call, arguments, and each handle's return value and error
// code on its own entry or nowhere, "executing" while open, folded counts, times in order.
//
// Input: the budget (a byte, times 16), then steps: an operation byte (low nibble modulo 10, bits
// 4-5 a handle, bits 6-7 a second handle or a choice) and its operands. A value is one byte: kind
// (modulo 3: bool, int, text) and value. A call is one byte, the function (modulo 3) and the
// argument count (bits 2-3), and a value per argument.

#include <interactionlogger/logger.h>

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;
using vendor::zentro::tevrash::audio::hal::utils::dumpsys::DumpsysInfo;
using namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger;

constexpr const char* kFunctions[] = {"f0", "f1", "f2"};
constexpr const char* kNames[] = {"a", "b", "c"};

// A bool, int or text argument, and its value's text in a dump, which tells kinds apart: texts
// are runs of x or y.
Argument ReadValue(ByteReader& input, const char* name, std::string* text) {
    const int byte = input.Read<uint8_t>(), rest = byte / 3;
    if (byte % 3 == 0) {
        *text = rest % 2 == 0 ? "false" : "true";
        return Argument(name, rest % 2 != 0);
    }
    if (byte % 3 == 1) {
        *text = std::to_string(rest % 3 - 1);
        return Argument(name, int32_t{rest % 3 - 1});
    }
    *text = std::string(rest % 8, static_cast<char>('x' + rest / 8 % 2));
    return Argument(name, *text);
}

struct Entry {
    uint64_t id = 0;
    std::string call;  // the dump's text of the call and its arguments
    uint64_t charge = Logger::kEntrySize;
    std::optional<std::string> ret;
    int32_t ecode = 0;
    std::string state;  // the dump's state columns
    int count = 1;
    bool open = true;

    bool SameCall(const Entry& other) const {
        return call == other.call && ret == other.ret && ecode == other.ecode &&
               state == other.state;
    }
};

// A call read from the input, as the model's entry and as the logger's.
std::pair<Entry, LogEntry> ReadCall(ByteReader& input) {
    const uint8_t byte = input.Read<uint8_t>();
    const int count = (byte >> 2) & 3;
    Entry entry;
    entry.call = std::string("IModule::") + kFunctions[byte % 3] + ": args(" +
                 std::to_string(count) + ")" + (count == 0 ? ", " : ": [");
    std::vector<Argument> arguments;
    for (int i = 0; i < count; ++i) {
        std::string text;
        arguments.push_back(ReadValue(input, kNames[i], &text));
        entry.call += (i == 0 ? "" : ", ") + std::string(kNames[i]) + ": " + text;
        entry.charge += arguments.back().size;
    }
    if (count > 0) entry.call += "], ";
    return {std::move(entry), LogEntry("android.hardware.audio.core.IModule", kFunctions[byte % 3],
                                       std::move(arguments))};
}

struct Model {
    uint64_t budget;
    uint64_t bytes = 0;
    uint64_t last_id = 0;
    std::deque<Entry> entries;
    int mode = 0;
    std::array<bool, 3> flags = {};  // SCO, A2DP, LE

    uint64_t Add(Entry entry) {
        entry.id = ++last_id;
        for (bool flag : flags) entry.state += flag ? "|*" : "| ";
        entry.state += "|" + (mode != 0 ? std::to_string(mode) : " ") + "| ";
        for (bytes += entry.charge; bytes > budget && !entries.empty(); entries.pop_front()) {
            bytes -= entries.front().charge;
        }
        entries.push_back(std::move(entry));
        return last_id;
    }
    Entry* Find(uint64_t id) {
        const auto it = std::find_if(entries.begin(), entries.end(),
                                     [id](const Entry& entry) { return entry.id == id; });
        return it != entries.end() ? &*it : nullptr;
    }
    void Close(uint64_t id) {
        if (Entry* entry = Find(id)) entry->open = false;
        Fold();
    }
    void Fold() {
        if (entries.size() < 2) return;
        Entry& last = entries.back();
        Entry& prev = entries[entries.size() - 2];
        if (last.open || prev.open || !last.SameCall(prev)) return;
        prev.count += last.count;
        bytes -= last.charge;
        entries.pop_back();
    }
};

void CheckDump(Logger& logger, const Model& model) {
    std::stringbuf text;
    DumpsysInfo info;
    info.stream_buffer = &text;
    logger.Dump(info);
    std::vector<std::string> lines;
    std::istringstream stream(text.str());
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    AUTL_FUZZ_CHECK(lines.size() >= 9 && lines.back() == std::string(152, '='));
    AUTL_FUZZ_CHECK(lines[0] == "Interaction logger(" + std::to_string(model.entries.size()) +
                                        ", " + std::to_string(model.bytes) + "):");
    // Entries after the heading, the six header lines and the rule; a continuation line has four
    // spaces after the 10 characters of state columns.
    std::vector<std::string> entries;
    for (size_t k = 8; k + 1 < lines.size(); ++k) {
        AUTL_FUZZ_CHECK(lines[k].size() > 14);
        const bool continued = lines[k].compare(10, 4, "    ") == 0;
        AUTL_FUZZ_CHECK(!continued ||
                        (!entries.empty() && lines[k].compare(0, 10, entries.back(), 0, 10) == 0));
        if (continued)
            entries.back() += lines[k].substr(14);
        else
            entries.push_back(lines[k]);
    }
    AUTL_FUZZ_CHECK(entries.size() == model.entries.size());
    for (size_t k = 0; k < entries.size(); ++k) {
        const Entry& entry = model.entries[k];
        // State columns, "MM-DD hh:mm:ss.mmm ", the call up to its time part.
        const std::string expected = entry.call + "ret: " + entry.ret.value_or("not set") +
                                     ", ecode: " + std::to_string(entry.ecode) + ", ";
        const std::string& line = entries[k];
        AUTL_FUZZ_CHECK(line.size() >= 29 + expected.size() && line.starts_with(entry.state));
        AUTL_FUZZ_CHECK(line.compare(29, expected.size(), expected) == 0);
        const std::string time = line.substr(29 + expected.size());
        if (entry.count == 1) {
            AUTL_FUZZ_CHECK(entry.open ? time == "time: executing"
                                       : time.starts_with("time: ") && time.ends_with(" us"));
            continue;
        }
        constexpr char kFormat[] =
                "contiguous calls: [count: %d, max: %d us, min: %d us, avg: %d us]";
        int count = 0, max = 0, min = 0, avg = 0;
        AUTL_FUZZ_CHECK(std::sscanf(time.c_str(), kFormat, &count, &max, &min, &avg) == 4 &&
                        time.ends_with(" us]"));
        AUTL_FUZZ_CHECK(count == entry.count && 0 <= min && min <= avg && avg <= max);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    Model model{.budget = uint64_t{input.Read<uint8_t>()} * 16};
    Logger logger(model.budget);
    // Each handle and the id of the model entry it holds open (0: none).
    std::array<std::optional<PendingEntry>, 4> handles;
    std::array<uint64_t, 4> ids = {};
    const auto close = [&](size_t k) {
        if (ids[k] != 0) model.Close(std::exchange(ids[k], 0));
    };
    for (int steps = 0; input.remaining() > 0 && steps < 256; ++steps) {
        const uint8_t operation = input.Read<uint8_t>();
        const size_t k = (operation >> 4) & 3, other = operation >> 6;
        Entry* held = ids[k] != 0 ? model.Find(ids[k]) : nullptr;
        switch (operation % 16 % 10) {
            case 0: {
                // The new entry is appended before the assignment closes the one the handle held.
                auto [entry, log_entry] = ReadCall(input);
                const uint64_t id = model.Add(std::move(entry));
                handles[k] = logger.Begin(std::move(log_entry));
                close(k);
                ids[k] = id;
                break;
            }
            case 1: {
                std::string text;
                Argument ret = ReadValue(input, "ret", &text);
                if (handles[k]) handles[k]->SetReturn(std::move(ret));
                if (held) held->ret = text;
                break;
            }
            case 2: {
                const int32_t ecode = input.Read<uint8_t>() % 3 - 1;
                if (handles[k]) handles[k]->SetErrorCode(ecode);
                if (held) held->ecode = ecode;
                break;
            }
            case 3:
                // Close(), or destruction.
                if (handles[k] && other % 2 == 0) handles[k]->Close();
                if (other % 2 == 1) handles[k].reset();
                close(k);
                break;
            case 4:
                // Moving a handle over another closes the one it replaces.
                if (other == k || !handles[other]) break;
                handles[k] = std::move(*handles[other]);
                close(k);
                ids[k] = std::exchange(ids[other], 0);
                break;
            case 5: {
                // The single producer: the entry it appended is the newest until it closes it.
                auto [entry, log_entry] = ReadCall(input);
                LogEntry* appended = logger.Append(std::move(log_entry));
                if (other % 2 == 1) {
                    std::string ret;
                    logger.SetReturn(appended, ReadValue(input, "ret", &ret));
                    entry.ret = ret;
                }
                const uint64_t id = model.Add(std::move(entry));
                if (other >= 2) {
                    appended->SetExecutionTimeMs();
                    logger.FoldContiguousDuplicatedEntry();
                    model.Close(id);
                }
                break;
            }
            case 6:
                logger.FoldContiguousDuplicatedEntry();
                model.Fold();
                break;
            case 7:
                logger.Reset();
                model.entries.clear();
                model.bytes = 0;
                break;
            case 8: {
                const uint8_t value = input.Read<uint8_t>();
                constexpr void (Logger::*kSetters[])(bool) = {
                        &Logger::SetScoEnabled, &Logger::SetA2dpSuspended, &Logger::SetLeSuspended};
                if (value % 4 == 3) {
                    logger.SetAudioMode(model.mode = value / 4 % 8);
                } else {
                    (logger.*kSetters[value % 4])(model.flags[value % 4] = (value & 4) != 0);
                }
                break;
            }
            default:
                CheckDump(logger, model);
                break;
        }
        AUTL_FUZZ_CHECK(logger.GetBytes() == model.bytes &&
                        logger.GetEntryCount() == model.entries.size());
    }
    CheckDump(logger, model);
    return 0;
}
