#define LOG_TAG "AUtl::Logger"

#include <interactionlogger/logger.h>

#include <android-base/logging.h>

#include <algorithm>
#include <string>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using dumpsys::Dumpsys;
using dumpsys::DumpsysInfo;

namespace {

constexpr char kTitle[] = "AUtl::Logger";

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

// Execution times sum as 32-bit integers that wrap.
int32_t WrappingAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
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
    std::lock_guard lock(mutex_);
    entries_.clear();
    bytes_ = 0;
}

void Logger::Balance() {
    while (bytes_ > max_bytes_ && !entries_.empty()) {
        bytes_ -= kEntrySize + entries_.front().arguments_size;
        entries_.pop_front();
    }
}

void Logger::FoldContiguousDuplicatedEntry() {
    std::lock_guard lock(mutex_);
    FoldLocked();
}

void Logger::FoldLocked() {
    if (entries_.size() < 2) return;
    LogEntry& last = entries_.back();
    LogEntry& prev = entries_[entries_.size() - 2];
    // An entry whose call is still running belongs to a producer that will close it later; merging
    // into or out of it would lose that producer's measurement.
    if (last.execution_time == -1 || prev.execution_time == -1) return;
    if (!SameCall(last, prev)) return;
    if (last.count == 1) {
        prev.count += 1;
        prev.max_time = std::max(prev.max_time, last.execution_time);
        prev.min_time = std::min(prev.min_time, last.execution_time);
        prev.total_time = WrappingAdd(prev.total_time, last.execution_time);
    } else {
        // With several producers, the newest entry may already hold folded calls of its own (an
        // older entry stayed open while they folded); they all move into prev.
        prev.count += last.count;
        prev.max_time = std::max(prev.max_time, last.max_time);
        prev.min_time = std::min(prev.min_time, last.min_time);
        prev.total_time = WrappingAdd(prev.total_time, last.total_time);
    }
    bytes_ -= kEntrySize + last.arguments_size;
    entries_.pop_back();
}

void Logger::DumpDetails(const DumpsysInfo& info, bool with_state) const {
    std::lock_guard lock(mutex_);
    Dumpsys(info, kTitle) << "Interaction logger(" << entries_.size() << ", " << bytes_ << "):";
    if (!with_state) {
        const std::string rule(142, '=');
        Dumpsys(info, kTitle) << rule;
        for (const LogEntry& entry : entries_) Dumpsys(info, kTitle) << entry.ToString();
        Dumpsys(info, kTitle) << rule;
        return;
    }
    for (const char* line : kStateHeader) Dumpsys(info, kTitle) << line;
    Dumpsys(info, kTitle) << "| | | | | " << std::string(142, '=');
    // Split lines carry no title, so the filter is applied here.
    if (Dumpsys::IsAdmitted(info, kTitle)) {
        for (const LogEntry& entry : entries_) {
            Dumpsys::SplitInternal(info, entry.ToString(), true, entry.ToStringPrefix());
        }
    }
    Dumpsys(info, kTitle) << std::string(152, '=');
}

void Logger::DumpToLogcat(int n) {
    LOG(INFO) << "=============== Last " << n << " calls ================";
    int written = 0;
    for (auto it = entries_.rbegin(); it != entries_.rend() && written < n; ++it, ++written) {
        LOG(INFO) << it->ToString();
    }
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

LogEntry* Logger::Append(LogEntry entry) {
    std::lock_guard lock(mutex_);
    return AppendLocked(std::move(entry));
}

PendingEntry Logger::Begin(LogEntry entry) {
    std::lock_guard lock(mutex_);
    LogEntry* appended = AppendLocked(std::move(entry));
    return PendingEntry(*this, appended, appended->sequence_);
}

LogEntry* Logger::AppendLocked(LogEntry&& entry) {
    entry.audio_mode = audio_mode_;
    entry.sco_enabled = sco_enabled_;
    entry.a2dp_suspended = a2dp_suspended_;
    entry.le_suspended = le_suspended_;
    entry.sequence_ = next_sequence_++;
    // The new entry is charged first, so that the oldest entries make room for it.
    bytes_ += kEntrySize + entry.arguments_size;
    Balance();
    return &entries_.emplace_back(std::move(entry));
}

void Logger::SetReturn(LogEntry* entry, Argument ret) {
    std::lock_guard lock(mutex_);
    if (LogEntry* found = FindLocked(entry); found != nullptr) found->ret = std::move(ret);
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
    for (const LogEntry& entry : entries_) visit(entry);
}

LogEntry* Logger::FindLocked(const LogEntry* entry) {
    // Open entries sit at or near the back.
    for (auto it = entries_.rbegin(); it != entries_.rend(); ++it) {
        if (&*it == entry) return &*it;
    }
    return nullptr;
}

LogEntry* Logger::FindLocked(uint64_t sequence) {
    // Sequences grow along the history: entries enter at the back and leave at either end.
    const auto it = std::lower_bound(
            entries_.begin(), entries_.end(), sequence,
            [](const LogEntry& entry, uint64_t value) { return entry.sequence_ < value; });
    return it != entries_.end() && it->sequence_ == sequence ? &*it : nullptr;
}

PendingEntry::PendingEntry(Logger& logger, LogEntry* entry) : logger_(&logger), entry_(entry) {
    std::lock_guard lock(logger.mutex_);
    if (const LogEntry* found = logger.FindLocked(entry); found != nullptr) {
        sequence_ = found->sequence_;
    }
}

PendingEntry::PendingEntry(PendingEntry&& other) noexcept
    : logger_(other.logger_), entry_(other.entry_), sequence_(other.sequence_) {
    other.sequence_ = 0;
}

PendingEntry& PendingEntry::operator=(PendingEntry&& other) noexcept {
    if (this != &other) {
        Close();
        logger_ = other.logger_;
        entry_ = other.entry_;
        sequence_ = other.sequence_;
        other.sequence_ = 0;
    }
    return *this;
}

PendingEntry::~PendingEntry() {
    Close();
}

void PendingEntry::SetReturn(Argument ret) {
    if (sequence_ == 0) return;
    std::lock_guard lock(logger_->mutex_);
    if (LogEntry* entry = logger_->FindLocked(sequence_); entry != nullptr) {
        entry->ret = std::move(ret);
    }
}

void PendingEntry::SetErrorCode(int32_t ecode) {
    if (sequence_ == 0) return;
    std::lock_guard lock(logger_->mutex_);
    if (LogEntry* entry = logger_->FindLocked(sequence_); entry != nullptr) entry->ecode = ecode;
}

void PendingEntry::Close() {
    if (sequence_ == 0) return;
    const uint64_t sequence = std::exchange(sequence_, 0);
    // Taking the time under the mutex keeps it from racing a dump that prints it.
    std::lock_guard lock(logger_->mutex_);
    if (LogEntry* entry = logger_->FindLocked(sequence); entry != nullptr) {
        entry->SetExecutionTimeMs();
    }
    logger_->FoldLocked();
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
