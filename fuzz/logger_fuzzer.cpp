// A Logger driven by a random program (Begin on four handles, their SetReturn, SetErrorCode, Close
// or destruction, Begin over a handle that is still open, folds, resets, audio mode changes, dumps)
// against a model that balances, folds and attributes as the logger promises. After every step the
// byte count is 192 plus the arguments' sizes summed over the model's entries, and the entry count
// the model's. At a check, and at the end, the history holds exactly the model's entries: state
// columns, call, arguments, each handle's return value and error code on its own entry or nowhere,
// "executing" while open, and folded counts.
//
// Input: the budget (a byte, times 16), then steps: an operation byte (bits 0-2 the operation:
// Begin, SetReturn, SetErrorCode, Close or destruction, fold, Reset, audio mode, check; bits 4-5 a
// handle; bit 6 destruction rather than Close) and its operands. A call is one byte, the function
// (modulo 3) and the argument count (bits 2-3), and a value per argument. A value is one byte: kind
// (modulo 3: bool, int, text) and value. The audio mode is a byte modulo 4.

#include <interactionlogger/logger.h>

#include <array>
#include <map>

#include "fuzz_support.h"

namespace {

using autl::fuzz::ByteReader;
using namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger;

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr const char* kFunctions[] = {"f0", "f1", "f2"};
    ByteReader input(data, size);
    const uint64_t budget = uint64_t{input.Read<uint8_t>()} * 16;
    Logger logger(budget);
    std::map<uint64_t, Entry> entries;  // the model's, by id, oldest first
    uint64_t bytes = 0, last_id = 0;
    std::string state = "| | | | | ";  // the state columns: SCO, A2DP, LE, audio mode
    // Each handle and the id of the entry it holds open (0: none).
    std::array<std::optional<PendingEntry>, 4> handles;
    std::array<uint64_t, 4> ids = {};
    const auto fold = [&] {
        if (entries.size() < 2) return;
        Entry &last = std::prev(entries.end())->second, &prev = std::prev(entries.end(), 2)->second;
        if (last.open || prev.open || last.Text() != prev.Text()) return;
        prev.count += last.count;
        bytes -= last.charge;
        entries.erase(std::prev(entries.end()));
    };
    const auto check = [&] {
        logger.Dump(vendor::zentro::tevrash::audio::hal::utils::dumpsys::DumpsysInfo());
        auto it = entries.begin();
        logger.ForEachEntry([&](const LogEntry& logged) {
            AUTL_FUZZ_CHECK(it != entries.end());
            const Entry& entry = (it++)->second;
            // The rendering after its time, "MM-DD hh:mm:ss.mmm ".
            const std::string text = logged.ToStringPrefix() + logged.ToString().substr(19);
            AUTL_FUZZ_CHECK(text.starts_with(entry.Text()) && logged.count == entry.count &&
                            (logged.execution_time == -1) == entry.open);
        });
        AUTL_FUZZ_CHECK(it == entries.end());
    };
    for (int steps = 0; !input.rest.empty() && steps < 256; ++steps) {
        const uint8_t operation = input.Read<uint8_t>();
        const int op = operation & 7;
        const size_t k = (operation >> 4) & 3;
        Entry* held = entries.contains(ids[k]) ? &entries[ids[k]] : nullptr;
        // Close(), destruction, or Begin over the handle end the call it held.
        const auto close = [&] {
            if (entries.contains(ids[k])) entries[ids[k]].open = false;
            if (std::exchange(ids[k], 0) != 0) fold();
        };
        if (op == 0) {
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
            // The oldest entries go to make room; the new one comes before the assignment closes
            // the one the handle held.
            for (bytes += entry.charge; bytes > budget && !entries.empty();) {
                bytes -= entries.begin()->second.charge;
                entries.erase(entries.begin());
            }
            entries[++last_id] = std::move(entry);
            handles[k] = logger.Begin(LogEntry("android.hardware.audio.core.IModule",
                                               kFunctions[byte % 3], std::move(arguments)));
            close();
            ids[k] = last_id;
        } else if (op == 1) {
            Argument ret = ReadValue(input, "ret");
            if (held != nullptr) held->ret = ret.ToString();
            if (handles[k]) handles[k]->SetReturn(std::move(ret));
        } else if (op == 2) {
            const int32_t ecode = input.Read<uint8_t>() % 3 - 1;
            if (held != nullptr) held->ecode = ecode;
            if (handles[k]) handles[k]->SetErrorCode(ecode);
        } else if (op == 3) {
            if ((operation & 0x40) != 0) handles[k].reset();
            if (handles[k]) handles[k]->Close();
            close();
        } else if (op == 4) {
            logger.FoldContiguousDuplicatedEntry();
            fold();
        } else if (op == 5) {
            logger.Reset();
            entries.clear();
            bytes = 0;
        } else if (op == 6) {
            const int mode = input.Read<uint8_t>() % 4;
            logger.SetAudioMode(mode);
            state[7] = " 123"[mode];
        } else {
            check();
        }
        AUTL_FUZZ_CHECK(logger.GetBytes() == bytes && logger.GetEntryCount() == entries.size());
    }
    check();
    return 0;
}
