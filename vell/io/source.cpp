// A text or a mapping is one window over all bytes; positions are counted on demand. The window of a stream
// moves, so the stream records where its lines begin: the lengths of all lines in a variable-length code,
// about one byte per line, with an index entry every 4096 lines.

#include "vell/io/source.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "vell/io/decompress.h"

namespace vell::io {

namespace {

// The number of line feeds. Lines are long enough for memchr to be faster than a loop over the bytes.
std::uint64_t lines_in(char const* p, std::size_t n) {
  std::uint64_t lines = 0;
  char const* const end = p + n;
  while (p != end) {
    p = static_cast<char const*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
    if (p == nullptr) break;
    ++p;
    ++lines;
  }
  return lines;
}

// All bytes at once.
class WholeSource : public Source {
 public:
  WholeSource(std::string_view text, std::string name) {
    name_ = std::move(name);
    begin_ = text.data();
    end_ = text.data() + text.size();
    first_ = begin_;
    size_ = text.size();
  }

  bool refill(char const* keep) override {
    offset_ += static_cast<std::uint64_t>(keep - begin_);
    begin_ = keep;
    return false;
  }

  // Continues from the last requested position: commands request theirs in order, and one line may hold very
  // many.
  Position position(std::uint64_t offset) const override {
    if (offset < seen_) seen_ = 0, line_ = 1, line_start_ = 0;
    std::size_t const n = static_cast<std::size_t>(offset - seen_);
    char const* const from = first_ + seen_;
    void const* const newline = n == 0 ? nullptr : ::memrchr(from, '\n', n);
    if (newline != nullptr) {
      line_ += lines_in(from, n);
      line_start_ = static_cast<std::uint64_t>(static_cast<char const*>(newline) + 1 - first_);
    }
    seen_ = offset;
    return {line_, offset - line_start_ + 1};
  }

  std::string_view line_at(std::uint64_t offset) const override { return line_in(first_, 0, end_, offset); }

 protected:
  char const* first_;

 private:
  mutable std::uint64_t seen_ = 0;
  mutable std::uint64_t line_ = 1;
  mutable std::uint64_t line_start_ = 0;
};

class MappedSource final : public WholeSource {
 public:
  MappedSource(void* memory, std::size_t size, std::string name)
      : WholeSource({static_cast<char const*>(memory), size}, std::move(name)), memory_(memory) {}
  ~MappedSource() override { ::munmap(memory_, size_); }

 private:
  void* memory_;
};

// The beginnings of the lines seen so far.
class LineIndex {
 public:
  void add(char const* bytes, std::size_t n) {
    for (char const* p = bytes;;) {
      std::size_t const left = static_cast<std::size_t>(bytes + n - p);
      char const* const newline = left == 0 ? nullptr : static_cast<char const*>(std::memchr(p, '\n', left));
      if (newline == nullptr) break;
      add_line(seen_ + static_cast<std::uint64_t>(newline + 1 - bytes));
      p = newline + 1;
    }
    seen_ += n;
  }

  // Continues from the last requested line if possible.
  Position position(std::uint64_t offset) const {
    if (offset < last_.start || offset - last_.start > far) {
      auto const after = std::upper_bound(marks_.begin(), marks_.end(), offset,
                                          [](std::uint64_t o, Mark const& m) { return o < m.start; });
      last_ = after == marks_.begin() ? Mark{} : *(after - 1);
    }
    for (std::size_t at = last_.at; at < lengths_.size();) {
      std::uint64_t length = 0;
      for (unsigned shift = 0;; shift += 7) {
        std::uint8_t const b = lengths_[at++];
        length |= std::uint64_t{b & 127u} << shift;
        if (b < 128) break;
      }
      if (offset - last_.start < length) break;
      last_ = {last_.start + length, last_.line + 1, at};
    }
    return {last_.line + 1, offset - last_.start + 1};
  }

 private:
  static constexpr std::uint64_t lines_per_mark = 4096;
  static constexpr std::uint64_t far = 1 << 16;  // bytes; further on the marks are asked
  // A line: its offset, its number from 0, and where the code of its length begins.
  struct Mark {
    std::uint64_t start = 0;
    std::uint64_t line = 0;
    std::size_t at = 0;
  };

  void add_line(std::uint64_t next_start) {
    std::uint64_t length = next_start - last_start_;
    for (; length >= 128; length >>= 7) lengths_.push_back(static_cast<std::uint8_t>(length | 128));
    lengths_.push_back(static_cast<std::uint8_t>(length));
    last_start_ = next_start;
    if (++lines_ % lines_per_mark == 0) marks_.push_back({next_start, lines_, lengths_.size()});
  }

  std::vector<std::uint8_t>
      lengths_;  // of each line with its newline, low 7 bits first, 128 set but on the last
  std::vector<Mark> marks_;
  mutable Mark last_;
  std::uint64_t seen_ = 0;
  std::uint64_t lines_ = 0;
  std::uint64_t last_start_ = 0;
};

class StreamSource final : public Source {
 public:
  // Asks for `block` bytes at a time.
  StreamSource(std::unique_ptr<ByteStream> stream, std::size_t block, std::string name)
      : stream_(std::move(stream)), block_(block), buffer_(block) {
    name_ = std::move(name);
    begin_ = end_ = buffer_.data();
  }

  bool refill(char const* keep) override {
    std::size_t const kept = static_cast<std::size_t>(end_ - keep);
    offset_ += static_cast<std::uint64_t>(keep - begin_);
    if (kept + block_ > buffer_.size()) {
      std::vector<char> larger(std::max(kept + block_, 2 * kept));
      std::copy(keep, end_, larger.data());
      buffer_.swap(larger);
    } else {
      std::copy(keep, end_, buffer_.data());
    }
    begin_ = buffer_.data();
    end_ = begin_ + kept;
    std::size_t got = 0;
    try {
      got = stream_->read(buffer_.data() + kept, block_);
    } catch (StreamError const& e) {
      throw Error(name_, position(offset_ + kept), e.what());
    }
    lines_.add(end_, got);
    end_ += got;
    return got != 0;
  }

  Position position(std::uint64_t offset) const override { return lines_.position(offset); }

 private:
  std::unique_ptr<ByteStream> stream_;
  std::size_t block_;
  std::vector<char> buffer_;
  LineIndex lines_;
};

class TextStream final : public ByteStream {
 public:
  explicit TextStream(std::string_view text) : text_(text) {}
  std::size_t read(char* out, std::size_t n) override {
    std::size_t const got = std::min(n, text_.size());
    std::copy_n(text_.data(), got, out);
    text_.remove_prefix(got);
    return got;
  }

 private:
  std::string_view text_;
};

constexpr std::size_t stream_block = std::size_t{1} << 18;

[[noreturn]] void cannot_read(std::string const& name, int code) {
  throw Error(name, {}, std::string("cannot read: ") + std::strerror(code));
}

// Bytes at the start of a regular file.
std::string peek(int fd, std::size_t n) {
  std::string head(n, '\0');
  ssize_t const got = ::pread(fd, head.data(), n, 0);
  head.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return head;
}

}  // namespace

std::string_view Source::line_in(char const* first, std::uint64_t from, char const* end,
                                 std::uint64_t offset) const {
  constexpr std::ptrdiff_t longest = 1 << 16;  // bytes; messages show less
  std::uint64_t const start = offset - (position(offset).column - 1);
  if (start < from || first == nullptr || start - from > static_cast<std::uint64_t>(end - first)) return {};
  char const* const p = first + (start - from);
  char const* const stop = end - p > longest ? p + longest : end;
  return {p,
          static_cast<std::size_t>(std::find_if(p, stop, [](char c) { return c == '\n' || c == '\r'; }) - p)};
}

std::unique_ptr<Source> Source::open(std::string const& path) {
  bool const standard_input = path == "-";
  std::string const name = standard_input ? "<stdin>" : path;
  int const fd = standard_input ? 0 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) cannot_read(name, errno);
  std::unique_ptr<ByteStream> stream = read_descriptor(fd, !standard_input);

  struct stat info {};
  if (::fstat(fd, &info) != 0) cannot_read(name, errno);
  if (S_ISDIR(info.st_mode)) cannot_read(name, EISDIR);
  if (!standard_input && S_ISREG(info.st_mode) && info.st_size > 0 && !is_compressed(peek(fd, 6))) {
    std::size_t const size = static_cast<std::size_t>(info.st_size);
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (memory != MAP_FAILED) {
      ::madvise(memory, size, MADV_SEQUENTIAL);
      return std::make_unique<MappedSource>(memory, size, name);
    }
    // If the file system cannot map files, the file is streamed.
  }
  try {
    stream = decompressed(std::move(stream));
  } catch (StreamError const& e) {
    throw Error(name, {}, e.what());
  }
  return std::make_unique<StreamSource>(std::move(stream), stream_block, name);
}

std::unique_ptr<Source> Source::text(std::string_view text, std::string name) {
  return std::make_unique<WholeSource>(text, std::move(name));
}

std::unique_ptr<Source> Source::blocks(std::string_view text, std::size_t block, std::string name) {
  return std::make_unique<StreamSource>(decompressed(std::make_unique<TextStream>(text)), block,
                                        std::move(name));
}

std::unique_ptr<Source> Source::stream(std::unique_ptr<ByteStream> stream, std::string name) {
  return std::make_unique<StreamSource>(std::move(stream), stream_block, std::move(name));
}

}  // namespace vell::io
