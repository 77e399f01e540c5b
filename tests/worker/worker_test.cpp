#include <worker/worker.h>

#include <android-base/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <latch>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::worker {
namespace {

using testing::ElementsAre;

// The tests keep their workers on the heap. ThreadSanitizer forgets a mutex when the heap memory
// holding it is freed, but not when a stack frame ends, so a worker's mutex on the stack would be
// taken for whatever mutex later sits at the same address, and the lock orders of the two mixed.

// A worker whose DoWork records the thread it runs on and that thread's nice value, then waits
// until Stop wakes it up.
class GatedWorker : public Worker {
  public:
    explicit GatedWorker(std::string name, int32_t priority = 0)
        : Worker(std::move(name), priority) {}
    ~GatedWorker() override { Stop(); }

    // Waits until DoWork has been entered `n` times in all; returns the calls' (tid, nice).
    std::vector<std::pair<pid_t, int>> WaitForCalls(size_t n) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return calls_.size() >= n; });
        return calls_;
    }

  protected:
    void DoWork() override {
        std::unique_lock lock(mutex_);
        calls_.emplace_back(gettid(), getpriority(PRIO_PROCESS, 0));
        changed_.notify_all();
        changed_.wait(lock, [this] { return woken_; });
        woken_ = false;  // a restarted worker waits again
    }
    void WakeUp() override {
        std::lock_guard lock(mutex_);
        woken_ = true;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::pair<pid_t, int>> calls_;
    bool woken_ = false;
};

// A fresh thread each time, named (cut to what the system takes) and with the nice value given, in
// place when Start returns and before the first DoWork; the caller's name and nice value stay.
TEST(WorkerTest, StartStopRestart_FreshThreadEachTimeNamedAndLogged) {
    autl::test::LogCapture logs;
    const int nice = getpriority(PRIO_PROCESS, 0);
    auto worker = std::make_unique<GatedWorker>("mixer_poll_loops", nice + 7);
    EXPECT_FALSE(worker->Stop());  // never started
    ASSERT_TRUE(worker->Start());
    // Start returns only once the thread has announced itself.
    EXPECT_EQ(logs.Lines("AUtl::Worker").back(), "I Loop: mixer_poll_loops started");
    EXPECT_FALSE(worker->Start());
    const auto [tid, worker_nice] = worker->WaitForCalls(1)[0];
    std::string comm;
    android::base::ReadFileToString("/proc/self/task/" + std::to_string(tid) + "/comm", &comm);
    EXPECT_EQ(comm + std::to_string(worker_nice - nice), "mixer_poll_loop\n7");
    EXPECT_EQ(getpriority(PRIO_PROCESS, 0), nice);
    // DoWork is waiting: only WakeUp lets Stop's join finish.
    EXPECT_TRUE(worker->Stop());
    EXPECT_FALSE(worker->Stop());
    ASSERT_TRUE(worker->Start());
    const auto calls = worker->WaitForCalls(2);
    ASSERT_TRUE(worker->Stop());
    EXPECT_TRUE(calls[0].first != gettid() && calls[1].first != calls[0].first);
    worker.reset();  // its destructor's Stop finds it stopped; ~Worker stays quiet
    EXPECT_THAT(logs.Lines("AUtl::Worker"),
                ElementsAre("V Stop: stop mixer_poll_loops",
                            "W Stop: mixer_poll_loops hasn't been started yet",
                            "V Start: start mixer_poll_loops", "I Loop: mixer_poll_loops started",
                            "V Start: start mixer_poll_loops",
                            "E Start: mixer_poll_loops has already been started",
                            "V Stop: stop mixer_poll_loops", "I Loop: mixer_poll_loops thread exit",
                            "V Stop: stop mixer_poll_loops",
                            "W Stop: mixer_poll_loops hasn't been started yet",
                            "V Start: start mixer_poll_loops", "I Loop: mixer_poll_loops started",
                            "V Stop: stop mixer_poll_loops", "I Loop: mixer_poll_loops thread exit",
                            "V Stop: stop mixer_poll_loops",
                            "W Stop: mixer_poll_loops hasn't been started yet"));
}

// Three Starts and a Stop race on an idle worker, 100 times: exactly one Start starts it (a Start
// during a start is refused), and the Stop either comes first and fails or stops what was started.
// Before the fix a second thread was assigned over a joinable one, or Start waited for ever.
TEST(WorkerTest, ConcurrentStartAndStop_AnswerAsInSomeSerialOrder) {
    LOG(INFO) << "racing";  // libbase's logging is set up here, before the racing threads exist
    for (int round = 0; round < 100; ++round) {
        auto worker = std::make_unique<GatedWorker>("racer");
        std::atomic<int> started = 0;
        std::atomic<bool> stopped = false;
        std::latch go(4);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] {
                go.arrive_and_wait();
                i < 3 ? started += worker->Start() : stopped = worker->Stop();
            });
        }
        for (std::thread& thread : threads) thread.join();
        ASSERT_GE(started, 1) << round;
        ASSERT_LE(started, 1 + stopped) << round;
        EXPECT_EQ(worker->Stop(), !stopped || started == 2) << round;
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::worker
