#define LOG_TAG "AUtl::Worker"

#include <worker/worker.h>

#include <pthread.h>
#include <sys/resource.h>

#include <android-base/logging.h>

#include <utility>

namespace vendor::zentro::tevrash::audio::hal::utils::worker {

namespace {

// The system's thread names hold 16 bytes with the terminating NUL.
constexpr size_t kMaxThreadNameLength = 15;

}  // namespace

Worker::Worker(std::string name, int32_t priority) : name_(std::move(name)), priority_(priority) {}

Worker::~Worker() {
    std::unique_lock lock(mutex_);
    started_.wait(lock, [this] { return !starting_; });
    if (!running_) return;
    LOG(ERROR) << "~Worker: " << name_
               << " still running; the derived class must call Stop() in its destructor";
    stop_requested_ = true;
    if (thread_.joinable()) thread_.join();
    running_ = false;
}

void Worker::WakeUp() {}

bool Worker::Start() {
    LOG(VERBOSE) << "Start: start " << name_;
    std::unique_lock lock(mutex_);
    // A worker that another Start is bringing up counts as running: its thread_ is taken.
    if (running_ || starting_) {
        LOG(ERROR) << "Start: " << name_ << " has already been started";
        return false;
    }
    stop_requested_ = false;
    thread_ = std::thread(&Worker::Loop, this);
    // The wait below releases the mutex; starting_ keeps other calls off the worker meanwhile.
    starting_ = true;
    started_.wait(lock, [this] { return running_; });

    char thread_name[kMaxThreadNameLength + 1] = {};
    name_.copy(thread_name, kMaxThreadNameLength);
    if (pthread_setname_np(thread_.native_handle(), thread_name) != 0) {
        LOG(WARNING) << "Start: set thread name (" << name_ << ") failed";
    }
    starting_ = false;
    started_.notify_all();  // for a Stop that came during the start
    return true;
}

void Worker::Loop() {
    {
        std::lock_guard lock(mutex_);
        // On Linux, PRIO_PROCESS with id 0 sets the nice value of the calling thread only.
        if (setpriority(PRIO_PROCESS, 0, priority_) != 0) {
            LOG(WARNING) << "Loop: failed to set priority (" << priority_ << ") for " << name_;
        }
        running_ = true;
        LOG(INFO) << "Loop: " << name_ << " started";
        started_.notify_all();
    }
    while (!stop_requested_) DoWork();
    LOG(INFO) << "Loop: " << name_ << " thread exit";
}

bool Worker::Stop() {
    LOG(VERBOSE) << "Stop: stop " << name_;
    std::unique_lock lock(mutex_);
    // A Stop during a start lets the start finish, then stops the worker it started.
    started_.wait(lock, [this] { return !starting_; });
    if (!running_) {
        LOG(WARNING) << "Stop: " << name_ << " hasn't been started yet";
        return false;
    }
    stop_requested_ = true;
    WakeUp();
    if (thread_.joinable()) thread_.join();
    running_ = false;
    return true;
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::worker
