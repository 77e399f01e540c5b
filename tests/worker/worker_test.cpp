#include <worker/worker.h>

#include <linux/capability.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <latch>
#include <memory>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log_capture.h"

namespace vendor::zentro::tevrash::audio::hal::utils::worker {
namespace {

using android::base::ERROR;
using android::base::INFO;
using android::base::VERBOSE;
using android::base::WARNING;
using autl::test::LogCapture;
using autl::test::LogLine;
using testing::Contains;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

constexpr char kTag[] = "AUtl::Worker";

// The tests keep their workers on the heap. ThreadSanitizer forgets a mutex when the heap memory
// holding it is freed, but not when a stack frame ends, so a worker's mutex on the stack would be
// taken for whatever mutex later sits at the same address, and the lock orders of the two mixed.

// A worker whose DoWork records where and how it runs, then waits until the test lets it return
// (Allow) or Stop wakes it up (WakeUp).
class GatedWorker : public Worker {
  public:
    struct Call {
        pid_t tid;
        int nice;
        std::string thread_name;
    };

    explicit GatedWorker(std::string name, int32_t priority = 0)
        : Worker(std::move(name), priority) {}
    ~GatedWorker() override { Stop(); }

    // Lets `n` more DoWork calls return.
    void Allow(int n) {
        std::lock_guard lock(mutex_);
        allowed_ += n;
        changed_.notify_all();
    }
    // Waits until DoWork has been entered `n` times in all.
    void WaitForCalls(size_t n) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return calls_.size() >= n; });
    }
    std::vector<Call> calls() {
        std::lock_guard lock(mutex_);
        return calls_;
    }
    int wake_ups() {
        std::lock_guard lock(mutex_);
        return wake_ups_;
    }
    // Set by a test once Stop has returned; DoWork counts the calls it sees after that.
    std::atomic<bool> stop_returned{false};
    std::atomic<int> calls_after_stop{0};

  protected:
    void DoWork() override {
        if (stop_returned) ++calls_after_stop;
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof(name));
        std::unique_lock lock(mutex_);
        calls_.push_back({gettid(), getpriority(PRIO_PROCESS, 0), name});
        changed_.notify_all();
        changed_.wait(lock, [this] { return allowed_ > 0 || woken_; });
        // A wake-up ends one wait only, so that a restarted worker waits again.
        if (woken_) {
            woken_ = false;
        } else {
            --allowed_;
        }
    }
    void WakeUp() override {
        std::lock_guard lock(mutex_);
        woken_ = true;
        ++wake_ups_;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Call> calls_;
    int allowed_ = 0;
    bool woken_ = false;
    int wake_ups_ = 0;
};

TEST(WorkerTest, StartStopRestart_FreshThreadEachTimeAndLogLines) {
    LogCapture logs;
    auto worker = std::make_unique<GatedWorker>("poll");
    EXPECT_FALSE(worker->Stop());  // never started
    ASSERT_TRUE(worker->Start());
    // Start returns only once the thread has announced itself.
    EXPECT_EQ(logs.Lines(kTag).back(), (LogLine{INFO, kTag, "Loop: poll started"}));
    EXPECT_FALSE(worker->Start());
    worker->WaitForCalls(1);
    // DoWork is waiting: only WakeUp lets Stop's join finish.
    EXPECT_TRUE(worker->Stop());
    EXPECT_FALSE(worker->Stop());
    ASSERT_TRUE(worker->Start());
    worker->WaitForCalls(2);
    ASSERT_TRUE(worker->Stop());

    const std::vector<GatedWorker::Call> calls = worker->calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_NE(calls[0].tid, gettid());
    EXPECT_NE(calls[1].tid, calls[0].tid);
    EXPECT_EQ(worker->wake_ups(), 2);
    worker.reset();  // its destructor's Stop finds it stopped; ~Worker stays quiet
    const LogLine start{VERBOSE, kTag, "Start: start poll"};
    const LogLine started{INFO, kTag, "Loop: poll started"};
    const LogLine stop{VERBOSE, kTag, "Stop: stop poll"};
    const LogLine exit{INFO, kTag, "Loop: poll thread exit"};
    const LogLine not_started{WARNING, kTag, "Stop: poll hasn't been started yet"};
    EXPECT_THAT(logs.Lines(kTag),
                ElementsAre(stop, not_started, start, started, start,
                            LogLine{ERROR, kTag, "Start: poll has already been started"}, stop,
                            exit, stop, not_started, start, started, stop, exit, stop, not_started));
}

TEST(WorkerTest, ThreadNameAndNice_AppliedToTheWorkerThreadOnly) {
    const int caller_nice = getpriority(PRIO_PROCESS, 0);
    const std::pair<std::string, std::string> cases[] = {
            {"short", "short"},
            {"exactly_15_char", "exactly_15_char"},
            {"a_much_longer_worker_name", "a_much_longer_w"},
    };
    for (const auto& [name, thread_name] : cases) {
        SCOPED_TRACE(name);
        LogCapture logs;
        auto worker = std::make_unique<GatedWorker>(name, caller_nice + 7);
        ASSERT_TRUE(worker->Start());
        // The name is given once Start has the thread running: the second call sees it.
        worker->Allow(1);
        worker->WaitForCalls(2);
        ASSERT_TRUE(worker->Stop());

        const std::vector<GatedWorker::Call> calls = worker->calls();
        EXPECT_EQ(calls[1].thread_name, thread_name);
        // The nice value is in place before the first DoWork.
        EXPECT_EQ(calls[0].nice, caller_nice + 7);
        EXPECT_EQ(getpriority(PRIO_PROCESS, 0), caller_nice);
        EXPECT_THAT(logs.Messages(kTag), Contains("Loop: " + name + " started"));
    }
}

TEST(WorkerTest, PriorityRefused_WarningAndStillRuns) {
    // On a thread of its own without CAP_SYS_NICE, which the worker's thread inherits.
    std::thread([] {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct caps[2] = {};
        syscall(SYS_capget, &header, caps);
        caps[0].effective &= ~(1u << CAP_SYS_NICE);
        syscall(SYS_capset, &header, caps);
        const int nice = getpriority(PRIO_PROCESS, 0);
        if (setpriority(PRIO_PROCESS, 0, nice - 5) == 0) {
            GTEST_SKIP() << "this process may raise its threads' priority";
        }

        LogCapture logs;
        auto worker = std::make_unique<GatedWorker>("eager", nice - 5);
        ASSERT_TRUE(worker->Start());
        worker->WaitForCalls(1);
        ASSERT_TRUE(worker->Stop());
        EXPECT_EQ(worker->calls()[0].nice, nice);
        EXPECT_THAT(logs.Lines(kTag),
                    Contains(LogLine{WARNING, kTag,
                                     "Loop: failed to set priority (" + std::to_string(nice - 5) +
                                             ") for eager"}));
    }).join();
}

TEST(WorkerTest, Stop_NoDoWorkAfterItReturns) {
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        LogCapture logs;
        auto worker = std::make_unique<GatedWorker>("spinner");
        worker->Allow(1000);  // DoWork returns at once, over and over
        ASSERT_TRUE(worker->Start());
        worker->WaitForCalls(100);
        ASSERT_TRUE(worker->Stop());
        worker->stop_returned = true;
        // The loop has ended, not just been asked to.
        EXPECT_THAT(logs.Messages(kTag), Contains("Loop: spinner thread exit"));
        EXPECT_EQ(worker->calls_after_stop, 0);
    }
}

// Start and Stop from several threads at once, on an idle and on a running worker, many times so
// that the calls meet in every order, inside a start too (a Start waiting for its thread, or about
// to name it). Each call answers and logs as in some serial order of the calls: no second thread,
// no crash, no hang.
TEST(WorkerTest, ConcurrentStartAndStop_AnswerAsInSomeSerialOrder) {
    // libbase sets its logging up on first use behind a check that ThreadSanitizer cannot see: the
    // first line comes from this thread, before the racing ones exist.
    LOG(INFO) << "racing Start and Stop";
    const LogLine kAnswerLines[2][2] = {// [Start][answer]
                                        {{WARNING, kTag, "Stop: racer hasn't been started yet"},
                                         {INFO, kTag, "Loop: racer thread exit"}},
                                        {{ERROR, kTag, "Start: racer has already been started"},
                                         {INFO, kTag, "Loop: racer started"}}};
    const std::vector<bool> kCases[] = {// true for Start, false for Stop, one thread each
                                        {true, true},        {true, false},
                                        {false, false},      {true, false, false},
                                        {true, true, false}, {true, true, false, false}};
    for (int round = 0; round < 20; ++round) {
        for (const bool running : {false, true}) {
            for (const std::vector<bool>& starts : kCases) {
                SCOPED_TRACE(testing::Message() << "round " << round << ", running " << running
                                                << ", " << testing::PrintToString(starts));
                auto worker = std::make_unique<GatedWorker>("racer");
                if (running) {
                    ASSERT_TRUE(worker->Start());
                }
                LogCapture logs;
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
                EXPECT_TRUE(serial) << testing::PrintToString(answers);

                // Each call, the last Stop too, logs two lines: its own and its answer's.
                std::vector<LogLine> expected;
                for (size_t i = 0; i <= starts.size(); ++i) {
                    const bool start = i < starts.size() && starts[i];
                    expected.push_back(
                            {VERBOSE, kTag, start ? "Start: start racer" : "Stop: stop racer"});
                    expected.push_back(
                            kAnswerLines[start][i < starts.size() ? answers[i] : running_after]);
                }
                EXPECT_THAT(logs.Lines(kTag), UnorderedElementsAreArray(expected));
            }
        }
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::worker
