#pragma once

// The base of a named background thread that repeats one unit of work until it is stopped. The
// derived class supplies the work (DoWork) and a way to interrupt it (WakeUp); the base owns the
// thread, names it, applies its nice value, and makes Start return only once the thread runs.
//
//   class OffloadDrainer : public worker::Worker {
//     public:
//       OffloadDrainer() : Worker("offload_drainer", -10) {}
//       ~OffloadDrainer() override { Stop(); }   // before the members DoWork uses go away
//       void Post(Job job) { jobs_.Push(std::move(job)); }
//     protected:
//       void DoWork() override {                  // one job, or none if woken
//           if (std::optional<Job> job = jobs_.WaitAndPop()) Drain(*job);
//       }
//       void WakeUp() override { jobs_.Interrupt(); }
//     private:
//       JobQueue jobs_;
//   };
//
// Rules for a derived class:
// - Call Stop() in its own destructor, before the members that DoWork uses are destroyed. ~Worker
//   runs once the derived part is gone; a thread still calling DoWork then would run code of a
//   destroyed object. ~Worker does stop a worker it finds running, with an ERROR line, but it can
//   no longer call the derived WakeUp, and a DoWork running or starting meanwhile is undefined
//   behaviour: that stop is a last resort, not a way to shut down.
// - DoWork must return regularly, or soon after WakeUp is called: Stop waits for the current DoWork
//   to return.
// - WakeUp runs on the thread that calls Stop, possibly while DoWork runs on the worker thread;
//   what the two share needs its own synchronisation.
// - DoWork and WakeUp must never take the worker's mutex, that is never call Start or Stop: Stop
//   holds it while it calls WakeUp and while it joins the thread, so either would deadlock.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace vendor::zentro::tevrash::audio::hal::utils::worker {

class Worker {
  public:
    // `name` names the thread (its first 15 characters: the system's limit) and every log line;
    // `priority` is the nice value the thread sets for itself when it starts (lower is more
    // favoured; below the current value usually needs privilege).
    Worker(std::string name, int32_t priority);
    // A worker still running here was not stopped by its derived class: logs an ERROR line and
    // stops it as a last resort, without WakeUp (see the rules above).
    virtual ~Worker();

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Creates the thread and returns true once it runs with its nice value applied; returns false
    // (and logs an ERROR line) when the worker is running already or another Start is starting
    // it. A stopped worker starts again on a new thread. If the system cannot create a thread,
    // std::thread's std::system_error propagates. Takes the worker's mutex.
    bool Start();
    // Asks the loop to end, calls WakeUp, and joins the thread, all under the worker's mutex; no
    // DoWork runs after it returns. Returns whether the worker was running (false with a WARNING
    // line when it was not). A Stop during a Start waits until that Start returns, then stops.
    //
    // Start and Stop are safe from any threads in any interleaving: each answers as it would in
    // some serial order of the calls.
    bool Stop();

  protected:
    // Called by Stop, on Stop's thread, after the stop request is set and before the join, so that
    // a DoWork that waits can return. The default does nothing.
    virtual void WakeUp();
    // One unit of work, called on the worker thread again and again until Stop.
    virtual void DoWork() = 0;

  private:
    void Loop();

    const std::string name_;
    const int32_t priority_;
    std::mutex mutex_;
    std::thread thread_;  // guarded by mutex_
    // Signalled when running_ is set (for Start) and when a start ends (for Stop and ~Worker).
    std::condition_variable started_;
    bool running_ = false;  // guarded by mutex_
    // From the creation of the thread until Start returns; guarded by mutex_.
    bool starting_ = false;
    std::atomic<bool> stop_requested_{false};  // written under mutex_, read by the loop without it
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::worker
