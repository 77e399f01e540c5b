// Logs one stream command with its reply and prints the history; exits 0 when the text holds both.

#include <aidl/android/hardware/audio/core/StreamDescriptor.h>
#include <interactionlogger/logger.h>

#include <iostream>
#include <string>

using aidl::android::hardware::audio::core::StreamDescriptor;
using vendor::zentro::tevrash::audio::hal::utils::interactionlogger::StreamLogger;

int main() {
    StreamLogger logger(64 * 1024);
    logger.LogCommand(StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(960));
    StreamDescriptor::Reply reply;
    reply.fmqByteCount = 960;
    logger.LogReply(reply);
    const std::string text = logger.ToString();
    std::cout << text;
    return text.find("[command: Command{burst: 960}], ret: Reply{status: 0, fmqByteCount: 960") ==
                           std::string::npos
                   ? 1
                   : 0;
}
