#include <worker/worker.h>

#include <android-base/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <latch>
#include <memory>
#include <mutex>
#include <numeric>
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

// Start and Stop from several threads at once, on an idle and on a running worker, many times so
// that the calls meet in every order, inside a start too (a Start waiting for its thread, or about
// to name it). The answers are those of some serial order of the calls: no second thread, no crash,
// no hang.
TEST(WorkerTest, ConcurrentStartAndStop_AnswerAsInSomeSerialOrder) {
    // libbase sets its logging up on first use behind a check that ThreadSanitizer cannot see: the
    // first line comes from this thread, before the racing ones exist.
    LOG(INFO) << "racing Start and Stop";
    const std::vector<bool> kCases[] = {// true for Start, false for Stop, one thread each
                                        {true, true},
                                        {true, false},
                                        {true, true, false},
                                        {true, true, false, false}};
    for (int round = 0; round < 20; ++round) {
        for (const bool running : {false, true}) {
            for (const std::vector<bool>& starts : kCases) {
                auto worker = std::make_unique<GatedWorker>("racer");
                ASSERT_TRUE(!running || worker->Start());
                std::vector<char> answers(starts.size());
                std::latch go(static_cast<std::ptrdiff_t>(starts.size()));
                std::vector<std::thread> threads;
                for (size_t i = 0; i < starts.size(); ++i) {
                    threads.emplace_back([&, i] {
                        go.arrive_and_wait();
                        answers[i] = starts[i] ? worker->Start() : worker->Stop();
                    });
                }
                for (std::thread& thread : threads) thread.join();
                const bool running_after = worker->Stop();

                // Start answers whether the worker was idle and leaves it running; Stop answers
                // whether it was running and leaves it idle.
                std::vector<size_t> order(starts.size());
                std::iota(order.begin(), order.end(), 0);
                bool serial = false;
                do {
                    bool state = running;
                    bool same = true;
                    for (const size_t i : order) {
                        same = same && answers[i] == (starts[i] != state);
                        state = starts[i];
                    }
                    serial = serial || (same && state == running_after);
                } while (std::next_permutation(order.begin(), order.end()));
                EXPECT_TRUE(serial)
                        << round << " " << running << " " << testing::PrintToString(starts) << " "
                        << testing::PrintToString(answers);
            }
        }
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::worker
