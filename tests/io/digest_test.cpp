#include "vell/io/digest.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/support/scratch.h"
#include "vell/terms/exception.h"

namespace vell::io {
namespace {

// The examples of FIPS 180-2.
constexpr char const* digest_of_nothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr char const* digest_of_abc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr char const* digest_of_a_million_a =
    "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";

// Standard input while the object lives.
class Input {
 public:
  explicit Input(int fd) : saved_(dup(STDIN_FILENO)) {
    dup2(fd, STDIN_FILENO);
    close(fd);
  }
  ~Input() {
    if (saved_ < 0) return;
    dup2(saved_, STDIN_FILENO);
    close(saved_);
  }
  Input(Input const&) = delete;
  Input& operator=(Input const&) = delete;

 private:
  int saved_;
};

std::string rest_of_input() {
  std::string text;
  char block[4096];
  for (ssize_t n; (n = read(STDIN_FILENO, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(n));
  return text;
}

// The message of the exception; "" if there is none.
std::string problem(std::string const& path) {
  try {
    input_digest(path);
  } catch (Exception const& e) {
    return e.what();
  }
  return "";
}

TEST(Digest, OfFiles) {
  test::Scratch s;
  EXPECT_EQ(input_digest(s.write("nothing", "")), digest_of_nothing);
  EXPECT_EQ(input_digest(s.write("abc", "abc")), digest_of_abc);
  // In more than one block.
  std::string const large(3'000'000, 'a');
  EXPECT_EQ(input_digest(s.write("million", large.substr(0, 1'000'000))), digest_of_a_million_a);
  EXPECT_NE(input_digest(s.write("large", large)), input_digest(s.write("longer", large + "a")));
}

TEST(Digest, OfTheBytesAsTheyLie) {
  test::Scratch s;
  EXPECT_NE(input_digest(s.write("lf", "a\n")), input_digest(s.write("crlf", "a\r\n")));
  EXPECT_NE(input_digest(s.write("nul", std::string("a\0b", 3))), input_digest(s.write("cut", "a")));
}

TEST(Digest, StandardInputCanBeReadOnceMore) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(write(ends[1], "abc", 3), 3);
  close(ends[1]);
  Input const input(ends[0]);
  EXPECT_EQ(input_digest("-"), digest_of_abc);
  EXPECT_EQ(rest_of_input(), "abc");
}

TEST(Digest, StandardInputOfManyBlocks) {
  test::Scratch s;
  std::string text;
  for (int i = 0; text.size() < 3'000'000; ++i) text += std::to_string(i) + " ";
  std::string const file = s.write("text", text);
  Input const input(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(input_digest("-"), input_digest(file));
  EXPECT_EQ(rest_of_input(), text);
}

TEST(Digest, StandardInputFromWhereItStands) {
  test::Scratch s;
  Input const input(open(s.write("text", "skip abc").c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(lseek(STDIN_FILENO, 5, SEEK_SET), 5);
  EXPECT_EQ(input_digest("-"), digest_of_abc);
  EXPECT_EQ(rest_of_input(), "abc");
}

TEST(Digest, ProblemsNameTheFile) {
  test::Scratch s;
  EXPECT_EQ(problem(s.file("none")), s.file("none") + ":1:1: cannot read: No such file or directory");
  EXPECT_EQ(problem(s.file("")), s.file("") + ":1:1: cannot read: Is a directory");
  Input const input(open(s.file("").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(problem("-"), "<stdin>:1:1: cannot read: Is a directory");
}

TEST(Digest, OfTexts) {
  EXPECT_EQ(digest_of_nothing, text_digest(""));
  EXPECT_EQ(digest_of_abc, text_digest("abc"));
  EXPECT_EQ(digest_of_a_million_a, text_digest(std::string(1000000, 'a')));
}

TEST(Digest, AWholeInputCanBeReadAgain) {
  test::Scratch scratch;
  std::string const path = scratch.write("a", "some text");
  EXPECT_EQ("some text", whole_input(path));
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  ASSERT_EQ(3, write(ends[1], "abc", 3));
  close(ends[1]);
  Input const input(ends[0]);
  EXPECT_EQ("abc", whole_input("-"));
  EXPECT_EQ("abc", rest_of_input());
}

}  // namespace
}  // namespace vell::io
