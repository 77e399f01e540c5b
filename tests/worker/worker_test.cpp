#include <worker/worker.h>

#include <linux/capability.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
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

using android::base::ERROR;
using android::base::INFO;
using android::base::VERBOSE;
using android::base::WARNING;
using autl::test::LogCapture;
using autl::test::LogLine;
using testing::Contains;
using testing::ElementsAre;

constexpr char kTag[] = "AUtl::Worker";

std::string CurrentThreadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return name;
}

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
    // Makes DoWork wait again after a WakeUp, for a restart.
    void Rearm() {
        std::lock_guard lock(mutex_);
        woken_ = false;
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
        Call call{gettid(), getpriority(PRIO_PROCESS, 0), CurrentThreadName()};
        std::unique_lock lock(mutex_);
        calls_.push_back(std::move(call));
        changed_.notify_all();
        changed_.wait(lock, [this] { return allowed_ > 0 || woken_; });
        if (!woken_) --allowed_;
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

TEST(WorkerTest, StartStop_HandshakeAndLogLines) {
    LogCapture logs;
    auto worker = std::make_unique<GatedWorker>("mixer_poll", 0);

    ASSERT_TRUE(worker->Start());
    // Start returns only once the thread has announced itself.
    EXPECT_THAT(logs.Lines(kTag), ElementsAre(LogLine{VERBOSE, kTag, "Start: start mixer_poll"},
                                              LogLine{INFO, kTag, "Loop: mixer_poll started"}));
    worker->WaitForCalls(1);
    EXPECT_NE(worker->calls()[0].tid, gettid());

    // DoWork is waiting: only WakeUp lets Stop's join finish.
    EXPECT_TRUE(worker->Stop());
    EXPECT_EQ(worker->wake_ups(), 1);
    EXPECT_EQ(worker->calls().size(), 1u);
    EXPECT_THAT(logs.Lines(kTag), ElementsAre(LogLine{VERBOSE, kTag, "Start: start mixer_poll"},
                                              LogLine{INFO, kTag, "Loop: mixer_poll started"},
                                              LogLine{VERBOSE, kTag, "Stop: stop mixer_poll"},
                                              LogLine{INFO, kTag, "Loop: mixer_poll thread exit"}));
}

TEST(WorkerTest, StartWhileRunning_FalseAndNoSecondThread) {
    LogCapture logs;
    auto worker = std::make_unique<GatedWorker>("twice");
    ASSERT_TRUE(worker->Start());
    EXPECT_FALSE(worker->Start());
    worker->Allow(2);
    worker->WaitForCalls(3);
    ASSERT_TRUE(worker->Stop());

    const std::vector<GatedWorker::Call> calls = worker->calls();
    for (const GatedWorker::Call& call : calls) EXPECT_EQ(call.tid, calls[0].tid);
    EXPECT_THAT(logs.Lines(kTag),
                ElementsAre(LogLine{VERBOSE, kTag, "Start: start twice"},
                            LogLine{INFO, kTag, "Loop: twice started"},
                            LogLine{VERBOSE, kTag, "Start: start twice"},
                            LogLine{ERROR, kTag, "Start: twice has already been started"},
                            LogLine{VERBOSE, kTag, "Stop: stop twice"},
                            LogLine{INFO, kTag, "Loop: twice thread exit"}));
}

TEST(WorkerTest, StopWhenNotRunning_FalseWithWarning) {
    LogCapture logs;
    auto worker = std::make_unique<GatedWorker>("idle");
    EXPECT_FALSE(worker->Stop());  // never started
    ASSERT_TRUE(worker->Start());
    ASSERT_TRUE(worker->Stop());
    logs.Clear();
    EXPECT_FALSE(worker->Stop());  // stopped already
    EXPECT_EQ(worker->wake_ups(), 1);
    EXPECT_THAT(logs.Lines(kTag),
                ElementsAre(LogLine{VERBOSE, kTag, "Stop: stop idle"},
                            LogLine{WARNING, kTag, "Stop: idle hasn't been started yet"}));
}

TEST(WorkerTest, Restart_FreshThreadEachTime) {
    LogCapture logs;
    auto worker = std::make_unique<GatedWorker>("restartable");
    ASSERT_TRUE(worker->Start());
    worker->WaitForCalls(1);
    ASSERT_TRUE(worker->Stop());
    worker->Rearm();
    ASSERT_TRUE(worker->Start());
    worker->WaitForCalls(2);
    ASSERT_TRUE(worker->Stop());

    const std::vector<GatedWorker::Call> calls = worker->calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_NE(calls[0].tid, calls[1].tid);
    EXPECT_EQ(worker->wake_ups(), 2);
    EXPECT_THAT(logs.Messages(kTag),
                ElementsAre("Start: start restartable", "Loop: restartable started",
                            "Stop: stop restartable", "Loop: restartable thread exit",
                            "Start: start restartable", "Loop: restartable started",
                            "Stop: stop restartable", "Loop: restartable thread exit"));
}

TEST(WorkerTest, ThreadNameAndNice_AppliedToTheWorkerThreadOnly) {
    const int caller_nice = getpriority(PRIO_PROCESS, 0);
    struct Case {
        std::string name;
        std::string thread_name;
    };
    const Case cases[] = {
            {"short", "short"},
            {"exactly_15_char", "exactly_15_char"},
            {"a_much_longer_worker_name", "a_much_longer_w"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture logs;
        auto worker = std::make_unique<GatedWorker>(c.name, caller_nice + 7);
        ASSERT_TRUE(worker->Start());
        // The name is given once Start has the thread running: the second call sees it.
        worker->Allow(1);
        worker->WaitForCalls(2);
        ASSERT_TRUE(worker->Stop());

        const std::vector<GatedWorker::Call> calls = worker->calls();
        EXPECT_EQ(calls[1].thread_name, c.thread_name);
        // The nice value is in place before the first DoWork.
        EXPECT_EQ(calls[0].nice, caller_nice + 7);
        EXPECT_EQ(getpriority(PRIO_PROCESS, 0), caller_nice);
        EXPECT_THAT(logs.Messages(kTag), Contains("Loop: " + c.name + " started"));
    }
}

// Takes CAP_SYS_NICE out of the calling thread's effective set while it lives; threads created
// meanwhile inherit that.
class ScopedWithoutSysNice {
  public:
    ScopedWithoutSysNice() {
        if (syscall(SYS_capget, &header_, saved_) != 0) return;
        __user_cap_data_struct reduced[2] = {saved_[0], saved_[1]};
        reduced[0].effective &= ~(1u << CAP_SYS_NICE);
        changed_ = syscall(SYS_capset, &header_, reduced) == 0;
    }
    ~ScopedWithoutSysNice() {
        if (changed_) syscall(SYS_capset, &header_, saved_);
    }

  private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved_[2] = {};
    bool changed_ = false;
};

TEST(WorkerTest, PriorityRefused_WarningAndStillRuns) {
    ScopedWithoutSysNice no_sys_nice;
    const int caller_nice = getpriority(PRIO_PROCESS, 0);
    bool refused = false;
    std::thread([&] { refused = setpriority(PRIO_PROCESS, 0, caller_nice - 5) != 0; }).join();
    if (!refused) GTEST_SKIP() << "this process may raise its threads' priority";

    LogCapture logs;
    auto worker = std::make_unique<GatedWorker>("eager", caller_nice - 5);
    ASSERT_TRUE(worker->Start());
    worker->WaitForCalls(1);
    ASSERT_TRUE(worker->Stop());

    EXPECT_EQ(worker->calls()[0].nice, caller_nice);
    EXPECT_THAT(logs.Lines(kTag),
                ElementsAre(LogLine{VERBOSE, kTag, "Start: start eager"},
                            LogLine{WARNING, kTag,
                                    "Loop: failed to set priority (" +
                                            std::to_string(caller_nice - 5) + ") for eager"},
                            LogLine{INFO, kTag, "Loop: eager started"},
                            LogLine{VERBOSE, kTag, "Stop: stop eager"},
                            LogLine{INFO, kTag, "Loop: eager thread exit"}));
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
        const size_t calls = worker->calls().size();
        // The loop has ended, not just been asked to.
        EXPECT_THAT(logs.Messages(kTag), Contains("Loop: spinner thread exit"));
        EXPECT_EQ(worker->calls().size(), calls);
        EXPECT_EQ(worker->calls_after_stop, 0);
    }
}

TEST(WorkerTest, DerivedDestructorStops_BaseStaysQuiet) {
    LogCapture logs;
    {
        auto worker = std::make_unique<GatedWorker>("scoped");
        ASSERT_TRUE(worker->Start());
        worker->WaitForCalls(1);
    }
    EXPECT_THAT(logs.Messages(kTag), Contains("Loop: scoped thread exit"));
    for (const LogLine& line : logs.Lines(kTag)) EXPECT_NE(line.severity, ERROR) << line;
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::worker
