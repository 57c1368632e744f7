#include "vell/io/source.h"

#include <bzlib.h>
#include <gtest/gtest.h>
#include <lzma.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <thread>

#include "tests/smtlib/script.h"

namespace vell::io {
namespace {

std::string read_all(Source& source) {
  std::string out;
  do out.append(source.begin(), source.end());
  while (source.refill(source.end()));
  return out;
}

// A directory of its own, removed with its files.
class SourceFiles : public testing::Test {
 protected:
  SourceFiles() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vell-source-XXXXXX").string();
    directory_ = ::mkdtemp(pattern.data());
  }
  ~SourceFiles() override { std::filesystem::remove_all(directory_); }
  std::string write(std::string const& name, std::string const& bytes) {
    std::string const path = (directory_ / name).string();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  // The message of the error that reading the file to its end gives, without the file's name.
  static std::string error(std::string const& path) {
    try {
      read_all(*Source::open(path));
    } catch (Error const& e) {
      std::string const what = e.what();
      EXPECT_EQ(what.rfind(path + ":", 0), 0u) << what;
      return what.substr(path.size() + 1);
    }
    return "";
  }
  std::filesystem::path directory_;
};

// Lines of many lengths.
std::string sample(std::size_t lines) {
  std::mt19937 random(1);
  std::string s;
  for (std::size_t i = 0; i < lines; ++i) {
    std::size_t const length = random() % (i % 97 == 0 ? 3000 : 60);
    s += std::string(length, static_cast<char>('a' + i % 26)) + '\n';
  }
  return s + "last line";
}

std::string gzip(std::string const& text) {
  z_stream z{};
  EXPECT_EQ(deflateInit2(&z, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string out(deflateBound(&z, text.size()) + 64, '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  z.avail_in = static_cast<uInt>(text.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
  out.resize(z.total_out);
  deflateEnd(&z);
  return out;
}
std::string bzip2(std::string const& text) {
  std::string out(text.size() + text.size() / 100 + 1000, '\0');
  unsigned size = static_cast<unsigned>(out.size());
  EXPECT_EQ(BZ2_bzBuffToBuffCompress(out.data(), &size, const_cast<char*>(text.data()),
                                     static_cast<unsigned>(text.size()), 9, 0, 0),
            BZ_OK);
  out.resize(size);
  return out;
}
std::string xz(std::string const& text) {
  std::string out(lzma_stream_buffer_bound(text.size()), '\0');
  std::size_t at = 0;
  EXPECT_EQ(lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr,
                                    reinterpret_cast<std::uint8_t const*>(text.data()), text.size(),
                                    reinterpret_cast<std::uint8_t*>(out.data()), &at, out.size()),
            LZMA_OK);
  out.resize(at);
  return out;
}
std::string zstd(std::string const& text) {
  std::string out(ZSTD_compressBound(text.size()), '\0');
  std::size_t const n = ZSTD_compress(out.data(), out.size(), text.data(), text.size(), 3);
  EXPECT_EQ(ZSTD_isError(n), 0u);
  out.resize(n);
  return out;
}

struct Format {
  char const* name;
  std::string (*compress)(std::string const&);
};
constexpr Format formats[] = {{"gzip", gzip}, {"bzip2", bzip2}, {"xz", xz}, {"zstd", zstd}};

TEST_F(SourceFiles, PlainFileIsOneWindow) {
  std::string const text = sample(5000);
  auto const source = Source::open(write("a.smt2", text));
  EXPECT_EQ(std::string(source->begin(), source->end()), text);
  EXPECT_FALSE(source->refill(source->end()));
}

TEST_F(SourceFiles, EmptyFile) { EXPECT_EQ(read_all(*Source::open(write("a", ""))), ""); }

TEST_F(SourceFiles, CannotBeRead) {
  std::string const missing = (directory_ / "missing.smt2").string();
  EXPECT_EQ(error(missing), "1:1: cannot read: No such file or directory");
  EXPECT_EQ(error(directory_.string()), "1:1: cannot read: Is a directory");
  std::string const locked = write("locked", "(exit)");
  ::chmod(locked.c_str(), 0);
  if (::geteuid() != 0) {  // root reads everything
    EXPECT_EQ(error(locked), "1:1: cannot read: Permission denied");
  }
}

TEST_F(SourceFiles, Compressed) {
  std::string const text = sample(30000);
  for (Format const& f : formats) {
    EXPECT_EQ(read_all(*Source::open(write(f.name, f.compress(text)))), text) << f.name;
    EXPECT_EQ(read_all(*Source::open(write(f.name, f.compress("")))), "") << f.name;
    EXPECT_EQ(read_all(*Source::open(write(f.name, f.compress("ab") + f.compress("") + f.compress("cd")))),
              "abcd")
        << f.name;
  }
}

TEST_F(SourceFiles, CompressedInSmallBlocks) {
  std::string const text = sample(20);
  for (Format const& f : formats) EXPECT_EQ(read_all(*Source::blocks(f.compress(text), 1)), text) << f.name;
}

// Wherever the data is cut off, there is an error, and never a shorter text.
TEST_F(SourceFiles, CutOff) {
  std::string const text = sample(300);
  for (Format const& f : formats) {
    std::string const whole = f.compress(text);
    for (std::size_t n = 6; n < whole.size(); n += n < 40 || n + 40 > whole.size() ? 1 : 37) {
      std::string const e = error(write(f.name, whole.substr(0, n)));
      EXPECT_NE(e.find(std::string("cannot read the ") + f.name + " data: "), std::string::npos)
          << n << " " << e;
    }
  }
}

TEST_F(SourceFiles, Damaged) {
  std::string const text = sample(300);
  for (Format const& f : formats) {
    std::string bytes = f.compress(text);
    for (std::size_t i = bytes.size() / 2; i < bytes.size() / 2 + 20; ++i)
      bytes[i] = static_cast<char>(~bytes[i]);
    std::string const e = error(write(f.name, bytes));
    // Zstandard has no checksum unless asked for one; the others always notice.
    if (std::string(f.name) != "zstd") {
      EXPECT_NE(e.find(std::string("cannot read the ") + f.name + " data: "), std::string::npos) << e;
    }
    EXPECT_NE(error(write(f.name, f.compress(text) + "trailing")), "") << f.name;
  }
}

TEST_F(SourceFiles, PipesAreStreamed) {
  std::string const text = sample(20000);
  for (std::string const& bytes : {text, gzip(text), xz(text)}) {
    std::string const path = (directory_ / "pipe").string();
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(path, std::ios::binary) << bytes; });
    EXPECT_EQ(read_all(*Source::open(path)), text);
    writer.join();
    std::filesystem::remove(path);
  }
}

// ---- positions ----

Position slow_position(std::string const& text, std::size_t offset) {
  Position p;
  for (std::size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n')
      ++p.line, p.column = 1;
    else
      ++p.column;
  }
  return p;
}

void check_positions(Source& source, std::string const& text, std::vector<std::size_t> const& offsets) {
  for (std::size_t o : offsets) {
    Position const got = source.position(o);
    Position const expected = slow_position(text, o);
    ASSERT_EQ(got.line, expected.line) << o;
    ASSERT_EQ(got.column, expected.column) << o;
  }
}

TEST(SourcePositions, EveryOffset) {
  std::string const text = "\n\na\r\nbc\n" + std::string(200, 'x') + "\n\nlast";
  std::vector<std::size_t> offsets;
  for (std::size_t i = 0; i <= text.size(); ++i) offsets.push_back(i);
  for (std::size_t i = text.size() + 1; i-- > 0;) offsets.push_back(i);
  check_positions(*Source::text(text), text, offsets);
  for (std::size_t block : {1, 2, 7, 1000}) {
    auto const source = Source::blocks(text, block);
    while (source->refill(source->end())) {
    }
    check_positions(*source, text, offsets);
  }
}

// More lines than the index has between two of its marks, asked for in any order.
TEST(SourcePositions, ManyLines) {
  std::string const text = sample(20000);
  std::mt19937 random(7);
  std::vector<std::size_t> offsets;
  for (int i = 0; i < 100; ++i) offsets.push_back(random() % (text.size() + 1));
  check_positions(*Source::text(text), text, offsets);
  auto const source = Source::blocks(text, 1000);
  while (source->refill(source->end())) {
  }
  check_positions(*source, text, offsets);
}

TEST(SourceBlocks, KeepsWhatIsAskedFor) {
  auto const source = Source::blocks("abcdefgh", 3);
  ASSERT_TRUE(source->refill(source->begin()));
  EXPECT_EQ(std::string(source->begin(), source->end()), "abc");
  ASSERT_TRUE(source->refill(source->begin() + 1));
  EXPECT_EQ(std::string(source->begin(), source->end()), "bcdef");
  EXPECT_EQ(source->offset(), 1u);
  ASSERT_TRUE(source->refill(source->end()));
  EXPECT_EQ(std::string(source->begin(), source->end()), "gh");
  EXPECT_EQ(source->offset(), 6u);
  EXPECT_FALSE(source->refill(source->begin()));
  EXPECT_EQ(std::string(source->begin(), source->end()), "gh");
}

}  // namespace
}  // namespace vell::io
