#include <dumpsys/dumpsys.h>

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {

namespace {

// The SIGPIPE protection of the calling thread: how many ScopedSigpipeBlocks are open on it, the
// signal mask from before the outermost, and what the writes under it met.
struct SigpipeScope {
    int depth = 0;
    bool was_pending = false;
    bool broken_pipe = false;
    sigset_t previous_mask;
};
thread_local SigpipeScope sigpipe_scope;

sigset_t SigpipeSet() {
    sigset_t sigpipe;
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    return sigpipe;
}

// Takes a SIGPIPE off the thread's pending signals.
void DiscardPendingSigpipe() {
    const sigset_t sigpipe = SigpipeSet();
    const struct timespec no_wait = {};
    while (sigtimedwait(&sigpipe, nullptr, &no_wait) < 0 && errno == EINTR) {
    }
}

// One write() that cannot kill the process: a dump reader that went away early (dumpsys timing
// out) must cost the lines, not the service. Inside a ScopedSigpipeBlock, SIGPIPE is already
// blocked and this is the write alone. Otherwise SIGPIPE is blocked for the call, and one that
// the call raised is taken off the thread's pending signals before the mask comes back. Either
// way the write then fails with EPIPE like any other failed write.
ssize_t WriteWithoutSigpipe(int fd, const void* data, size_t size) {
    if (sigpipe_scope.depth > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EPIPE) sigpipe_scope.broken_pipe = true;
        return written;
    }
    const sigset_t sigpipe = SigpipeSet();
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &sigpipe, &previous);
    sigset_t pending;
    sigpending(&pending);
    // A SIGPIPE that was pending before is someone else's; leave it.
    const bool was_pending = sigismember(&pending, SIGPIPE) == 1;
    const ssize_t written = ::write(fd, data, size);
    const int write_errno = errno;
    if (written < 0 && write_errno == EPIPE && !was_pending) DiscardPendingSigpipe();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = write_errno;
    return written;
}

}  // namespace

ScopedSigpipeBlock::ScopedSigpipeBlock() {
    if (sigpipe_scope.depth++ > 0) return;
    const int saved_errno = errno;
    const sigset_t sigpipe = SigpipeSet();
    pthread_sigmask(SIG_BLOCK, &sigpipe, &sigpipe_scope.previous_mask);
    sigset_t pending;
    sigpending(&pending);
    // A SIGPIPE that was pending before is someone else's; leave it.
    sigpipe_scope.was_pending = sigismember(&pending, SIGPIPE) == 1;
    sigpipe_scope.broken_pipe = false;
    errno = saved_errno;
}

ScopedSigpipeBlock::~ScopedSigpipeBlock() {
    if (--sigpipe_scope.depth > 0) return;
    const int saved_errno = errno;
    if (sigpipe_scope.broken_pipe && !sigpipe_scope.was_pending) DiscardPendingSigpipe();
    pthread_sigmask(SIG_SETMASK, &sigpipe_scope.previous_mask, nullptr);
    errno = saved_errno;
}

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

void LineBuffer::Append(const char* text, size_t size) {
    if (size > capacity_ - size_) {
        const size_t capacity = std::max(2 * capacity_, size_ + size);
        auto heap = std::make_unique<char[]>(capacity);
        std::memcpy(heap.get(), data_, size_);
        heap_ = std::move(heap);
        data_ = heap_.get();
        capacity_ = capacity;
    }
    std::memcpy(data_ + size_, text, size);
    size_ += size;
}

LineStream::LineStream(LineBuffer& line) : buffer_(line), stream_(&buffer_) {
    stream_ << std::boolalpha;
}

std::streamsize LineStream::Buffer::xsputn(const char* s, std::streamsize n) {
    line_.Append(s, static_cast<size_t>(n));
    return n;
}

LineStream::Buffer::int_type LineStream::Buffer::overflow(int_type c) {
    if (!traits_type::eq_int_type(c, traits_type::eof()))
        line_.Append(traits_type::to_char_type(c));
    return traits_type::not_eof(c);
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
    : output_(GetStreamBuffer(info,
                              title != nullptr ? std::string_view(title) : std::string_view())) {
    line_.Append(kIndentationString, std::min(info.indentation, kMaxIndentation));
}

Dumpsys::~Dumpsys() {
    // A stream that failed (a null text went in) takes nothing more, not even the newline.
    if (!stream_.has_value() || stream_->stream().good()) line_.Append('\n');
    if (output_ == nullptr) return;
    const std::string_view line = line_.View();
    output_->sputn(line.data(), static_cast<std::streamsize>(line.size()));
}

std::ostream& Dumpsys::Stream() {
    if (!stream_.has_value()) stream_.emplace(line_);
    return stream_->stream();
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
