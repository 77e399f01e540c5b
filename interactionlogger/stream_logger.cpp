#include <interactionlogger/logger.h>

#include <sstream>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {

using aidl::android::hardware::audio::core::StreamDescriptor;

namespace {

// Larger than any command or reply on the wire.
constexpr int32_t kMaxWireSize = 256;

// The argument that holds `object` as a new parcel written with its writeToParcel would: the same
// bytes and data size. A recycled parcel is written over when the new data is as long as the old
// (a stream's commands and replies mostly are); otherwise the data is written into the scratch
// parcel and copied into a parcel of its exact size, so that a stored parcel keeps no room to
// grow. A write that fails, or does not fit, takes the plain way and is stored as it is.
template <typename Parcelable>
Argument Serialise(AParcel* scratch, const char* name, const Parcelable& object, ArgumentType type,
                   ndk::ScopedAParcel parcel) {
    if (parcel.get() != nullptr) {
        AParcel_setDataPosition(parcel.get(), 0);
        if (object.writeToParcel(parcel.get()) == STATUS_OK &&
            AParcel_getDataPosition(parcel.get()) == AParcel_getDataSize(parcel.get())) {
            return Argument(name, std::move(parcel), type);
        }
    }
    AParcel_setDataPosition(scratch, 0);
    if (object.writeToParcel(scratch) == STATUS_OK) {
        const int32_t size = AParcel_getDataPosition(scratch);
        uint8_t bytes[kMaxWireSize];
        if (size >= 0 && size <= kMaxWireSize &&
            AParcel_marshal(scratch, bytes, 0, static_cast<size_t>(size)) == STATUS_OK) {
            if (parcel.get() == nullptr) parcel = ndk::ScopedAParcel(AParcel_create());
            if (AParcel_unmarshal(parcel.get(), bytes, static_cast<size_t>(size)) == STATUS_OK) {
                return Argument(name, std::move(parcel), type);
            }
        }
    }
    return Argument::FromParcelable(name, object, type);
}

}  // namespace

StreamLogger::StreamLogger(uint64_t max_bytes) : logger_(max_bytes), scratch_(AParcel_create()) {}

StreamLogger::~StreamLogger() {
    pending_.reset();
}

void StreamLogger::Dump(const dumpsys::DumpsysInfo& info) {
    logger_.DumpDetails(info, false);
}

void StreamLogger::LogCommand(const StreamDescriptor::Command& command) {
    // A command without a reply keeps "ret: not set", timed up to now.
    if (pending_.has_value()) {
        std::optional<LogEntry> folded = pending_->Finish(std::nullopt);
        pending_.reset();
        if (folded.has_value()) Recycle(*folded);
    }
    std::vector<Argument> arguments = std::move(spare_arguments_);
    arguments.clear();
    // The clocks first: the command's time starts before it is serialised.
    LogEntry entry("StreamDescriptor", "Command", std::move(arguments));
    entry.arguments.push_back(Serialise(scratch_.get(), "command", command,
                                        ArgumentType::kStreamDescriptorCommand,
                                        std::move(spare_command_)));
    entry.arguments_size = entry.arguments.back().size;
    pending_.emplace(logger_.Begin(std::move(entry)));
}

void StreamLogger::LogReply(const StreamDescriptor::Reply& reply) {
    if (!pending_.has_value()) return;
    // Only the command side of a pair counts against the budget. The reply and the close take one
    // hold of the mutex.
    std::optional<LogEntry> folded = pending_->Finish(
            Serialise(scratch_.get(), "ret", reply, ArgumentType::kStreamDescriptorReply,
                      std::move(spare_reply_)));
    pending_.reset();
    if (folded.has_value()) Recycle(*folded);
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

void StreamLogger::Recycle(LogEntry& folded) {
    auto take_parcel = [](Argument& argument, ndk::ScopedAParcel* spare) {
        if (auto* parcel = std::get_if<ndk::ScopedAParcel>(&argument.value)) {
            *spare = std::move(*parcel);
        }
    };
    if (!folded.arguments.empty()) take_parcel(folded.arguments.front(), &spare_command_);
    if (folded.ret.has_value()) take_parcel(*folded.ret, &spare_reply_);
    spare_arguments_ = std::move(folded.arguments);
    spare_arguments_.clear();
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
