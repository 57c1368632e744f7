#include "vell/run/cleanup.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/scratch.h"
#include "vell/io/outputfile.h"

namespace vell::run::cleanup {
namespace {

pid_t sleeper() {
  return start_group([] {
    pid_t const child = fork();
    if (child != 0) {
      setpgid(child, child);
      return child;
    }
    setpgid(0, 0);
    execlp("sleep", "sleep", "1000", nullptr);
    _exit(127);
  });
}

TEST(Leftovers, FilesAndFoldersComeAndGo) {
  test::Scratch scratch;
  std::string file = scratch.file("f-XXXXXX");
  int const fd = make_file(file);
  ASSERT_GE(fd, 0);
  close(fd);
  std::string folder;
  ASSERT_TRUE(make_folder(scratch.file(""), "d", folder));
  std::ofstream(folder + "/inside") << "x";
  std::filesystem::create_directories(folder + "/deep/er");
  std::ofstream(folder + "/deep/er/still") << "x";
  EXPECT_EQ(2u, scratch.files());
  EXPECT_FALSE(keep_file(file, "/no/such/folder/f"));
  EXPECT_TRUE(keep_file(file, scratch.file("kept")));
  remove_folder(folder);
  EXPECT_EQ(1u, scratch.files());
  EXPECT_EQ("", scratch.read("kept"));
  std::string nowhere = "/no/such/folder/XXXXXX";
  EXPECT_EQ(-1, make_file(nowhere));
  EXPECT_FALSE(make_folder("/no/such/folder", "d", nowhere));
}

// In a process of its own, which ends: what is left there is gone, what was kept stays.
TEST(Leftovers, AFolderThatIsKept) {
  test::Scratch scratch;
  std::string folder;
  ASSERT_TRUE(make_folder(scratch.file(""), "d", folder));
  std::ofstream(folder + "/inside") << "x";
  ASSERT_TRUE(keep_folder(folder, scratch.file("kept")));
  EXPECT_EQ("x", scratch.read("kept/inside"));
  EXPECT_EQ(1u, scratch.files());
  // Not over a folder that holds something; then it stays as it was.
  ASSERT_TRUE(make_folder(scratch.file(""), "d", folder));
  EXPECT_FALSE(keep_folder(folder, scratch.file("kept")));
  remove_folder(folder);
  EXPECT_EQ(1u, scratch.files());
}

TEST(Leftovers, NothingOutlivesTheProcess) {
  test::Scratch scratch;
  std::string const told = scratch.file("child");
  EXPECT_EXIT(
      {
        io::OutputFile whole(scratch.file("whole"));
        whole.commit();
        io::OutputFile half(scratch.file("half"));
        half.write("x", 1);
        std::string folder;
        if (!make_folder(scratch.file(""), "d", folder)) _exit(1);
        std::ofstream(folder + "/inside") << "x";
        std::ofstream(told) << sleeper() << std::flush;
        discard_all();
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(2u, scratch.files());
  EXPECT_TRUE(std::filesystem::exists(scratch.file("whole")));
  pid_t const child = std::stoi(scratch.read("child"));
  ASSERT_GT(child, 0);
  // Its parent has ended: whoever adopted it takes a moment to bury it.
  bool gone = false;
  for (int i = 0; i < 500 && !gone; ++i) {
    std::ifstream status("/proc/" + std::to_string(child) + "/stat");
    std::string text((std::istreambuf_iterator<char>(status)), {});
    gone = text.empty() || text.find(") Z ") != std::string::npos;
    if (!gone) usleep(10000);
  }
  EXPECT_TRUE(gone);
}

// Folders of processes that are no more go; a live one's, what others hold a lock on, and strangers stay.
TEST(Leftovers, StaleFoldersGoWhenANewOneIsMade) {
  test::Scratch scratch;
  std::string stale;
  pid_t const child = fork();
  if (child == 0) {
    std::string folder;
    bool const made = make_folder(scratch.file(""), "d", folder);
    std::ofstream(folder + "/inside") << "x";
    _exit(made ? 0 : 1);
  }
  int status = 1;
  waitpid(child, &status, 0);
  ASSERT_EQ(0, status);
  EXPECT_EQ(1u, scratch.files());
  std::string const number = std::to_string(child);
  for (char const* name : {"d-notes", "d-1-", "d-12-34-ABCDEFG", "other-1-1-ABCDEF"})
    std::filesystem::create_directory(scratch.file(name));
  std::string const held = scratch.file("d-" + number + "-1-ABCDEF");
  std::filesystem::create_directory(held);
  int const lock = open(held.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(0, flock(lock, LOCK_EX));
  std::string first;
  std::string second;
  ASSERT_TRUE(make_folder(scratch.file(""), "d", first));
  ASSERT_TRUE(make_folder(scratch.file(""), "d", second));
  EXPECT_EQ(7u, scratch.files());
  EXPECT_TRUE(std::filesystem::exists(first));
  close(lock);
  std::string third;
  ASSERT_TRUE(make_folder(scratch.file(""), "d", third));
  EXPECT_EQ(7u, scratch.files());
  EXPECT_FALSE(std::filesystem::exists(held));
  for (std::string const& folder : {first, second, third}) remove_folder(folder);
}

TEST(Leftovers, AGroupThatIsForgottenIsLetBe) {
  pid_t const child = sleeper();
  ASSERT_GT(child, 0);
  forget_group(child);
  EXPECT_EXIT(
      {
        discard_all();
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(0, waitpid(child, nullptr, WNOHANG));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(0, start_group([] { return 0; }));
}

}  // namespace
}  // namespace vell::run::cleanup
