#pragma once

// A small HAL played on the host for `autl demo`: an output stream whose worker takes commands at
// a real period, logs them with their replies and records what it plays, and a module whose calls
// arrive on several binder-like threads and are logged into one shared Logger.

#include <interactionlogger/logger.h>
#include <recorder/raw_recorder.h>
#include <worker/worker.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace autl::demo {

namespace utils = vendor::zentro::tevrash::audio::hal::utils;

// An output stream at 48 kHz, stereo, 16-bit. Every period its worker takes the next command of a
// fixed script (start, bursts, pause, status queries, drain, standby, now and then a failed
// transfer), logs it and its reply through a StreamLogger, and records the tone it plays through a
// WaveRecorder and an EncodedRecorder.
class DemoStreamOut : public utils::worker::Worker {
  public:
    static constexpr int32_t kSampleRate = 48000;
    static constexpr int32_t kChannels = 2;
    static constexpr std::chrono::milliseconds kPeriod{5};
    // One period of audio: 240 frames of 4 bytes.
    static constexpr int32_t kFramesPerBurst = kSampleRate / 1000 * kPeriod.count();
    static constexpr int32_t kBurstBytes = kFramesPerBurst * kChannels * 2;

    // Captures go into `folder`, which must exist.
    explicit DemoStreamOut(const std::string& folder);
    ~DemoStreamOut() override;

    // Starts the recorders and the worker.
    bool Open();
    // Stops the worker, then the recorders.
    void Close();

    utils::interactionlogger::StreamLogger& logger() { return logger_; }
    int64_t commands() const { return commands_; }
    std::vector<std::string> CapturePaths() const;

  protected:
    void DoWork() override;
    void WakeUp() override;

  private:
    // Takes the command of this period, acts on it and replies.
    void HandleCommand(int64_t index);
    // Fills one burst of a 440 Hz tone and records it.
    void Play();

    utils::interactionlogger::StreamLogger logger_;
    utils::recorder::WaveRecorder wave_;
    utils::recorder::EncodedRecorder encoded_;
    std::vector<int16_t> burst_;
    double phase_ = 0;
    aidl::android::hardware::audio::core::StreamDescriptor::Reply reply_;

    bool open_ = false;
    std::mutex wake_mutex_;
    std::condition_variable wake_;
    bool woken_ = false;
    std::chrono::steady_clock::time_point next_period_;
    std::atomic<int64_t> commands_ = 0;
};

// The module: its calls come from two threads, as from the binder thread pool, and are logged
// into one Logger with PendingEntry.
class DemoModule {
  public:
    DemoModule();
    ~DemoModule();

    // Starts the calling threads; Stop joins them.
    void Start();
    void Stop();

    utils::interactionlogger::Logger& logger() { return logger_; }
    int64_t calls() const { return calls_; }

  private:
    // The audio policy's thread: mode changes, mute, SCO.
    void PolicyCalls(int round);
    // The stream setup thread: output streams, patches.
    void StreamCalls(int round);
    void Loop(void (DemoModule::*calls)(int), std::chrono::milliseconds interval);
    // Logs a call of `function` with `arguments`, spends `work` in it, and records its result.
    void Call(const char* interface, const char* function,
              std::vector<utils::interactionlogger::Argument> arguments,
              std::chrono::microseconds work, utils::interactionlogger::Argument ret,
              int32_t ecode = 0);

    utils::interactionlogger::Logger logger_;
    std::mutex stop_mutex_;
    std::condition_variable stop_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
    std::atomic<int64_t> calls_ = 0;
};

}  // namespace autl::demo
