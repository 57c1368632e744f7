// Each decoder moves bytes from an input buffer to the caller's buffer. They differ in the library call and
// in how the library reports the end of a member. Decoder::read holds what is common to all: further members
// may follow, other data may not, and input that ends inside a member is an error.

#include "vell/io/decompress.h"

#include <bzlib.h>
#include <lzma.h>
#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace vell::io {

namespace {

class Descriptor final : public ByteStream {
 public:
  Descriptor(int fd, bool owned) : fd_(fd), owned_(owned) {}
  ~Descriptor() override {
    if (owned_) ::close(fd_);
  }
  std::size_t read(char* out, std::size_t n) override {
    for (;;) {
      ssize_t const got = ::read(fd_, out, n);
      if (got >= 0) return static_cast<std::size_t>(got);
      if (errno != EINTR) throw StreamError(std::string("cannot read: ") + std::strerror(errno));
    }
  }

 private:
  int fd_;
  bool owned_;
};

// A stream whose first bytes have been read already.
class Rewound final : public ByteStream {
 public:
  Rewound(std::string head, std::unique_ptr<ByteStream> rest)
      : head_(std::move(head)), rest_(std::move(rest)) {}
  std::size_t read(char* out, std::size_t n) override {
    if (at_ == head_.size()) return rest_->read(out, n);
    std::size_t const got = std::min(n, head_.size() - at_);
    std::memcpy(out, head_.data() + at_, got);
    at_ += got;
    return got;
  }

 private:
  std::string head_;
  std::size_t at_ = 0;
  std::unique_ptr<ByteStream> rest_;
};

class Decoder : public ByteStream {
 public:
  Decoder(char const* format, std::unique_ptr<ByteStream> input)
      : format_(format), input_(std::move(input)) {}

  std::size_t read(char* out, std::size_t n) override {
    std::size_t written = 0;
    while (written == 0) {
      if (in_size_ == 0 && !input_ended_) {
        in_ = buffer_.data();
        in_size_ = input_->read(buffer_.data(), buffer_.size());
        input_ended_ = in_size_ == 0;
      }
      if (!inside_member_) {
        if (in_size_ == 0) return 0;
        start_member();
        inside_member_ = true;
      }
      std::size_t const before = in_size_;
      if (step(out, n, written)) {
        inside_member_ = false;
      } else if (written == 0 && in_size_ == before && input_ended_) {
        fail("it is cut off");
      }
    }
    return written;
  }

 protected:
  // Begins a member at in_.
  virtual void start_member() = 0;
  // Moves bytes from [in_, in_ + in_size_), which it shortens, to out, `written` of them; true when the
  // member ended. Without input it returns the bytes that are still buffered.
  virtual bool step(char* out, std::size_t n, std::size_t& written) = 0;

  [[noreturn]] void fail(std::string const& why) const {
    throw StreamError(std::string("cannot read the ") + format_ + " data: " + why);
  }

  char* in_ = nullptr;
  std::size_t in_size_ = 0;

 private:
  char const* format_;
  std::unique_ptr<ByteStream> input_;
  std::vector<char> buffer_ = std::vector<char>(std::size_t{1} << 16);
  bool input_ended_ = false;
  bool inside_member_ = false;
};

unsigned clipped(std::size_t n) { return static_cast<unsigned>(std::min<std::size_t>(n, 1u << 30)); }

class Gzip final : public Decoder {
 public:
  explicit Gzip(std::unique_ptr<ByteStream> input) : Decoder("gzip", std::move(input)) {
    if (inflateInit2(&z_, 15 + 16) != Z_OK) throw std::bad_alloc();  // 16: with gzip's header, no other
  }
  ~Gzip() override { inflateEnd(&z_); }

 private:
  void start_member() override { inflateReset(&z_); }
  bool step(char* out, std::size_t n, std::size_t& written) override {
    z_.next_in = reinterpret_cast<Bytef*>(in_);
    z_.avail_in = clipped(in_size_);
    z_.next_out = reinterpret_cast<Bytef*>(out);
    z_.avail_out = clipped(n);
    int const code = inflate(&z_, Z_NO_FLUSH);
    std::size_t const used = static_cast<std::size_t>(reinterpret_cast<char*>(z_.next_in) - in_);
    in_ += used;
    in_size_ -= used;
    written = static_cast<std::size_t>(reinterpret_cast<char*>(z_.next_out) - out);
    if (code == Z_STREAM_END) return true;
    if (code != Z_OK && code != Z_BUF_ERROR) fail(z_.msg != nullptr ? z_.msg : "it is damaged");
    return false;
  }

  z_stream z_{};
};

class Bzip2 final : public Decoder {
 public:
  explicit Bzip2(std::unique_ptr<ByteStream> input) : Decoder("bzip2", std::move(input)) {}
  ~Bzip2() override { BZ2_bzDecompressEnd(&z_); }

 private:
  void start_member() override {
    BZ2_bzDecompressEnd(&z_);
    z_ = {};
    if (BZ2_bzDecompressInit(&z_, 0, 0) != BZ_OK) throw std::bad_alloc();
  }
  bool step(char* out, std::size_t n, std::size_t& written) override {
    z_.next_in = in_;
    z_.avail_in = clipped(in_size_);
    z_.next_out = out;
    z_.avail_out = clipped(n);
    int const code = BZ2_bzDecompress(&z_);
    std::size_t const used = static_cast<std::size_t>(z_.next_in - in_);
    in_ += used;
    in_size_ -= used;
    written = static_cast<std::size_t>(z_.next_out - out);
    if (code == BZ_STREAM_END) return true;
    if (code != BZ_OK) fail("it is damaged");
    return false;
  }

  bz_stream z_{};
};

class Xz final : public Decoder {
 public:
  explicit Xz(std::unique_ptr<ByteStream> input) : Decoder("xz", std::move(input)) {}
  ~Xz() override { lzma_end(&z_); }

 private:
  void start_member() override {
    if (lzma_stream_decoder(&z_, UINT64_MAX, 0) != LZMA_OK) throw std::bad_alloc();
  }
  bool step(char* out, std::size_t n, std::size_t& written) override {
    z_.next_in = reinterpret_cast<std::uint8_t*>(in_);
    z_.avail_in = in_size_;
    z_.next_out = reinterpret_cast<std::uint8_t*>(out);
    z_.avail_out = n;
    lzma_ret const code = lzma_code(&z_, LZMA_RUN);
    in_ += in_size_ - z_.avail_in;
    in_size_ = z_.avail_in;
    written = n - z_.avail_out;
    if (code == LZMA_STREAM_END) return true;
    if (code == LZMA_MEM_ERROR) throw std::bad_alloc();
    if (code != LZMA_OK && code != LZMA_BUF_ERROR) fail("it is damaged");
    return false;
  }

  lzma_stream z_ = LZMA_STREAM_INIT;
};

class Zstd final : public Decoder {
 public:
  explicit Zstd(std::unique_ptr<ByteStream> input)
      : Decoder("zstd", std::move(input)), z_(ZSTD_createDStream()) {
    if (z_ == nullptr) throw std::bad_alloc();
    ZSTD_DCtx_setParameter(z_, ZSTD_d_windowLogMax, 31);  // what `zstd --long=31` writes
  }
  ~Zstd() override { ZSTD_freeDStream(z_); }

 private:
  void start_member() override { ZSTD_DCtx_reset(z_, ZSTD_reset_session_only); }
  bool step(char* out, std::size_t n, std::size_t& written) override {
    ZSTD_inBuffer in{in_, in_size_, 0};
    ZSTD_outBuffer to{out, n, 0};
    std::size_t const code = ZSTD_decompressStream(z_, &to, &in);
    in_ += in.pos;
    in_size_ -= in.pos;
    written = to.pos;
    if (ZSTD_isError(code) != 0) fail(ZSTD_getErrorName(code));
    return code == 0;
  }

  ZSTD_DStream* z_;
};

enum class Format { none, gzip, bzip2, xz, zstd };

Format format_of(std::string_view head) {
  using namespace std::string_view_literals;
  if (head.starts_with("\x1f\x8b"sv)) return Format::gzip;
  if (head.starts_with("BZh"sv)) return Format::bzip2;
  if (head.starts_with("\xfd"
                       "7zXZ\0"sv))
    return Format::xz;
  if (head.starts_with("\x28\xb5\x2f\xfd"sv)) return Format::zstd;
  return Format::none;
}

constexpr std::size_t magic_bytes = 6;

}  // namespace

std::unique_ptr<ByteStream> read_descriptor(int fd, bool owned) {
  return std::make_unique<Descriptor>(fd, owned);
}

bool is_compressed(std::string_view first_bytes) { return format_of(first_bytes) != Format::none; }

std::unique_ptr<ByteStream> decompressed(std::unique_ptr<ByteStream> input) {
  std::string head(magic_bytes, '\0');
  std::size_t got = 0;
  while (got < head.size()) {
    std::size_t const n = input->read(head.data() + got, head.size() - got);
    if (n == 0) break;
    got += n;
  }
  head.resize(got);
  Format const format = format_of(head);
  std::unique_ptr<ByteStream> whole = std::make_unique<Rewound>(std::move(head), std::move(input));
  switch (format) {
    case Format::gzip: return std::make_unique<Gzip>(std::move(whole));
    case Format::bzip2: return std::make_unique<Bzip2>(std::move(whole));
    case Format::xz: return std::make_unique<Xz>(std::move(whole));
    case Format::zstd: return std::make_unique<Zstd>(std::move(whole));
    case Format::none: break;
  }
  return whole;
}

}  // namespace vell::io
