#include <interactionlogger/logger.h>

#include <sstream>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using aidl::android::hardware::audio::core::StreamDescriptor;

StreamLogger::StreamLogger(uint64_t max_bytes) : logger_(max_bytes) {}

StreamLogger::~StreamLogger() {
    pending_.reset();
}

void StreamLogger::Dump(const dumpsys::DumpsysInfo& info) {
    logger_.DumpDetails(info, false);
}

void StreamLogger::LogCommand(const StreamDescriptor::Command& command) {
    // A command without a reply keeps "ret: not set", timed up to now.
    pending_.reset();
    std::vector<Argument> arguments;
    arguments.push_back(
            Argument::FromParcelable("command", command, ArgumentType::kStreamDescriptorCommand));
    pending_.emplace(logger_.Begin(LogEntry("StreamDescriptor", "Command", std::move(arguments))));
}

void StreamLogger::LogReply(const StreamDescriptor::Reply& reply) {
    if (!pending_.has_value()) return;
    // Only the command side of a pair counts against the budget. The reply and the close take one
    // hold of the mutex.
    pending_->CloseWithReturn(
            Argument::FromParcelable("ret", reply, ArgumentType::kStreamDescriptorReply));
    pending_.reset();
}

void StreamLogger::LogInternalError(Error error) {
    if (pending_.has_value()) pending_->SetErrorCode(static_cast<int32_t>(error));
}

std::string StreamLogger::ToString() const {
    std::stringbuf text;
    dumpsys::DumpsysInfo info;
    info.stream_buffer = &text;
    logger_.DumpDetails(info, false);
    return text.str();
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
