// The four stream compressors behind one interface.

#include <bzlib.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "vell/io/outputfile.h"
#include "vell/terms/exception.h"

namespace vell::io {

namespace {

constexpr std::size_t block = std::size_t{1} << 16;

[[noreturn]] void failed(char const* what) { throw OutputError(std::string(what) + ": compression failed"); }

class Gzip : public Compressor {
 public:
  explicit Gzip(ByteOutput& out) : out_(out), buffer_(block) {
    // 16 more window bits ask for a gzip header; its time stamp is zero.
    if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
      failed("gzip");
  }
  ~Gzip() override { deflateEnd(&stream_); }
  void write(char const* data, std::size_t size) override {
    while (size != 0) {
      std::size_t const part = std::min(size, std::size_t{1} << 30);
      stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
      stream_.avail_in = static_cast<uInt>(part);
      while (stream_.avail_in != 0) step(Z_NO_FLUSH);
      data += part;
      size -= part;
    }
  }
  void finish() override {
    while (step(Z_FINISH) != Z_STREAM_END) {
    }
  }

 private:
  int step(int flush) {
    stream_.next_out = reinterpret_cast<Bytef*>(buffer_.data());
    stream_.avail_out = block;
    int const status = deflate(&stream_, flush);
    if (status == Z_STREAM_ERROR) failed("gzip");
    out_.write(buffer_.data(), block - stream_.avail_out);
    return status;
  }
  ByteOutput& out_;
  std::vector<char> buffer_;
  z_stream stream_{};
};

class Bzip2 : public Compressor {
 public:
  explicit Bzip2(ByteOutput& out) : out_(out), buffer_(block) {
    if (BZ2_bzCompressInit(&stream_, 9, 0, 0) != BZ_OK) failed("bzip2");
  }
  ~Bzip2() override { BZ2_bzCompressEnd(&stream_); }
  void write(char const* data, std::size_t size) override {
    while (size != 0) {
      std::size_t const part = std::min(size, std::size_t{1} << 30);
      stream_.next_in = const_cast<char*>(data);
      stream_.avail_in = static_cast<unsigned>(part);
      while (stream_.avail_in != 0) step(BZ_RUN);
      data += part;
      size -= part;
    }
  }
  void finish() override {
    while (step(BZ_FINISH) != BZ_STREAM_END) {
    }
  }

 private:
  int step(int action) {
    stream_.next_out = buffer_.data();
    stream_.avail_out = block;
    int const status = BZ2_bzCompress(&stream_, action);
    if (status < 0) failed("bzip2");
    out_.write(buffer_.data(), block - stream_.avail_out);
    return status;
  }
  ByteOutput& out_;
  std::vector<char> buffer_;
  bz_stream stream_{};
};

class Xz : public Compressor {
 public:
  explicit Xz(ByteOutput& out) : out_(out), buffer_(block) {
    if (lzma_easy_encoder(&stream_, 6, LZMA_CHECK_CRC64) != LZMA_OK) failed("xz");
  }
  ~Xz() override { lzma_end(&stream_); }
  void write(char const* data, std::size_t size) override {
    stream_.next_in = reinterpret_cast<std::uint8_t const*>(data);
    stream_.avail_in = size;
    while (stream_.avail_in != 0) step(LZMA_RUN);
  }
  void finish() override {
    while (step(LZMA_FINISH) != LZMA_STREAM_END) {
    }
  }

 private:
  lzma_ret step(lzma_action action) {
    stream_.next_out = reinterpret_cast<std::uint8_t*>(buffer_.data());
    stream_.avail_out = block;
    lzma_ret const status = lzma_code(&stream_, action);
    if (status != LZMA_OK && status != LZMA_STREAM_END) failed("xz");
    out_.write(buffer_.data(), block - stream_.avail_out);
    return status;
  }
  ByteOutput& out_;
  std::vector<char> buffer_;
  lzma_stream stream_ = LZMA_STREAM_INIT;
};

class Zstd : public Compressor {
 public:
  explicit Zstd(ByteOutput& out) : out_(out), buffer_(block), context_(ZSTD_createCCtx()) {
    if (context_ == nullptr) failed("zstd");
  }
  ~Zstd() override { ZSTD_freeCCtx(context_); }
  void write(char const* data, std::size_t size) override {
    ZSTD_inBuffer in{data, size, 0};
    while (in.pos != in.size) step(in, ZSTD_e_continue);
  }
  void finish() override {
    ZSTD_inBuffer in{nullptr, 0, 0};
    while (step(in, ZSTD_e_end) != 0) {
    }
  }

 private:
  std::size_t step(ZSTD_inBuffer& in, ZSTD_EndDirective action) {
    ZSTD_outBuffer to{buffer_.data(), block, 0};
    std::size_t const left = ZSTD_compressStream2(context_, &to, &in, action);
    if (ZSTD_isError(left) != 0) failed("zstd");
    out_.write(buffer_.data(), to.pos);
    return left;
  }
  ByteOutput& out_;
  std::vector<char> buffer_;
  ZSTD_CCtx* context_;
};

}  // namespace

std::unique_ptr<Compressor> make_compressor(std::string const& path, ByteOutput& out) {
  if (path.ends_with(".gz")) return std::make_unique<Gzip>(out);
  if (path.ends_with(".bz2")) return std::make_unique<Bzip2>(out);
  if (path.ends_with(".xz")) return std::make_unique<Xz>(out);
  if (path.ends_with(".zst")) return std::make_unique<Zstd>(out);
  return nullptr;
}

}  // namespace vell::io
