// A Logger driven by a random program (Begin on four handles, their SetReturn, SetErrorCode, Close
// or destruction, Begin over a handle that is still open, folds, resets, audio state changes)
// against a model that balances, folds and attributes as the logger promises. After every step the
// byte count is 192 plus the arguments' sizes summed over the model's entries. At a check, and at
// the end, the dump's heading counts the model's entries and bytes, and the history holds exactly
// the model's entries: state columns, call, arguments, each handle's return value and error code
// on its own entry or nowhere, "executing" while open, and folded counts with times in order.
//
// Input: the budget (a byte, times 16), then steps: an operation byte (bits 0-2 the operation,
// bits 4-5 a handle, bit 6 a choice) and its operands. A call is one byte, the function (modulo
// 3) and the argument count (bits 2-3), and a value per argument. A value is one byte: kind
// (modulo 3: bool, int, text) and value.

#include <interactionlogger/logger.h>

#include <array>
#include <map>

#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;
using namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger;

constexpr const char* kFunctions[] = {"f0", "f1", "f2"};

// Texts are runs of x or y, so that no two kinds render alike.
Argument ReadValue(ByteReader& input, const char* name) {
    const int byte = input.Read<uint8_t>(), rest = byte / 3;
    if (byte % 3 == 0) return Argument(name, rest % 2 != 0);
    if (byte % 3 == 1) return Argument(name, int32_t{rest % 3 - 1});
    return Argument(name, std::string(rest % 8, static_cast<char>('x' + rest / 8 % 2)));
}

struct Entry {
    std::string call;  // state columns, call and arguments, as the entry renders them
    std::string ret = "ret: not set";
    int32_t ecode = 0;
    uint64_t charge = Logger::kEntrySize;
    int count = 1;
    bool open = true;
    // What the entry renders up to its time.
    std::string Text() const { return call + ret + ", ecode: " + std::to_string(ecode) + ", "; }
};

struct Model {
    uint64_t budget, bytes = 0, last_id = 0;
    std::map<uint64_t, Entry> entries;  // by id, oldest first
    std::string state = "| | | | | ";   // the state columns: SCO, A2DP, LE, audio mode

    // The entry of a call read from the input, and the call for the logger.
    LogEntry Add(ByteReader& input) {
        const uint8_t byte = input.Read<uint8_t>();
        const int count = (byte >> 2) & 3;
        Entry entry{.call = state + "IModule::" + kFunctions[byte % 3] + ": args(" +
                            std::to_string(count) + ")"};
        std::vector<Argument> arguments;
        for (int i = 0; i < count; ++i) {
            arguments.push_back(ReadValue(input, "a"));
            entry.call += (i == 0 ? ": [" : ", ") + arguments.back().ToString();
            entry.charge += arguments.back().size;
        }
        entry.call += count > 0 ? "], " : ", ";
        for (bytes += entry.charge; bytes > budget && !entries.empty();) {
            bytes -= entries.begin()->second.charge;
            entries.erase(entries.begin());
        }
        entries[++last_id] = std::move(entry);
        return LogEntry("android.hardware.audio.core.IModule", kFunctions[byte % 3],
                        std::move(arguments));
    }
    void Fold() {
        if (entries.size() < 2) return;
        const auto last = std::prev(entries.end()), prev = std::prev(last);
        if (last->second.open || prev->second.open || last->second.Text() != prev->second.Text()) {
            return;
        }
        prev->second.count += last->second.count;
        bytes -= last->second.charge;
        entries.erase(last);
    }
};

void Check(Logger& logger, const Model& model) {
    logger.Dump(vendor::zentro::tevrash::audio::hal::utils::dumpsys::DumpsysInfo());
    auto it = model.entries.begin();
    logger.ForEachEntry([&](const LogEntry& logged) {
        AUTL_FUZZ_CHECK(it != model.entries.end());
        const Entry& entry = (it++)->second;
        // The rendering after its time, "MM-DD hh:mm:ss.mmm ".
        const std::string text = logged.ToStringPrefix() + logged.ToString().substr(19);
        AUTL_FUZZ_CHECK(text.starts_with(entry.Text()) && logged.count == entry.count &&
                        (logged.execution_time == -1) == entry.open);
    });
    AUTL_FUZZ_CHECK(it == model.entries.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    Model model{.budget = uint64_t{input.Read<uint8_t>()} * 16};
    Logger logger(model.budget);
    // Each handle and the id of the model's entry it holds open (0: none).
    std::array<std::optional<PendingEntry>, 4> handles;
    std::array<uint64_t, 4> ids = {};
    for (int steps = 0; input.remaining() > 0 && steps < 256; ++steps) {
        const uint8_t operation = input.Read<uint8_t>();
        const int op = operation & 7;
        const size_t k = (operation >> 4) & 3;
        const bool choice = (operation & 0x40) != 0;
        Entry* held = model.entries.contains(ids[k]) ? &model.entries[ids[k]] : nullptr;
        // Close(), destruction, or Begin over the handle end the call it held.
        const auto close = [&] {
            if (model.entries.contains(ids[k])) model.entries[ids[k]].open = false;
            if (std::exchange(ids[k], 0) != 0) model.Fold();
        };
        if (op == 0) {
            // The new entry comes before the assignment closes the one the handle held.
            handles[k] = logger.Begin(model.Add(input));
            close();
            ids[k] = model.last_id;
        } else if (op == 1) {
            Argument ret = ReadValue(input, "ret");
            if (held != nullptr) held->ret = ret.ToString();
            if (handles[k]) handles[k]->SetReturn(std::move(ret));
        } else if (op == 2) {
            const int32_t ecode = input.Read<uint8_t>() % 3 - 1;
            if (held != nullptr) held->ecode = ecode;
            if (handles[k]) handles[k]->SetErrorCode(ecode);
        } else if (op == 3) {
            if (handles[k] && !choice) handles[k]->Close();
            if (choice) handles[k].reset();
            close();
        } else if (op == 4) {
            logger.FoldContiguousDuplicatedEntry();
            model.Fold();
        } else if (op == 5) {
            logger.Reset();
            model.entries.clear();
            model.bytes = 0;
        } else if (op == 6) {
            // The audio mode, which every entry begun from now on shows and folds by.
            const int mode = input.Read<uint8_t>() % 4;
            logger.SetAudioMode(mode);
            model.state[7] = " 123"[mode];
        } else {
            Check(logger, model);
        }
        AUTL_FUZZ_CHECK(logger.GetBytes() == model.bytes &&
                        logger.GetEntryCount() == model.entries.size());
    }
    Check(logger, model);
    return 0;
}
