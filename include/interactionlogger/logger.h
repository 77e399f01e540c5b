#pragma once

// Interaction logging: a byte-budgeted history of the calls made into the HAL. Each call is a
// LogEntry with its Arguments, return value, error code, execution time and the audio state at the
// time; runs of identical calls fold into one entry with count and timing statistics. AIDL
// parcelables are stored as parcels and decoded only when the history is printed.
//
//   Logger logger(64 * 1024);
//
//   ndk::ScopedAStatus Module::setMasterMute(bool mute) {
//       std::vector<Argument> arguments;
//       arguments.emplace_back("mute", mute);
//       PendingEntry call = logger.Begin(LogEntry("IModule", "setMasterMute",
//       std::move(arguments))); const bool ok = mixer_.SetIntegerValue("Master Playback Switch",
//       mute ? 0 : 1); call.SetReturn(Argument("ret", ok)); call.SetErrorCode(ok ? 0 :
//       EX_ILLEGAL_STATE); return ...;
//   }   // call closes here: its execution time is taken and it may fold into the previous entry
//
// StreamLogger does the same for the commands and replies of one stream.

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

#include <aidl/android/hardware/audio/core/StreamDescriptor.h>

#include <dumpsys/dumpsys.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

// How an Argument's value is rendered and compared. Values above kAudioMode name the AIDL
// parcelable that the argument's parcel holds.
enum class ArgumentType : int32_t {
    kBool = 0,
    kInt = 1,
    kFloat = 2,
    kPointer = 3,
    kString = 4,
    kAudioMode = 5,
    kAudioPort = 6,
    kModuleDebug = 7,
    kAudioPortConfig = 8,
    kAudioPatch = 9,
    kOpenInputStreamArguments = 10,
    kOpenInputStreamReturn = 11,
    kOpenOutputStreamArguments = 12,
    kOpenOutputStreamReturn = 13,
    kTelecomConfig = 14,
    kScoConfig = 15,
    kHfpConfig = 16,
    kStreamDescriptorCommand = 17,
    kStreamDescriptorReply = 18,
    kAudioOffloadMetadata = 19,
    kAudioPlaybackRate = 20,
    kSinkMetadata = 21,
    kSourceMetadata = 22,
};

// One named value of a logged call. Move-only: it owns its text and its parcel.
struct Argument {
    // Bytes charged for every argument on top of its payload.
    static constexpr uint64_t kFixedSize = 64;

    // name must point at NUL-terminated text that outlives the log (in practice a literal).
    Argument(const char* name, bool value);
    Argument(const char* name, int32_t value, ArgumentType type = ArgumentType::kInt);
    Argument(const char* name, float value);
    Argument(const char* name, void* value);
    Argument(const char* name, std::string value);
    // Text, never bool; a null value is the empty text.
    Argument(const char* name, const char* value);
    // Takes a parcel holding one parcelable of the kind `type` names.
    Argument(const char* name, ndk::ScopedAParcel parcel, ArgumentType type);

    // Writes object into a new parcel with its writeToParcel and stores it; the write's status is
    // not looked at (a failed write stores what the parcel holds).
    template <typename Parcelable>
    static Argument FromParcelable(const char* name, const Parcelable& object, ArgumentType type) {
        ndk::ScopedAParcel parcel(AParcel_create());
        (void)object.writeToParcel(parcel.get());
        return Argument(name, std::move(parcel), type);
    }

    Argument(Argument&&) noexcept = default;
    Argument& operator=(Argument&&) noexcept = default;

    // "name: value"; a parcel is decoded with its type's readFromParcel and rendered with the
    // generated toString(). Rewinds the parcel, so it must not run concurrently with another
    // rendering or comparison of the same argument.
    std::string ToString() const;
    // The parcelable's generated text, "[unknown <type>]" for a type that names no parcelable, or
    // "[error status = <status>]" when the parcel cannot be read back.
    std::string ToStringAidl(const ndk::ScopedAParcel& parcel) const;

    std::variant<bool, int32_t, float, void*, std::string, ndk::ScopedAParcel> value;
    std::string_view name;
    uint64_t size;
    ArgumentType type;
};

// Whether two arguments count as the same for folding: the same type and equal values. Parcels of
// parcelable types are compared by their bytes, except stream replies, which are equal when their
// status, fmqByteCount, xrunFrames and state are (positions and latency change on every reply).
// Rewinds the parcels it looks at.
bool CompareArgument(const Argument& a, const Argument& b);

// One logged call.
struct LogEntry {
    using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;
    using SteadyTime = std::chrono::steady_clock::time_point;

    // Takes both clocks now (wall clock first); execution_time -1, count 1, the times -1, ecode 0,
    // no ret, state fields 0/false (the Logger copies its state in on Append).
    LogEntry(std::string_view class_name, std::string_view function_name,
             std::vector<Argument> arguments = {});
    LogEntry(LogEntry&&) noexcept = default;
    LogEntry& operator=(LogEntry&&) noexcept = default;

    // Ends the time measurement: execution_time, and the folding statistics with it, become the
    // microseconds since steady_start_time (the unit is microseconds despite the name).
    void SetExecutionTimeMs();
    // The entry's line: start time, call, arguments, return value, error code, and the execution
    // time or the statistics of its folded calls.
    std::string ToString() const;
    // The state columns of the detailed dump: "|SCO|A2DP|LE|mode| ".
    std::string ToStringPrefix() const;

    // Only the part after the last "." is printed. Points at text that outlives the log.
    std::string_view class_name;
    std::string_view function_name;
    WallTime start_time;
    SteadyTime steady_start_time;
    // Microseconds; -1 while the call is executing.
    int32_t execution_time = -1;
    std::vector<Argument> arguments;
    uint64_t arguments_size = 0;
    std::optional<Argument> ret;
    int32_t ecode = 0;
    int32_t audio_mode = 0;
    bool sco_enabled = false;
    bool a2dp_suspended = false;
    bool le_suspended = false;
    int32_t count = 1;
    int32_t max_time = -1;
    int32_t min_time = -1;
    int32_t total_time = -1;

  private:
    friend class Logger;
    friend class PendingEntry;
    // Set by the Logger on Append; strictly increasing along the history, so an open-entry handle
    // finds its entry again even when another entry now lives at the same address.
    uint64_t sequence_ = 0;
};

class PendingEntry;

// The history of calls, bounded by a byte budget: every entry costs 192 bytes plus its arguments'
// sizes (the return value is not charged), and the oldest entries leave when a new one would not
// fit. One plain mutex guards everything; it is held for a whole dump, so a slow dump reader
// stalls producers. No other lock of this library is ever taken while it is held.
class Logger {
  public:
    static constexpr uint64_t kEntrySize = 192;

    // Mode 0, all flags false.
    explicit Logger(uint64_t max_bytes);
    virtual ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    // The detailed dump: DumpDetails(info, true).
    virtual void Dump(const dumpsys::DumpsysInfo& info);

    // Empties the history; the budget and the audio state are kept.
    void Reset();
    // Folds the newest entry into the one before it when both are the same call and neither is
    // still executing. Takes the mutex.
    void FoldContiguousDuplicatedEntry();
    // Writes the history, oldest first, through Dumpsys lines titled "AUtl::Logger": with_state
    // gives the detailed layout (state columns, long entries split), otherwise one line per entry.
    // Holds the mutex for the whole dump.
    void DumpDetails(const dumpsys::DumpsysInfo& info, bool with_state) const;
    // Writes the newest n entries to the system log at INFO. Takes no lock: the caller must make
    // sure that nothing logs, folds or resets concurrently.
    void DumpToLogcat(int n);

    // Current audio state, copied into each new entry. Each setter takes the mutex.
    void SetAudioMode(int32_t mode);
    void SetScoEnabled(bool enabled);
    void SetA2dpSuspended(bool suspended);
    void SetLeSuspended(bool suspended);

    // Producer side: copies the current state into entry, charges it, pushes the oldest entries
    // out until the charge fits the budget, and moves it to the back of the history, all under the
    // mutex. The pointer stays valid until the entry is folded away, pushed out by the budget, or
    // the logger is reset; hold it through a PendingEntry, which checks that before every use.
    LogEntry* Append(LogEntry entry);
    // Append, and the open-entry handle of the new entry, in one hold of the mutex.
    PendingEntry Begin(LogEntry entry);
    // Replaces the entry's return value under the mutex (not charged); nothing when the entry has
    // left the history.
    void SetReturn(LogEntry* entry, Argument ret);

    size_t GetEntryCount() const;
    uint64_t GetBytes() const;
    // Calls visit on every entry, oldest first, under the mutex. visit must not call back into
    // this logger.
    void ForEachEntry(const std::function<void(const LogEntry&)>& visit) const;

  private:
    friend class PendingEntry;
    friend class StreamLogger;

    // Removes the oldest entries while the charge exceeds the budget. Needs the mutex.
    void Balance();
    LogEntry* AppendLocked(LogEntry&& entry);
    void FoldLocked();
    LogEntry* FindLocked(const LogEntry* entry);
    LogEntry* FindLocked(uint64_t sequence);

    mutable std::mutex mutex_;
    uint64_t max_bytes_;
    uint64_t bytes_ = 0;
    std::deque<LogEntry> entries_;
    int32_t audio_mode_ = 0;
    bool sco_enabled_ = false;
    bool a2dp_suspended_ = false;
    bool le_suspended_ = false;
    uint64_t next_sequence_ = 1;
};

// The open-entry handle of one logged call. Closing it (Close(), move-assignment over it, or
// destruction) takes the entry's execution time and then folds the newest entry into its
// predecessor, as Logger::FoldContiguousDuplicatedEntry does. Every access finds the entry again
// under the logger's mutex, so a handle whose entry was pushed out, folded away by another
// producer or reset does nothing instead of touching freed memory.
class PendingEntry {
  public:
    // entry is what Logger::Append just returned; construct the handle right after the Append.
    PendingEntry(Logger& logger, LogEntry* entry);
    PendingEntry(PendingEntry&& other) noexcept;
    PendingEntry& operator=(PendingEntry&& other) noexcept;
    ~PendingEntry();

    // The entry as Append returned it; only dereference it while no other thread can append,
    // fold or reset (a single producer).
    LogEntry* get() const { return entry_; }
    // Records the call's return value, under the logger's mutex.
    void SetReturn(Argument ret);
    // Records the call's error code, under the logger's mutex.
    void SetErrorCode(int32_t ecode);
    // Ends the call; nothing when already closed.
    void Close();

  private:
    friend class Logger;
    PendingEntry(Logger& logger, LogEntry* entry, uint64_t sequence)
        : logger_(&logger), entry_(entry), sequence_(sequence) {}

    Logger* logger_;
    LogEntry* entry_;
    uint64_t sequence_ = 0;
};

// The history of one stream's commands and replies. Each command becomes one entry of a private
// Logger; the reply that follows is attached to it as its return value, and the time between the
// two is its execution time. Identical consecutive command/reply pairs fold into one entry.
// LogCommand, LogReply and LogInternalError must be called from one thread at a time (the stream's
// worker); Dump and ToString may run on any thread at any time.
class StreamLogger {
  public:
    // Errors of the HAL's own met while handling a command; the value is printed as the entry's
    // error code.
    enum class Error : int32_t {
        kNone = 0,
        kInvalidCommand = 1,
        kInvalidState = 2,
        kTransferFailed = 3,
        kHardwareFailure = 4,
        kTimeout = 5,
    };

    explicit StreamLogger(uint64_t max_bytes);
    // Closes an open command first.
    virtual ~StreamLogger();

    // The plain layout: one line per entry.
    virtual void Dump(const dumpsys::DumpsysInfo& info);

    // A command taken from the command queue, before the worker acts on it. Closes a command that
    // is still open (it keeps "ret: not set").
    void LogCommand(const aidl::android::hardware::audio::core::StreamDescriptor::Command& command);
    // The reply posted for the open command; ignored without one. The reply is not charged
    // against the budget.
    void LogReply(const aidl::android::hardware::audio::core::StreamDescriptor::Reply& reply);
    // An error met while handling the open command; the last one before the reply wins. Ignored
    // without an open command.
    void LogInternalError(Error error);
    // The same text as Dump at indentation 0.
    std::string ToString() const;
    // To set the audio state copied into this stream's entries.
    Logger& GetLogger() { return logger_; }

  private:
    Logger logger_;
    std::optional<PendingEntry> pending_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
