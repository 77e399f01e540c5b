#include <dumpsys/dumpsys.h>

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {
namespace {

using Lines = std::vector<std::string>;

// A record whose text lands in memory.
struct CapturedInfo {
    explicit CapturedInfo(uint32_t indentation = 0, std::vector<std::string_view> filters = {})
        : info(-1, indentation, std::move(filters)) {
        info.stream_buffer = &text;
    }
    std::string str() const { return text.str(); }

    std::stringbuf text;
    DumpsysInfo info;
};

// A datagram-like socket pair: every write() arrives as one message, so reading the messages back
// tells exactly how many writes a dump made and what each carried.
class WriteCounter {
  public:
    WriteCounter() {
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET, 0, fds_));
        EXPECT_EQ(0, fcntl(fds_[1], F_SETFL, O_NONBLOCK));
    }
    ~WriteCounter() {
        close(fds_[0]);
        close(fds_[1]);
    }
    int fd() const { return fds_[0]; }
    Lines Messages() {
        Lines messages;
        char buffer[4096];
        for (ssize_t n; (n = recv(fds_[1], buffer, sizeof(buffer), 0)) >= 0;) {
            messages.emplace_back(buffer, n);
        }
        return messages;
    }

  private:
    int fds_[2];
};

TEST(DumpsysTest, Line_OneWritePerLine) {
    WriteCounter counter;
    DumpsysInfo info(counter.fd(), 2);
    Dumpsys(info, "AUtl::Logger") << "count: " << 3 << ", mute: " << true;
    {
        Dumpsys line(info, "AUtl::Logger");
        line << "a";
        line << 'b' << std::hex << 255;
    }
    Dumpsys(info, nullptr);
    // A newline inside the text is written as it stands.
    Dumpsys(info, "t") << "a\nb";
    EXPECT_EQ(counter.Messages(),
              (Lines{"  count: 3, mute: true\n", "  abff\n", "  \n", "  a\nb\n"}));

    // The record's buffer: a single character is one write too; a closed descriptor takes nothing.
    info.fd_buffer.sputc('z');
    EXPECT_EQ(counter.Messages(), Lines{"z"});
    internal::FileDescriptorStreamBuffer closed(-1);
    EXPECT_EQ(closed.sputn("abc", 3), 0);
    // Without a stream buffer nothing is written and nothing fails.
    info.stream_buffer = nullptr;
    Dumpsys(info, "t") << "dropped" << 1 << true;
    Dumpsys::SplitInternal(info, std::string(400, 'x'), true, "P: ");
}

TEST(DumpsysTest, IndentationAndFilters) {
    for (const auto& [indentation, spaces] :
         std::vector<std::pair<uint32_t, size_t>>{{0, 0}, {3, 3}, {44, 44}, {45, 44}, {1000, 44}}) {
        CapturedInfo captured(indentation);
        Dumpsys(captured.info, "t") << "x";
        EXPECT_EQ(captured.str(), std::string(spaces, ' ') + "x\n") << indentation;
    }

    // A line is written when there are no filters, its title is empty or a filter is a prefix of
    // its title.
    struct Case {
        std::vector<std::string_view> filters;
        const char* title;
        bool written;
    };
    const std::vector<Case> cases = {
            {{}, "AUtl::Resources", true},
            {{"AUtl::Log"}, "AUtl::Logger", true},
            {{"AUtl::Log"}, "AUtl::Resources", false},
            {{"AUtl::Log"}, "AUtl", false},
            {{"AUtl::Log"}, nullptr, true},
            {{"AUtl::Log"}, "", true},
            {{"AUtl::Res", "AUtl::Log"}, "AUtl::Logger", true},
            {{"autl::log"}, "AUtl::Logger", false},
            {{""}, "AUtl::Logger", true},
    };
    for (const Case& c : cases) {
        CapturedInfo captured(0, c.filters);
        Dumpsys(captured.info, c.title) << "x";
        EXPECT_EQ(captured.str(), c.written ? "x\n" : "") << (c.title ? c.title : "(null)");
    }
}

TEST(DumpsysTest, DumpsysInfo_FromDumpRequestAndCopies) {
    const char* args[] = {"AUtl::Logger", "AUtl::Res"};
    DumpsysInfo request(7, args, 2);
    EXPECT_EQ(request.filters, (std::vector<std::string_view>{"AUtl::Logger", "AUtl::Res"}));
    EXPECT_TRUE(DumpsysInfo(7, nullptr, 0).filters.empty());

    // Copies and assignments write where the original writes: to the same descriptor through
    // their own buffer, or to the same stream buffer.
    WriteCounter counter;
    CapturedInfo captured;
    DumpsysInfo info(counter.fd(), 1, {"AUtl::Log"});
    DumpsysInfo copied(info);
    DumpsysInfo copied_from_memory(captured.info);
    DumpsysInfo assigned;
    DumpsysInfo assigned_from_memory;
    assigned = info;
    assigned_from_memory = captured.info;
    info.fd_buffer.fd = -1;
    copied.indentation += 2;
    Dumpsys(copied, "AUtl::Logger") << "copied";
    Dumpsys(copied, "AUtl::Resources") << "filtered";
    Dumpsys(assigned, "AUtl::Logger") << "assigned";
    Dumpsys(copied_from_memory, "t") << "a";
    Dumpsys(assigned_from_memory, "t") << "b";
    EXPECT_EQ(counter.Messages(), (Lines{"   copied\n", " assigned\n"}));
    EXPECT_EQ(captured.str(), "a\nb\n");
}

// Lines into a pipe whose reader is gone, inside nested scopes and after them, with SIGPIPE's
// default action (which would end the process): the writes fail, no SIGPIPE is left pending, and
// the signal mask is what it was.
TEST(DumpsysTest, ScopedSigpipeBlock_WritesWithoutReaderLeaveNoTrace) {
    int fds[2];
    ASSERT_EQ(0, pipe2(fds, O_CLOEXEC));
    close(fds[0]);
    sighandler_t previous = signal(SIGPIPE, SIG_DFL);
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    const DumpsysInfo info(fds[1]);
    {
        ScopedSigpipeBlock outer;
        {
            ScopedSigpipeBlock inner;
            Dumpsys(info, "t") << "inner";
        }
        Dumpsys(info, "t") << "outer";
    }
    Dumpsys(info, "t") << "alone";
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    sigset_t pending;
    sigpending(&pending);
    signal(SIGPIPE, previous);
    close(fds[1]);
    EXPECT_EQ(sigismember(&after, SIGPIPE), sigismember(&before, SIGPIPE));
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

// Every case is split with prefix "P: " at indentation 2, which start every line.
TEST(DumpsysTest, SplitInternal) {
    auto s = [](size_t n, char c) { return std::string(n, c); };
    const std::vector<std::pair<std::string, Lines>> cases = {
            {s(150, 'a'), {s(150, 'a')}},
            {s(150, 'a') + "b", {s(150, 'a'), "    b"}},
            // Continuation lines hold at most 146 characters after their four spaces.
            {s(297, 'c'), {s(150, 'c'), "    " + s(146, 'c'), "    c"}},
            // ", " at characters 151 and 152: still in range, so the cut falls after the space.
            {s(150, 'a') + ", z", {s(150, 'a') + ", ", "    z"}},
            // The comma is the 152nd character but its space the 153rd: a hard cut.
            {s(151, 'a') + ", z", {s(150, 'a'), "    a, z"}},
            // The last of several pairs in range wins.
            {"a, " + s(100, 'b') + ", " + s(60, 'c'),
             {"a, " + s(100, 'b') + ", ", "    " + s(60, 'c')}},
            // An empty remainder still gets its own continuation line.
            {s(150, 'a') + ", ", {s(150, 'a') + ", ", "    "}},
    };
    for (const auto& [text, expected] : cases) {
        // Split lines carry no title, so filters never hold them back.
        CapturedInfo captured(2, {"AUtl::Res"});
        Dumpsys::SplitInternal(captured.info, text, true, "P: ");
        std::string lines;
        for (const std::string& line : expected) lines += "  P: " + line + "\n";
        EXPECT_EQ(captured.str(), lines);
    }
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
