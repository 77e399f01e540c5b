#include <dumpsys/dumpsys.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {
namespace {

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
    std::vector<std::string> Messages() {
        std::vector<std::string> messages;
        char buffer[4096];
        ssize_t n;
        while ((n = recv(fds_[1], buffer, sizeof(buffer), 0)) >= 0)
            messages.emplace_back(buffer, n);
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
    EXPECT_EQ(counter.Messages(),
              (std::vector<std::string>{"  count: 3, mute: true\n", "  abff\n", "  \n"}));
}

TEST(DumpsysTest, Indentation_CappedAt44) {
    EXPECT_EQ(44u, std::string_view(Dumpsys::kIndentationString).size());
    EXPECT_EQ(std::string_view(Dumpsys::kIndentationString).find_first_not_of(' '),
              std::string_view::npos);
    for (const auto& [indentation, spaces] :
         std::vector<std::pair<uint32_t, size_t>>{{0, 0}, {3, 3}, {44, 44}, {45, 44}, {1000, 44}}) {
        CapturedInfo captured(indentation);
        Dumpsys(captured.info, "t") << "x";
        EXPECT_EQ(captured.str(), std::string(spaces, ' ') + "x\n") << indentation;
    }
}

TEST(DumpsysTest, TextWithNewline_WrittenAsItStands) {
    CapturedInfo captured(2);
    Dumpsys(captured.info, "t") << "a\nb";
    EXPECT_EQ(captured.str(), "  a\nb\n");
}

TEST(DumpsysTest, NullStreamBuffer_NoOutputNoError) {
    DumpsysInfo info;
    info.stream_buffer = nullptr;
    Dumpsys(info, "t") << "dropped" << 1 << true;
    Dumpsys::SplitInternal(info, std::string(400, 'x'), true, "P: ");
}

TEST(DumpsysTest, ClosedDescriptor_Silent) {
    int fds[2];
    ASSERT_EQ(0, pipe(fds));
    close(fds[0]);
    close(fds[1]);
    DumpsysInfo info(fds[1]);
    Dumpsys(info, "t") << "lost";
    Dumpsys(info, "t") << "lost again";
}

TEST(DumpsysTest, Filters_AdmitByTitlePrefix) {
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

TEST(DumpsysTest, DumpsysInfo_FromDumpRequest) {
    const char* args[] = {"AUtl::Logger", "AUtl::Res"};
    DumpsysInfo info(7, args, 2);
    EXPECT_EQ(info.fd_buffer.fd, 7);
    EXPECT_EQ(info.stream_buffer, &info.fd_buffer);
    EXPECT_EQ(info.indentation, 0u);
    EXPECT_EQ(info.filters, (std::vector<std::string_view>{"AUtl::Logger", "AUtl::Res"}));

    DumpsysInfo none(7, nullptr, 0);
    EXPECT_TRUE(none.filters.empty());
    DumpsysInfo literal_zero(7, 0, {});
    EXPECT_TRUE(literal_zero.filters.empty());
    EXPECT_EQ(literal_zero.stream_buffer, &literal_zero.fd_buffer);
}

TEST(DumpsysTest, DumpsysInfo_CopyWritesWhereOriginalWrites) {
    WriteCounter counter;
    DumpsysInfo info(counter.fd(), 1, {"AUtl::Log"});
    DumpsysInfo nested(info);
    nested.indentation += 2;
    EXPECT_EQ(nested.stream_buffer, &nested.fd_buffer);
    Dumpsys(nested, "AUtl::Logger") << "nested";
    Dumpsys(nested, "AUtl::Resources") << "filtered";

    CapturedInfo captured;
    DumpsysInfo assigned;
    assigned = captured.info;
    Dumpsys(assigned, "t") << "to memory";
    EXPECT_EQ(counter.Messages(), (std::vector<std::string>{"   nested\n"}));
    EXPECT_EQ(captured.str(), "to memory\n");
}

TEST(DumpsysTest, StreamBuffers_Overflow) {
    struct Fd : internal::FileDescriptorStreamBuffer {
        using FileDescriptorStreamBuffer::FileDescriptorStreamBuffer;
        using FileDescriptorStreamBuffer::overflow;
    };
    struct Null : internal::NullStreamBuffer {
        using NullStreamBuffer::overflow;
    };
    WriteCounter counter;
    Fd fd_buffer(counter.fd());
    EXPECT_EQ(fd_buffer.overflow(std::char_traits<char>::eof()), std::char_traits<char>::eof());
    EXPECT_EQ(fd_buffer.overflow('z'), 'z');
    EXPECT_EQ(fd_buffer.sputn("abc", 3), 3);
    Null null_buffer;
    EXPECT_EQ(null_buffer.overflow(std::char_traits<char>::eof()), std::char_traits<char>::eof());
    EXPECT_EQ(null_buffer.overflow('q'), 'q');
    EXPECT_EQ(null_buffer.sputn("abc", 3), 3);
    EXPECT_EQ(counter.Messages(), (std::vector<std::string>{"z", "abc"}));

    Fd closed(-1);
    EXPECT_EQ(closed.sputn("abc", 3), 0);
}

// Splits `text` through SplitInternal at indentation `indentation` and returns the lines.
std::vector<std::string> Split(std::string_view text, std::string_view prefix = "",
                               uint32_t indentation = 0) {
    CapturedInfo captured(indentation);
    Dumpsys::SplitInternal(captured.info, text, true, prefix);
    std::vector<std::string> lines;
    std::istringstream stream(captured.str());
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST(DumpsysTest, SplitInternal_AtTheLimit) {
    const std::string exact(150, 'a');
    EXPECT_EQ(Split(exact), std::vector<std::string>{exact});

    const std::string over = std::string(150, 'a') + "b";
    EXPECT_EQ(Split(over), (std::vector<std::string>{std::string(150, 'a'), "    b"}));

    // Continuation lines hold at most 146 characters after their four spaces.
    const std::string long_text(150 + 146 + 1, 'c');
    EXPECT_EQ(Split(long_text), (std::vector<std::string>{std::string(150, 'c'),
                                                          "    " + std::string(146, 'c'), "    c"}));
}

TEST(DumpsysTest, SplitInternal_CutsAfterLastCommaSpaceInRange) {
    // ", " at characters 151 and 152 of 153: still in the range, so the cut falls after the space.
    const std::string at_edge = std::string(150, 'a') + ", z";
    EXPECT_EQ(Split(at_edge), (std::vector<std::string>{std::string(150, 'a') + ", ", "    z"}));

    // The comma is the 152nd character but its space the 153rd: outside the range, a hard cut.
    const std::string outside = std::string(151, 'a') + ", z";
    EXPECT_EQ(Split(outside), (std::vector<std::string>{std::string(150, 'a'), "    a, z"}));

    // The last of several pairs wins; the comma and space end the line.
    const std::string several =
            std::string(10, 'a') + ", " + std::string(100, 'b') + ", " + std::string(60, 'c');
    EXPECT_EQ(Split(several),
              (std::vector<std::string>{std::string(10, 'a') + ", " + std::string(100, 'b') + ", ",
                                        "    " + std::string(60, 'c')}));

    // A text that ends in ", " exactly at the range's end leaves an empty remainder, which still
    // gets its own continuation line.
    const std::string trailing = std::string(150, 'a') + ", ";
    EXPECT_EQ(Split(trailing, "P: "), (std::vector<std::string>{"P: " + trailing, "P:     "}));
}

TEST(DumpsysTest, SplitInternal_PrefixAndIndentationOnEveryLine) {
    // The last ", " in range ends at character 140 of 160.
    const std::string text = std::string(138, 'x') + ", " + std::string(20, 'y');
    EXPECT_EQ(Split(text, "P: ", 2), (std::vector<std::string>{"  P: " + text.substr(0, 140),
                                                               "  P:     " + text.substr(140)}));
}

TEST(DumpsysTest, SplitInternal_NeverFilteredByTitle) {
    CapturedInfo captured(0, {"AUtl::Res"});
    Dumpsys::SplitInternal(captured.info, "short", true, "| ");
    EXPECT_EQ(captured.str(), "| short\n");
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
