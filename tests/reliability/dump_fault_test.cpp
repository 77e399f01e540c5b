// Dumps into descriptors that fail or stall: a closed descriptor, a pipe whose reader is gone, a
// file that reaches the size limit (a full disk), and a pipe whose reader is slow.
// None of them may crash the process or leave the logger unusable, and a slow reader may hold up
// only the dump itself and producers waiting for the same logger's mutex.

#include <dumpsys/dumpsys.h>
#include <interactionlogger/logger.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "temp_dir.h"

namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger {
namespace {

using aidl::android::hardware::audio::core::StreamDescriptor;
using autl::test::ReadFile;
using autl::test::TempDir;
using dumpsys::Dumpsys;
using dumpsys::DumpsysInfo;

// Closed calls with long arguments, so that the detailed dump also splits lines.
void Fill(Logger& logger, int calls) {
    for (int i = 0; i < calls; ++i) {
        std::vector<Argument> arguments;
        arguments.emplace_back("id", i);
        arguments.emplace_back("keys", std::string(40 + i % 150, static_cast<char>('a' + i % 26)));
        PendingEntry call =
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

// Sets a signal's disposition for the scope.
struct ScopedSignal {
    ScopedSignal(int signal, sighandler_t handler)
        : signal(signal), previous(::signal(signal, handler)) {}
    ~ScopedSignal() { ::signal(signal, previous); }

    int signal;
    sighandler_t previous;
};

struct Pipe {
    Pipe() { EXPECT_EQ(0, pipe2(fds, O_CLOEXEC)); }
    ~Pipe() { Close(0), Close(1); }
    void Close(int end) {
        if (fds[end] >= 0) close(fds[end]);
        fds[end] = -1;
    }
    int fds[2] = {-1, -1};
};

// Restores the file size limit and SIGXFSZ on scope exit.
struct ScopedFileSizeLimit {
    explicit ScopedFileSizeLimit(rlim_t bytes) {
        EXPECT_EQ(0, getrlimit(RLIMIT_FSIZE, &previous));
        rlimit limit = previous;
        limit.rlim_cur = bytes;
        EXPECT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
    }
    ~ScopedFileSizeLimit() { setrlimit(RLIMIT_FSIZE, &previous); }

    ScopedSignal ignore{SIGXFSZ, SIG_IGN};
    rlimit previous{};
};

// A reader that leaves early must not kill the service, even one that keeps SIGPIPE's default
// action (which ends the process). A full disk is a file at its size limit, where writes fail with
// EFBIG: the file keeps what fitted.
TEST(LoggerDumpFaultTest, UnwritableDescriptors_DumpReturnsAndLoggerStaysUsable) {
    constexpr size_t kLimit = 4096;
    ScopedSignal default_sigpipe(SIGPIPE, SIG_DFL);
    TempDir dir;
    const std::string path = dir.Join("dump.txt");
    Pipe no_reader;
    no_reader.Close(0);
    // A number far above the lowest free one, so that no descriptor opened meanwhile takes it.
    const int closed = fcntl(no_reader.fds[1], F_DUPFD_CLOEXEC, 512);
    ASSERT_GE(closed, 512);
    close(closed);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(file, 0);
    const struct {
        const char* name;
        int fd;
    } kCases[] = {
            {"closed descriptor", closed},
            {"pipe without reader", no_reader.fds[1]},
            {"file at the size limit", file},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.name);
        Logger logger(64 * 1024);
        Fill(logger, 60);
        const std::string expected = DumpText(logger);
        StreamLogger stream(4 * 1024);
        stream.LogCommand(StreamDescriptor::Command::make<StreamDescriptor::Command::burst>(960));
        stream.LogReply(StreamDescriptor::Reply());
        {
            ScopedFileSizeLimit limit(kLimit);
            const DumpsysInfo info(c.fd);
            logger.Dump(info);
            logger.DumpDetails(info, false);
            stream.Dump(info);
            Dumpsys(info, "AUtl::Test") << "line " << 1;
            Dumpsys::SplitInternal(info, std::string(400, 'x'), true, "P: ");
        }
        if (c.fd == closed) {
            errno = 0;
            EXPECT_EQ(fcntl(closed, F_GETFD), -1);  // still closed: every write met EBADF
            EXPECT_EQ(errno, EBADF);
        }
        if (c.fd == file) {
            ASSERT_GT(expected.size(), kLimit);
            EXPECT_EQ(expected.substr(0, kLimit), ReadFile(path));
        }

        Fill(logger, 1);
        EXPECT_EQ(61u, logger.GetEntryCount());
        EXPECT_TRUE(DumpText(logger).starts_with("Interaction logger(61, "));
        EXPECT_TRUE(stream.ToString().starts_with("Interaction logger(1, "));
    }
    close(file);
}

// The reader takes the dump in small pieces and only after other work is done; the dump waits for
// it with the logger's mutex held. Other loggers and dump lines to other descriptors go on
// meanwhile; a producer of the same logger waits until the dump ends and then logs as usual.
TEST(LoggerDumpFaultTest, SlowReader_OnlyTheDumpAndItsLoggerWait) {
    Pipe pipe;
    const int capacity = fcntl(pipe.fds[1], F_SETPIPE_SZ, 4096);
    ASSERT_GT(capacity, 0);
    Logger logger(256 * 1024);
    Fill(logger, 200);
    const std::string expected = DumpText(logger);
    ASSERT_GT(expected.size(), 4u * static_cast<size_t>(capacity));

    std::thread dumper([&] {
        logger.Dump(DumpsysInfo(pipe.fds[1]));
        pipe.Close(1);
    });
    // The first line has arrived: the dump holds the mutex, and it cannot end before the reader
    // below has taken all but the last pipe-full of it.
    pollfd readable{pipe.fds[0], POLLIN, 0};
    ASSERT_EQ(1, poll(&readable, 1, -1));

    Logger other(64 * 1024);
    Fill(other, 50);
    EXPECT_EQ(50u, other.GetEntryCount());
    Pipe elsewhere;
    Dumpsys(DumpsysInfo(elsewhere.fds[1]), "AUtl::Other") << "still written";
    char line[32] = {};
    EXPECT_EQ(14, read(elsewhere.fds[0], line, sizeof(line)));
    EXPECT_STREQ("still written\n", line);

    std::thread producer([&] { Fill(logger, 1); });

    std::string received;
    char chunk[100];
    for (ssize_t n; (n = read(pipe.fds[0], chunk, sizeof(chunk))) > 0;) {
        received.append(chunk, static_cast<size_t>(n));
        std::this_thread::yield();
    }
    dumper.join();
    producer.join();
    EXPECT_EQ(expected, received);
    EXPECT_EQ(201u, logger.GetEntryCount());
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::interactionlogger
