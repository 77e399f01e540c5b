#pragma once

// Interaction logging: a byte-budgeted history of the calls made into the HAL. Each call is a
// LogEntry with its Arguments, return value, error code, execution time and the audio state at the
// time; runs of identical calls fold into one entry with count and timing statistics. AIDL
// parcelables are stored as parcels and decoded only when the history is printed.
//
// clang-format off
//   Logger logger(64 * 1024);   // shared by every binder thread of the module
//
//   ndk::ScopedAStatus Module::setMasterMute(bool mute) {
//       std::vector<Argument> arguments;
//       arguments.emplace_back("mute", mute);
//       PendingEntry call = logger.Begin(LogEntry("IModule", "setMasterMute", std::move(arguments)));
//       const bool ok = mixer_.SetIntegerValue("Master Playback Switch", mute ? 0 : 1);
//       call.SetReturn(Argument("ret", ok));
//       call.SetErrorCode(ok ? 0 : EX_ILLEGAL_STATE);
//       return ...;
//   }   // call closes here: its execution time is taken and it may fold into the previous entry
// clang-format on
//
// StreamLogger does the same for the commands and replies of one stream.

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

#include <aidl/android/hardware/audio/core/StreamDescriptor.h>

#include <dumpsys/dumpsys.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
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
    // An int with a type of kAudioMode or below. A type that names a parcelable (above kAudioMode)
    // is a misuse: the argument becomes a plain kInt and an ERROR line says so.
    Argument(const char* name, int32_t value, ArgumentType type = ArgumentType::kInt);
    Argument(const char* name, float value);
    // Any object pointer, const or not; shown as an address, never followed.
    Argument(const char* name, const void* value);
    Argument(const char* name, std::nullptr_t);
    Argument(const char* name, std::string value);
    Argument(const char* name, std::string_view value);
    // Text, never bool; a null value is the empty text.
    Argument(const char* name, const char* value);
    // Takes a parcel holding one parcelable of the kind `type` names.
    Argument(const char* name, ndk::ScopedAParcel parcel, ArgumentType type);

    // Wider or unsigned integers and double do not fit the alternatives without changing their
    // value: convert explicitly (for example to int32_t, or to text).
    Argument(const char* name, unsigned int value) = delete;
    Argument(const char* name, long value) = delete;
    Argument(const char* name, unsigned long value) = delete;
    Argument(const char* name, long long value) = delete;
    Argument(const char* name, unsigned long long value) = delete;
    Argument(const char* name, double value) = delete;
    Argument(const char* name, long double value) = delete;

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

  private:
    friend struct LogEntry;
    // ToString, appended to text.
    void AppendText(std::string* text) const;
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
    // microseconds since steady_start_time (the unit is microseconds despite the name). Takes no
    // lock: only for an entry that no other thread can see (a PendingEntry does this for you).
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
    // Calls folded into this entry; stays at INT32_MAX once reached, and total_time then keeps
    // the sum of the calls counted, so that the average stays theirs.
    int32_t count = 1;
    int32_t max_time = -1;
    int32_t min_time = -1;
    int32_t total_time = -1;

  private:
    friend class Logger;
    friend class PendingEntry;

    // The text of the last wall-clock second an entry printed, kept over one dump: entries logged
    // in the same second share it, and the time zone is looked up once per second, not per entry.
    struct SecondText {
        int64_t seconds = 0;
        size_t length = 0;
        char text[32];
    };

    void SetExecutionTime(SteadyTime end);
    // ToString and ToStringPrefix, appended to text.
    void AppendText(std::string* text, SecondText* second) const;
    void AppendPrefix(std::string* text) const;

    // The Logger's open-entry slot that a PendingEntry reaches this entry through; -1 when none.
    int32_t open_slot_ = -1;
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
    // Every PendingEntry of this logger must be closed or destroyed before it.
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
    // Holds the mutex for the whole dump, with SIGPIPE blocked on the calling thread.
    void DumpDetails(const dumpsys::DumpsysInfo& info, bool with_state) const;
    // Writes the newest n entries to the system log at INFO. Takes no lock: the caller must make
    // sure that nothing logs, folds or resets concurrently.
    void DumpToLogcat(int n);

    // Current audio state, copied into each new entry. Each setter takes the mutex.
    void SetAudioMode(int32_t mode);
    void SetScoEnabled(bool enabled);
    void SetA2dpSuspended(bool suspended);
    void SetLeSuspended(bool suspended);

    // Producer side, any number of producers: copies the current state into entry, charges it,
    // pushes the oldest entries out until the charge fits the budget, moves it to the back of the
    // history and returns the handle of the open call, all in one hold of the mutex.
    PendingEntry Begin(LogEntry entry);

    // Producer side, one producer only: the same as Begin, but returns the entry's address. The
    // pointer, and SetReturn on it, are valid only while no other thread appends to, folds,
    // balances or resets this logger: once the entry has left the history, another one may live
    // at the same address. Close the call with SetExecutionTimeMs() on the pointer, then
    // FoldContiguousDuplicatedEntry(); SetExecutionTimeMs takes no lock, so no dump may run at
    // that moment. With several producers, or dumps at any time, use Begin.
    LogEntry* Append(LogEntry entry);
    // Replaces the entry's return value under the mutex (not charged). Single producer, as Append;
    // nothing when no entry of the history lives at that address.
    void SetReturn(LogEntry* entry, Argument ret);

    size_t GetEntryCount() const;
    uint64_t GetBytes() const;
    // Calls visit on every entry, oldest first, under the mutex. visit must not call back into
    // this logger.
    void ForEachEntry(const std::function<void(const LogEntry&)>& visit) const;

  private:
    friend class PendingEntry;
    friend class StreamLogger;

    // The history: a double-ended queue whose entries never move, so that an open entry keeps its
    // address while others come and go at either end. Entries sit in blocks of 16; the last block
    // emptied is kept, so that a call appended and folded away again allocates nothing.
    class History {
      public:
        History() = default;
        History(History&& other) noexcept;
        History& operator=(History&& other) = delete;
        ~History();

        size_t size() const { return size_; }
        bool empty() const { return size_ == 0; }
        LogEntry& operator[](size_t i) { return *Slot(i); }
        const LogEntry& operator[](size_t i) const { return *Slot(i); }
        LogEntry& front() { return *Slot(0); }
        LogEntry& back() { return *Slot(size_ - 1); }
        LogEntry& emplace_back(LogEntry&& entry);
        void pop_front();
        void pop_back();

      private:
        static constexpr size_t kBlockEntries = 16;
        struct Block {
            alignas(LogEntry) unsigned char slots[kBlockEntries][sizeof(LogEntry)];
        };

        LogEntry* Slot(size_t i) const;
        void AddBlock();
        void RemoveBlock(Block* block);

        // The blocks in use, in order from blocks_[first_block_], in a ring whose size is a power
        // of two.
        std::vector<Block*> blocks_;
        size_t first_block_ = 0;
        size_t block_count_ = 0;
        // Where the front entry sits in the first block.
        size_t offset_ = 0;
        size_t size_ = 0;
        Block* spare_ = nullptr;
    };

    // An open entry, as its PendingEntry reaches it: the entry (null once it has left the
    // history) and the generation of the handle that owns the slot.
    struct OpenSlot {
        LogEntry* entry = nullptr;
        uint64_t generation = 0;
    };

    // Removes the oldest entries while the charge exceeds the budget. Needs the mutex.
    void Balance();
    LogEntry* AppendLocked(LogEntry&& entry);
    // Folds as FoldContiguousDuplicatedEntry does; the entry folded away is handed back, so that
    // the caller destroys it (and releases its parcels) after letting go of the mutex.
    std::optional<LogEntry> FoldLocked();
    // The open entry of a handle; null when it has left the history.
    LogEntry* FindLocked(uint32_t slot, uint64_t generation);
    // Forgets the open slot of an entry that leaves the history.
    void Forget(const LogEntry& entry);
    // Ends a handle's call: the entry (if still there) gets its times and, when ret is not null,
    // its return value; the slot is freed and the newest entry folded. Needs the mutex.
    std::optional<LogEntry> CloseLocked(uint32_t slot, uint64_t generation,
                                        LogEntry::SteadyTime end, std::optional<Argument>* ret);

    mutable std::mutex mutex_;
    uint64_t max_bytes_;
    uint64_t bytes_ = 0;
    History entries_;
    int32_t audio_mode_ = 0;
    bool sco_enabled_ = false;
    bool a2dp_suspended_ = false;
    bool le_suspended_ = false;
    // The open entries of Begin's handles, so that every access costs the same whatever the size
    // of the history. As many slots as calls were ever open at once.
    std::vector<OpenSlot> open_slots_;
    std::vector<uint32_t> free_slots_;
    uint64_t next_generation_ = 1;
};

// The open-entry handle of one logged call, made by Logger::Begin. Each access finds its own entry
// again under the logger's mutex, never another entry at a reused address; a handle whose entry
// was pushed out by the budget, folded away or reset does nothing. Closing it (Close(),
// move-assignment over it, or destruction) takes the call's execution time from the clock read
// before it waits for the mutex, then folds the newest entry into its predecessor, as
// Logger::FoldContiguousDuplicatedEntry does. A handle must not outlive its Logger.
class PendingEntry {
  public:
    PendingEntry(PendingEntry&& other) noexcept;
    PendingEntry& operator=(PendingEntry&& other) noexcept;
    ~PendingEntry();

    // Records the call's return value, under the logger's mutex; not charged.
    void SetReturn(Argument ret);
    // Records the call's error code, under the logger's mutex.
    void SetErrorCode(int32_t ecode);
    // Ends the call; nothing when already closed.
    void Close();

  private:
    friend class Logger;
    friend class StreamLogger;
    PendingEntry(Logger& logger, uint32_t slot, uint64_t generation)
        : logger_(&logger), slot_(slot), generation_(generation) {}

    // Close, recording ret (when set) as the return value in the same hold of the mutex. Hands
    // back the entry that the fold removed, if any, for the caller to reuse or destroy.
    std::optional<LogEntry> Finish(std::optional<Argument> ret);

    Logger* logger_;
    uint32_t slot_;
    // 0 once closed or moved from.
    uint64_t generation_;
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
    // Keeps the parcels and the argument list of an entry that folded away, for the next pair.
    void Recycle(LogEntry& folded);

    Logger logger_;
    std::optional<PendingEntry> pending_;
    // Commands and replies are written here first, then copied into a parcel of their exact size:
    // a recycled one, so that a stream whose pairs fold allocates nothing per pair.
    ndk::ScopedAParcel scratch_;
    ndk::ScopedAParcel spare_command_;
    ndk::ScopedAParcel spare_reply_;
    std::vector<Argument> spare_arguments_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
