#pragma once

// Dump output: every component that can describe its state writes it one line at a time through a
// short-lived Dumpsys. A line collects indentation and text and reaches the dump's descriptor in
// one write() when the Dumpsys is destroyed; sections that the requester's filters do not admit are
// formatted into a buffer that discards everything.
//
//   binder_status_t Module::dump(int fd, const char** args, uint32_t num_args) {
//       DumpsysInfo info(fd, args, num_args);
//       Dumpsys(info, "AUtl::Logger") << "count: " << 3 << ", mute: " << true;
//       logger_.Dump(info);
//       return STATUS_OK;
//   }

#include <cstddef>
#include <cstdint>
#include <ios>
#include <memory>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys {

namespace internal {

// Writes straight into a file descriptor: no put area, so each insertion reaches xsputn at once and
// one formatted insertion of a line is one write(). Does not own the descriptor.
class FileDescriptorStreamBuffer : public std::streambuf {
  public:
    explicit FileDescriptorStreamBuffer(int fd) : fd(fd) {}
    ~FileDescriptorStreamBuffer() override = default;

    int fd;

  protected:
    // One write() call; no retry after a short write. Returns the count written, 0 on error.
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    // Writes the single byte c; returns eof for eof without writing.
    int_type overflow(int_type c) override;
};

// Discards everything it is given.
class NullStreamBuffer : public std::streambuf {
  public:
    ~NullStreamBuffer() override = default;

  protected:
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    int_type overflow(int_type c) override;
};

// The text of one line: inline up to a usual line's length, on the heap beyond.
class LineBuffer {
  public:
    LineBuffer() = default;
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;

    void Append(const char* text, size_t size);
    void Append(char c) { size_ < capacity_ ? void(data_[size_++] = c) : Append(&c, 1); }
    std::string_view View() const { return std::string_view(data_, size_); }

  private:
    static constexpr size_t kInlineSize = 512;

    char inline_[kInlineSize];
    char* data_ = inline_;
    size_t size_ = 0;
    size_t capacity_ = kInlineSize;
    std::unique_ptr<char[]> heap_;
};

// A std::ostream over a LineBuffer, for the values that need formatting.
class LineStream {
  public:
    explicit LineStream(LineBuffer& line);
    std::ostream& stream() { return stream_; }

  private:
    class Buffer : public std::streambuf {
      public:
        explicit Buffer(LineBuffer& line) : line_(line) {}

      protected:
        std::streamsize xsputn(const char* s, std::streamsize n) override;
        int_type overflow(int_type c) override;

      private:
        LineBuffer& line_;
    };

    Buffer buffer_;
    std::ostream stream_;
};

}  // namespace internal

// Blocks SIGPIPE on the calling thread while it lives, so that a dump whose reader went away costs
// the rest of the dump, never the process, whatever the process does with SIGPIPE. A SIGPIPE that
// the dump's writes raised is discarded before the mask comes back. Lines written outside such a
// scope protect themselves, at three more system calls per line; a component that writes many
// lines makes one for its whole dump (Logger does). Scopes nest; each stays on its thread.
class ScopedSigpipeBlock {
  public:
    ScopedSigpipeBlock();
    ~ScopedSigpipeBlock();
    ScopedSigpipeBlock(const ScopedSigpipeBlock&) = delete;
    ScopedSigpipeBlock& operator=(const ScopedSigpipeBlock&) = delete;
};

// One dump request: where the text goes, how deep the current section is indented and which
// sections the requester asked for. The library only reads it.
struct DumpsysInfo {
    // fd -1 means no descriptor. stream_buffer points at this record's fd_buffer.
    explicit DumpsysInfo(int fd = -1, uint32_t indentation = 0,
                         std::vector<std::string_view> filters = {});
    // From a binder dump request: every argument becomes a filter, in order. The argument strings
    // must outlive the record. args may be null when num_args is 0.
    DumpsysInfo(int fd, const char** args, uint32_t num_args);
    // A copy writes where the original writes; a nested section is a copy with a larger
    // indentation.
    DumpsysInfo(const DumpsysInfo& other);
    DumpsysInfo& operator=(const DumpsysInfo& other);

    internal::FileDescriptorStreamBuffer fd_buffer;
    std::streambuf* stream_buffer;
    uint32_t indentation;
    std::vector<std::string_view> filters;
};

// One output line. Insert text and values into it like into a std::ostream (booleans come out as
// "true"/"false"); on destruction it appends a newline and hands the whole line to the output in
// one insertion, which is one write() for a descriptor. Not copyable; lives for one statement or
// block.
class Dumpsys {
  public:
    static constexpr char kIndentationString[] = "                                            ";
    static constexpr uint32_t kMaxIndentation = sizeof(kIndentationString) - 1;

    // title may be null, which counts as the empty title; it is never written, it only names the
    // section for filtering.
    Dumpsys(const DumpsysInfo& info, const char* title);
    ~Dumpsys();

    Dumpsys(const Dumpsys&) = delete;
    Dumpsys& operator=(const Dumpsys&) = delete;

    // Works on a named object and on a temporary, and chains. Text goes straight into the line;
    // anything else is formatted by a std::ostream made on first need.
    template <typename T>
    Dumpsys& operator<<(const T& value) {
        using Value = std::decay_t<T>;
        if constexpr (std::is_same_v<Value, std::string> ||
                      std::is_same_v<Value, std::string_view>) {
            if (!stream_.has_value()) {
                line_.Append(value.data(), value.size());
                return *this;
            }
        } else if constexpr (std::is_array_v<T> &&
                             std::is_same_v<std::remove_cv_t<std::remove_extent_t<T>>, char>) {
            if (!stream_.has_value()) {
                const std::string_view text(value);
                line_.Append(text.data(), text.size());
                return *this;
            }
        } else if constexpr (std::is_same_v<Value, const char*> || std::is_same_v<Value, char*>) {
            // A null text puts the stream in a failed state, as std::ostream does.
            if (!stream_.has_value() && value != nullptr) {
                const std::string_view text(value);
                line_.Append(text.data(), text.size());
                return *this;
            }
        } else if constexpr (std::is_same_v<Value, char>) {
            if (!stream_.has_value()) {
                line_.Append(value);
                return *this;
            }
        }
        Stream() << value;
        return *this;
    }
    Dumpsys& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
        Stream() << manipulator;
        return *this;
    }
    Dumpsys& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
        Stream() << manipulator;
        return *this;
    }

    // The stream buffer that a section titled `title` writes into: the record's own, or a
    // process-wide buffer that discards everything when the filters do not admit the title.
    static std::streambuf* GetStreamBuffer(const DumpsysInfo& info, std::string_view title);

    // Whether the filters admit a section titled `title` (no filters, an empty title, or a filter
    // that is a prefix of the title).
    static bool IsAdmitted(const DumpsysInfo& info, std::string_view title);

    // Writes `text` as one or more untitled lines of at most 150 characters (146 for continuation
    // lines, which get four extra spaces), each starting with `prefix`, split after the last ", "
    // that fits or hard at the limit. Components call it with first == true.
    static void SplitInternal(const DumpsysInfo& info, std::string_view text, bool first,
                              std::string_view prefix);

  private:
    // The line's formatting stream, with booleans as words.
    std::ostream& Stream();

    // Where the line goes: the record's stream buffer, or one that discards it.
    std::streambuf* output_;
    internal::LineBuffer line_;
    std::optional<internal::LineStream> stream_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
