#define LOG_TAG "AUtl::Logger"

#include <interactionlogger/logger.h>

#include <android-base/logging.h>

#include <algorithm>
#include <limits>
#include <new>
#include <string>
#include <utility>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using dumpsys::Dumpsys;
using dumpsys::DumpsysInfo;

namespace {

constexpr char kTitle[] = "AUtl::Logger";
// The rules of the dumps: 142 or 152 "=".
constexpr char kRule[] =
        "========================================================================================"
        "================================================================";

// The state header of the detailed dump: its bars in columns 2, 4, 6 and 8 stand above the
// entries' state columns.
constexpr const char* kStateHeader[] = {
        "   -- SCO Enabled",
        "  /  -- A2DP Suspended",
        " |  /  -- LE Suspended",
        " | |  /  -- Audio Mode",
        " | | |  /",
        " | | | |",
};

constexpr int32_t kMaxCount = std::numeric_limits<int32_t>::max();

// Execution times sum as 32-bit integers that wrap.
int32_t WrappingAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// Adds the calls of `last` to the statistics of `prev`. A single call adds its execution time; an
// entry that already holds several calls (it folded them while an older call stayed open) adds
// its count and statistics. The count stops at INT32_MAX: the calls that no longer fit are left
// out of the total too, so the average stays that of the calls counted.
void Accumulate(LogEntry& prev, const LogEntry& last) {
    const bool single = last.count < 2;
    const int32_t calls = single ? 1 : last.count;
    const int32_t max_time = single ? last.execution_time : last.max_time;
    const int32_t min_time = single ? last.execution_time : last.min_time;
    const int32_t total_time = single ? last.execution_time : last.total_time;
    prev.max_time = std::max(prev.max_time, max_time);
    prev.min_time = std::min(prev.min_time, min_time);
    if (prev.count <= kMaxCount - calls) {
        prev.count += calls;
        prev.total_time = WrappingAdd(prev.total_time, total_time);
        return;
    }
    const int64_t room = kMaxCount - std::max(prev.count, 0);
    prev.total_time = WrappingAdd(prev.total_time, static_cast<int32_t>(total_time * room / calls));
    prev.count = kMaxCount;
}

bool SameCall(const LogEntry& last, const LogEntry& prev) {
    // Cheap checks first: argument comparison may marshal parcels.
    if (last.class_name != prev.class_name || last.function_name != prev.function_name ||
        last.arguments_size != prev.arguments_size || last.ecode != prev.ecode ||
        last.audio_mode != prev.audio_mode || last.sco_enabled != prev.sco_enabled ||
        last.a2dp_suspended != prev.a2dp_suspended || last.le_suspended != prev.le_suspended ||
        last.ret.has_value() != prev.ret.has_value()) {
        return false;
    }
    if (last.ret.has_value() && !CompareArgument(*last.ret, *prev.ret)) return false;
    if (last.arguments.size() != prev.arguments.size()) return false;
    for (size_t i = 0; i < last.arguments.size(); ++i) {
        if (!CompareArgument(last.arguments[i], prev.arguments[i])) return false;
    }
    return true;
}

}  // namespace

Logger::Logger(uint64_t max_bytes) : max_bytes_(max_bytes) {}

Logger::~Logger() = default;

void Logger::Dump(const DumpsysInfo& info) {
    DumpDetails(info, true);
}

void Logger::Reset() {
    std::optional<History> entries;
    {
        std::lock_guard lock(mutex_);
        for (OpenSlot& slot : open_slots_) slot.entry = nullptr;
        entries.emplace(std::move(entries_));
        bytes_ = 0;
    }
    // The old history, parcels and all, is freed without holding up producers and dumps.
}

void Logger::Balance() {
    while (bytes_ > max_bytes_ && !entries_.empty()) {
        bytes_ -= kEntrySize + entries_.front().arguments_size;
        Forget(entries_.front());
        entries_.pop_front();
    }
}

void Logger::FoldContiguousDuplicatedEntry() {
    std::optional<LogEntry> folded;
    std::lock_guard lock(mutex_);
    folded = FoldLocked();
}

std::optional<LogEntry> Logger::FoldLocked() {
    if (entries_.size() < 2) return std::nullopt;
    LogEntry& last = entries_.back();
    LogEntry& prev = entries_[entries_.size() - 2];
    // An entry whose call is still running belongs to a producer that will close it later; merging
    // into or out of it would lose that producer's measurement.
    if (last.execution_time == -1 || prev.execution_time == -1) return std::nullopt;
    if (!SameCall(last, prev)) return std::nullopt;
    Accumulate(prev, last);
    bytes_ -= kEntrySize + last.arguments_size;
    Forget(last);
    std::optional<LogEntry> folded(std::move(last));
    entries_.pop_back();
    return folded;
}

void Logger::DumpDetails(const DumpsysInfo& info, bool with_state) const {
    // One signal mask change for the whole dump instead of one per line.
    const dumpsys::ScopedSigpipeBlock sigpipe_blocked;
    std::lock_guard lock(mutex_);
    Dumpsys(info, kTitle) << "Interaction logger(" << entries_.size() << ", " << bytes_ << "):";
    // Lines that the filters do not admit are not even formatted. The texts reuse one buffer.
    const bool admitted = Dumpsys::IsAdmitted(info, kTitle);
    std::string text;
    std::string prefix;
    LogEntry::SecondText second;
    if (!with_state) {
        const std::string_view rule(kRule, 142);
        Dumpsys(info, kTitle) << rule;
        for (size_t i = 0; admitted && i < entries_.size(); ++i) {
            text.clear();
            entries_[i].AppendText(&text, &second);
            Dumpsys(info, kTitle) << text;
        }
        Dumpsys(info, kTitle) << rule;
        return;
    }
    for (const char* line : kStateHeader) Dumpsys(info, kTitle) << line;
    Dumpsys(info, kTitle) << "| | | | | " << std::string_view(kRule, 142);
    // Split lines carry no title, so the filter is applied here.
    for (size_t i = 0; admitted && i < entries_.size(); ++i) {
        const LogEntry& entry = entries_[i];
        text.clear();
        entry.AppendText(&text, &second);
        prefix.clear();
        entry.AppendPrefix(&prefix);
        Dumpsys::SplitInternal(info, text, true, prefix);
    }
    Dumpsys(info, kTitle) << std::string_view(kRule, 152);
}

void Logger::DumpToLogcat(int n) {
    LOG(INFO) << "=============== Last " << n << " calls ================";
    const size_t count = std::min(entries_.size(), static_cast<size_t>(std::max(n, 0)));
    for (size_t i = 1; i <= count; ++i) LOG(INFO) << entries_[entries_.size() - i].ToString();
    LOG(INFO) << "==============================================";
}

void Logger::SetAudioMode(int32_t mode) {
    std::lock_guard lock(mutex_);
    audio_mode_ = mode;
}

void Logger::SetScoEnabled(bool enabled) {
    std::lock_guard lock(mutex_);
    sco_enabled_ = enabled;
}

void Logger::SetA2dpSuspended(bool suspended) {
    std::lock_guard lock(mutex_);
    a2dp_suspended_ = suspended;
}

void Logger::SetLeSuspended(bool suspended) {
    std::lock_guard lock(mutex_);
    le_suspended_ = suspended;
}

PendingEntry Logger::Begin(LogEntry entry) {
    std::lock_guard lock(mutex_);
    LogEntry* appended = AppendLocked(std::move(entry));
    uint32_t slot;
    if (free_slots_.empty()) {
        slot = static_cast<uint32_t>(open_slots_.size());
        open_slots_.emplace_back();
    } else {
        slot = free_slots_.back();
        free_slots_.pop_back();
    }
    const uint64_t generation = next_generation_++;
    open_slots_[slot] = {appended, generation};
    appended->open_slot_ = static_cast<int32_t>(slot);
    return PendingEntry(*this, slot, generation);
}

LogEntry* Logger::Append(LogEntry entry) {
    std::lock_guard lock(mutex_);
    return AppendLocked(std::move(entry));
}

LogEntry* Logger::AppendLocked(LogEntry&& entry) {
    entry.audio_mode = audio_mode_;
    entry.sco_enabled = sco_enabled_;
    entry.a2dp_suspended = a2dp_suspended_;
    entry.le_suspended = le_suspended_;
    entry.open_slot_ = -1;
    // The new entry is charged first, so that the oldest entries make room for it.
    bytes_ += kEntrySize + entry.arguments_size;
    Balance();
    return &entries_.emplace_back(std::move(entry));
}

void Logger::SetReturn(LogEntry* entry, Argument ret) {
    std::optional<Argument> value(std::move(ret));
    std::lock_guard lock(mutex_);
    // The open entry of a single producer is the newest, or close to it.
    for (size_t i = entries_.size(); i > 0; --i) {
        if (&entries_[i - 1] == entry) {
            entries_[i - 1].ret.swap(value);
            return;
        }
    }
}

size_t Logger::GetEntryCount() const {
    std::lock_guard lock(mutex_);
    return entries_.size();
}

uint64_t Logger::GetBytes() const {
    std::lock_guard lock(mutex_);
    return bytes_;
}

void Logger::ForEachEntry(const std::function<void(const LogEntry&)>& visit) const {
    std::lock_guard lock(mutex_);
    for (size_t i = 0; i < entries_.size(); ++i) visit(entries_[i]);
}

LogEntry* Logger::FindLocked(uint32_t slot, uint64_t generation) {
    const OpenSlot& open = open_slots_[slot];
    return open.generation == generation ? open.entry : nullptr;
}

void Logger::Forget(const LogEntry& entry) {
    if (entry.open_slot_ >= 0) open_slots_[static_cast<size_t>(entry.open_slot_)].entry = nullptr;
}

std::optional<LogEntry> Logger::CloseLocked(uint32_t slot, uint64_t generation,
                                            LogEntry::SteadyTime end, std::optional<Argument>* ret) {
    OpenSlot& open = open_slots_[slot];
    if (open.generation == generation) {
        if (LogEntry* entry = open.entry; entry != nullptr) {
            if (ret != nullptr) entry->ret.swap(*ret);
            entry->SetExecutionTime(end);
            entry->open_slot_ = -1;
        }
        open = {};
        free_slots_.push_back(slot);
    }
    return FoldLocked();
}

Logger::History::History(History&& other) noexcept
    : blocks_(std::move(other.blocks_)),
      first_block_(std::exchange(other.first_block_, 0)),
      block_count_(std::exchange(other.block_count_, 0)),
      offset_(std::exchange(other.offset_, 0)),
      size_(std::exchange(other.size_, 0)),
      spare_(std::exchange(other.spare_, nullptr)) {
    other.blocks_.clear();
}

Logger::History::~History() {
    while (!empty()) pop_front();
    for (size_t i = 0; i < block_count_; ++i) {
        delete blocks_[(first_block_ + i) & (blocks_.size() - 1)];
    }
    delete spare_;
}

LogEntry* Logger::History::Slot(size_t i) const {
    const size_t position = offset_ + i;
    Block* block = blocks_[(first_block_ + position / kBlockEntries) & (blocks_.size() - 1)];
    return std::launder(reinterpret_cast<LogEntry*>(block->slots[position % kBlockEntries]));
}

LogEntry& Logger::History::emplace_back(LogEntry&& entry) {
    if (offset_ + size_ == block_count_ * kBlockEntries) AddBlock();
    LogEntry* slot = Slot(size_);
    ::new (static_cast<void*>(slot)) LogEntry(std::move(entry));
    ++size_;
    return *slot;
}

void Logger::History::pop_front() {
    Slot(0)->~LogEntry();
    --size_;
    if (++offset_ == kBlockEntries || size_ == 0) {
        RemoveBlock(blocks_[first_block_]);
        first_block_ = (first_block_ + 1) & (blocks_.size() - 1);
        offset_ = 0;
    }
}

void Logger::History::pop_back() {
    Slot(size_ - 1)->~LogEntry();
    --size_;
    if (size_ == 0 || (offset_ + size_) % kBlockEntries == 0) {
        RemoveBlock(blocks_[(first_block_ + block_count_ - 1) & (blocks_.size() - 1)]);
        if (size_ == 0) first_block_ = offset_ = 0;
    }
}

void Logger::History::AddBlock() {
    if (block_count_ == blocks_.size()) {
        // The ring is full: double it, its blocks in order from the start.
        std::vector<Block*> blocks(std::max<size_t>(4, 2 * blocks_.size()), nullptr);
        for (size_t i = 0; i < block_count_; ++i) {
            blocks[i] = blocks_[(first_block_ + i) & (blocks_.size() - 1)];
        }
        blocks_.swap(blocks);
        first_block_ = 0;
    }
    Block* block = spare_ != nullptr ? std::exchange(spare_, nullptr) : new Block;
    blocks_[(first_block_ + block_count_) & (blocks_.size() - 1)] = block;
    ++block_count_;
}

// Takes a block out of use, the first or the last; the caller moves first_block_ past a first.
void Logger::History::RemoveBlock(Block* block) {
    --block_count_;
    if (spare_ == nullptr) {
        spare_ = block;
    } else {
        delete block;
    }
}

PendingEntry::PendingEntry(PendingEntry&& other) noexcept
    : logger_(other.logger_), slot_(other.slot_), generation_(std::exchange(other.generation_, 0)) {}

PendingEntry& PendingEntry::operator=(PendingEntry&& other) noexcept {
    if (this != &other) {
        Close();
        logger_ = other.logger_;
        slot_ = other.slot_;
        generation_ = std::exchange(other.generation_, 0);
    }
    return *this;
}

PendingEntry::~PendingEntry() {
    Close();
}

void PendingEntry::SetReturn(Argument ret) {
    if (generation_ == 0) return;
    // A value replaced, or not taken, is destroyed after the mutex is released.
    std::optional<Argument> value(std::move(ret));
    std::lock_guard lock(logger_->mutex_);
    if (LogEntry* entry = logger_->FindLocked(slot_, generation_); entry != nullptr) {
        entry->ret.swap(value);
    }
}

void PendingEntry::SetErrorCode(int32_t ecode) {
    if (generation_ == 0) return;
    std::lock_guard lock(logger_->mutex_);
    if (LogEntry* entry = logger_->FindLocked(slot_, generation_); entry != nullptr) {
        entry->ecode = ecode;
    }
}

void PendingEntry::Close() {
    Finish(std::nullopt);
}

std::optional<LogEntry> PendingEntry::Finish(std::optional<Argument> ret) {
    if (generation_ == 0) return std::nullopt;
    // The call ends now, not when the mutex is free: a dump may hold it for milliseconds.
    const LogEntry::SteadyTime end = std::chrono::steady_clock::now();
    // What is replaced or folded away is destroyed after the mutex is released.
    std::lock_guard lock(logger_->mutex_);
    return logger_->CloseLocked(slot_, std::exchange(generation_, 0), end,
                                ret.has_value() ? &ret : nullptr);
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
