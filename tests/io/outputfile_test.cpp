#include "vell/io/outputfile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/scratch.h"
#include "vell/io/source.h"

namespace vell::io {
namespace {

std::string sample() {
  std::string s;
  for (int i = 0; i < 200000; ++i) s += std::to_string(i * 7919) + " 0\n";
  return s;
}

TEST(OutputFile, AppearsWholeOrNotAtAll) {
  test::Scratch scratch;
  {
    OutputFile f(scratch.file("a"));
    f.write("half", 4);
  }
  EXPECT_EQ(0u, scratch.files());
  {
    OutputFile f(scratch.file("a"));
    f.write("whole", 5);
    EXPECT_FALSE(std::filesystem::exists(scratch.file("a")));
    f.commit();
  }
  EXPECT_EQ("whole", scratch.read("a"));
  EXPECT_EQ(1u, scratch.files());
  {
    OutputFile f(scratch.file("a"));
    f.write("other", 5);
  }
  EXPECT_EQ("whole", scratch.read("a"));
  EXPECT_EQ(1u, scratch.files());
}

TEST(OutputFile, CompressedBySuffix) {
  test::Scratch scratch;
  std::string const text = sample();
  for (char const* suffix : {".gz", ".xz", ".zst", ".bz2"}) {
    std::string const path = scratch.file(std::string("f") + suffix);
    for (int i = 0; i < 2; ++i) {
      OutputFile f(path + (i == 0 ? "" : std::string(".again") + suffix));
      for (std::size_t at = 0; at < text.size(); at += 60000)
        f.write(text.data() + at, std::min<std::size_t>(60000, text.size() - at));
      f.commit();
    }
    EXPECT_LT(std::filesystem::file_size(path), text.size() / 2);
    // Read back by the script reader's decompression.
    auto const source = Source::open(path);
    std::string back(source->begin(), source->end());
    while (source->refill(source->end())) back.append(source->begin(), source->end());
    EXPECT_EQ(text, back) << suffix;
    EXPECT_EQ(scratch.read(std::string("f") + suffix),
              scratch.read(std::string("f") + suffix + ".again" + suffix));
  }
}

TEST(OutputFile, EmptyCompressedFilesAreValid) {
  test::Scratch scratch;
  OutputFile f(scratch.file("f.gz"));
  f.commit();
  auto const source = Source::open(scratch.file("f.gz"));
  EXPECT_FALSE(source->begin() == source->end() && source->refill(source->end()));
}

TEST(OutputFile, KeepsModeAndLinks) {
  test::Scratch scratch;
  std::string const path = scratch.write("a", "old");
  chmod(path.c_str(), 0640);
  std::filesystem::create_symlink("a", scratch.file("link"));
  {
    OutputFile f(scratch.file("link"));
    f.write("new", 3);
    f.commit();
  }
  EXPECT_TRUE(std::filesystem::is_symlink(scratch.file("link")));
  EXPECT_EQ("new", scratch.read("a"));
  struct stat info {};
  ASSERT_EQ(0, stat(path.c_str(), &info));
  EXPECT_EQ(0640u, info.st_mode & 0777u);
}

TEST(OutputFile, WhatCannotBeWrittenIsNamed) {
  test::Scratch scratch;
  auto message = [](std::string const& path) {
    try {
      OutputFile f(path);
      std::string const block(1 << 20, 'x');
      f.write(block.data(), block.size());
      f.commit();
      return std::string("none");
    } catch (OutputError const& e) {
      return std::string(e.what());
    }
  };
  EXPECT_EQ("/no/such/folder/f: No such file or directory", message("/no/such/folder/f"));
  EXPECT_EQ(scratch.file(".") + ": Is a directory", message(scratch.file(".")));
  EXPECT_EQ("/dev/full: No space left on device", message("/dev/full"));
  EXPECT_EQ("none", message("/dev/null"));
}

}  // namespace
}  // namespace vell::io
