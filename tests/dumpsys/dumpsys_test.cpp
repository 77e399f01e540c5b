#include <dumpsys/dumpsys.h>
#include <dumpsys/yaml.h>

#include <android-base/strings.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "golden.h"

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {
namespace {

using Lines = std::vector<std::string>;

// The text of one line written through a record with `indentation` and `filters`.
std::string Written(uint32_t indentation, std::vector<std::string_view> filters, const char* title,
                    std::string_view text) {
    std::stringbuf written;
    DumpsysInfo info(-1, indentation, std::move(filters));
    info.stream_buffer = &written;
    Dumpsys(info, title) << text;
    return written.str();
}

// A socket pair where every write() arrives as one message: reading the messages back tells
// exactly how many writes a dump made and what each carried.
TEST(DumpsysTest, Lines_OneWriteEachToTheDescriptorsOfTheRecordAndItsCopies) {
    int fds[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, fds));
    auto messages = [&] {
        Lines messages;
        char buffer[4096];
        for (ssize_t n; (n = recv(fds[1], buffer, sizeof(buffer), 0)) >= 0;) {
            messages.emplace_back(buffer, n);
        }
        return messages;
    };
    const char* args[] = {"AUtl::Logger", nullptr};
    EXPECT_EQ(DumpsysInfo(fds[0], args, 2).filters,
              (std::vector<std::string_view>{"AUtl::Logger", ""}));
    EXPECT_TRUE(DumpsysInfo(fds[0], nullptr, 3).filters.empty());
    DumpsysInfo info(fds[0], 2, {"AUtl::Log"});
    Dumpsys(info, "AUtl::Logger") << "count: " << 3 << ", mute: " << true;
    {
        Dumpsys line(info, "AUtl::Logger");
        line << "a";
        line << 'b' << std::hex << 255;
    }
    Dumpsys(info, nullptr);
    // A newline inside the text is written as it stands; a null text fails the line's stream,
    // which then takes nothing more, not even the newline.
    Dumpsys(info, "AUtl::Resources") << "filtered";
    Dumpsys(info, "") << "a\nb" << std::string(300, 'c');
    Dumpsys(info, nullptr) << "d" << static_cast<const char*>(nullptr) << "e";
    EXPECT_EQ(messages(), (Lines{"  count: 3, mute: true\n", "  abff\n", "  \n",
                                 "  a\nb" + std::string(300, 'c') + "\n", "  d"}));

    // The record's buffer: a single character is one write too; a closed descriptor takes nothing.
    info.fd_buffer.sputc('z');
    EXPECT_EQ(messages(), Lines{"z"});
    EXPECT_EQ(internal::FileDescriptorStreamBuffer(-1).sputn("abc", 3), 0);

    // Copies and assignments write to the same descriptor through their own buffer.
    DumpsysInfo copied(info);
    DumpsysInfo assigned;
    assigned = info;
    info.fd_buffer.fd = -1;
    copied.indentation += 1;
    Dumpsys(copied, "AUtl::Logger") << "copied";
    Dumpsys(copied, "AUtl::Resources") << "filtered";
    Dumpsys(assigned, "AUtl::Logger") << "assigned";
    EXPECT_EQ(messages(), (Lines{"   copied\n", "  assigned\n"}));
    // Without a stream buffer nothing is written and nothing fails.
    info.stream_buffer = nullptr;
    Dumpsys(info, "t") << "dropped" << 1 << true;
    close(fds[0]);
    close(fds[1]);
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

// Split lines and YAML documents, compared whole with tests/data/dumpsys/render.txt.
TEST(DumpsysTest, SplitAndYaml_GoldenText) {
    std::stringbuf written;
    // Split lines carry no title, so filters never hold them back.
    DumpsysInfo info(-1, 2, {"AUtl::Res"});
    info.stream_buffer = &written;
    auto s = [](size_t n, char c) { return std::string(n, c); };
    for (const std::string& text : {
                 s(150, 'a'),
                 s(150, 'a') + "b",
                 // Continuation lines hold at most 146 characters after their four spaces.
                 s(297, 'c'),
                 // ", " at characters 151 and 152: still in range, so the cut falls after the space.
                 s(150, 'a') + ", z",
                 // The comma is the 152nd character but its space the 153rd: a hard cut.
                 s(151, 'a') + ", z",
                 // The last of several pairs in range wins.
                 "a, " + s(100, 'b') + ", " + s(60, 'c'),
                 // An empty remainder still gets its own continuation line.
                 s(150, 'a') + ", ",
         }) {
        Dumpsys::SplitInternal(info, text, true, "P: ");
    }
    std::string text = written.str();
    // Indentation stops at 44 spaces. A line is written when there are no filters, its title is
    // empty or a filter is a prefix of its title, case and all; each written here names its
    // filters and title.
    for (const uint32_t indentation : {3, 44, 45, 1000}) text += Written(indentation, {}, "t", "x");
    const std::pair<std::vector<std::string_view>, const char*> filtered[] = {
            {{}, "AUtl::Resources"},
            {{"AUtl::Log"}, "AUtl::Logger"},
            {{"AUtl::Log"}, "AUtl::Resources"},
            {{"AUtl::Log"}, "AUtl"},
            {{"AUtl::Log"}, nullptr},
            {{"AUtl::Res", "AUtl::Log"}, "AUtl::Logger"},
            {{"autl::log"}, "AUtl::Logger"},
            {{""}, "AUtl::Logger"}};
    for (const auto& [filters, title] : filtered) {
        const std::string name = android::base::Join(filters, '|') + " on " + (title ? title : "-");
        text += Written(0, filters, title, name);
    }

    // Each mapping in flow and in block style. A value that begins with a newline is a nested
    // block and forces block style, where a nested sequence's items stay at the key's column; other
    // newlines do not, and further lines of a value are indented. One trailing newline goes; an
    // empty value adds nothing.
    std::vector<YamlMapping> mappings(6);
    mappings[1].Put("rate", "48000");
    mappings[1].Put("format", "PCM");
    mappings[2].Put("name", "x");
    mappings[2].Put("config", "\nchannels: 2\nbits: 16");
    mappings[2].Put("list", "\n- a\n- b");
    mappings[3].Put("note", "one\ntwo");
    mappings[4].Put("", "x");
    EXPECT_TRUE(mappings[5].Put("a", std::string("abc\n")));
    mappings[5].Put("b", "abc\n\n");
    EXPECT_FALSE(mappings[5].Put("c", ""));
    EXPECT_FALSE(mappings[5].Put("d", "\n"));
    mappings[5].Put("a", "again");
    // Sequences, and nested nodes, rendered in block style; numbers in decimal.
    YamlSequence items;
    items.Append("x\ny");
    items.Append(std::string());
    items.Append(true);
    items.Append(2);
    YamlMapping inner;
    inner.Put("on", true);
    inner.Put("gain", -3);
    inner.Put("frames", uint64_t{18446744073709551615u});
    inner.Put("ratio", 0.5);
    YamlSequence streams;
    streams.Append(inner);
    streams.Append(YamlSequence());
    YamlMapping& outer = mappings.emplace_back();
    outer.Put("inner", inner);
    outer.Put("items", items);
    outer.Put("streams", streams);
    outer.Put("off", false);
    for (const YamlMapping& mapping : mappings) {
        text += mapping.ToString(false) + "\n~\n" + mapping.ToString(true) + "\n--\n";
    }
    for (const YamlSequence& sequence : {YamlSequence(), items}) {
        text += sequence.ToString(false) + "\n~\n" + sequence.ToString(true) + "\n--\n";
    }
    EXPECT_EQ(text, autl::test::Golden("dumpsys/render.txt", text));
}

}  // namespace
}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
