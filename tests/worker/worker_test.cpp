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

TEST(WorkerTest, StartStopRestart_FreshThreadEachTimeAndLogLines) {
    autl::test::LogCapture logs;
    auto worker = std::make_unique<GatedWorker>("poll");
    EXPECT_FALSE(worker->Stop());  // never started
    ASSERT_TRUE(worker->Start());
    // Start returns only once the thread has announced itself.
    EXPECT_EQ(logs.Lines("AUtl::Worker").back(), "I Loop: poll started");
    EXPECT_FALSE(worker->Start());
    worker->WaitForCalls(1);
    // DoWork is waiting: only WakeUp lets Stop's join finish.
    EXPECT_TRUE(worker->Stop());
    EXPECT_FALSE(worker->Stop());
    ASSERT_TRUE(worker->Start());
    const auto calls = worker->WaitForCalls(2);
    ASSERT_TRUE(worker->Stop());
    EXPECT_NE(calls[0].first, gettid());
    EXPECT_NE(calls[1].first, calls[0].first);
    worker.reset();  // its destructor's Stop finds it stopped; ~Worker stays quiet
    EXPECT_THAT(logs.Lines("AUtl::Worker"),
                ElementsAre("V Stop: stop poll", "W Stop: poll hasn't been started yet",
                            "V Start: start poll", "I Loop: poll started", "V Start: start poll",
                            "E Start: poll has already been started", "V Stop: stop poll",
                            "I Loop: poll thread exit", "V Stop: stop poll",
                            "W Stop: poll hasn't been started yet", "V Start: start poll",
                            "I Loop: poll started", "V Stop: stop poll", "I Loop: poll thread exit",
                            "V Stop: stop poll", "W Stop: poll hasn't been started yet"));
}

// The name (cut to what the system takes) and the nice value are the worker thread's, in place when
// Start returns and before the first DoWork; the caller's stay.
TEST(WorkerTest, ThreadNameAndNice_AppliedToTheWorkerThreadOnly) {
    const int nice = getpriority(PRIO_PROCESS, 0);
    for (const auto& [name, thread_name] :
         {std::pair("exactly_15_char", "exactly_15_char"),
          std::pair("a_much_longer_worker_name", "a_much_longer_w")}) {
        auto worker = std::make_unique<GatedWorker>(name, nice + 7);
        ASSERT_TRUE(worker->Start());
        const auto [tid, worker_nice] = worker->WaitForCalls(1)[0];
        std::string comm;
        android::base::ReadFileToString("/proc/self/task/" + std::to_string(tid) + "/comm", &comm);
        EXPECT_EQ(comm, std::string(thread_name) + "\n");
        EXPECT_EQ(worker_nice, nice + 7);
        EXPECT_EQ(getpriority(PRIO_PROCESS, 0), nice);
        ASSERT_TRUE(worker->Stop());
    }
}

// Start and Stop from several threads at once, many times so that they meet in every order, inside
// a start too (a Start waiting for its thread, or about to name it): they answer as in some serial
// order, with no second thread, no crash and no hang.
TEST(WorkerTest, ConcurrentStartAndStop_AnswerAsInSomeSerialOrder) {
    // libbase sets its logging up on first use behind a check that ThreadSanitizer cannot see: the
    // first line comes from this thread, before the racing ones exist.
    LOG(INFO) << "racing Start and Stop";
    for (int round = 0; round < 100; ++round) {
        // Three Starts on an idle worker: one starts it. A Stop racing a Start on an idle worker:
        // either the Stop comes first and fails, or it stops what the Start started.
        auto worker = std::make_unique<GatedWorker>("racer");
        std::atomic<int> started = 0;
        std::atomic<bool> stopped = false;
        std::latch go(4);
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] {
                go.arrive_and_wait();
                started += worker->Start();
            });
        }
        threads.emplace_back([&] {
            go.arrive_and_wait();
            stopped = worker->Stop();
        });
        for (std::thread& thread : threads) thread.join();
        ASSERT_GE(started, 1) << round;
        ASSERT_LE(started, 1 + stopped) << round;
        EXPECT_EQ(worker->Stop(), !stopped || started == 2) << round;
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::worker
