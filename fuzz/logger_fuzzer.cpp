// The Logger driven by a random program of producers (four open-entry handles and the single
// producer's Append), folds, resets, dumps and audio state changes, against a model of the history
// that folds, balances and attributes as the logger promises. After every step the byte count is
// the sum of 192 plus the arguments' sizes over the model's entries; a dump shows exactly the
// model's entries, oldest first: each one's state columns, call, arguments, return value and error
// code (so a handle's return value and error code land on its own entry or nowhere), "executing"
// while open, and the number of calls folded into it with times in order.
//
// Input: the budget (one byte, times 16), then steps of an operation byte (low nibble the
// operation modulo 11, bits 4-5 a handle) and its operands. A value is one byte: its kind (modulo
// 3: bool, int, text) and value. A call is one byte: the function (modulo 3) and its argument
// count (bits 2-3), then one value per argument.

#include <interactionlogger/logger.h>

#include <array>
#include <deque>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;
using vendor::zentro::tevrash::audio::hal::utils::dumpsys::DumpsysInfo;
using namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger;

constexpr const char* kFunctions[] = {"f0", "f1", "f2"};
constexpr const char* kNames[] = {"a", "b", "c"};

struct Value {
    int kind;
    int number;
    std::string text;
    bool operator==(const Value&) const = default;

    static Value Read(ByteReader& input) {
        const uint8_t byte = input.Read<uint8_t>();
        const int rest = byte / 3;
        // Only the kind's own field is set, so that equal arguments are equal values.
        if (byte % 3 == 0) return {0, rest % 2, ""};
        if (byte % 3 == 1) return {1, rest % 3 - 1, ""};
        return {2, 0, std::string(rest % 4, static_cast<char>('x' + rest / 4 % 2))};
    }
    Argument Make(const char* name) const {
        if (kind == 0) return Argument(name, number != 0);
        if (kind == 1) return Argument(name, int32_t{number});
        return Argument(name, text);
    }
    std::string Text(const char* name) const {
        return std::string(name) + ": " +
               (kind == 0 ? (number != 0 ? "true" : "false") : kind == 1 ? std::to_string(number) : text);
    }
    uint64_t Size() const { return Argument::kFixedSize + (kind == 2 ? text.size() : 0); }
};

struct State {
    int32_t mode = 0;
    std::array<bool, 3> flags = {};  // SCO, A2DP, LE
    bool operator==(const State&) const = default;
};

struct Entry {
    uint64_t id;
    int function;
    std::vector<Value> args;
    std::optional<Value> ret;
    int32_t ecode = 0;
    State state;
    int count = 1;
    bool open = true;

    uint64_t Charge() const {
        uint64_t charge = Logger::kEntrySize;
        for (const Value& arg : args) charge += arg.Size();
        return charge;
    }
    bool SameCall(const Entry& other) const {
        return function == other.function && args == other.args && ret == other.ret &&
               ecode == other.ecode && state == other.state;
    }
    std::string Prefix() const {
        std::string prefix;
        for (bool flag : state.flags) prefix += flag ? "|*" : "| ";
        return prefix + "|" + (state.mode != 0 ? std::to_string(state.mode) : " ") + "| ";
    }
    // The line without its time stamp and its time part.
    std::string Text() const {
        std::string text = std::string("IModule::") + kFunctions[function] + ": args(" +
                           std::to_string(args.size()) + ")";
        for (size_t i = 0; i < args.size(); ++i) text += (i == 0 ? ": [" : ", ") + args[i].Text(kNames[i]);
        text += args.empty() ? ", " : "], ";
        return text + (ret ? ret->Text("ret") : "ret: not set") + ", ecode: " + std::to_string(ecode) + ", ";
    }
};

class Model {
  public:
    explicit Model(uint64_t budget) : budget_(budget) {}

    uint64_t Add(Entry entry) {
        entry.id = ++last_id_;
        entry.state = state;
        bytes += entry.Charge();
        while (bytes > budget_ && !entries.empty()) {
            bytes -= entries.front().Charge();
            entries.pop_front();
        }
        entries.push_back(std::move(entry));
        return last_id_;
    }
    Entry* Find(uint64_t id) {
        for (Entry& entry : entries) {
            if (entry.id == id) return &entry;
        }
        return nullptr;
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
        bytes -= last.Charge();
        entries.pop_back();
    }

    std::deque<Entry> entries;
    uint64_t bytes = 0;
    State state;

  private:
    uint64_t budget_;
    uint64_t last_id_ = 0;
};

void CheckTime(std::string_view time, const Entry& entry) {
    if (entry.count == 1) {
        AUTL_FUZZ_CHECK(entry.open ? time == "time: executing"
                                   : time.starts_with("time: ") && time.ends_with(" us"));
        return;
    }
    constexpr char kFormat[] = "contiguous calls: [count: %d, max: %d us, min: %d us, avg: %d us]";
    int count = 0, max = 0, min = 0, avg = 0;
    AUTL_FUZZ_CHECK(std::sscanf(std::string(time).c_str(), kFormat, &count, &max, &min, &avg) == 4);
    char whole[128];
    std::snprintf(whole, sizeof(whole), kFormat, count, max, min, avg);
    AUTL_FUZZ_CHECK(time == whole);
    AUTL_FUZZ_CHECK(count == entry.count && 0 <= min && min <= avg && avg <= max);
}

void CheckDump(Logger& logger, const Model& model, bool with_state) {
    std::stringbuf text;
    DumpsysInfo info;
    info.stream_buffer = &text;
    logger.DumpDetails(info, with_state);
    std::vector<std::string> lines;
    std::istringstream stream(text.str());
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    AUTL_FUZZ_CHECK(lines.size() >= (with_state ? 9u : 3u));
    AUTL_FUZZ_CHECK(lines[0] == "Interaction logger(" + std::to_string(model.entries.size()) + ", " +
                                        std::to_string(model.bytes) + "):");
    AUTL_FUZZ_CHECK(lines.back() == std::string(with_state ? 152 : 142, '='));
    // Each entry's prefix and whole text; continuation lines add four spaces after the prefix.
    const size_t prefix_size = with_state ? 10 : 0;
    std::vector<std::pair<std::string, std::string>> entries;
    for (size_t k = with_state ? 8 : 2; k + 1 < lines.size(); ++k) {
        const std::string prefix = lines[k].substr(0, prefix_size);
        const std::string rest = lines[k].substr(prefix_size);
        if (rest.starts_with("    ")) {
            AUTL_FUZZ_CHECK(!entries.empty() && entries.back().first == prefix);
            entries.back().second += rest.substr(4);
        } else {
            entries.emplace_back(prefix, rest);
        }
    }
    AUTL_FUZZ_CHECK(entries.size() == model.entries.size());
    for (size_t k = 0; k < entries.size(); ++k) {
        const Entry& entry = model.entries[k];
        const auto& [prefix, line] = entries[k];
        if (with_state) AUTL_FUZZ_CHECK(prefix == entry.Prefix());
        // After "MM-DD hh:mm:ss.mmm ".
        const std::string expected = entry.Text();
        AUTL_FUZZ_CHECK(line.size() >= 19 + expected.size());
        AUTL_FUZZ_CHECK(line.compare(19, expected.size(), expected) == 0);
        CheckTime(std::string_view(line).substr(19 + expected.size()), entry);
    }
}

Entry ReadCall(ByteReader& input) {
    const uint8_t byte = input.Read<uint8_t>();
    Entry entry{.id = 0, .function = byte % 3};
    for (int i = 0; i < ((byte >> 2) & 3) && i < 3; ++i) entry.args.push_back(Value::Read(input));
    return entry;
}

LogEntry Make(const Entry& entry) {
    std::vector<Argument> arguments;
    for (size_t i = 0; i < entry.args.size(); ++i) arguments.push_back(entry.args[i].Make(kNames[i]));
    return LogEntry("android.hardware.audio.core.IModule", kFunctions[entry.function], std::move(arguments));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    const uint64_t budget = uint64_t{input.Read<uint8_t>()} * 16;
    Logger logger(budget);
    Model model(budget);
    // Each handle and the model entry it stands for (0 when closed or empty).
    std::array<std::optional<PendingEntry>, 4> handles;
    std::array<uint64_t, 4> ids = {};
    const auto close = [&](size_t k) {
        if (ids[k] != 0) model.Close(std::exchange(ids[k], 0));
    };
    for (int steps = 0; input.remaining() > 0 && steps < 256; ++steps) {
        const uint8_t operation = input.Read<uint8_t>();
        const size_t k = (operation >> 4) & 3;
        switch (operation % 16 % 11) {
            case 0: {
                // Begin first, then the assignment closes what the handle held.
                const Entry call = ReadCall(input);
                const uint64_t id = model.Add(call);
                handles[k] = logger.Begin(Make(call));
                close(k);
                ids[k] = id;
                break;
            }
            case 1: {
                const Value ret = Value::Read(input);
                if (handles[k]) handles[k]->SetReturn(ret.Make("ret"));
                if (Entry* entry = ids[k] != 0 ? model.Find(ids[k]) : nullptr) entry->ret = ret;
                break;
            }
            case 2: {
                const int32_t ecode = input.Read<uint8_t>() % 3 - 1;
                if (handles[k]) handles[k]->SetErrorCode(ecode);
                if (Entry* entry = ids[k] != 0 ? model.Find(ids[k]) : nullptr) entry->ecode = ecode;
                break;
            }
            case 3:
                if (handles[k]) handles[k]->Close();
                close(k);
                break;
            case 4:
                handles[k].reset();
                close(k);
                break;
            case 5: {
                // Moving a handle over another closes the one it replaces.
                const size_t from = operation >> 6;
                if (from == k || !handles[from]) break;
                handles[k] = std::move(*handles[from]);
                close(k);
                ids[k] = std::exchange(ids[from], 0);
                break;
            }
            case 6: {
                // The single producer: its entry is the newest until it folds.
                Entry call = ReadCall(input);
                const uint8_t how = input.Read<uint8_t>();
                if (how & 1) call.ret = Value::Read(input);
                LogEntry* appended = logger.Append(Make(call));
                const uint64_t id = model.Add(call);
                if (call.ret) logger.SetReturn(appended, call.ret->Make("ret"));
                if (how & 2) {
                    appended->SetExecutionTimeMs();
                    logger.FoldContiguousDuplicatedEntry();
                    model.Close(id);
                }
                break;
            }
            case 7:
                logger.FoldContiguousDuplicatedEntry();
                model.Fold();
                break;
            case 8:
                logger.Reset();
                model.entries.clear();
                model.bytes = 0;
                break;
            case 9: {
                const uint8_t value = input.Read<uint8_t>();
                const bool flag = (value & 4) != 0;
                switch (value & 3) {
                    case 0:
                        logger.SetAudioMode(model.state.mode = (value >> 3) & 7);
                        break;
                    case 1:
                        logger.SetScoEnabled(model.state.flags[0] = flag);
                        break;
                    case 2:
                        logger.SetA2dpSuspended(model.state.flags[1] = flag);
                        break;
                    default:
                        logger.SetLeSuspended(model.state.flags[2] = flag);
                        break;
                }
                break;
            }
            default:
                CheckDump(logger, model, (operation & 0x40) != 0);
                break;
        }
        AUTL_FUZZ_CHECK(logger.GetBytes() == model.bytes);
        AUTL_FUZZ_CHECK(logger.GetEntryCount() == model.entries.size());
    }
    CheckDump(logger, model, true);
    return 0;
}
