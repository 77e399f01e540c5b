#include <dumpsys/dumpsys.h>

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {

namespace {

// One write() that cannot kill the process: a dump reader that went away early (dumpsys timing
// out) must cost the lines, not the service. SIGPIPE is blocked on this thread for the call, and
// one that the call raised is taken off the thread's pending signals before the mask comes back;
// the write then fails with EPIPE like any other failed write.
ssize_t WriteWithoutSigpipe(int fd, const void* data, size_t size) {
    sigset_t sigpipe;
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &sigpipe, &previous);
    sigset_t pending;
    sigpending(&pending);
    // A SIGPIPE that was pending before is someone else's; leave it.
    const bool was_pending = sigismember(&pending, SIGPIPE) == 1;
    const ssize_t written = ::write(fd, data, size);
    const int write_errno = errno;
    if (written < 0 && write_errno == EPIPE && !was_pending) {
        const struct timespec no_wait = {};
        while (sigtimedwait(&sigpipe, nullptr, &no_wait) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = write_errno;
    return written;
}

}  // namespace

namespace internal {

std::streamsize FileDescriptorStreamBuffer::xsputn(const char* s, std::streamsize n) {
    const ssize_t written = WriteWithoutSigpipe(fd, s, static_cast<size_t>(n));
    return written < 0 ? 0 : written;
}

FileDescriptorStreamBuffer::int_type FileDescriptorStreamBuffer::overflow(int_type c) {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::eof();
    const char byte = traits_type::to_char_type(c);
    (void)WriteWithoutSigpipe(fd, &byte, 1);
    return c;
}

std::streamsize NullStreamBuffer::xsputn(const char*, std::streamsize n) {
    return n;
}

NullStreamBuffer::int_type NullStreamBuffer::overflow(int_type c) {
    return c;
}

}  // namespace internal

DumpsysInfo::DumpsysInfo(int fd, uint32_t indentation, std::vector<std::string_view> filters)
    : fd_buffer(fd),
      stream_buffer(&fd_buffer),
      indentation(indentation),
      filters(std::move(filters)) {}

DumpsysInfo::DumpsysInfo(int fd, const char** args, uint32_t num_args)
    : fd_buffer(fd), stream_buffer(&fd_buffer), indentation(0) {
    if (args == nullptr) return;
    filters.reserve(num_args);
    for (uint32_t i = 0; i < num_args; ++i) {
        filters.emplace_back(args[i] != nullptr ? std::string_view(args[i]) : std::string_view());
    }
}

DumpsysInfo::DumpsysInfo(const DumpsysInfo& other)
    : fd_buffer(other.fd_buffer.fd),
      stream_buffer(other.stream_buffer == &other.fd_buffer ? &fd_buffer : other.stream_buffer),
      indentation(other.indentation),
      filters(other.filters) {}

DumpsysInfo& DumpsysInfo::operator=(const DumpsysInfo& other) {
    if (this == &other) return *this;
    fd_buffer.fd = other.fd_buffer.fd;
    stream_buffer = other.stream_buffer == &other.fd_buffer ? &fd_buffer : other.stream_buffer;
    indentation = other.indentation;
    filters = other.filters;
    return *this;
}

Dumpsys::Dumpsys(const DumpsysInfo& info, const char* title)
    : info_(info),
      output_stream_(GetStreamBuffer(
              info, title != nullptr ? std::string_view(title) : std::string_view())) {
    buffer_stream_ << std::boolalpha;
    buffer_stream_.write(kIndentationString, std::min(info_.indentation, kMaxIndentation));
}

Dumpsys::~Dumpsys() {
    buffer_stream_ << buffer_stream_.widen('\n');
    buffer_stream_.flush();
    output_stream_ << buffer_stream_.str();
}

bool Dumpsys::IsAdmitted(const DumpsysInfo& info, std::string_view title) {
    if (info.filters.empty() || title.empty()) return true;
    return std::any_of(info.filters.begin(), info.filters.end(),
                       [title](std::string_view filter) { return title.starts_with(filter); });
}

std::streambuf* Dumpsys::GetStreamBuffer(const DumpsysInfo& info, std::string_view title) {
    static internal::NullStreamBuffer null_buffer;
    return IsAdmitted(info, title) ? info.stream_buffer : &null_buffer;
}

void Dumpsys::SplitInternal(const DumpsysInfo& info, std::string_view text, bool first,
                            std::string_view prefix) {
    // One line per round; continuation lines get four more spaces and four fewer characters.
    for (;; first = false) {
        const size_t extra = first ? 0 : 4;
        const size_t limit = 150 - extra;
        if (text.size() <= limit) {
            Dumpsys(info, nullptr) << prefix << std::string_view(kIndentationString, extra) << text;
            return;
        }
        // Cut after the last ", " whose space still falls within limit + 2 characters, so the pair
        // ends this line; without one, cut hard at the limit.
        const std::string_view range = text.substr(0, limit + 2);
        const size_t comma = range.rfind(", ", range.size() - 2);
        const size_t cut = comma != std::string_view::npos ? comma + 2 : limit;
        Dumpsys(info, nullptr) << prefix << std::string_view(kIndentationString, extra)
                               << text.substr(0, cut);
        text = text.substr(cut);
    }
}

}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
