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

#include <cstdint>
#include <ios>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string_view>
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

}  // namespace internal

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
// one insertion. Not copyable; lives for one statement or block.
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

    // Works on a named object and on a temporary; returns the line's stream so insertions chain.
    template <typename T>
    std::ostream& operator<<(const T& value) {
        return buffer_stream_ << value;
    }
    std::ostream& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
        return buffer_stream_ << manipulator;
    }
    std::ostream& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
        return buffer_stream_ << manipulator;
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
    const DumpsysInfo& info_;
    std::ostream output_stream_;
    std::ostringstream buffer_stream_;
};

}  // namespace vendor::zentro::tevrash::audio::hal::utils::dumpsys
