// Dumps into descriptors that fail or stall: a closed descriptor, a pipe whose reader is gone, a
// file that reaches the size limit (a full disk), and a pipe whose reader is slow.
// None of them may crash the process or leave the logger unusable, and a slow reader may hold up
// only the dump itself and producers waiting for the same logger's mutex.

#include <dumpsys/dumpsys.h>
#include <interactionlogger/logger.h>

#include <android-base/file.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using dumpsys::Dumpsys;
using dumpsys::DumpsysInfo;

// Closed calls with long arguments, so that the detailed dump also splits lines.
void Fill(Logger& logger, int calls) {
    for (int i = 0; i < calls; ++i) {
        std::vector<Argument> arguments;
        arguments.emplace_back("id", i);
        arguments.emplace_back("keys", std::string(40 + i % 150, static_cast<char>('a' + i % 26)));
        logger.Begin(LogEntry("IModule", "setVendorParameters", std::move(arguments)));
    }
}

std::string DumpText(Logger& logger) {
    std::stringbuf text;
    DumpsysInfo info;
    info.stream_buffer = &text;
    logger.Dump(info);
    return text.str();
}

// A reader that leaves early must not kill the service, even one that keeps SIGPIPE's default
// action (which ends the process). A full disk is a file at its size limit, where writes fail with
// EFBIG: the file keeps what fitted.
TEST(LoggerDumpFaultTest, UnwritableDescriptors_DumpReturnsAndLoggerStaysUsable) {
    constexpr size_t kLimit = 4096;
    const sighandler_t sigpipe = signal(SIGPIPE, SIG_DFL);
    const sighandler_t sigxfsz = signal(SIGXFSZ, SIG_IGN);
    TemporaryDir dir;
    const std::string path = std::string(dir.path) + "/dump.txt";
    int no_reader[2];
    ASSERT_EQ(pipe2(no_reader, O_CLOEXEC), 0);
    close(no_reader[0]);
    // A number far above the lowest free one, so that no descriptor opened meanwhile takes it.
    const int closed = fcntl(no_reader[1], F_DUPFD_CLOEXEC, 512);
    ASSERT_GE(closed, 512);
    close(closed);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(file, 0);
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit previous = limit;
    Logger logger(64 * 1024);
    Fill(logger, 60);
    const std::string expected = DumpText(logger);
    StreamLogger stream(4 * 1024);
    stream.LogCommand(aidl::android::hardware::audio::core::StreamDescriptor::Command());
    for (const int fd : {closed, no_reader[1], file}) {
        SCOPED_TRACE(fd);
        limit.rlim_cur = kLimit;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        const DumpsysInfo info(fd);
        logger.Dump(info);
        logger.DumpDetails(info, false);
        stream.Dump(info);
        Dumpsys(info, "AUtl::Test") << "line " << 1;
        Dumpsys::SplitInternal(info, std::string(400, 'x'), true, "P: ");
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &previous), 0);
        std::string written;
        ASSERT_TRUE(android::base::ReadFileToString(path, &written));
        EXPECT_EQ(written, fd == file ? expected.substr(0, kLimit) : "");
    }
    errno = 0;
    EXPECT_EQ(fcntl(closed, F_GETFD), -1);  // still closed: every write met EBADF
    EXPECT_EQ(errno, EBADF);
    Fill(logger, 1);
    EXPECT_TRUE(DumpText(logger).starts_with("Interaction logger(61, "));
    EXPECT_TRUE(stream.ToString().starts_with("Interaction logger(1, "));
    close(no_reader[1]);
    close(file);
    signal(SIGPIPE, sigpipe);
    signal(SIGXFSZ, sigxfsz);
}

// The reader takes the dump in small pieces and only after other work is done; the dump waits for
// it with the logger's mutex held. Other loggers and dump lines to other descriptors go on
// meanwhile; a producer of the same logger waits until the dump ends and then logs as usual. A
// call that ends while the dump holds the mutex is timed to its end, not to the dump's.
TEST(LoggerDumpFaultTest, SlowReader_OnlyTheDumpAndItsLoggerWait) {
    int fds[2];
    ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
    const int capacity = fcntl(fds[1], F_SETPIPE_SZ, 4096);
    ASSERT_GT(capacity, 0);
    Logger logger(256 * 1024);
    Fill(logger, 200);
    PendingEntry call = logger.Begin(LogEntry("IModule", "timed"));
    const std::string expected = DumpText(logger);
    ASSERT_GT(expected.size(), 4u * static_cast<size_t>(capacity));

    std::thread dumper([&] {
        logger.Dump(DumpsysInfo(fds[1]));
        close(fds[1]);
    });
    // The first line has arrived: the dump holds the mutex, and it cannot end before the reader
    // below has taken all but the last pipe-full of it.
    pollfd readable{fds[0], POLLIN, 0};
    ASSERT_EQ(1, poll(&readable, 1, -1));
    std::thread producer([&] {
        call.Close();
        Fill(logger, 1);
    });

    Logger other(64 * 1024);
    Fill(other, 50);
    EXPECT_EQ(50u, other.GetEntryCount());
    int elsewhere[2];
    ASSERT_EQ(pipe2(elsewhere, O_CLOEXEC), 0);
    Dumpsys(DumpsysInfo(elsewhere[1]), "AUtl::Other") << "still written";
    char line[32] = {};
    EXPECT_EQ(14, read(elsewhere[0], line, sizeof(line)));
    EXPECT_STREQ("still written\n", line);
    close(elsewhere[0]);
    close(elsewhere[1]);

    // A reader this slow would add its 100 ms to a time taken under the mutex.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    std::string received;
    char chunk[100];
    for (ssize_t n; (n = read(fds[0], chunk, sizeof(chunk))) > 0;) {
        received.append(chunk, static_cast<size_t>(n));
        std::this_thread::yield();
    }
    dumper.join();
    producer.join();
    close(fds[0]);
    EXPECT_EQ(expected, received);
    EXPECT_EQ(202u, logger.GetEntryCount());
    logger.ForEachEntry([](const LogEntry& e) {
        EXPECT_TRUE(e.function_name != "timed" || e.execution_time < 100000) << e.execution_time;
    });
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
